#include "gui/tasks/download/FileName.h"

#include <algorithm>
#include <cstdint>

namespace FileName {

namespace {

const std::size_t longestName = 255 - (sizeof(partSuffix) - 1);

std::string lowerCase(std::string_view text)
{
    std::string lower(text);
    for (char &c : lower)
        c = c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
    return lower;
}

bool isForbidden(char c)
{
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7f || c == '/' || c == '\\' || c == ':';
}

// Windows opens a device for these names in any folder, with any ending.
bool isDeviceName(std::string_view name)
{
    std::string stem = lowerCase(name.substr(0, name.find('.')));
    stem.erase(stem.find_last_not_of(' ') + 1);
    if (stem == "con" || stem == "prn" || stem == "aux" || stem == "nul")
        return true;
    const bool numbered = stem.compare(0, 3, "com") == 0 || stem.compare(0, 3, "lpt") == 0;
    return numbered && stem.size() == 4 && stem[3] >= '0' && stem[3] <= '9';
}

bool endsWith(std::string_view name, std::string_view ending)
{
    return name.size() >= ending.size() && name.substr(name.size() - ending.size()) == ending;
}

// No overlong forms, no surrogates, nothing above U+10FFFF.
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

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

std::string decoded(std::string_view text)
{
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEscape = text[i] == '%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0
                              && hexValue(text[i + 2]) >= 0;
        if (!isEscape) {
            plain += text[i];
            continue;
        }
        plain += static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]));
        i += 2;
    }
    return plain;
}

} // namespace

bool isSafe(std::string_view name)
{
    if (name.empty() || name.size() > longestName || name.back() == '.' || name.back() == ' ')
        return false;
    for (const char *ending : {partSuffix, sidecarSuffix, sidecarDraftSuffix}) {
        if (endsWith(lowerCase(name), ending))
            return false;
    }
    return std::none_of(name.begin(), name.end(), isForbidden) && !isDeviceName(name) && isUtf8(name);
}

std::string fromEncodedPath(std::string_view path)
{
    const std::string name = decoded(path.substr(path.find_last_of('/') + 1));
    return isSafe(name) ? name : std::string();
}

} // namespace FileName
