#include "programs/download_utility/Text.h"

#include <algorithm>

namespace Text {

std::optional<std::uint64_t> toNumber(std::string_view text, std::uint64_t most)
{
    if (text.empty())
        return std::nullopt;
    std::uint64_t value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return std::nullopt;
        const std::uint64_t digit = static_cast<std::uint64_t>(c - '0');
        if (value > (most - std::min(digit, most)) / 10)
            return std::nullopt;
        value = value * 10 + digit;
    }
    return value <= most ? std::optional(value) : std::nullopt;
}

std::string lowerCase(std::string_view text)
{
    std::string lower(text);
    for (char &c : lower) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return lower;
}

std::string_view trimmed(std::string_view text)
{
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string printable(std::string_view text)
{
    std::string line(text.substr(0, 500));
    for (char &c : line) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            c = '?';
    }
    return line;
}

} // namespace Text
