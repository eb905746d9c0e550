#pragma once

#include <QtGlobal>

/// The characters of XML 1.0, and their UTF-8 form.
namespace XmlCharacters {

/// XML 1.0 has no way to write the others, not even escaped.
constexpr bool isAllowed(uint codePoint)
{
    if (codePoint < 0x20)
        return codePoint == '\t' || codePoint == '\n' || codePoint == '\r';
    return codePoint <= 0x10FFFF && (codePoint < 0xD800 || codePoint > 0xDFFF) && (codePoint & ~1u) != 0xFFFE;
}

/// Decodes the character at the beginning (RFC 3629: shortest form, no surrogates).
/// @return its length in bytes; 0 if there is none
inline int decodeUtf8(const char *begin, const char *end, uint *codePoint)
{
    const uint first = uchar(*begin);
    const int length = first < 0x80   ? 1
                       : first < 0xC2 ? 0
                       : first < 0xE0 ? 2
                       : first < 0xF0 ? 3
                       : first < 0xF5 ? 4
                                      : 0;
    if (length == 0 || end - begin < length)
        return 0;
    *codePoint = length == 1 ? first : first & (0x7Fu >> length);
    for (int i = 1; i < length; ++i) {
        const uint next = uchar(begin[i]);
        if ((next & 0xC0) != 0x80)
            return 0;
        *codePoint = *codePoint << 6 | (next & 0x3F);
    }
    const bool isShortest = length < 3 || *codePoint >= (length == 3 ? 0x800u : 0x10000u);
    return isShortest && *codePoint <= 0x10FFFF && (*codePoint & ~0x7FFu) != 0xD800 ? length : 0;
}

} // namespace XmlCharacters
