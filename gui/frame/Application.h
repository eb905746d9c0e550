#pragma once

#include "gui/KovGuiGlobal.h"
#include "kov_sdk/KovTypes.h"

#include <QHash>
#include <QString>

struct QMetaObject;

/**
 * What the whole process shares: the application's mode and name, where its updater lies, and which classes
 * stand for the library's policies. To be called on the GUI thread; nothing here is locked.
 */
namespace KovGui {

/// The mode of the first KovGui::init(), 0 before it.
KOVGUI_EXPORT _KOV_APPLICATION_MODE applicationMode();

/// The application's display name: what setAppGuiName() set, else the product name of the mode.
KOVGUI_EXPORT QString getAppGuiName();
/// An empty name restores the product name.
KOVGUI_EXPORT void setAppGuiName(const QString &name);

/**
 * Sets the path of a companion program, and the process's one update mode.
 *
 * @param filePath    of the updater, which downloads, too
 * @param updateMode  a text of the host's own, such as the name of its release channel. Kept and handed back
 * by getUpdaterFilePathAndUpdateMode(); the library puts it into no command line and decides nothing by it
 * @param modeKey     which use of the program: "ctl" for checks, downloads and installations; "app" for
 * checks of an application that asks for them in its own name (UpgradeUtils::runUpdaterInAppMode)
 */
KOVGUI_EXPORT void setUpdaterFilePathAndUpdateMode(const QString &filePath, const QString &updateMode,
                                                   const QString &modeKey);
/// The updater's path; empty for an unknown key (logged the first time). updateModeOut is filled either way.
KOVGUI_EXPORT QString getUpdaterFilePathAndUpdateMode(QString &updateModeOut, const QString &modeKey);

/**
 * The implementation registry: from the name of a policy or task class to the class to create. A host puts
 * its own subclass under the same key after init() and before first use. The class needs Q_OBJECT (else its
 * base is created silently) and an invokable constructor: without arguments for policies, with
 * CTaskGenericId* for tasks.
 */
KOVGUI_EXPORT QHash<QString, const QMetaObject *> &staticMetaObjectHash();

} // namespace KovGui

namespace EnumUtils {

/// The product's display name; "Unknown product" for a value that is no mode.
KOVGUI_EXPORT QString clientAppNameFromAppMode(_KOV_APPLICATION_MODE mode);

} // namespace EnumUtils
