#include "gui/update/dialogs/ReleaseNotes_p.h"

#include "gui/help/Help.h"

#include <QHash>
#include <QRegularExpression>
#include <QStringList>

namespace {

/// Deeper nesting than any person writes costs the layout more than it shows.
const int maximumDepth = 12;

enum class Kind { Inline, Block, Break, Link, Hidden };

struct Tag
{
    Kind kind;
    QLatin1String written;
};

const Tag *knownTag(const QString &name)
{
    static const QHash<QString, Tag> tags = [] {
        QHash<QString, Tag> table;
        const auto add = [&table](const char *name, Kind kind, const char *written = nullptr) {
            table.insert(QLatin1String(name), {kind, QLatin1String(written ? written : name)});
        };
        add("b", Kind::Inline);
        add("strong", Kind::Inline, "b");
        add("i", Kind::Inline);
        add("em", Kind::Inline, "i");
        for (const char *block : {"p", "ul", "ol", "li"})
            add(block, Kind::Block);
        for (const char *block : {"div", "blockquote", "tr"})
            add(block, Kind::Block, "p");
        for (const char *heading : {"h1", "h2", "h3", "h4", "h5", "h6"})
            add(heading, Kind::Block, "h4");
        add("br", Kind::Break);
        add("hr", Kind::Break, "br");
        add("a", Kind::Link);
        for (const char *hidden : {"script", "style", "head", "title"})
            add(hidden, Kind::Hidden);
        return table;
    }();
    const auto found = tags.constFind(name);
    return found == tags.constEnd() ? nullptr : &*found;
}

/// A character reference stays one; any other "&" is shown.
QString escaped(const QString &text)
{
    static const QRegularExpression reference(
        QStringLiteral("&amp;((?:amp|lt|gt|quot|nbsp|#\\d{2,6}|#x[0-9A-Fa-f]{2,5});)"));
    return text.toHtmlEscaped().replace(reference, QStringLiteral("&\\1"));
}

QString hrefOf(const QString &attributes)
{
    static const QRegularExpression pattern(
        QStringLiteral("(?:^|\\s)href\\s*=\\s*(?:\"([^\"]*)\"|'([^']*)'|([^\\s\"'>]+))"),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = pattern.match(attributes);
    const QString href = match.captured(match.lastCapturedIndex()).trimmed();
    const QUrl url(QString(href).replace(QLatin1String("&amp;"), QLatin1String("&")), QUrl::StrictMode);
    return match.hasMatch() && Help::isWebAddress(url) ? QString::fromLatin1(url.toEncoded()) : QString();
}

class Writer
{
public:
    explicit Writer(bool keepLineFeeds)
        : m_keepLineFeeds(keepLineFeeds)
    { }

    void text(const QString &text)
    {
        QString html = escaped(text);
        if (m_keepLineFeeds)
            html.replace(QLatin1Char('\n'), QLatin1String("<br>"));
        m_html += html;
    }

    void open(const Tag &tag, const QString &attributes)
    {
        if (tag.kind == Kind::Break) {
            m_html += QLatin1String("<br>");
            return;
        }
        const QString href = tag.kind == Kind::Link ? hrefOf(attributes) : QString();
        if (m_open.size() >= maximumDepth || (tag.kind == Kind::Link && href.isEmpty()))
            return;
        m_open << tag.written;
        m_html += QLatin1Char('<') + tag.written;
        if (!href.isEmpty())
            m_html += QLatin1String(" href=\"") + href.toHtmlEscaped() + QLatin1Char('"');
        m_html += QLatin1Char('>');
    }

    void close(const Tag &tag)
    {
        const int index = m_open.lastIndexOf(tag.written);
        if (index < 0)
            return;
        closeDownTo(index);
    }

    QString finished()
    {
        closeDownTo(0);
        return m_html;
    }

private:
    void closeDownTo(int depth)
    {
        while (m_open.size() > depth)
            m_html += QLatin1String("</") + m_open.takeLast() + QLatin1Char('>');
    }

    const bool m_keepLineFeeds;
    QString m_html;
    QStringList m_open;
};

const QRegularExpression &markup()
{
    static const QRegularExpression pattern(
        QStringLiteral("<!--.*?(?:-->|$)|<(/?)([A-Za-z][A-Za-z0-9]*)((?:\\s[^<>]*)?)/?>"),
        QRegularExpression::DotMatchesEverythingOption);
    return pattern;
}

struct Content
{
    bool hasTags = false;
    bool hasBreaks = false;
};

Content contentOf(const QString &notes)
{
    Content content;
    for (auto matches = markup().globalMatch(notes); matches.hasNext();) {
        const Tag *tag = knownTag(matches.next().captured(2).toLower());
        content.hasTags = content.hasTags || tag;
        content.hasBreaks
            = content.hasBreaks || (tag && (tag->kind == Kind::Block || tag->kind == Kind::Break));
    }
    return content;
}

QString plainToHtml(const QString &notes)
{
    return QLatin1String("<div style=\"white-space:pre-wrap\">")
           + notes.toHtmlEscaped().replace(QLatin1Char('\n'), QLatin1String("<br>"))
           + QLatin1String("</div>");
}

QString markedUpToHtml(const QString &notes, bool keepLineFeeds)
{
    Writer writer(keepLineFeeds);
    int position = 0;
    QString hiddenUntil;
    for (auto matches = markup().globalMatch(notes); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        if (hiddenUntil.isEmpty())
            writer.text(notes.mid(position, match.capturedStart() - position));
        position = match.capturedEnd();
        const QString name = match.captured(2).toLower();
        const bool closes = !match.captured(1).isEmpty();
        const Tag *tag = knownTag(name);
        if (!hiddenUntil.isEmpty()) {
            if (closes && name == hiddenUntil)
                hiddenUntil.clear();
        } else if (tag && tag->kind == Kind::Hidden) {
            hiddenUntil = closes ? QString() : name;
        } else if (tag && closes) {
            writer.close(*tag);
        } else if (tag) {
            writer.open(*tag, match.captured(3));
        }
    }
    if (hiddenUntil.isEmpty())
        writer.text(notes.mid(position));
    return writer.finished();
}

} // namespace

QString ReleaseNotes::toHtml(const QString &notes)
{
    QString text = notes.left(maximumLength).trimmed();
    text.replace(QLatin1String("\r\n"), QLatin1String("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
    text.remove(QChar::Null);
    if (text.isEmpty())
        return QString();
    const Content content = contentOf(text);
    return content.hasTags ? markedUpToHtml(text, !content.hasBreaks) : plainToHtml(text);
}
