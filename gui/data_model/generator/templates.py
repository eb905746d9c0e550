"""The text of what is generated."""
import textwrap

HEADER = '''// Generated from gui/data_model/documents/{source}: changes belong there.
#pragma once

{includes}
{toolkit}
struct XmlClass;

/**
{text} *
 * The element is "{element}". A value type.
 */
class KOVGUI_EXPORT {name}
{{
public:
{constructor}    /// Reads a whole document (UTF-8, at most {size}) whose root is this element. No I/O; any bytes are safe.
    /// @param report  if given, receives the errors and warnings with their places
    /// @return false on any error; the object is left as it was then
    bool read(const QByteArray &document, XmlReport *report = nullptr);
    /// The whole document as read() takes it.
    /// @param report  if given, receives the errors
    /// @return empty if read() would refuse the document: a value without a written form, a limit passed
    QByteArray write(XmlReport *report = nullptr) const;
    /// Where the objects differ, as XmlReport::Place names it; empty if they are equal. Repeated elements are
    /// compared in their order.
    QStringList differingPaths(const {name} &other) const;
    /// The values that tell about a person, or may: those of the marked tags, and all that the class does not
    /// know.
    QVector<XmlPersonalValue> personalValues() const;
    /// Empties them.
    void clearPersonalValues();

{members}    /// What a document of another version holds beyond this.
    XmlUnknown unknown;

    /// For the classes that hold this one.
    static const XmlClass &xmlClass();
}};

/// Every value, and what is unknown.
KOVGUI_EXPORT bool operator==(const {name} &left, const {name} &right);
inline bool operator!=(const {name} &left, const {name} &right)
{{
    return !(left == right);
}}
Q_DECLARE_TYPEINFO({name}, Q_MOVABLE_TYPE);
'''

MEMBER = '''{text}    {type} {member}{value};
'''

SOURCE_HEAD = '''// Generated from gui/data_model/documents/{source}: changes belong there.
{includes}
'''

CONSTRUCTOR = '''{name}::{name}()
    : {values}
{{ }}

'''

SOURCE = '''const XmlClass &{name}::xmlClass()
{{
    static const XmlField fields[] = {{
{rows}    }};
    static const XmlClass description = xmlClassOf<{name}>("{name}", "{element}", {{{limits}}}, fields);
    return description;
}}

bool {name}::read(const QByteArray &document, XmlReport *report)
{{
    {name} fresh;
    if (!XmlModel::read(xmlClass(), document, &fresh, report))
        return false;
    *this = std::move(fresh);
    return true;
}}

QByteArray {name}::write(XmlReport *report) const
{{
    return XmlModel::write(xmlClass(), this, report);
}}

QStringList {name}::differingPaths(const {name} &other) const
{{
    return XmlModel::differingPaths(xmlClass(), this, &other);
}}

QVector<XmlPersonalValue> {name}::personalValues() const
{{
    return XmlModel::personalValues(xmlClass(), this);
}}

void {name}::clearPersonalValues()
{{
    XmlModel::clearPersonalValues(xmlClass(), this);
}}

bool operator==(const {name} &left, const {name} &right)
{{
    return XmlModel::equal({name}::xmlClass(), &left, &right);
}}
'''

PAGE = '''# {title}

{text}

File: `{file}`, root element `{root}`. At most {size}, {elements:,} elements, nested {depth} deep; {unknown} of elements that
this version does not know are kept. The rules that all documents share are in `docs/reference/data-model.md`.
'''

PAGE_CLASS = '''
## `{element}`: `{name}`

{text}

| Tag | Needed | Value | Privacy | Meaning |
| --- | --- | --- | --- | --- |
{rows}'''


def comment(text, prefix):
    """The paragraphs of a text as lines of a comment."""
    lines = []
    for paragraph in text.strip().split('\n\n'):
        lines += textwrap.wrap(' '.join(paragraph.split()), 110 - len(prefix), break_on_hyphens=False,
                               break_long_words=False) + ['']
    return ''.join(f'{prefix}{line}'.rstrip() + '\n' for line in lines[:-1])


def bytes_text(count):
    for unit, size in (('MiB', 2**20), ('KiB', 2**10)):
        if count % size == 0:
            return f'{count // size} {unit}'
    return f'{count} bytes'
