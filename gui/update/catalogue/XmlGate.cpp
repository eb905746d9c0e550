#include "gui/update/catalogue/XmlGate_p.h"

namespace {

/// Walks over the markup of a document without understanding its content.
class Scanner
{
public:
    explicit Scanner(const QString &text)
        : m_text(text)
    { }

    QString firstFault()
    {
        while (true) {
            m_position = m_text.indexOf(QLatin1Char('<'), m_position);
            if (m_position < 0)
                return QString();
            const QString fault = scanMarkup();
            if (!fault.isEmpty())
                return fault;
        }
    }

private:
    QString scanMarkup()
    {
        if (startsWith(QLatin1String("<!--")))
            return skipPast(QLatin1String("-->"), 4);
        if (startsWith(QLatin1String("<![CDATA[")))
            return skipPast(QLatin1String("]]>"), 9);
        if (startsWith(QLatin1String("<?")))
            return skipPast(QLatin1String("?>"), 2);
        if (startsWith(QLatin1String("<!")))
            return QStringLiteral("a document type declaration is not allowed");
        return scanTag();
    }

    QString scanTag()
    {
        const int end = endOfTag();
        if (end < 0)
            return QStringLiteral("a tag is not closed, or longer than %1 characters")
                .arg(XmlGate::maximumTagLength);
        const bool closes = m_text.at(m_position + 1) == QLatin1Char('/');
        const bool empty = m_text.at(end - 1) == QLatin1Char('/');
        m_position = end + 1;
        if (closes) {
            --m_depth;
            return QString();
        }
        if (++m_elements > XmlGate::maximumElements)
            return QStringLiteral("more than %1 elements").arg(XmlGate::maximumElements);
        if (m_depth >= XmlGate::maximumDepth)
            return QStringLiteral("elements are nested deeper than %1").arg(XmlGate::maximumDepth);
        if (!empty)
            ++m_depth;
        return QString();
    }

    int endOfTag() const
    {
        const int limit = qMin(m_text.size(), m_position + XmlGate::maximumTagLength);
        QChar quote;
        for (int i = m_position + 1; i < limit; ++i) {
            const QChar character = m_text.at(i);
            if (!quote.isNull()) {
                if (character == quote)
                    quote = QChar();
            } else if (character == QLatin1Char('"') || character == QLatin1Char('\'')) {
                quote = character;
            } else if (character == QLatin1Char('>')) {
                return i;
            }
        }
        return -1;
    }

    QString skipPast(QLatin1String end, int prefixLength)
    {
        const int found = m_text.indexOf(end, m_position + prefixLength);
        if (found < 0)
            return QStringLiteral("the document ends inside a comment, a section or an instruction");
        m_position = found + end.size();
        return QString();
    }

    bool startsWith(QLatin1String prefix) const { return m_text.midRef(m_position, prefix.size()) == prefix; }

    const QString &m_text;
    int m_position = 0;
    int m_depth = 0;
    int m_elements = 0;
};

} // namespace

QString XmlGate::admit(const QByteArray &document, QString *text)
{
    if (document.size() > maximumSize)
        return QStringLiteral("the document is larger than %1 bytes").arg(maximumSize);
    QByteArray bytes = document;
    if (bytes.startsWith("\xEF\xBB\xBF"))
        bytes.remove(0, 3);
    const QString decoded = QString::fromUtf8(bytes);
    // Decoding replaces what is not UTF-8, so only a valid document comes back as it was.
    if (decoded.toUtf8() != bytes)
        return QStringLiteral("the document is not UTF-8 text");
    const QString fault = Scanner(decoded).firstFault();
    if (fault.isEmpty())
        *text = decoded;
    return fault;
}
