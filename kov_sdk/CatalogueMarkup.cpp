#include "kov_sdk/CatalogueMarkup_p.h"

#include <QRegularExpression>
#include <QVector>

namespace CatalogueMarkup {

struct Entity
{
    QLatin1String name;
    QChar character;
};

static const Entity entities[] = {{QLatin1String("&amp;"), QLatin1Char('&')},
                                  {QLatin1String("&lt;"), QLatin1Char('<')},
                                  {QLatin1String("&gt;"), QLatin1Char('>')},
                                  {QLatin1String("&quot;"), QLatin1Char('"')},
                                  {QLatin1String("&nbsp;"), QChar(QChar::Nbsp)}};

static const Entity *entityAt(const QStringRef &rest)
{
    for (const Entity &entity : entities) {
        if (rest.startsWith(entity.name))
            return &entity;
    }
    return nullptr;
}

static QString tagComplaint(const QString &tag, QVector<QChar> &open)
{
    static const QRegularExpression lineBreak(QStringLiteral("\\A<br ?/?>\\z"));
    static const QRegularExpression link(QStringLiteral(
        "\\A<a href=\"(?:https?://[^\"<>\\s%]+|kovhelp:(?:message|(?://topic/)?[1-9][0-9]{0,8}))\">\\z"));
    if (lineBreak.match(tag).hasMatch())
        return QString();
    if (tag == QLatin1String("<b>") || tag == QLatin1String("<i>") || link.match(tag).hasMatch()) {
        open.append(tag.at(1));
        return QString();
    }
    if (tag != QLatin1String("</b>") && tag != QLatin1String("</i>") && tag != QLatin1String("</a>")) {
        return QStringLiteral(
                   "%1 is none of <b>, <i>, <br>, <a href=\"...\"> with a fixed http or https address, "
                   "kovhelp:message or kovhelp:NUMBER")
            .arg(tag);
    }
    if (open.isEmpty() || open.takeLast() != tag.at(2))
        return QStringLiteral("%1 closes nothing that is open").arg(tag);
    return QString();
}

QString complaint(const QString &text)
{
    QVector<QChar> open;
    for (int index = 0; index < text.size(); ++index) {
        const QChar character = text.at(index);
        if (character.category() == QChar::Other_Control)
            return QStringLiteral("a control character; use <br> for a new line");
        if (character == QLatin1Char('&') && !entityAt(text.midRef(index)))
            return QStringLiteral("'&' begins no entity that is known here; write &amp;");
        if (character == QLatin1Char('>'))
            return QStringLiteral("'>' outside a tag; write &gt;");
        if (character != QLatin1Char('<'))
            continue;
        const int end = text.indexOf(QLatin1Char('>'), index);
        if (end < 0)
            return QStringLiteral("'<' opens no tag; write &lt;");
        QString wrongTag = tagComplaint(text.mid(index, end - index + 1), open);
        if (!wrongTag.isEmpty())
            return wrongTag;
        index = end;
    }
    return open.isEmpty() ? QString() : QStringLiteral("<%1> is not closed").arg(open.last());
}

QString plain(const QString &text)
{
    QString result;
    for (int index = 0; index < text.size(); ++index) {
        const QChar character = text.at(index);
        if (character == QLatin1Char('<')) {
            if (text.midRef(index).startsWith(QLatin1String("<br")))
                result += QLatin1Char('\n');
            index = text.indexOf(QLatin1Char('>'), index);
            continue;
        }
        const Entity *const entity = character == QLatin1Char('&') ? entityAt(text.midRef(index)) : nullptr;
        result += entity ? entity->character : character;
        if (entity)
            index += entity->name.size() - 1;
    }
    return result;
}

QString escaped(const QString &text)
{
    QString result = text.toHtmlEscaped();
    result.replace(QLatin1Char('\n'), QLatin1String("<br>"));
    return result;
}

QString withArguments(const QString &text, const QStringList &arguments)
{
    static const QRegularExpression placeholder(QStringLiteral("%([1-9][0-9]?)"));
    QString result;
    int done = 0;
    for (auto matches = placeholder.globalMatch(text); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        const int number = match.capturedRef(1).toInt();
        if (number > arguments.size())
            continue;
        result += text.midRef(done, match.capturedStart() - done) + arguments.at(number - 1);
        done = match.capturedEnd();
    }
    return result + text.midRef(done);
}

} // namespace CatalogueMarkup
