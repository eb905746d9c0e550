#include "gui/data_model/base/XmlPath_p.h"
#include "gui/data_model/base/XmlWriter_p.h"

/// An object on its way into one document.
class XmlModelWriter
{
public:
    XmlModelWriter(const XmlClass &root, XmlReport *report)
        : m_writer(root.limits)
        , m_report(report)
    { }

    QByteArray writeDocument(const XmlClass &root, const void *object)
    {
        m_path.enter(root.element);
        writeElement(root, object);
        const QByteArray document = m_writer.take();
        if (document.isEmpty())
            addError(root, m_writer.fault());
        return m_report->errors.isEmpty() ? document : QByteArray();
    }

private:
    void writeElement(const XmlClass &description, const void *object)
    {
        m_writer.startElement(description.element);
        writeAttributes(description, object);
        const QVector<XmlUnknown::Entry> &unknown = description.constUnknown(object).m_entries;
        writeUnknown(unknown, -1, true);
        for (int i = 0; i < description.fieldCount && m_writer.fault().isEmpty(); ++i) {
            const XmlField &field = description.fields[i];
            if (field.occurs == XmlOccurs::Attribute)
                continue;
            const int count = field.occurrences(object);
            for (int index = 0; index < count; ++index) {
                m_path.enter(field, index);
                if (field.model) {
                    writeElement(field.model(), field.at(object, index));
                } else {
                    m_writer.startElement(field.name);
                    for (const XmlUnknown::Entry &entry : unknown) {
                        if (entry.kind == XmlUnknown::Kind::AttributeOfValue && entry.field == i
                            && entry.index == index)
                            m_writer.attributeSource(entry.source);
                    }
                    writeValue(description, field, field.at(object, index));
                    m_writer.endElement(field.name);
                }
                m_path.leave();
                writeUnknown(unknown, i, index + 1 == count, index);
            }
            if (count == 0)
                writeUnknown(unknown, i, true);
        }
        m_writer.endElement(description.element);
    }

    void writeAttributes(const XmlClass &description, const void *object)
    {
        QStringList lists;
        for (int i = 0; i < description.fieldCount; ++i) {
            const XmlField &field = description.fields[i];
            if (field.occurs == XmlOccurs::Repeated)
                lists.append(field.name);
            else if (field.occurs == XmlOccurs::Attribute && field.count(object) > 0)
                writeAttribute(description, field, field.at(object, 0));
        }
        if (!lists.isEmpty())
            m_writer.attribute(QLatin1String("dyn_lists"), lists.join(QLatin1Char(' ')));
        for (const XmlUnknown::Entry &entry : description.constUnknown(object).m_entries) {
            if (entry.kind == XmlUnknown::Kind::Attribute)
                m_writer.attributeSource(entry.source);
        }
    }

    void writeAttribute(const XmlClass &description, const XmlField &field, const void *value)
    {
        const QString &text = *static_cast<const QString *>(value);
        if (XmlText::isAllowed(text) && XmlText::normalized(text) == text)
            m_writer.attribute(field.name, text);
        else
            addError(description,
                     QStringLiteral("tag '%1' does not hold a text for an attribute").arg(field.name));
    }

    void writeValue(const XmlClass &description, const XmlField &field, const void *value)
    {
        const XmlType &type = *field.type;
        if (type.form == XmlType::Form::Parsed) {
            QByteArray text;
            if (type.print(value, &text))
                m_writer.text(text);
            else
                addError(description, QStringLiteral("tag '%1' does not hold %2")
                                          .arg(field.name, QLatin1String(type.expected)));
            return;
        }
        const QString &text = *static_cast<const QString *>(value);
        const bool isPlain = XmlText::isAllowed(text)
                             && (type.form == XmlType::Form::Exact || XmlText::normalized(text) == text);
        if (isPlain)
            return m_writer.text(text.toUtf8());
        m_writer.attribute(QLatin1String("escaped"), QStringLiteral("true"));
        m_writer.text(XmlText::escaped(text).toUtf8());
    }

    /// What follows the field's repetition, and with isLast also what followed one that has gone.
    void writeUnknown(const QVector<XmlUnknown::Entry> &entries, int field, bool isLast, int index = 0)
    {
        for (const XmlUnknown::Entry &entry : entries) {
            if (entry.kind == XmlUnknown::Kind::Element && entry.field == field
                && (entry.index == index || (isLast && entry.index > index)))
                m_writer.child(entry.source, entry.elements, entry.depth);
        }
    }

    void addError(const XmlClass &description, const QString &text)
    {
        if (m_report->errors.size() >= XmlReport::maximumEntries)
            return;
        m_report->errors.append(
            QStringLiteral("Error in class '%1': %2").arg(QLatin1String(description.name), text));
        m_report->errorPlaces.append({m_path.text(), 0});
    }

    XmlWriter m_writer;
    XmlReport *m_report;
    XmlPath m_path;
};

QByteArray XmlModel::write(const XmlClass &description, const void *object, XmlReport *report)
{
    XmlReport ownReport;
    XmlReport *const target = report ? report : &ownReport;
    *target = XmlReport();
    return XmlModelWriter(description, target).writeDocument(description, object);
}
