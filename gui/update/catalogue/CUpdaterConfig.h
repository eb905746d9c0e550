#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/update/catalogue/CAutomaticUpdate.h"
#include "gui/update/catalogue/CUpdates.h"
#include "gui/update/catalogue/XmlReport.h"

#include <QByteArray>
#include <QString>
#include <optional>

/**
 * The configuration of the updater.
 * The element is "TessarineUpdaterConfig". A value type.
 */
class KOVGUI_EXPORT CUpdaterConfig
{
public:
    CUpdaterConfig();

    /// Reads a whole document (UTF-8, at most 8 MiB) whose root is this element. No I/O; any bytes are safe.
    /// @param report  if given, receives the errors and warnings
    /// @return false on any error; the object is left as it was then
    bool read(const QByteArray &document, XmlReport *report = nullptr);
    /// The whole document as read() takes it.
    QByteArray write() const;

    /// Address of the update catalogue.
    QString updateUrl;
    /// Folder for downloaded packages; empty for the one of the system.
    QString downloadPath;
    /// Days until the user is reminded of an update that was put off.
    quint32 remindPeriod = 0;
    /// The maker's purchase page; by default the one of the current locale.
    QString buyLink;
    std::optional<CAutomaticUpdate> automaticUpdate;
    /// The installed products, each with its version.
    std::optional<CUpdates> installed;
};
