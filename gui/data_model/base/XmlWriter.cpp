#include "gui/data_model/base/XmlWriter_p.h"

XmlWriter::XmlWriter(const XmlLimits &limits)
    : m_limits(limits)
{
    m_document.reserve(4096);
    m_document += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
}

void XmlWriter::startElement(QLatin1String tag)
{
    if (!m_fault.isEmpty())
        return;
    openTag();
    ++m_elements;
    check(m_depth + 1);
    newLine();
    m_document.append('<').append(tag.data(), tag.size());
    ++m_depth;
    m_attributes = 0;
    m_isTagOpen = true;
}

void XmlWriter::attribute(QLatin1String name, const QString &value)
{
    if (!m_fault.isEmpty())
        return;
    ++m_attributes;
    m_document.append(' ').append(name.data(), name.size()).append("=\"");
    appendEscaped(value.toUtf8(), true);
    m_document.append('"');
}

void XmlWriter::attributeSource(const QByteArray &source)
{
    if (!m_fault.isEmpty())
        return;
    ++m_attributes;
    m_document.append(' ').append(source);
}

void XmlWriter::text(const QByteArray &utf8)
{
    if (utf8.isEmpty() || !m_fault.isEmpty())
        return;
    openTag();
    appendEscaped(utf8, false);
    m_isTextLast = true;
}

void XmlWriter::child(const QByteArray &source, int elements, int depth)
{
    if (!m_fault.isEmpty())
        return;
    openTag();
    m_elements += elements;
    check(m_depth + depth);
    newLine();
    m_document.append(source);
}

void XmlWriter::endElement(QLatin1String tag)
{
    if (!m_fault.isEmpty())
        return;
    --m_depth;
    if (m_isTagOpen) {
        check(m_depth);
        m_document.append("/>");
    } else {
        if (!m_isTextLast)
            newLine();
        m_document.append("</").append(tag.data(), tag.size()).append('>');
    }
    m_isTagOpen = false;
    m_isTextLast = false;
}

QByteArray XmlWriter::take()
{
    m_document.append('\n');
    check(0);
    return m_fault.isEmpty() ? std::move(m_document) : QByteArray();
}

void XmlWriter::openTag()
{
    if (!m_isTagOpen)
        return;
    check(m_depth);
    m_document.append('>');
    m_isTagOpen = false;
}

void XmlWriter::newLine()
{
    static const QByteArray blanks(256, ' ');
    m_document.append('\n').append(blanks.constData(), qMin(4 * m_depth, blanks.size()));
}

void XmlWriter::appendEscaped(const QByteArray &utf8, bool isAttribute)
{
    const char *run = utf8.constData();
    const char *const end = run + utf8.size();
    for (const char *c = run; c < end; ++c) {
        const char *escape = nullptr;
        switch (*c) {
        case '&':
            escape = "&amp;";
            break;
        case '<':
            escape = "&lt;";
            break;
        case '>':
            escape = "&gt;";
            break;
        case '\r':
            escape = "&#13;";
            break;
        case '"':
            escape = isAttribute ? "&quot;" : nullptr;
            break;
        case '\n':
            escape = isAttribute ? "&#10;" : nullptr;
            break;
        case '\t':
            escape = isAttribute ? "&#9;" : nullptr;
            break;
        default:
            break;
        }
        if (escape) {
            m_document.append(run, int(c - run)).append(escape);
            run = c + 1;
        }
    }
    m_document.append(run, int(end - run));
}

/// What this document would meet in a reader.
void XmlWriter::check(int depth)
{
    if (!m_fault.isEmpty())
        return;
    if (m_document.size() > m_limits.size)
        m_fault = QStringLiteral("the document is larger than %1 bytes").arg(m_limits.size);
    else if (m_elements > m_limits.elements)
        m_fault = QStringLiteral("more than %1 elements").arg(m_limits.elements);
    else if (depth > m_limits.depth)
        m_fault = QStringLiteral("elements are nested deeper than %1").arg(m_limits.depth);
    else if (m_attributes > XmlLimits::attributes)
        m_fault = QStringLiteral("an element has more than %1 attributes").arg(XmlLimits::attributes);
}
