#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/update/catalogue/XmlReport.h"

#include <QByteArray>
#include <QtGlobal>

/**
 * What the updater may do without being asked.
 * The element is "AutomaticUpdate". A value type.
 */
class KOVGUI_EXPORT CAutomaticUpdate
{
public:
    /// Reads a whole document (UTF-8, at most 8 MiB) whose root is this element. No I/O; any bytes are safe.
    /// @param report  if given, receives the errors and warnings
    /// @return false on any error; the object is left as it was then
    bool read(const QByteArray &document, XmlReport *report = nullptr);
    /// The whole document as read() takes it.
    QByteArray write() const;

    /// Look for updates at all.
    bool updateEnabled = false;
    /// 0 never, 1 daily, 2 weekly, 3 monthly.
    quint32 updatePeriod = 0;
    /// Download what was found.
    bool downloadEnabled = false;
    /// Install what was downloaded.
    bool installEnabled = false;
    /// Tell the user about each of these.
    bool notifyUser = false;
};
