#include "gui/log/LogText.h"

namespace KovGui {

QByteArray logText(const QByteArray &text)
{
    QByteArray result;
    result.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n')
            result += "\\n";
        else if (c == '\r')
            result += "\\r";
        else if (byte < 0x20 || byte == 0x7f)
            result += "\\x" + QByteArray::number(byte, 16).rightJustified(2, '0');
        else
            result += c;
    }
    return result;
}

QByteArray logText(const QString &text)
{
    return logText(text.toUtf8());
}

} // namespace KovGui
