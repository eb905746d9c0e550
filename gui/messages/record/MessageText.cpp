#include "gui/messages/record/MessageText_p.h"

#include <QMap>
#include <QVarLengthArray>

namespace {

struct Placeholder
{
    int begin;
    int end;
    int number;
};
using Placeholders = QVarLengthArray<Placeholder, 8>;

int digitAt(const QString &text, int index)
{
    const int digit = index < text.size() ? text.at(index).unicode() - '0' : -1;
    return digit >= 0 && digit <= 9 ? digit : -1;
}

/// "%1" to "%99"; "%L1" asks for the locale's digits and is no different for texts.
Placeholders placeholdersOf(const QString &text)
{
    Placeholders found;
    for (int begin = text.indexOf(QLatin1Char('%')); begin >= 0;
         begin = text.indexOf(QLatin1Char('%'), begin + 1)) {
        int end = begin + 1;
        if (end < text.size() && text.at(end) == QLatin1Char('L'))
            ++end;
        int number = digitAt(text, end);
        if (number <= 0)
            continue;
        const int second = digitAt(text, ++end);
        if (second >= 0) {
            number = 10 * number + second;
            ++end;
        }
        found.append({begin, end, number});
    }
    return found;
}

} // namespace

namespace MessageText {

QString substitute(const QString &text, const QStringList &params)
{
    if (params.isEmpty())
        return text;
    const Placeholders placeholders = placeholdersOf(text);
    QMap<int, int> paramByNumber;
    for (const Placeholder &placeholder : placeholders)
        paramByNumber.insert(placeholder.number, 0);
    int next = 0;
    for (int &param : paramByNumber)
        param = next++;

    QString result;
    int end = 0;
    for (const Placeholder &placeholder : placeholders) {
        const int param = paramByNumber.value(placeholder.number);
        if (param >= params.size())
            continue;
        result += text.midRef(end, placeholder.begin - end) + params.at(param);
        end = placeholder.end;
    }
    return result + text.midRef(end);
}

QString toRichText(const QString &plain)
{
    QString text = plain.toHtmlEscaped();
    text.replace(QLatin1String("\r\n"), QLatin1String("<br>"));
    return text.replace(QLatin1Char('\n'), QLatin1String("<br>"));
}

QStringList toRichText(const QStringList &plain)
{
    QStringList texts;
    for (const QString &text : plain)
        texts.append(toRichText(text));
    return texts;
}

const char *typeName(_KOV_MESSAGE_TYPE_ENUM type)
{
    switch (type) {
    case KMT_ERROR:
        return "ERROR";
    case KMT_WARNING:
        return "WARNING";
    case KMT_QUESTION:
        return "QUESTION";
    case KMT_INFORMATION:
        return "INFORMATION";
    case KMT_UNKNOWN:
        break;
    }
    return "UNKNOWN";
}

} // namespace MessageText
