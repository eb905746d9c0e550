#pragma once

#include "gui/tasks/http/CAbstractFileParser.h"

#include <QMap>
#include <QString>

/**
 * Reads the small XML document with which a web service answers (docs/reference/http-responses.md) into a map
 * of values and a result code.
 *
 * data() is the integer in the element "Result", invalid where that is missing or not numeric. errCode(): 0
 * success, 1 the file is missing or cannot be read, 3 not well-formed XML or larger than a request's body may
 * be, 4 empty or without a "Result" element, 5 another root tag than the expected one. A "Result" that is not
 * numeric counts as success: look at data().
 */
class KOVGUI_EXPORT CHttpResponseParser : public CAbstractFileParser
{
    Q_OBJECT

public:
    explicit CHttpResponseParser(const QString &filePath = QString());
    ~CHttpResponseParser() override;

    using CAbstractFileParser::parse;

    /// The texts of the root's children by tag, a later one of a name in place of an earlier one, and
    /// "Version", the root's attribute ("Unknown" without one). With code 5 "Version" alone; nothing with 3
    /// and for an empty file; with 1 what was there before.
    QMap<QString, QVariant> getValues() const;

    /// The only root tag to accept, case-sensitive; empty, as at first, for any.
    QString rootTagName() const;
    void setRootTagName(const QString &name);

protected:
    int parse(QVariant &result) override;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
