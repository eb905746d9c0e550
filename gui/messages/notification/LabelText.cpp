#include "gui/messages/notification/LabelText_p.h"

#include "gui/messages/record/MessageText_p.h"

#include <QImage>
#include <QTextBlock>
#include <QTextDocument>
#include <QUrl>
#include <QVariant>

namespace {

class ClosedDocument : public QTextDocument
{
    Q_OBJECT

protected:
    QVariant loadResource(int type, const QUrl &) override
    {
        // Nothing may be null here: the document would go and open the file itself.
        if (type == ImageResource)
            return QImage(1, 1, QImage::Format_ARGB32_Premultiplied);
        return QByteArray(" ");
    }
};

QString markedUp(const QString &text, const QTextCharFormat &format)
{
    QString html = text.toHtmlEscaped().replace(QChar::LineSeparator, QLatin1String("<br>"));
    if (format.fontItalic())
        html = QLatin1String("<i>") + html + QLatin1String("</i>");
    if (format.fontWeight() > QFont::Normal)
        html = QLatin1String("<b>") + html + QLatin1String("</b>");
    if (!format.anchorHref().isEmpty())
        html = QLatin1String("<a href=\"") + format.anchorHref().toHtmlEscaped() + QLatin1String("\">") + html
               + QLatin1String("</a>");
    return html;
}

QString cutTo(const QString &text, int limit)
{
    if (text.size() <= limit)
        return text;
    // Half of a surrogate pair is no character.
    return text.left(limit > 0 && text.at(limit - 1).isHighSurrogate() ? limit - 1 : limit) + QChar(0x2026);
}

} // namespace

LabelText LabelText::fromRichText(const QString &richText, int limit)
{
    ClosedDocument document;
    document.setHtml(MessageText::asRichText(richText));

    LabelText result;
    int remaining = qMax(1, limit);
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        if (!result.plain.isEmpty()) {
            result.plain += QLatin1Char('\n');
            if (!result.isCut)
                result.html += QLatin1String("<br>");
        }
        for (auto fragment = block.begin(); !fragment.atEnd(); ++fragment) {
            const QTextCharFormat format = fragment.fragment().charFormat();
            QString text = fragment.fragment().text().remove(QChar::ObjectReplacementCharacter);
            result.plain += QString(text).replace(QChar::LineSeparator, QLatin1Char('\n'));
            if (result.isCut || text.isEmpty())
                continue;
            result.isCut = text.size() > remaining;
            result.html += markedUp(cutTo(text, remaining), format);
            result.hasLinks = result.hasLinks || !format.anchorHref().isEmpty();
            remaining -= text.size();
        }
    }
    return result;
}

#include "LabelText.moc"
