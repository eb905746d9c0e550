#include "gui/messages/record/MessageText_p.h"

#include <QMap>
#include <QRegularExpression>
#include <QVarLengthArray>

namespace {

const QLatin1String placeholderStart("@KOV_GUI_");
/// Without decimal digits of its own, which would be taken for a device's number.
const QLatin1String plainAt("&#x40;");

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
    text.replace(QLatin1Char('@'), plainAt);
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

QString asRichText(const QString &text)
{
    static const QRegularExpression tag(
        QStringLiteral(
            R"(<!(?:DOCTYPE|--)[^>]*>|</?(?:a|b|big|body|br|center|code|dd|div|dl|dt|em|font|h[1-6]|head|hr)"
            R"(|html|i|img|li|link|meta|nobr|ol|p|pre|qt|s|small|span|strong|style|sub|sup|table|tbody|td)"
            R"(|tfoot|th|thead|title|tr|tt|u|ul))"
            R"((?:\s+[\w:-]+\s*=\s*(?:"[^"]*"|'[^']*'|[^\s"'<>]+))*\s*/?>)"),
        QRegularExpression::CaseInsensitiveOption);
    QString result;
    int end = 0;
    bool hasTags = false;
    for (int open = text.indexOf(QLatin1Char('<')); open >= 0; open = text.indexOf(QLatin1Char('<'), end)) {
        const QRegularExpressionMatch match
            = tag.match(text, open, QRegularExpression::NormalMatch, QRegularExpression::AnchoredMatchOption);
        result += text.midRef(end, open - end);
        result += match.hasMatch() ? match.captured() : QStringLiteral("&lt;");
        end = match.hasMatch() ? match.capturedEnd() : open + 1;
        hasTags = hasTags || match.hasMatch();
    }
    result += text.midRef(end);
    return hasTags ? result : result.replace(QLatin1Char('\n'), QLatin1String("<br>"));
}

QString withoutForeignPlaceholders(const QString &text, const QString &pattern)
{
    static const QRegularExpression placeholder(QStringLiteral("@KOV_GUI_\\w+(?:/\\d*)?"));
    if (text.count(placeholderStart) <= pattern.count(placeholderStart))
        return text;
    QStringList own;
    for (auto matches = placeholder.globalMatch(pattern); matches.hasNext();)
        own.append(matches.next().captured());
    QString result;
    int end = 0;
    for (auto matches = placeholder.globalMatch(text); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        result += text.midRef(end, match.capturedStart() - end);
        result
            += own.contains(match.captured()) ? match.captured() : QString(plainAt) + match.captured().mid(1);
        end = match.capturedEnd();
    }
    return result + text.midRef(end);
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
