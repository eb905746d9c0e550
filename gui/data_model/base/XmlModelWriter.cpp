#include "gui/data_model/base/XmlPath_p.h"
#include "gui/data_model/base/XmlWriter_p.h"

#include <algorithm>
#include <limits>
#include <tuple>

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
    using Entries = QVector<XmlUnknown::Entry>;

    void writeElement(const XmlClass &description, const void *object)
    {
        m_writer.startElement(description.element);
        writeAttributes(description, object);
        const Entries &unknown = description.constUnknown(object).m_entries;
        Entries::const_iterator element = unknown.cbegin();
        Entries::const_iterator attribute
            = std::find_if(unknown.cbegin(), unknown.cend(), [](const XmlUnknown::Entry &entry) {
                  return entry.kind == XmlUnknown::Kind::AttributeOfValue;
              });
        writeUnknown(unknown, &element, -1, 0);
        for (int i = 0; i < description.fieldCount && m_writer.fault().isEmpty(); ++i) {
            const XmlField &field = description.fields[i];
            const int count = field.occurs == XmlOccurs::Attribute ? 0 : field.occurrences(object);
            for (int index = 0; index < count; ++index) {
                m_path.enter(field, index);
                if (field.model) {
                    writeElement(field.model(), field.at(object, index));
                } else {
                    m_writer.startElement(field.name);
                    writeAttributesOfValue(unknown, &attribute, i, index);
                    writeValue(description, field, field.at(object, index));
                    m_writer.endElement(field.name);
                }
                m_path.leave();
                writeUnknown(unknown, &element, i, index);
            }
            // Also what followed a repetition that has gone.
            writeUnknown(unknown, &element, i, std::numeric_limits<int>::max());
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

    static bool isAtMost(const XmlUnknown::Entry &entry, int field, int index)
    {
        return std::tie(entry.field, entry.index) <= std::tie(field, index);
    }

    /// The next elements up to those behind the field's repetition. The entries have the order of the
    /// document.
    void writeUnknown(const Entries &entries, Entries::const_iterator *next, int field, int index)
    {
        for (; *next != entries.cend() && (*next)->kind == XmlUnknown::Kind::Element; ++*next) {
            if (!isAtMost(**next, field, index))
                return;
            m_writer.child((*next)->source, (*next)->elements, (*next)->depth);
        }
    }

    /// Those of values that have gone are left out.
    void writeAttributesOfValue(const Entries &entries, Entries::const_iterator *next, int field, int index)
    {
        for (; *next != entries.cend() && isAtMost(**next, field, index); ++*next) {
            if (!isAtMost(**next, field, index - 1))
                m_writer.attributeSource((*next)->source);
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
