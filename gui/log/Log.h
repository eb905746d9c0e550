#pragma once

#include "gui/log/LogExport.h"

#include <cstddef>

/**
 * The log: one text line a record, appended to one file that all threads and processes share
 * (docs/reference/log-format.md). Needs no Qt.
 *
 * Any thread may log at any time; no lock, no allocation on the common path; a call never fails, never throws and
 * leaves errno (the last error on Windows) as it was. A record is on its way to the disk when the call returns: the
 * process may be killed right after it.
 *
 * A record is at most 4,095 bytes with its line feed; a longer message is cut.
 */
namespace KovGui {

/// @param category  empty for none
/// @param level     low four bits: 0 fatal/error, 1 warning, 2 information, 3 debug, 4 trace; the bits above: the source
///                  (1 = a message forwarded from the UI toolkit)
/// @param format    as printf's
KOVGUI_LOG_EXPORT void log(const char *category, const char *module, unsigned level, const char *format, ...)
    KOVGUI_LOG_PRINTF(4, 5);

/// The verbosity threshold, initially 1: KOV_LOG calls of a higher level are skipped, arguments and all.
KOVGUI_LOG_EXPORT int logVerbosity();
KOVGUI_LOG_EXPORT void setLogVerbosity(int level);

/// Sets the directory (UTF-8) of the log file "tessarine-qor.log"; the next record opens it there.
KOVGUI_LOG_EXPORT void setLogDirectory(const char *directory);

/// Where a finished record goes, line feed included. Null restores the default, which writes to the log file.
using LogOutputFunction = void (*)(const char *record, std::size_t length);
KOVGUI_LOG_EXPORT void setLogOutputFunction(LogOutputFunction function);

} // namespace KovGui

/// The library's own records: no category, module "KovGui". Level 0 is always written.
#define KOV_LOG(level, ...) KOV_LOG_TAG("", level, __VA_ARGS__)
/// The same with a subsystem's tag, such as "[MESSAGE_MNG]".
#define KOV_LOG_TAG(category, level, ...)                                                                             \
    do {                                                                                                              \
        if ((level) == 0 || KovGui::logVerbosity() >= (level))                                                        \
            KovGui::log(category, "KovGui", level, __VA_ARGS__);                                                      \
    } while (false)
