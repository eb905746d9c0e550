#include "gui/messages/MessageText_p.h"

#include <QMap>
#include <QRegularExpression>

namespace {

const QRegularExpression &placeholder()
{
    static const QRegularExpression expression(QStringLiteral("%L?([1-9][0-9]?)"));
    return expression;
}

/// The parameter of each number that stands in the text.
QMap<int, QString> valuesByNumber(const QString &text, const QStringList &params)
{
    QMap<int, QString> values;
    QRegularExpressionMatchIterator matches = placeholder().globalMatch(text);
    while (matches.hasNext())
        values.insert(matches.next().capturedRef(1).toInt(), QString());

    auto value = values.begin();
    for (const QString &param : params) {
        if (value == values.end())
            break;
        *value++ = param;
    }
    while (value != values.end())
        value = values.erase(value);
    return values;
}

} // namespace

namespace MessageText {

QString substitute(const QString &text, const QStringList &params)
{
    const QMap<int, QString> values = params.isEmpty() ? QMap<int, QString>() : valuesByNumber(text, params);
    if (values.isEmpty())
        return text;

    QString result;
    int end = 0;
    QRegularExpressionMatchIterator matches = placeholder().globalMatch(text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const auto value = values.constFind(match.capturedRef(1).toInt());
        if (value == values.constEnd())
            continue;
        result += text.midRef(end, match.capturedStart() - end) + *value;
        end = match.capturedEnd();
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
