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

bool isUtf8(std::string_view text)
{
    for (std::size_t i = 0; i < text.size();) {
        const auto byte
            = [&](std::size_t at) { return at < text.size() ? static_cast<unsigned char>(text[at]) : 0u; };
        const unsigned lead = byte(i);
        const std::size_t length = lead < 0x80         ? 1
                                   : lead >> 5 == 0x6  ? 2
                                   : lead >> 4 == 0xe  ? 3
                                   : lead >> 3 == 0x1e ? 4
                                                       : 0;
        if (length == 0)
            return false;
        std::uint32_t code = length == 1 ? lead : lead & (0x7fu >> length);
        for (std::size_t k = 1; k < length; ++k) {
            if (byte(i + k) >> 6 != 0x2)
                return false;
            code = code << 6 | (byte(i + k) & 0x3f);
        }
        static const std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
        if (code < smallest[length] || code > 0x10ffff || (code >= 0xd800 && code <= 0xdfff))
            return false;
        i += length;
    }
    return true;
}

std::string toHex(std::string_view bytes)
{
    static const char digits[] = "0123456789abcdef";
    std::string hex;
    for (const char c : bytes) {
        hex += digits[static_cast<unsigned char>(c) >> 4];
        hex += digits[static_cast<unsigned char>(c) & 0xf];
    }
    return hex;
}

} // namespace Text
