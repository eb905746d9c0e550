#pragma once

#include "gui/data_model/base/XmlLimits.h"

#include <QByteArray>
#include <QString>
#include <QVarLengthArray>
#include <string_view>

/**
 * A forward reader of XML 1.0 over the bytes of a whole document, for the model classes. QXmlStreamReader
 * needs for the bare tokens alone what reading a document into its classes may cost (docs/benchmarks.md), and
 * cannot return an element as it stands in the file.
 *
 * It takes less than the standard: UTF-8 only, no document type declaration and so no entities but the five
 * that are built in and character references, and nothing beyond the limits. Names outside ASCII are taken as
 * they come, and prefixes are parts of names. One pass, no recursion; any bytes are safe. After the first
 * fault every call returns false at once.
 */
class XmlReader
{
public:
    struct Attribute
    {
        std::string_view name;
        /// Between the quotes, not decoded.
        std::string_view value;
        /// As it stands: name="value".
        std::string_view source;
    };
    using Attributes = QVarLengthArray<Attribute, 8>;

    /// An element as it stands in the document.
    struct Source
    {
        std::string_view bytes;
        int elements = 0;
        /// Levels of elements; 1 without children.
        int depth = 0;
    };

    /// The document must outlive the reader, and every view that it returned.
    XmlReader(const QByteArray &document, const XmlLimits &limits);

    bool enterRoot();
    /// Enters the next child of the current element; false when there is none, and the element is left then.
    bool enterChild();
    /// After the root was left: nothing but white space and comments may follow.
    void finish();

    /// The current element. Valid after a successful enter.
    std::string_view tag() const { return m_open.last(); }
    const Attributes &attributes() const { return m_attributes; }
    QByteArray decoded(const Attribute &attribute);
    /// Text stood between the children of an element since the last call.
    bool takeStrayText();
    /// The text of the current element, which is left; an element inside it is a fault. The view is valid
    /// until the next call. Line ends are line feeds, but for those that were written as references.
    bool readText(std::string_view *text);
    /// Leaves the current element with all that it holds.
    Source skip();

    bool hasFault() const { return !m_fault.isEmpty(); }
    /// Without a full stop; may quote the document.
    QString fault() const { return m_fault; }
    void setFault(const QString &text);
    /// Where the reader stands, from 1.
    int line();

private:
    bool checkCharacters();
    bool skipDeclaration();
    bool readMarkup(bool *isTag);
    bool readStartTag();
    bool readAttributes();
    bool readAttribute();
    bool readEndTag();
    bool skipPast(std::string_view end, int prefix);
    bool passStrayText();
    bool decode(std::string_view text, bool isAttribute, QByteArray *bytes);
    bool decodeReference(std::string_view reference, QByteArray *bytes);
    std::string_view readName();
    bool skipSpace();
    bool startsWith(std::string_view prefix) const;
    std::string_view rest() const { return {m_at, std::size_t(m_end - m_at)}; }

    const XmlLimits m_limits;
    const char *m_at;
    const char *m_end;
    /// Lines before m_counted.
    int m_lines = 0;
    const char *m_counted;
    QVarLengthArray<std::string_view, 16> m_open;
    const char *m_tagStart = nullptr;
    Attributes m_attributes;
    int m_elements = 0;
    bool m_isEmptyTag = false;
    bool m_hasStrayText = false;
    QByteArray m_buffer;
    QString m_fault;
};
