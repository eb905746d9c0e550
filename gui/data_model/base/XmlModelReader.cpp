#include "gui/data_model/base/XmlPath_p.h"
#include "gui/data_model/base/XmlReader_p.h"

#include <algorithm>
#include <tuple>

namespace {

bool isTag(std::string_view tag, QLatin1String name)
{
    return tag == std::string_view(name.data(), std::size_t(name.size()));
}

QString textOf(std::string_view utf8)
{
    // The decoder takes a byte order mark for one of a file.
    static constexpr std::string_view mark = "\xEF\xBB\xBF";
    const QString text = QString::fromUtf8(utf8.data(), int(utf8.size()));
    return utf8.substr(0, mark.size()) == mark ? QChar(QChar::ByteOrderMark) + text : text;
}

/// Foreign names may be as long as the document.
QString shortName(std::string_view name)
{
    return textOf(name.substr(0, 64));
}

std::string_view trimmed(std::string_view text)
{
    static constexpr std::string_view blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

QByteArray copyOf(std::string_view bytes)
{
    return QByteArray(bytes.data(), int(bytes.size()));
}

} // namespace

/// One document on its way into an object.
class XmlModelReader
{
public:
    XmlModelReader(const QByteArray &document, const XmlClass &root, XmlReport *report)
        : m_reader(document, root.limits)
        , m_report(report)
        , m_class(&root)
        , m_unknownLeft(root.limits.unknown)
    { }

    void readDocument(const XmlClass &root, void *object)
    {
        if (m_reader.enterRoot()) {
            if (isTag(m_reader.tag(), root.element)) {
                m_path.enter(root.element);
                readElement(root, object);
                m_path.leave();
                if (!isFull())
                    m_reader.finish();
            } else {
                const QString name = shortName(m_reader.tag());
                addError(QStringLiteral("wrong root element with tag name '%1'").arg(name),
                         QLatin1Char('/') + name);
            }
        }
        if (m_reader.hasFault())
            addError(QStringLiteral("line %1: %2").arg(m_reader.line()).arg(m_reader.fault()),
                     m_faultPath.isEmpty() ? QStringLiteral("/") : m_faultPath);
    }

private:
    void readElement(const XmlClass &description, void *object)
    {
        const XmlClass *const outer = std::exchange(m_class, &description);
        readAttributes(object);
        QVarLengthArray<int, 64> counts(description.fieldCount);
        std::fill(counts.begin(), counts.end(), 0);
        int last = -1;
        while (!isFull() && m_reader.enterChild()) {
            noteStrayText();
            const int field = fieldOf(m_reader.tag(), last);
            if (field < 0) {
                keepElement(object, last, last < 0 ? 0 : counts[last] - 1);
                continue;
            }
            readField(field, counts[field]++, object);
            last = field;
        }
        noteStrayText();
        noteFault();
        if (!isFull() && !m_reader.hasFault()) {
            reportMissing(counts.constData());
            if (!description.constUnknown(object).isEmpty())
                settleUnknown(object);
        }
        m_class = outer;
    }

    /// Children nearly always stand in the order of the table.
    int fieldOf(std::string_view tag, int last) const
    {
        const int count = m_class->fieldCount;
        for (int i = 0; i < count; ++i) {
            const int field = (qMax(last, 0) + i) % count;
            const XmlField &candidate = m_class->fields[field];
            if (candidate.occurs != XmlOccurs::Attribute && isTag(tag, candidate.name))
                return field;
        }
        return -1;
    }

    void readField(int index, int occurrence, void *object)
    {
        const XmlField &field = m_class->fields[index];
        m_path.enter(field, occurrence);
        if (occurrence == 1 && field.occurs != XmlOccurs::Repeated)
            addTagError(field, "does not satisfy 'maxOccurs = 1' condition");
        if (field.model) {
            readElement(field.model(), field.add(object));
        } else {
            std::string_view text;
            const bool isEscaped = isMarkedAsEscaped(field);
            if (m_reader.readText(&text) && !readValue(*field.type, text, isEscaped, field.add(object)))
                addTagError(field, QLatin1String("does not hold ") + QLatin1String(field.type->expected));
            if (!m_reader.attributes().isEmpty())
                keepAttributesOfValue(index, occurrence, object);
            noteFault();
        }
        m_path.leave();
    }

    static bool readValue(const XmlType &type, std::string_view text, bool isEscaped, void *value)
    {
        if (type.form == XmlType::Form::Parsed)
            return type.parse(trimmed(text), value);
        QString *const target = static_cast<QString *>(value);
        *target = textOf(text);
        if (type.form == XmlType::Form::Text && !target->isEmpty())
            *target = XmlText::normalized(*target);
        return !isEscaped || XmlText::unescape(target);
    }

    void readAttributes(void *object)
    {
        const XmlReader::Attributes &attributes = m_reader.attributes();
        for (const XmlReader::Attribute &attribute : attributes) {
            const XmlField *known = nullptr;
            for (int i = 0; i < m_class->fieldCount && !known; ++i) {
                const XmlField &field = m_class->fields[i];
                if (field.occurs == XmlOccurs::Attribute && isTag(attribute.name, field.name))
                    known = &field;
            }
            if (known) {
                const QByteArray text = m_reader.decoded(attribute);
                if (!readValue(*known->type, {text.constData(), std::size_t(text.size())}, false,
                               known->add(object)))
                    addTagError(*known,
                                QLatin1String("does not hold ") + QLatin1String(known->type->expected));
            } else if (attribute.name != "dyn_lists") {
                keep(object, {XmlUnknown::Kind::Attribute, -1, 0, copyOf(attribute.name), {}, 0, 0},
                     attribute.source);
            }
        }
    }

    bool isMarkedAsEscaped(const XmlField &field) const
    {
        for (const XmlReader::Attribute &attribute : m_reader.attributes()) {
            if (isEscapeMark(field, attribute))
                return attribute.value == "true";
        }
        return false;
    }

    static bool isEscapeMark(const XmlField &field, const XmlReader::Attribute &attribute)
    {
        return attribute.name == "escaped" && field.type->form != XmlType::Form::Parsed;
    }

    /// Of the element that was read last. An empty value that need not stand is not written, nor are its
    /// attributes.
    void keepAttributesOfValue(int index, int occurrence, void *object)
    {
        const XmlField &field = m_class->fields[index];
        for (const XmlReader::Attribute &attribute : m_reader.attributes()) {
            if (!isEscapeMark(field, attribute) && field.occurrences(object) > 0)
                keep(
                    object,
                    {XmlUnknown::Kind::AttributeOfValue, index, occurrence, copyOf(attribute.name), {}, 0, 0},
                    attribute.source);
        }
    }

    void keepElement(void *object, int field, int index)
    {
        const std::string_view name = m_reader.tag();
        const XmlReader::Source source = m_reader.skip();
        noteFault(name);
        keep(object,
             {XmlUnknown::Kind::Element,
              field,
              index,
              copyOf(name.substr(0, 64)),
              {},
              source.elements,
              source.depth},
             source.bytes);
    }

    void keep(void *object, XmlUnknown::Entry entry, std::string_view source)
    {
        // An element has attributes of its own as well.
        const int attributes = m_reader.attributes().size();
        const bool isAttribute = entry.kind != XmlUnknown::Kind::Element;
        if (int(source.size()) > m_unknownLeft || (isAttribute && attributes > XmlLimits::attributes - 2)) {
            addWarning(QStringLiteral("'%1' is not known, and too much to be kept")
                           .arg(shortName({entry.name.constData(), std::size_t(entry.name.size())})),
                       m_path.text());
            return;
        }
        // Small ones cost more than their bytes.
        m_unknownLeft -= int(source.size()) + 32;
        entry.source = copyOf(source);
        m_class->unknown(object).m_entries.append(entry);
    }

    /// Brings what is kept into the order, and behind the children, that writing will give it.
    void settleUnknown(void *object)
    {
        QVector<XmlUnknown::Entry> &entries = m_class->unknown(object).m_entries;
        for (XmlUnknown::Entry &entry : entries) {
            if (entry.kind != XmlUnknown::Kind::Element)
                continue;
            const int field = entry.field;
            while (entry.field >= 0 && !isWritten(m_class->fields[entry.field], object))
                --entry.field;
            if (entry.field != field)
                entry.index = entry.field < 0 ? 0 : m_class->fields[entry.field].occurrences(object) - 1;
        }
        std::stable_sort(entries.begin(), entries.end(),
                         [](const XmlUnknown::Entry &left, const XmlUnknown::Entry &right) {
                             return std::tie(left.kind, left.field, left.index)
                                    < std::tie(right.kind, right.field, right.index);
                         });
    }

    static bool isWritten(const XmlField &field, const void *object)
    {
        return field.occurs != XmlOccurs::Attribute && field.occurrences(object) > 0;
    }

    void reportMissing(const int *counts)
    {
        for (int i = 0; i < m_class->fieldCount; ++i) {
            const XmlField &field = m_class->fields[i];
            if (counts[i] > 0 || field.occurs == XmlOccurs::Attribute)
                continue;
            if (field.occurs == XmlOccurs::Required)
                addTagError(field, "does not satisfy 'minOccurs = 1' condition");
            else if (m_report->warnings.size() < XmlReport::maximumEntries)
                addWarning(QStringLiteral("tag '%1' is absent").arg(field.name), m_path.text());
        }
    }

    void addTagError(const XmlField &field, const QString &text)
    {
        addError(QStringLiteral("tag '%1' %2").arg(field.name, text), m_path.text());
    }

    void addTagError(const XmlField &field, const char *text)
    {
        addTagError(field, QString::fromLatin1(text));
    }

    void addError(const QString &text, const QString &path)
    {
        if (isFull())
            return;
        m_report->errors.append(XmlText::oneLine(
            QStringLiteral("Error in class '%1': %2").arg(QLatin1String(m_class->name), text)));
        m_report->errorPlaces.append({XmlText::oneLine(path), m_reader.line()});
    }

    void addWarning(const QString &text, const QString &path)
    {
        if (m_report->warnings.size() >= XmlReport::maximumEntries)
            return;
        m_report->warnings.append(XmlText::oneLine(
            QStringLiteral("Warning in class '%1': %2").arg(QLatin1String(m_class->name), text)));
        m_report->warningPlaces.append({XmlText::oneLine(path), m_reader.line()});
    }

    void noteStrayText()
    {
        if (m_reader.takeStrayText())
            addWarning(QStringLiteral("text between the tags is not kept"), m_path.text());
    }

    /// Remembers where the reader was when its first fault appeared.
    void noteFault(std::string_view unknownTag = {})
    {
        if (!m_reader.hasFault() || !m_faultPath.isEmpty())
            return;
        m_faultPath = unknownTag.empty() ? m_path.text() : m_path.text(shortName(unknownTag));
    }

    bool isFull() const { return m_report->errors.size() >= XmlReport::maximumEntries; }

    XmlReader m_reader;
    XmlReport *m_report;
    const XmlClass *m_class;
    XmlPath m_path;
    QString m_faultPath;
    int m_unknownLeft;
};

bool XmlModel::read(const XmlClass &description, const QByteArray &document, void *object, XmlReport *report)
{
    XmlReport ownReport;
    XmlReport *const target = report ? report : &ownReport;
    *target = XmlReport();
    XmlModelReader(document, description, target).readDocument(description, object);
    return target->errors.isEmpty();
}
