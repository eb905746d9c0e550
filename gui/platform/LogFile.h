#pragma once

#include <cstddef>

/**
 * The process's one open log file. It knows nothing of directories and of when to look: that is gui/log.
 *
 * Every function may be called from any thread at any time, takes no lock, blocks on nothing but the disk,
 * never fails loudly and may change the thread's last error. The file is inherited by a forked child and by
 * no program that the process starts.
 */
namespace KovGui::Platform::LogFile {

/// Between a successful open() and the next close().
bool isOpen() noexcept;

/// True if the open file is the one that stands at `path` (UTF-8) now: not moved away, deleted or replaced.
bool isAt(const char *path) noexcept;

/**
 * Opens the file at `path` for appending and puts it in place of the one open before, which records being
 * written meanwhile may still reach. A file that is created is readable and writable for other users.
 *
 * False, with the present file untouched, when that is not possible, or when something other than a plain
 * file stands there. On Unix a symbolic link and a file with a second name are refused too: in a folder that
 * everybody may write, such a trap leads into another user's file.
 */
bool open(const char *path) noexcept;

/// The next record needs an open(). The file itself is let go when no record is being written to it any more;
/// on Unix at that open().
void close() noexcept;

/// Adds one record at the end of the file, whole and in one step, even while other processes add theirs. What
/// a full disk refuses is lost. False only if no file is open: nothing was tried.
bool append(const char *record, std::size_t length) noexcept;

} // namespace KovGui::Platform::LogFile
