#pragma once

#include "gui/log/LogExport.h"

#include <cstddef>

/**
 * The log: one text line a record, appended to one file that all threads and processes share
 * (docs/reference/log-format.md). Needs no Qt.
 *
 * Any thread may log at any time, also in a forked child and while static objects are destroyed; no lock, no
 * allocation on the common path; a call never fails, never throws and leaves errno (the last error on
 * Windows) as it was. A record is on its way to the disk when the call returns: the process may be killed
 * right after it. What a full disk or a missing folder refuses is lost.
 *
 * A record is at most 4,095 bytes with its line feed; a longer message is cut, in front of a UTF-8 character
 * that does not fit whole. The message is written as it comes: foreign text in it goes through logText()
 * (gui/log/LogText.h), or its line feeds would look like records.
 */
namespace KovGui {

/// Added to a level: the record was a message of the UI toolkit.
constexpr unsigned LogSourceToolkit = 1u << 4;

/**
 * Writes one record, whatever the verbosity: that is for the call site to ask (KOV_LOG does).
 *
 * @param category  empty or null for none
 * @param module    who reports, such as "KovGui"
 * @param level     low four bits: 0 fatal/error, 1 warning, 2 information, 3 debug, 4 trace, others are
 * written as numbers; the bits above: the source (LogSourceToolkit)
 * @param format    as printf's
 */
KOVGUI_LOG_EXPORT void log(const char *category, const char *module, unsigned level, const char *format,
                           ...) noexcept KOVGUI_LOG_PRINTF(4, 5);

/// Where a record comes from. The texts may be null; they are read during the call only.
struct LogContext
{
    const char *category = nullptr;
    const char *module = nullptr;
    const char *file = nullptr; ///< a path is reduced to the part behind its last slash or backslash
    int line = 0;
    const char *function = nullptr; ///< reduced to the part behind its last colon
};

/// log() with a place in the source, written unless file or function is missing or the source is the toolkit.
KOVGUI_LOG_EXPORT void logRecord(const LogContext &context, unsigned level, const char *format, ...) noexcept
    KOVGUI_LOG_PRINTF(3, 4);

/// The verbosity threshold, initially 1: KOV_LOG calls of a higher level are skipped, arguments and all.
KOVGUI_LOG_EXPORT int logVerbosity() noexcept;
KOVGUI_LOG_EXPORT void setLogVerbosity(int level) noexcept;

/**
 * Sets the directory (UTF-8) of the log file "tessarine-qor.log"; the next record opens it there. Directory
 * and path are cut to 1,023 bytes each. The directory is not created.
 *
 * Null or empty: no directory is set, and the next record takes the system's logs folder. When the file
 * cannot be opened, the user's local data folder takes the directory's place, and if there is none, the
 * system's logs folder.
 *
 * From any thread; each directory is remembered once for the life of the process.
 */
KOVGUI_LOG_EXPORT void setLogDirectory(const char *directory) noexcept;

/// The path (UTF-8) of the log file in the directory that is set or was taken last; empty as long as there is
/// none. The text stays valid.
KOVGUI_LOG_EXPORT const char *logFilePath() noexcept;

/**
 * Where a finished record goes, line feed included. It must be safe to call from any thread and must not log;
 * what it throws is dropped.
 */
using LogOutputFunction = void (*)(const char *record, std::size_t length);
/// Null restores the default, which writes to the log file. A record that another thread is writing through
/// the old function meanwhile is written once more through the new one, so none is missed.
KOVGUI_LOG_EXPORT void setLogOutputFunction(LogOutputFunction function) noexcept;
/// Calls now inside an output function: the code of a replaced one may be unloaded once this has been 0.
KOVGUI_LOG_EXPORT int logCallsInFlight() noexcept;

} // namespace KovGui

/// The library's own records: no category, module "KovGui". Level 0 is always written.
#define KOV_LOG(level, ...) KOV_LOG_TAG("", level, __VA_ARGS__)
/// The same with a subsystem's tag, such as "[MESSAGE_MNG]".
#define KOV_LOG_TAG(category, level, ...)                                                                    \
    do {                                                                                                     \
        if ((level) == 0 || KovGui::logVerbosity() >= (level))                                               \
            KovGui::log(category, "KovGui", level, __VA_ARGS__);                                             \
    } while (false)
