#pragma once

#include "gui/KovGuiGlobal.h"
#include "kov_sdk/KovTypes.h"

#include <QHash>
#include <QString>

struct QMetaObject;

/**
 * Process-wide functions of the library. All of them are to be called on the GUI thread during start-up, before other
 * threads use the library; nothing here is locked.
 */
namespace KovGui {

/**
 * Initialises the library; the first call that a host makes. Records the mode, writes the start-up line to the log,
 * registers value types, fills staticMetaObjectHash() with the library's default classes and hands the task kinds to
 * the task framework.
 *
 * A host that set no organisation or application name gets "Tessarine" and the mode's product name, because the
 * settings store needs both.
 *
 * A second call keeps the first mode and logs an error, but fills the table again: a host's own entries are undone.
 * Register them after init(), before first use.
 */
KOVGUI_EXPORT void init(_KOV_APPLICATION_MODE mode);
/// The mode of the first init(), 0 before it.
KOVGUI_EXPORT _KOV_APPLICATION_MODE applicationMode();

/**
 * Chooses the log's folder for the application mode: the user's local data for modes 0 and 2, else the system's logs.
 * @param flag  kept as the logging switch; records are written either way
 */
KOVGUI_EXPORT void setupLogging(bool flag);

/// The application's display name: what setAppGuiName() set, else the product name of the mode.
KOVGUI_EXPORT QString getAppGuiName();
/// An empty name restores the product name.
KOVGUI_EXPORT void setAppGuiName(const QString &name);

/// Sets the updater program of a mode key ("app", "ctl") and the process's one update mode.
KOVGUI_EXPORT void setUpdaterFilePathAndUpdateMode(const QString &filePath, const QString &updateMode,
                                                   const QString &modeKey);
/// The updater's path; empty for an unknown key (logged the first time). updateModeOut is filled either way.
KOVGUI_EXPORT QString getUpdaterFilePathAndUpdateMode(QString &updateModeOut, const QString &modeKey);

/**
 * The implementation registry: from the name of a policy or task class to the class to create. A host puts its own
 * subclass under the same key after init() and before first use. The class needs Q_OBJECT (else its base is created
 * silently) and an invokable constructor: without arguments for policies, with CTaskGenericId* for tasks.
 */
KOVGUI_EXPORT QHash<QString, const QMetaObject *> &staticMetaObjectHash();

} // namespace KovGui

namespace EnumUtils {

/// The product's display name; "Unknown product" for a value that is no mode.
KOVGUI_EXPORT QString clientAppNameFromAppMode(_KOV_APPLICATION_MODE mode);

} // namespace EnumUtils
