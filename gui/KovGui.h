#pragma once

#include "gui/frame/Application.h"

/**
 * Process-wide functions of the library. All of them are to be called on the GUI thread during start-up,
 * before other threads use the library; nothing here is locked.
 */
namespace KovGui {

/**
 * Initialises the library; the first call that a host makes, once its QApplication is there: what
 * follows makes windows, timers and settings. Records the mode, writes the start-up line to the log,
 * registers value types, fills staticMetaObjectHash() with the library's default classes and hands the task
 * kinds to the task framework.
 *
 * A host that set no organisation or application name gets "Tessarine" and the mode's product name, because
 * the settings store needs both.
 *
 * A second call keeps the first mode and logs an error, but fills the table again: a host's own entries are
 * undone. Register them after init(), before first use.
 */
KOVGUI_EXPORT void init(_KOV_APPLICATION_MODE mode);

/**
 * Chooses the log's folder for the application mode: the user's local data for modes 0 and 2, else the
 * system's logs.
 * @param flag  kept as the logging switch; records are written either way
 */
KOVGUI_EXPORT void setupLogging(bool flag);

} // namespace KovGui
