#pragma once

#include "gui/update/catalogue/XmlReport.h"

#include <QDateTime>
#include <QVector>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>
#include <functional>
#include <optional>

/**
 * The one mechanism behind the XML model classes. A class describes its element by an XmlClass: its names, an
 * attribute perhaps, and a table of its children. Reading, writing, the checks and their messages follow from
 * the table.
 *
 * Unknown children and attributes are skipped, so that a newer file stays readable. A child that is not
 * repeated may stand once only: of two values, none is the right one.
 */

/// A document being read. After the first fault of the document itself, every call returns at once.
class XmlModelReader
{
public:
    /// The document is checked by XmlGate first. Messages go to the report under the name of the class being
    /// read.
    XmlModelReader(const QByteArray &document, const char *className, XmlReport *report);

    /// Enters the root; an error if it has another name.
    bool enterRoot(QLatin1String element);
    /// Enters the next child of the current element, or leaves the element and returns false.
    bool enterChild();
    /// After the root was read: nothing but white space and comments may follow.
    void finish();

    QString tag() const;
    /// Trimmed, line ends as line feeds; so is text().
    QString attribute(QLatin1String name) const;
    /// The text of the current element, which is left.
    QString text();
    void skip();
    void addError(const char *className, const QString &text);
    void addWarning(const char *className, const QString &text);
    /// The text of the current element is not what the tag should hold.
    void addValueError(const QString &tag, QLatin1String expected);
    bool hasFailed() const;

    const char *currentClass = nullptr;

private:
    /// Reads on to the next tag; false at the end and after an error.
    bool readTag();
    void breakOff(const QString &text);

    QXmlStreamReader m_stream;
    XmlReport *m_report;
    bool m_isBroken = false;
};

void readXmlValue(XmlModelReader &reader, QString *value);
void readXmlValue(XmlModelReader &reader, bool *value);
void readXmlValue(XmlModelReader &reader, quint32 *value);
void readXmlValue(XmlModelReader &reader, qint64 *value);
void readXmlValue(XmlModelReader &reader, QDateTime *value);
QString xmlValueText(const QString &value);
QString xmlValueText(bool value);
QString xmlValueText(quint32 value);
QString xmlValueText(qint64 value);
QString xmlValueText(const QDateTime &value);

enum class XmlOccurs { Required, Optional, Repeated };

template <class Model>
struct XmlField
{
    const char *tag;
    XmlOccurs occurs;
    std::function<void(XmlModelReader &, Model *)> read;
    std::function<void(QXmlStreamWriter &, const char *tag, const Model &)> write;
};

template <class Model>
struct XmlClass
{
    const char *name;
    const char *element;
    QVector<XmlField<Model>> fields;
    const char *attributeName = nullptr;
    QString Model::*attribute = nullptr;
};

class CAutomaticUpdate;
class CUpdate;
class CUpdaterConfig;
class CUpdates;
class CUpdProduct;
class CUpdProductVersion;

/// The description of a model class, defined in the .cpp of that class.
template <class Model>
const XmlClass<Model> &xmlClass();
template <>
const XmlClass<CAutomaticUpdate> &xmlClass();
template <>
const XmlClass<CUpdate> &xmlClass();
template <>
const XmlClass<CUpdaterConfig> &xmlClass();
template <>
const XmlClass<CUpdates> &xmlClass();
template <>
const XmlClass<CUpdProduct> &xmlClass();
template <>
const XmlClass<CUpdProductVersion> &xmlClass();

template <class Model>
void readXmlElement(XmlModelReader &reader, Model *model);
template <class Model>
void writeXmlElement(QXmlStreamWriter &writer, const Model &model);

/// A child with a plain value. An optional one is not written when its text is empty.
template <class Model, class Value>
XmlField<Model> xmlValue(const char *tag, XmlOccurs occurs, Value Model::*member)
{
    const auto read
        = [member](XmlModelReader &reader, Model *model) { readXmlValue(reader, &(model->*member)); };
    const auto write = [member, occurs](QXmlStreamWriter &writer, const char *name, const Model &model) {
        const QString text = xmlValueText(model.*member);
        if (occurs == XmlOccurs::Required || !text.isEmpty())
            writer.writeTextElement(QLatin1String(name), text);
    };
    return {tag, occurs, read, write};
}

/// A child that is a model itself and may be absent.
template <class Model, class Child>
XmlField<Model> xmlChild(const char *tag, std::optional<Child> Model::*member)
{
    const auto read = [member](XmlModelReader &reader, Model *model) {
        readXmlElement(reader, &(model->*member).emplace());
    };
    const auto write = [member](QXmlStreamWriter &writer, const char *, const Model &model) {
        if (model.*member)
            writeXmlElement(writer, *(model.*member));
    };
    return {tag, XmlOccurs::Optional, read, write};
}

/// Children that are models themselves.
template <class Model, class Child>
XmlField<Model> xmlList(const char *tag, QVector<Child> Model::*member)
{
    const auto read = [member](XmlModelReader &reader, Model *model) {
        (model->*member).append(Child());
        readXmlElement(reader, &(model->*member).last());
    };
    const auto write = [member](QXmlStreamWriter &writer, const char *, const Model &model) {
        for (const Child &child : model.*member)
            writeXmlElement(writer, child);
    };
    return {tag, XmlOccurs::Repeated, read, write};
}

template <class Model>
void reportMissing(XmlModelReader &reader, const XmlClass<Model> &description, const QVector<int> &counts)
{
    for (int i = 0; i < counts.size(); ++i) {
        if (counts.at(i) > 0)
            continue;
        const QString tag = QLatin1String(description.fields.at(i).tag);
        if (description.fields.at(i).occurs == XmlOccurs::Required)
            reader.addError(description.name,
                            QStringLiteral("tag '%1' does not satisfy 'minOccurs = 1' condition").arg(tag));
        else
            reader.addWarning(description.name, QStringLiteral("tag '%1' is absent").arg(tag));
    }
}

template <class Model>
void readXmlChild(XmlModelReader &reader, Model *model, QVector<int> *counts)
{
    const XmlClass<Model> &description = xmlClass<Model>();
    const QString tag = reader.tag();
    for (int i = 0; i < description.fields.size(); ++i) {
        const XmlField<Model> &field = description.fields.at(i);
        if (tag != QLatin1String(field.tag))
            continue;
        if (++(*counts)[i] == 2 && field.occurs != XmlOccurs::Repeated)
            reader.addError(description.name,
                            QStringLiteral("tag '%1' does not satisfy 'maxOccurs = 1' condition").arg(tag));
        return field.read(reader, model);
    }
    reader.skip();
}

template <class Model>
void readXmlElement(XmlModelReader &reader, Model *model)
{
    const XmlClass<Model> &description = xmlClass<Model>();
    const char *const outerClass = reader.currentClass;
    reader.currentClass = description.name;
    if (description.attribute)
        model->*description.attribute = reader.attribute(QLatin1String(description.attributeName));
    QVector<int> counts(description.fields.size());
    while (reader.enterChild())
        readXmlChild(reader, model, &counts);
    if (!reader.hasFailed())
        reportMissing(reader, description, counts);
    reader.currentClass = outerClass;
}

template <class Model>
void writeXmlElement(QXmlStreamWriter &writer, const Model &model)
{
    const XmlClass<Model> &description = xmlClass<Model>();
    writer.writeStartElement(QLatin1String(description.element));
    if (description.attribute && !(model.*description.attribute).isEmpty())
        writer.writeAttribute(QLatin1String(description.attributeName),
                              xmlValueText(model.*description.attribute));
    for (const XmlField<Model> &field : description.fields) {
        if (field.occurs == XmlOccurs::Repeated)
            writer.writeAttribute(QStringLiteral("dyn_lists"), QLatin1String(field.tag));
    }
    for (const XmlField<Model> &field : description.fields)
        field.write(writer, field.tag, model);
    writer.writeEndElement();
}

/// A whole document to a model. False leaves the model as it was.
template <class Model>
bool readXmlDocument(const QByteArray &document, Model *model, XmlReport *report)
{
    XmlReport ownReport;
    XmlReport *const target = report ? report : &ownReport;
    *target = XmlReport();
    const XmlClass<Model> &description = xmlClass<Model>();
    XmlModelReader reader(document, description.name, target);
    Model result;
    if (reader.enterRoot(QLatin1String(description.element))) {
        readXmlElement(reader, &result);
        reader.finish();
    }
    if (!target->errors.isEmpty())
        return false;
    *model = std::move(result);
    return true;
}

template <class Model>
QByteArray writeXmlDocument(const Model &model)
{
    QByteArray document;
    QXmlStreamWriter writer(&document);
    writer.setAutoFormatting(true);
    writer.writeStartDocument();
    writeXmlElement(writer, model);
    writer.writeEndDocument();
    return document;
}
