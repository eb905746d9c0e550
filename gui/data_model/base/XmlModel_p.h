#pragma once

#include "gui/data_model/base/XmlLimits.h"
#include "gui/data_model/base/XmlReport.h"
#include "gui/data_model/base/XmlUnknown.h"
#include "gui/data_model/base/XmlValue_p.h"

#include <optional>

/**
 * The one mechanism behind the XML model classes. A generated class describes its element by an XmlClass:
 * names, limits and a table of its children. Reading, writing, comparing and their messages follow from the
 * table.
 *
 * A child that is not repeated may stand once only: of two values, none is the right one. What the table does
 * not name is kept in the model's XmlUnknown. A class with repeated children names their tags in the
 * attribute "dyn_lists" when it is written. A text that its plain form would not bring back is written
 * escaped and marked by the attribute "escaped" (XmlText).
 */

enum class XmlOccurs { Required, Optional, Repeated, Attribute };

struct XmlClass;

/// A child or an attribute. The functions take the model object, or the place of one value.
struct XmlField
{
    QLatin1String name;
    XmlOccurs occurs;
    bool isPersonal;
    /// The kind of plain value; null for a model.
    const XmlType *type;
    /// The class of the model; null for a plain value.
    const XmlClass &(*model)();
    int (*count)(const void *object);
    const void *(*at)(const void *object, int index);
    void *(*edit)(void *object, int index);
    /// A place for one more value; for a single value its place.
    void *(*add)(void *object);
    void (*clear)(void *object);

    /// How often it stands in the document.
    int occurrences(const void *object) const { return occurs == XmlOccurs::Required ? 1 : count(object); }
};

struct XmlClass
{
    const char *name;
    QLatin1String element;
    XmlLimits limits;
    const XmlField *fields;
    int fieldCount;
    XmlUnknown &(*unknown)(void *object);
    const XmlUnknown &(*constUnknown)(const void *object);
};

namespace XmlModel {

/// A whole document to an object as it is constructed. On false the object is of no use.
/// @param report  may be null
bool read(const XmlClass &description, const QByteArray &document, void *object, XmlReport *report);
/// Empty, and an error in the report, if reading would refuse the document.
QByteArray write(const XmlClass &description, const void *object, XmlReport *report);
bool equal(const XmlClass &description, const void *left, const void *right);
/// Paths of what differs, in the order of the table.
QStringList differingPaths(const XmlClass &description, const void *left, const void *right);
QVector<XmlPersonalValue> personalValues(const XmlClass &description, const void *object);
void clearPersonalValues(const XmlClass &description, void *object);

} // namespace XmlModel

/// The access of a table to a member: a plain value, an optional one or a vector.
namespace XmlAccess {

template <class Value>
struct Container
{
    static bool isPresent(const QString &value) { return !value.isEmpty(); }
    static bool isPresent(const QDateTime &value) { return value.isValid(); }
    template <class Other>
    static bool isPresent(const Other &)
    {
        return true;
    }

    static int count(const Value &value) { return isPresent(value) ? 1 : 0; }
    static const void *at(const Value &value, int) { return &value; }
    static void *edit(Value &value, int) { return &value; }
    static void *add(Value &value) { return &value; }
};

template <class Value>
struct Container<std::optional<Value>>
{
    static int count(const std::optional<Value> &value) { return value ? 1 : 0; }
    static const void *at(const std::optional<Value> &value, int) { return &*value; }
    static void *edit(std::optional<Value> &value, int) { return &*value; }
    static void *add(std::optional<Value> &value) { return &value.emplace(); }
};

template <class Value>
struct Container<QVector<Value>>
{
    static int count(const QVector<Value> &values) { return values.size(); }
    static const void *at(const QVector<Value> &values, int index) { return values.constData() + index; }
    static void *edit(QVector<Value> &values, int index) { return values.data() + index; }
    static void *add(QVector<Value> &values)
    {
        values.append(Value());
        return &values.last();
    }
};

template <auto Member>
struct Field;

template <class Model, class Value, Value Model::*Member>
struct Field<Member>
{
    static Value &of(void *object) { return static_cast<Model *>(object)->*Member; }
    static const Value &of(const void *object) { return static_cast<const Model *>(object)->*Member; }
    static int count(const void *object) { return Container<Value>::count(of(object)); }
    static const void *at(const void *object, int index) { return Container<Value>::at(of(object), index); }
    static void *edit(void *object, int index) { return Container<Value>::edit(of(object), index); }
    static void *add(void *object) { return Container<Value>::add(of(object)); }
    static void clear(void *object) { of(object) = Value(); }
};

} // namespace XmlAccess

enum class XmlPrivacy { Public, Personal };

/// A plain value, or several.
template <auto Member>
XmlField xmlValue(const char *name, XmlOccurs occurs, const XmlType &type, XmlPrivacy privacy)
{
    using Field = XmlAccess::Field<Member>;
    return {QLatin1String(name),
            occurs,
            privacy == XmlPrivacy::Personal,
            &type,
            nullptr,
            &Field::count,
            &Field::at,
            &Field::edit,
            &Field::add,
            &Field::clear};
}

/// A child that is a model itself, or several.
template <auto Member>
XmlField xmlModel(const char *name, XmlOccurs occurs, const XmlClass &(*model)())
{
    using Field = XmlAccess::Field<Member>;
    return {QLatin1String(name), occurs,     false,        nullptr,     model,
            &Field::count,       &Field::at, &Field::edit, &Field::add, &Field::clear};
}

template <class Model, int count>
XmlClass xmlClassOf(const char *name, const char *element, const XmlLimits &limits,
                    const XmlField (&fields)[count])
{
    return {
        name,
        QLatin1String(element),
        limits,
        fields,
        count,
        [](void *object) -> XmlUnknown & { return static_cast<Model *>(object)->unknown; },
        [](const void *object) -> const XmlUnknown & { return static_cast<const Model *>(object)->unknown; }};
}
