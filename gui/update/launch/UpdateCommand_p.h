#pragma once

#include "gui/KovGuiGlobal.h"

#include <QString>

/// The command lines with which the updater is asked whether an update exists, and told to install one.
namespace UpdateCommand {

/// @param url  checked; empty: the updater uses its own server
KOVGUI_EXPORT QString checkInControlMode(const QString &updaterPath, const QString &url);
/// @param background  the updater shows nothing of its own
KOVGUI_EXPORT QString checkInAppMode(const QString &updaterPath, const QString &url, bool background);
KOVGUI_EXPORT QString install(const QString &updaterPath, const QString &packagePath);

} // namespace UpdateCommand
