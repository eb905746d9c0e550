#pragma once

#include "gui/KovGuiGlobal.h"

#include <QByteArray>
#include <QString>

namespace KovGui {

/**
 * Foreign text as it may stand in a log record: UTF-8 with line feeds, carriage returns and other control
 * characters escaped (\n, \r, \x1b), so that a program's output or a server's answer cannot forge a record.
 */
KOVGUI_EXPORT QByteArray logText(const QString &text);
KOVGUI_EXPORT QByteArray logText(const QByteArray &text);

/// Sends Qt's own messages (qWarning and the like) to the log as records of source 1, as well as to the
/// handler that was installed before; false puts that handler back. A host calls it once at start; the
/// library never does.
KOVGUI_EXPORT void forwardQtMessages(bool on);

} // namespace KovGui
