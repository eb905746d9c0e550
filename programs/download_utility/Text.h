#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Small pure helpers for text that came from elsewhere.
namespace Text {

/// Decimal digits only, no sign, no blanks; nothing for an empty text or a value above @p most.
std::optional<std::uint64_t> toNumber(std::string_view text, std::uint64_t most = UINT64_MAX);

/// ASCII letters made lower case.
std::string lowerCase(std::string_view text);

/// Without blanks and tabs at both ends.
std::string_view trimmed(std::string_view text);

/// Fit for one line of a terminal or a log: every control character becomes "?", at most 500 bytes are kept.
std::string printable(std::string_view text);

} // namespace Text
