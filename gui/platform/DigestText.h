#pragma once

#include <cstddef>
#include <string>

namespace KovGui::Platform {

/// Two lower-case digits a byte.
inline std::string hexadecimal(const unsigned char *bytes, std::size_t size)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * size);
    for (std::size_t i = 0; i < size; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

} // namespace KovGui::Platform
