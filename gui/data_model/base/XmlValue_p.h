#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <string_view>

/**
 * A kind of plain value: its written form, and what is one. Written forms are the same in every locale and
 * time zone. The void pointers are to the C++ type that the kind has in a model class.
 */
struct XmlType
{
    enum class Form {
        /// By parse and print, from ASCII text without blanks around it.
        Parsed,
        /// QString, for people: what is read is trimmed and has line feeds as line ends, unless it is
        /// escaped.
        Text,
        /// QString, for machines (names, paths): every character counts.
        Exact
    };

    Form form;
    /// For error messages: "tag 'X' does not hold …".
    const char *expected;
    bool (*parse)(std::string_view text, void *value);
    /// False if the value has no written form.
    bool (*print)(const void *value, QByteArray *text);
    bool (*equal)(const void *left, const void *right);
};

namespace XmlTypes {

/// QString. Null parse and print: XmlText has the rules.
extern const XmlType text;
extern const XmlType exact;
/// bool: "true", "1", "false", "0"; written as words.
extern const XmlType truth;
/// quint32, decimal digits.
extern const XmlType uint32;
/// qint32, decimal digits and perhaps a "-".
extern const XmlType int32;
/// qint64, not negative, decimal digits.
extern const XmlType size;
/// double, finite, with a decimal point; written with as many digits as bring the same number back.
extern const XmlType real;
/// QDateTime in UTC: "yyyy-MM-dd hh:mm:ss", the years 1 to 9999; written without its milliseconds.
extern const XmlType dateTime;

} // namespace XmlTypes

/// Texts in documents.
namespace XmlText {

/// How a text for people is read: line ends become line feeds, blanks around it go.
QString normalized(const QString &text);

/// The characters that XML allows, with "\uXXXX" for the others (a code unit each), for carriage returns and
/// for blanks at both ends; a backslash is doubled.
QString escaped(const QString &text);
/// The way back. False if a backslash stands for nothing.
bool unescape(QString *text);
/// XML can hold these characters as they are.
bool isAllowed(const QString &text);

/// Of foreign text: one line that a report may quote.
QString oneLine(QString text);

} // namespace XmlText
