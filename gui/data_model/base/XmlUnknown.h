#pragma once

#include <QByteArray>
#include <QVector>

/**
 * The elements and attributes of a document that its class does not know, as they stood, and where. A model
 * keeps them, so that a document of a newer version is still whole after this one has read and written it.
 *
 * They keep their place behind the known child that they followed, also when that child has gone meanwhile.
 * Comments and processing instructions are kept inside an unknown element only. A value type.
 */
class XmlUnknown
{
public:
    bool isEmpty() const { return m_entries.isEmpty(); }
    void clear() { m_entries.clear(); }

    friend bool operator==(const XmlUnknown &left, const XmlUnknown &right)
    {
        return left.m_entries == right.m_entries;
    }
    friend bool operator!=(const XmlUnknown &left, const XmlUnknown &right) { return !(left == right); }

private:
    friend class XmlModelReader;
    friend class XmlModelWriter;
    friend class XmlModelWalk;

    enum class Kind { Element, Attribute, AttributeOfValue };

    struct Entry
    {
        Kind kind;
        /// The known child that it follows or belongs to; -1 before the first.
        int field;
        /// Which of that child's repetitions.
        int index;
        QByteArray name;
        QByteArray source;
        /// What it counts for the limits.
        int elements;
        int depth;

        bool operator==(const Entry &other) const
        {
            return kind == other.kind && field == other.field && index == other.index
                   && source == other.source;
        }
    };

    /// In the order of kind, field and index.
    QVector<Entry> m_entries;
};
