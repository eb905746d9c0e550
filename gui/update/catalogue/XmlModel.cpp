#include "gui/update/catalogue/XmlGate_p.h"
#include "gui/update/catalogue/XmlModel_p.h"

#include <QLocale>

namespace {

/// Parsers quote names and characters of the file in their messages.
QString oneLine(QString text)
{
    for (QChar &character : text) {
        if (!character.isPrint())
            character = QLatin1Char(' ');
    }
    return text;
}

/// XML 1.0 has no way to write these, not even escaped.
bool isXmlCharacter(uint codePoint)
{
    if (codePoint < 0x20)
        return codePoint == '\t' || codePoint == '\n';
    return codePoint != 0xFFFE && codePoint != 0xFFFF && !QChar::isSurrogate(codePoint);
}

/// Line ends that were written as character references are not normalised by the parser.
QString normalized(QString text)
{
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return text.trimmed();
}

bool isUtf8(const QStringRef &encoding)
{
    return encoding.isEmpty() || encoding.compare(QLatin1String("UTF-8"), Qt::CaseInsensitive) == 0;
}

} // namespace

XmlModelReader::XmlModelReader(const QByteArray &document, const char *className, XmlReport *report)
    : currentClass(className)
    , m_report(report)
{
    QString text;
    const QString fault = XmlGate::admit(document, &text);
    if (!fault.isEmpty()) {
        breakOff(fault);
        return;
    }
    m_stream.setNamespaceProcessing(false);
    m_stream.addData(text);
}

bool XmlModelReader::enterRoot(QLatin1String element)
{
    if (hasFailed() || !readTag())
        return false;
    if (tag() == element)
        return true;
    addError(currentClass, QStringLiteral("wrong root element with tag name '%1'").arg(tag()));
    return false;
}

bool XmlModelReader::enterChild()
{
    return !hasFailed() && readTag() && m_stream.isStartElement();
}

void XmlModelReader::finish()
{
    while (!hasFailed() && !m_stream.atEnd())
        readTag();
}

bool XmlModelReader::readTag()
{
    while (!m_stream.atEnd()) {
        switch (m_stream.readNext()) {
        case QXmlStreamReader::StartElement:
        case QXmlStreamReader::EndElement:
            return true;
        case QXmlStreamReader::StartDocument:
            if (!isUtf8(m_stream.documentEncoding()))
                m_stream.raiseError(QStringLiteral("the document is not UTF-8 text"));
            break;
        case QXmlStreamReader::DTD:
        case QXmlStreamReader::EntityReference:
            m_stream.raiseError(QStringLiteral("entities are not allowed"));
            break;
        default:
            break;
        }
    }
    if (m_stream.hasError())
        breakOff(QStringLiteral("line %1: %2").arg(m_stream.lineNumber()).arg(m_stream.errorString()));
    return false;
}

void XmlModelReader::breakOff(const QString &text)
{
    addError(currentClass, text);
    m_isBroken = true;
}

QString XmlModelReader::tag() const
{
    return m_stream.qualifiedName().toString();
}

QString XmlModelReader::attribute(QLatin1String name) const
{
    return normalized(m_stream.attributes().value(name).toString());
}

QString XmlModelReader::text()
{
    return normalized(m_stream.readElementText(QXmlStreamReader::ErrorOnUnexpectedElement));
}

void XmlModelReader::skip()
{
    m_stream.skipCurrentElement();
}

void XmlModelReader::addError(const char *className, const QString &text)
{
    if (m_report->errors.size() < XmlReport::maximumEntries)
        m_report->errors.append(
            oneLine(QStringLiteral("Error in class '%1': %2").arg(QLatin1String(className), text)));
}

void XmlModelReader::addWarning(const char *className, const QString &text)
{
    if (m_report->warnings.size() < XmlReport::maximumEntries)
        m_report->warnings.append(
            oneLine(QStringLiteral("Warning in class '%1': %2").arg(QLatin1String(className), text)));
}

void XmlModelReader::addValueError(const QString &tag, QLatin1String expected)
{
    // A broken document cuts a value short: its own error says more.
    if (!m_stream.hasError())
        addError(currentClass, QStringLiteral("tag '%1' does not hold %2").arg(tag, expected));
}

bool XmlModelReader::hasFailed() const
{
    return m_isBroken || m_report->errors.size() >= XmlReport::maximumEntries;
}

void readXmlValue(XmlModelReader &reader, QString *value)
{
    *value = reader.text();
}

void readXmlValue(XmlModelReader &reader, bool *value)
{
    const QString tag = reader.tag();
    const QString text = reader.text();
    *value = text == QLatin1String("true") || text == QLatin1String("1");
    if (!*value && text != QLatin1String("false") && text != QLatin1String("0"))
        reader.addValueError(tag, QLatin1String("true or false"));
}

void readXmlValue(XmlModelReader &reader, quint32 *value)
{
    const QString tag = reader.tag();
    bool ok = false;
    *value = reader.text().toUInt(&ok);
    if (!ok)
        reader.addValueError(tag, QLatin1String("a number from 0 to 4294967295"));
}

void readXmlValue(XmlModelReader &reader, qint64 *value)
{
    const QString tag = reader.tag();
    bool ok = false;
    *value = reader.text().toLongLong(&ok);
    if (!ok || *value < 0)
        reader.addValueError(tag, QLatin1String("a number from 0 to 9223372036854775807"));
}

void readXmlValue(XmlModelReader &reader, QDateTime *value)
{
    const QString tag = reader.tag();
    const QString text = reader.text();
    const QLocale locale = QLocale::c();
    // As one local date-time, an hour that the user's time zone skips in spring would not be valid.
    const QDate date = locale.toDate(text.left(10), QStringLiteral("yyyy-MM-dd"));
    const QTime time = locale.toTime(text.mid(11), QStringLiteral("hh:mm:ss"));
    *value = QDateTime(date, time, Qt::UTC);
    if (text.size() != 19 || text.at(10) != QLatin1Char(' ') || !value->isValid())
        reader.addValueError(tag, QLatin1String("a date and time of the form yyyy-MM-dd hh:mm:ss"));
}

QString xmlValueText(const QString &value)
{
    QString text;
    text.reserve(value.size());
    for (const uint codePoint : value.toUcs4()) {
        if (isXmlCharacter(codePoint))
            text.append(QString::fromUcs4(&codePoint, 1));
    }
    return text;
}

QString xmlValueText(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString xmlValueText(quint32 value)
{
    return QString::number(value);
}

QString xmlValueText(qint64 value)
{
    return QString::number(value);
}

QString xmlValueText(const QDateTime &value)
{
    return QLocale::c().toString(value.toUTC(), QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}
