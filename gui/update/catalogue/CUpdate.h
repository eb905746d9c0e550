#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/update/catalogue/XmlReport.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

/**
 * One update: a package, what it is for, and where it lies.
 *
 * Which updates apply to an installation is for the updater to say (docs/reference/update-catalogue.md).
 * Values come from a file on a server: paths and texts are to be checked by whoever uses them. The element is
 * "Update". A value type.
 */
class KOVGUI_EXPORT CUpdate
{
public:
    /// Reads a whole document (UTF-8, at most 8 MiB) whose root is this element. No I/O; any bytes are safe.
    /// @param report  if given, receives the errors and warnings
    /// @return false on any error; the object is left as it was then
    bool read(const QByteArray &document, XmlReport *report = nullptr);
    /// The whole document as read() takes it.
    QByteArray write() const;

    /// Attribute of the element; optional.
    QString uuid;
    /// Shown to the user.
    QString updateName;
    /// Release notes, plain text of any number of lines.
    QString updateDescription;
    /// URL of the package, absolute or relative to the catalogue.
    QString filePath;
    /// Bytes of the package.
    qint64 fileSize = 0;
    /// Such as "de" or "de_DE"; empty or "any" for every locale.
    QString localeName;
    /// "windows", "linux", "macos"; empty or "any" for every system.
    QString osType;
    /// When it was published, in UTC.
    QDateTime dateTime;
    QString distributorName;
    /// It has to be bought.
    bool chargeable = false;
    /// "released" for updates on offer.
    QString status;
    /// Versions that it can be installed over, separated by commas; empty for every older one.
    QString ancestry;
    /// MD5 of the package, 32 hexadecimal digits.
    QString checkSum;
    /// Serial number of a hotfix.
    QString hotfixSN;
    QString updateType;
    /// As the attribute; when both stand, this one counts.
    QString uuidElement;
};
