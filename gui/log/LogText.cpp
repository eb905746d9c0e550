#include "gui/log/LogText.h"

namespace KovGui {

/// The length of the well-formed UTF-8 character at the front of the text, and the character; 0 if there is
/// none.
static int decode(const unsigned char *text, int size, uint &character)
{
    const int length = *text < 0x80   ? 1
                       : *text < 0xc2 ? 0
                       : *text < 0xe0 ? 2
                       : *text < 0xf0 ? 3
                       : *text < 0xf5 ? 4
                                      : 0;
    if (length == 0 || length > size)
        return 0;
    character = length == 1 ? *text : *text & (0xffu >> (length + 1));
    for (int i = 1; i < length; ++i) {
        if ((text[i] & 0xc0) != 0x80)
            return 0;
        character = character << 6 | (text[i] & 0x3f);
    }
    const bool tooLong = (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
    const bool surrogate = character >= 0xd800 && character < 0xe000;
    return tooLong || surrogate || character > 0x10ffff ? 0 : length;
}

static QByteArray hexadecimal(uint number, int width)
{
    return QByteArray::number(number, 16).rightJustified(width, '0');
}

/// Controls of both sets, and the two separators at which some viewers begin a new line.
static bool isPlain(uint character)
{
    return character >= 0x20 && !(character >= 0x7f && character < 0xa0) && character != 0x2028
           && character != 0x2029;
}

static QByteArray escaped(uint character)
{
    if (character == '\n')
        return "\\n";
    if (character == '\r')
        return "\\r";
    return character < 0x80 ? "\\x" + hexadecimal(character, 2) : "\\u" + hexadecimal(character, 4);
}

QByteArray logText(const QByteArray &text)
{
    QByteArray result;
    result.reserve(text.size());
    const auto *bytes = reinterpret_cast<const unsigned char *>(text.constData());
    for (int at = 0; at < text.size();) {
        uint character = 0;
        const int length = decode(bytes + at, text.size() - at, character);
        if (length == 0)
            result += "\\x" + hexadecimal(bytes[at], 2);
        else if (isPlain(character))
            result.append(text.constData() + at, length);
        else
            result += escaped(character);
        at += qMax(length, 1);
    }
    return result;
}

QByteArray logText(const QString &text)
{
    return logText(text.toUtf8());
}

} // namespace KovGui
