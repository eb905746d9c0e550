#pragma once

#include "programs/download_utility/Result.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

/**
 * The files of one download inside one folder: the part file that grows, the sidecar that says what it is a
 * part of, and the finished file. Implemented once per operating system.
 *
 * Every name is looked up inside the folder that open() opened, and no link is ever followed: a symbolic
 * link, a file with a second hard link, or one of another user in the place of the part file or the sidecar
 * ends with ExitCode::ForeignFile and is left as it is. The part file is locked for as long as the object
 * lives; it can be read meanwhile.
 *
 * On Windows the folder cannot be moved nor the part file be removed meanwhile. A junction is a link, and so
 * is any file there that the system keeps elsewhere (in a cloud, packed together with others) in the place of
 * the part file or the sidecar; a file of the administrators is an administrator's own; on a volume without
 * owners every file is everybody's. A program that holds a file open, so that it can be neither renamed nor
 * replaced, is waited for a second.
 *
 * One thread, except read(), which any thread may call between open() and the destructor.
 */
class Storage
{
public:
    Storage();
    /// Gives the lock back. A part file without a byte is removed, with its sidecar.
    ~Storage();

    /// Opens the folder and creates or opens the part file, locked.
    /// @param name        a safe name (FileName::isSafe)
    /// @param overwrites  false: a finished file of that name is ExitCode::FileExists, here and in finish()
    Result open(const std::string &folder, const std::string &name, bool overwrites);

    std::uint64_t partSize() const;
    Result truncatePart(std::uint64_t size);
    /// Writes at the end. ExitCode::DiskFull when there is no room; what fitted stays.
    Result append(const char *data, std::size_t size);
    /// Reads up to @p size bytes; returns how many, 0 at the end of the file, less than 0 on an error.
    long long read(std::uint64_t offset, char *data, std::size_t size) const;
    /// Returns when everything written stands on the medium.
    Result syncPart();
    /// Bytes that may still be written; nothing when the system does not say.
    std::optional<std::uint64_t> freeBytes() const;

    /// An empty text when there is none, or one that is longer than any that this program writes.
    Result readSidecar(std::string &text) const;
    /// Replaces it in one step: a reader finds the old text or the new one.
    Result writeSidecar(const std::string &text);
    Result removeSidecar();

    /// Syncs the part file, gives it its name, removes the sidecar, syncs the folder. Nothing may be written
    /// after it.
    Result finish();
    /// Removes the part file and the sidecar.
    void discard();

private:
    class Private;
    const std::unique_ptr<Private> d;
};
