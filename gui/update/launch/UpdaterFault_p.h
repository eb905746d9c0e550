#pragma once

#include "gui/KovGuiGlobal.h"
#include "kov_sdk/KovTypes.h"

#include <QProcess>
#include <QString>

/// Why the updater program failed, in sentences for the user: what happened and what can be done. Plain text.
namespace UpdaterFault {

/// Never empty, also for an exit code that no updater of the family knows.
KOVGUI_EXPORT QString explanation(int exitCode);
/// The same for a run of CTaskLaunchUpdater, which may not have come to an exit code.
/// @param result  the launcher's
KOVGUI_EXPORT QString explanation(KOV_RESULT result, int exitCode, QProcess::ExitStatus exitStatus);

} // namespace UpdaterFault
