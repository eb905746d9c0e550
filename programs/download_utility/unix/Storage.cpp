#include "programs/download_utility/Storage.h"

#include "gui/platform/unix/Descriptor.h"
#include "programs/download_utility/Sidecar.h"
#include "programs/download_utility/StorageNames.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

using KovGui::Platform::Descriptor;

// Data goes to the disk while more arrives; the sync at the end then waits for little.
const std::uint64_t writeBackStep = 8 * 1024 * 1024;

const int noFollow = O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;

Result systemError(const std::string &what)
{
    const int error = errno;
    if (error == ENOSPC || error == EDQUOT)
        return StorageNames::diskFull();
    return Result(ExitCode::FileError, what + ": " + std::strerror(error));
}

bool isOurs(const struct stat &status)
{
    return S_ISREG(status.st_mode) && status.st_nlink == 1 && status.st_uid == geteuid();
}

bool isOthers(int folder, const std::string &name)
{
    struct stat status = {};
    return fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && status.st_uid != geteuid();
}

} // namespace

class Storage::Private
{
public:
    Result checkFinal() const;
    Result openPart();
    bool isStillThePart() const;

    Descriptor folder;
    Descriptor part;
    StorageNames names;
    bool overwrites = false;
    bool isSidecarOurs = false;
    std::uint64_t size = 0;
    std::uint64_t writtenBack = 0;
};

Result Storage::Private::checkFinal() const
{
    struct stat status = {};
    if (fstatat(folder.number(), names.file.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? Result() : systemError("cannot look at the file");
    if (!S_ISREG(status.st_mode))
        return StorageNames::foreign(names.file);
    return overwrites ? Result() : names.exists();
}

bool Storage::Private::isStillThePart() const
{
    struct stat opened = {};
    struct stat named = {};
    return fstat(part.number(), &opened) == 0
           && fstatat(folder.number(), names.part.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0
           && opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

Result Storage::Private::openPart()
{
    // Another run may finish between our open and our lock: then the lock is on a file that is no part file
    // any more.
    for (int attempt = 0; attempt < 10; ++attempt) {
        part = Descriptor(openat(folder.number(), names.part.c_str(), O_RDWR | O_CREAT | noFollow, 0666));
        if (!part.isOpen()) {
            const int error = errno;
            const bool isForeign = error == ELOOP || error == EISDIR || error == ENXIO
                                   || (error == EACCES && isOthers(folder.number(), names.part));
            errno = error;
            return isForeign ? StorageNames::foreign(names.part) : systemError("cannot open the part file");
        }
        struct stat status = {};
        if (fstat(part.number(), &status) != 0)
            return systemError("cannot look at the part file");
        if (!S_ISREG(status.st_mode))
            return StorageNames::foreign(names.part);
        if (flock(part.number(), LOCK_EX | LOCK_NB) != 0) {
            return errno == EWOULDBLOCK ? StorageNames::writtenByAnother()
                                        : systemError("cannot lock the part file");
        }
        if (!isStillThePart())
            continue;
        // The size only counts once the lock is ours.
        if (fstat(part.number(), &status) != 0 || !isOurs(status))
            return StorageNames::foreign(names.part);
        size = writtenBack = static_cast<std::uint64_t>(status.st_size);
        return Result();
    }
    return Result(ExitCode::AlreadyRunning, "other downloads replace this file all the time");
}

Storage::Storage()
    : d(new Private)
{ }

Storage::~Storage()
{
    if (!d->part.isOpen() || d->size > 0)
        return;
    unlinkat(d->folder.number(), d->names.part.c_str(), 0);
    if (d->isSidecarOurs)
        (void)removeSidecar();
}

Result Storage::open(const std::string &folder, const std::string &name, bool overwrites)
{
    d->names = StorageNames(name);
    d->overwrites = overwrites;
    d->folder = Descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!d->folder.isOpen())
        return Result(ExitCode::FolderUnusable,
                      std::string("cannot open the folder: ") + std::strerror(errno));
    const Result result = d->checkFinal();
    if (!result.ok())
        return result;
    if (faccessat(d->folder.number(), ".", W_OK | X_OK, AT_EACCESS) != 0)
        return Result(ExitCode::FolderUnusable,
                      std::string("cannot write to the folder: ") + std::strerror(errno));
    const Result opened = d->openPart();
    if (!opened.ok())
        d->part = Descriptor();
    return opened;
}

std::uint64_t Storage::partSize() const
{
    return d->size;
}

Result Storage::truncatePart(std::uint64_t size)
{
    if (ftruncate(d->part.number(), static_cast<off_t>(size)) != 0)
        return systemError("cannot shorten the part file");
    d->size = size;
    d->writtenBack = std::min(d->writtenBack, size);
    return Result();
}

Result Storage::append(const char *data, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = pwrite(d->part.number(), data, size, static_cast<off_t>(d->size));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return systemError("cannot write the part file");
        d->size += static_cast<std::uint64_t>(written);
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    if (d->size - d->writtenBack >= writeBackStep) {
        (void)sync_file_range(d->part.number(), static_cast<off64_t>(d->writtenBack),
                              static_cast<off64_t>(d->size - d->writtenBack), SYNC_FILE_RANGE_WRITE);
        d->writtenBack = d->size;
    }
    return Result();
}

long long Storage::read(std::uint64_t offset, char *data, std::size_t size) const
{
    ssize_t count = -1;
    do {
        count = pread(d->part.number(), data, size, static_cast<off_t>(offset));
    } while (count < 0 && errno == EINTR);
    return count;
}

Result Storage::syncPart()
{
    return fsync(d->part.number()) == 0 ? Result() : systemError("cannot sync the part file");
}

std::optional<std::uint64_t> Storage::freeBytes() const
{
    struct statvfs status = {};
    if (fstatvfs(d->part.number(), &status) != 0 || status.f_blocks == 0)
        return std::nullopt;
    return static_cast<std::uint64_t>(status.f_bavail) * status.f_frsize;
}

Result Storage::readSidecar(std::string &text) const
{
    text.clear();
    const Descriptor file(openat(d->folder.number(), d->names.sidecar.c_str(), O_RDONLY | noFollow));
    if (!file.isOpen() && errno == ENOENT)
        return Result();
    struct stat status = {};
    if (!file.isOpen() || fstat(file.number(), &status) != 0 || !isOurs(status))
        return StorageNames::foreign(d->names.sidecar);
    d->isSidecarOurs = true;
    char buffer[Sidecar::longestText + 1];
    const ssize_t count = ::read(file.number(), buffer, sizeof(buffer));
    if (count > 0 && static_cast<std::size_t>(count) <= Sidecar::longestText)
        text.assign(buffer, static_cast<std::size_t>(count));
    return Result();
}

Result Storage::writeSidecar(const std::string &text)
{
    // The lock is ours, so a draft can only be a left-over or a trap; unlinking removes a link, not what it
    // names.
    unlinkat(d->folder.number(), d->names.draft.c_str(), 0);
    const Descriptor file(
        openat(d->folder.number(), d->names.draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | noFollow, 0600));
    if (!file.isOpen())
        return systemError("cannot write the sidecar");
    d->isSidecarOurs = true;
    if (KovGui::Platform::writeAll(file.number(), text.data(), text.size()) && fdatasync(file.number()) == 0
        && renameat(d->folder.number(), d->names.draft.c_str(), d->folder.number(), d->names.sidecar.c_str())
               == 0)
        return Result();
    const Result result = systemError("cannot write the sidecar");
    unlinkat(d->folder.number(), d->names.draft.c_str(), 0);
    return result;
}

Result Storage::removeSidecar()
{
    if (unlinkat(d->folder.number(), d->names.sidecar.c_str(), 0) != 0 && errno != ENOENT)
        return systemError("cannot remove the sidecar");
    return Result();
}

Result Storage::finish()
{
    Result result = syncPart();
    if (result.ok())
        result = d->checkFinal();
    if (result.ok() && !d->isStillThePart())
        result = StorageNames::foreign(d->names.part);
    if (!result.ok())
        return result;
    const int folder = d->folder.number();
    const unsigned flags = d->overwrites ? 0 : RENAME_NOREPLACE;
    int renamed = renameat2(folder, d->names.part.c_str(), folder, d->names.file.c_str(), flags);
    // Some file systems do not know the flag; checkFinal() looked a moment ago.
    if (renamed != 0 && errno == EINVAL)
        renamed = renameat(folder, d->names.part.c_str(), folder, d->names.file.c_str());
    if (renamed != 0) {
        return errno == EEXIST ? d->names.exists() : systemError("cannot rename the part file");
    }
    d->part = Descriptor();
    result = removeSidecar();
    if (fsync(folder) != 0 && errno != EINVAL)
        return systemError("cannot sync the folder");
    return result;
}

void Storage::discard()
{
    // The sidecar goes last: alone it is harmless, a part file without it is simply not continued.
    unlinkat(d->folder.number(), d->names.part.c_str(), 0);
    unlinkat(d->folder.number(), d->names.sidecar.c_str(), 0);
    unlinkat(d->folder.number(), d->names.draft.c_str(), 0);
    d->part = Descriptor();
}
