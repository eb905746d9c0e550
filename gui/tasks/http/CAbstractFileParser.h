#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>
#include <QVariant>

#include <memory>

/**
 * Reads a file that a request fetched.
 *
 * A task that is given a parser sets an empty file path to the file that it wrote, and runs parse() when its
 * request succeeded. A path that is set stays: a parser that serves a second request needs setFilePath()
 * first (an empty one for the task to set).
 *
 * A derived class overrides the protected parse() and says `using CAbstractFileParser::parse;`.
 */
class KOVGUI_EXPORT CAbstractFileParser : public QObject
{
    Q_OBJECT

public:
    explicit CAbstractFileParser(const QString &filePath = QString());
    ~CAbstractFileParser() override;

    QString filePath() const;
    void setFilePath(const QString &filePath);

    /// The result of the last parse(); invalid before it, and where that found none.
    QVariant data() const;
    /// 0 for success, else what the last parse() met; 0 before it.
    int errCode() const;
    /// Reads the file and returns data().
    QVariant parse();

protected:
    /// @param result  invalid at first; left so when there is none
    /// @return 0 or the class's own error code
    virtual int parse(QVariant &result) = 0;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
