#include "gui/data_model/base/XmlPath_p.h"

/// Walks over objects that are not documents at the moment: comparing, and finding what is personal.
class XmlModelWalk
{
public:
    /// @param paths  receives what differs; null to stop at the first difference
    explicit XmlModelWalk(QStringList *paths = nullptr)
        : m_paths(paths)
    { }

    bool compare(const XmlClass &description, const void *left, const void *right)
    {
        bool isEqual = true;
        for (int i = 0; i < description.fieldCount && (isEqual || m_paths); ++i)
            isEqual &= compareField(description.fields[i], left, right);
        if (isEqual || m_paths)
            isEqual &= compareUnknown(description.constUnknown(left), description.constUnknown(right));
        return isEqual;
    }

    void collect(const XmlClass &description, const void *object, QVector<XmlPersonalValue> *values)
    {
        for (int i = 0; i < description.fieldCount; ++i) {
            const XmlField &field = description.fields[i];
            const int count = field.model || field.isPersonal ? field.count(object) : 0;
            for (int index = 0; index < count; ++index) {
                m_path.enter(field, index);
                if (field.model)
                    collect(field.model(), field.at(object, index), values);
                else if (const QString text = textOf(field, field.at(object, index)); !text.isEmpty())
                    values->append({pathOf(field), text});
                m_path.leave();
            }
        }
        for (const XmlUnknown::Entry &entry : description.constUnknown(object).m_entries)
            values->append({m_path.text(nameOf(entry)), QString::fromUtf8(entry.source)});
    }

    static void clear(const XmlClass &description, void *object)
    {
        for (int i = 0; i < description.fieldCount; ++i) {
            const XmlField &field = description.fields[i];
            if (field.isPersonal)
                field.clear(object);
            for (int index = 0; field.model && index < field.count(object); ++index)
                clear(field.model(), field.edit(object, index));
        }
        description.unknown(object).clear();
    }

    XmlPath &path() { return m_path; }

private:
    bool compareField(const XmlField &field, const void *left, const void *right)
    {
        const int leftCount = field.occurrences(left);
        const int rightCount = field.occurrences(right);
        bool isEqual = true;
        for (int index = 0; index < qMax(leftCount, rightCount) && (isEqual || m_paths); ++index) {
            m_path.enter(field, index);
            if (index >= leftCount || index >= rightCount)
                isEqual = differs(pathOf(field));
            else if (field.model)
                isEqual &= compare(field.model(), field.at(left, index), field.at(right, index));
            else if (!field.type->equal(field.at(left, index), field.at(right, index)))
                isEqual = differs(pathOf(field));
            m_path.leave();
        }
        return isEqual;
    }

    bool compareUnknown(const XmlUnknown &left, const XmlUnknown &right)
    {
        if (left == right)
            return true;
        const QVector<XmlUnknown::Entry> &longer
            = left.m_entries.size() >= right.m_entries.size() ? left.m_entries : right.m_entries;
        const QVector<XmlUnknown::Entry> &shorter
            = left.m_entries.size() >= right.m_entries.size() ? right.m_entries : left.m_entries;
        for (const XmlUnknown::Entry &entry : longer) {
            if (!shorter.contains(entry))
                differs(m_path.text(nameOf(entry)));
        }
        return false;
    }

    static QString nameOf(const XmlUnknown::Entry &entry)
    {
        const QString name = QString::fromUtf8(entry.name);
        return entry.kind == XmlUnknown::Kind::Element ? name : QLatin1Char('@') + name;
    }

    bool differs(const QString &path)
    {
        if (m_paths)
            m_paths->append(path);
        return false;
    }

    QString pathOf(const XmlField &field) const
    {
        if (field.occurs != XmlOccurs::Attribute)
            return m_path.text();
        XmlPath element = m_path;
        element.leave();
        return element.text(QLatin1Char('@') + field.name);
    }

    static QString textOf(const XmlField &field, const void *value)
    {
        if (field.type->form != XmlType::Form::Parsed)
            return *static_cast<const QString *>(value);
        QByteArray text;
        field.type->print(value, &text);
        return QString::fromLatin1(text);
    }

    QStringList *m_paths;
    XmlPath m_path;
};

bool XmlModel::equal(const XmlClass &description, const void *left, const void *right)
{
    return XmlModelWalk().compare(description, left, right);
}

QStringList XmlModel::differingPaths(const XmlClass &description, const void *left, const void *right)
{
    QStringList paths;
    XmlModelWalk walk(&paths);
    walk.path().enter(description.element);
    walk.compare(description, left, right);
    return paths;
}

QVector<XmlPersonalValue> XmlModel::personalValues(const XmlClass &description, const void *object)
{
    QVector<XmlPersonalValue> values;
    XmlModelWalk walk;
    walk.path().enter(description.element);
    walk.collect(description, object, &values);
    return values;
}

void XmlModel::clearPersonalValues(const XmlClass &description, void *object)
{
    XmlModelWalk::clear(description, object);
}
