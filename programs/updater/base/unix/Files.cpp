#include "programs/updater/base/Files.h"

#include "gui/platform/unix/Descriptor.h"

#include <QFile>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

using KovGui::Platform::Descriptor;

class Files::Handle::Native
{
public:
    explicit Native(Descriptor opened)
        : descriptor(std::move(opened))
    { }

    const Descriptor descriptor;
};

namespace {

/// Flags of every opening; nothing that is opened can make the program wait.
constexpr int safely = O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;

/// The caller's mask does not count: others are to run what is installed.
constexpr mode_t folderMode = 0755;

int number(const Files::Handle &handle)
{
    return handle.isOpen() ? handle.native().descriptor.number() : -1;
}

Files::Handle opened(int descriptor)
{
    if (descriptor < 0)
        return Files::Handle();
    return Files::Handle(std::make_shared<const Files::Handle::Native>(Descriptor(descriptor)));
}

bool renamed(const Files::Handle &fromFolder, const QByteArray &from, const Files::Handle &toFolder,
             const QByteArray &to, unsigned flags = 0)
{
    Files::changing();
    return renameat2(number(fromFolder), from.constData(), number(toFolder), to.constData(), flags) == 0;
}

bool unlinked(const Files::Handle &folder, const QByteArray &name, int flags)
{
    Files::changing();
    return unlinkat(number(folder), name.constData(), flags) == 0;
}

/// What a user took away from himself: a folder of his own that he may not write to.
bool openUp(const Files::Handle &parent, const QByteArray &name)
{
    const Files::Handle folder = Files::openFolder(parent, name);
    struct stat status = {};
    return folder.isOpen() && fstat(number(folder), &status) == 0 && (status.st_mode & S_IRWXU) != S_IRWXU
           && fchmod(number(folder), (status.st_mode & 07777) | S_IRWXU) == 0;
}

Files::Rights rightsIn(const struct stat &status)
{
    return {status.st_uid == geteuid(), (status.st_mode & (S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH)) != 0,
            (status.st_mode & (S_IWGRP | S_IWOTH)) != 0, (status.st_mode & S_IROTH) != 0};
}

} // namespace

Files::Failure Files::lastFailure()
{
    switch (errno) {
    case ENOENT:
        return Failure::Missing;
    case ENOTEMPTY:
    case EEXIST:
        return Failure::NotEmpty;
    case EINVAL:
    case ENOSYS:
    case EOPNOTSUPP:
        return Failure::Unsupported;
    case EBUSY:
        return Failure::MountPoint;
    default:
        return Failure::Other;
    }
}

int Files::lastError()
{
    return errno;
}

void Files::setLastError(int error)
{
    errno = error;
}

InstallResult Files::systemFault(const QString &what)
{
    const int error = errno;
    const QString reason = QString::fromLocal8Bit(std::strerror(error));
    if (error == ENOSPC || error == EDQUOT)
        return {ExitCode::NotEnoughSpace, QStringLiteral("there is not enough space on the disk")};
    return {ExitCode::InstallFailed, QStringLiteral("%1: %2").arg(what, reason)};
}

QByteArray Files::encoded(const QString &name)
{
    return QFile::encodeName(name);
}

QString Files::decoded(const QByteArray &name)
{
    return QFile::decodeName(name);
}

Files::Handle Files::openPath(const QString &folder)
{
    return opened(::open(encoded(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

Files::Handle Files::openFolder(const Handle &parent, const QByteArray &name)
{
    return opened(openat(number(parent), name.constData(), O_RDONLY | O_DIRECTORY | safely));
}

Files::Handle Files::openFolderToEmpty(const Handle &parent, const QByteArray &name)
{
    if (isMountPoint(parent, name)) {
        errno = EBUSY;
        return Handle();
    }
    openUp(parent, name);
    return openFolder(parent, name);
}

InstallResult Files::makeFolder(const Handle &parent, const QByteArray &name, Handle *folder, const Handle &)
{
    changing();
    *folder = Handle();
    const bool isNew = mkdirat(number(parent), name.constData(), folderMode) == 0;
    if (isNew || errno == EEXIST)
        *folder = openFolder(parent, name);
    // One that is there has its rights, and need not be the user's.
    return folder->isOpen() && (!isNew || fchmod(number(*folder), folderMode) == 0)
               ? InstallResult()
               : systemFault(QStringLiteral("a folder cannot be made"));
}

Files::Handle Files::makeOwnFolder(const Handle &parent, const QByteArray &name)
{
    if (mkdirat(number(parent), name.constData(), 0700) != 0 && errno != EEXIST)
        return Handle();
    return openFolder(parent, name);
}

Files::Rights Files::rightsOf(const Handle &handle)
{
    struct stat status = {};
    return fstat(number(handle), &status) == 0 ? rightsIn(status) : Rights();
}

Files::Rights Files::rightsAt(const QString &path)
{
    struct stat status = {};
    return stat(encoded(path).constData(), &status) == 0 ? rightsIn(status) : Rights();
}

bool Files::closeToOthers(const Handle &folder)
{
    return fchmod(number(folder), 0700) == 0;
}

QByteArrayList Files::names(const Handle &folder)
{
    QByteArrayList names;
    // An opening of its own: where a listing stands belongs to what was opened.
    const int listed = openat(number(folder), ".", O_RDONLY | O_DIRECTORY | safely);
    const std::unique_ptr<DIR, int (*)(DIR *)> listing(listed < 0 ? nullptr : fdopendir(listed), closedir);
    while (const dirent *entry = listing ? readdir(listing.get()) : nullptr) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            names.append(entry->d_name);
    }
    return names;
}

bool Files::exists(const Handle &folder, const QByteArray &name)
{
    struct stat status = {};
    return fstatat(number(folder), name.constData(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

bool Files::isMountPoint(const Handle &folder, const QByteArray &name)
{
    struct statx parent = {};
    struct statx status = {};
    constexpr int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
    if (statx(number(folder), "", flags | AT_EMPTY_PATH, STATX_TYPE, &parent) != 0
        || statx(number(folder), name.constData(), flags, STATX_TYPE, &status) != 0)
        return false;
    return (status.stx_attributes & status.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0
           || status.stx_dev_major != parent.stx_dev_major || status.stx_dev_minor != parent.stx_dev_minor;
}

std::optional<quint64> Files::freeBytes(const Handle &folder)
{
    struct statvfs status = {};
    if (fstatvfs(number(folder), &status) != 0 || status.f_blocks == 0)
        return std::nullopt;
    return quint64(status.f_bavail) * status.f_frsize;
}

Files::Handle Files::openFile(const QString &path, qint64 *size, QString *fault)
{
    const Handle file = opened(::open(encoded(path).constData(), O_RDONLY | safely));
    struct stat status = {};
    if (!file.isOpen() && errno == ELOOP)
        *fault = QStringLiteral("it is a symbolic link");
    else if (!file.isOpen() || fstat(number(file), &status) != 0)
        *fault = QString::fromLocal8Bit(std::strerror(errno));
    else if (!S_ISREG(status.st_mode))
        *fault = QStringLiteral("it is no file");
    *size = status.st_size;
    return fault->isEmpty() ? file : Handle();
}

Files::Handle Files::openFile(const Handle &folder, const QByteArray &name, qint64 *size)
{
    const Handle file = opened(openat(number(folder), name.constData(), O_RDONLY | safely));
    struct stat status = {};
    if (!file.isOpen() || fstat(number(file), &status) != 0 || !S_ISREG(status.st_mode))
        return Handle();
    *size = status.st_size;
    return file;
}

Files::Handle Files::createFile(const Handle &folder, const QByteArray &name, Kind kind)
{
    changing();
    const Handle file = opened(
        openat(number(folder), name.constData(), O_WRONLY | O_CREAT | O_EXCL | safely, mode_t(0600)));
    if (file.isOpen() && kind != Kind::Private
        && fchmod(number(file), kind == Kind::Program ? 0755 : 0644) != 0)
        return Handle();
    return file;
}

Files::Handle Files::createNameless(const Handle &folder, const QByteArray &name)
{
    const Handle file
        = opened(openat(number(folder), name.constData(), O_RDWR | O_CREAT | O_EXCL | safely, mode_t(0600)));
    return file.isOpen() && unlinkat(number(folder), name.constData(), 0) == 0 ? file : Handle();
}

InstallResult Files::write(const Handle &file, const char *data, qint64 size)
{
    changing();
    return KovGui::Platform::writeAll(number(file), data, size_t(size))
               ? InstallResult()
               : systemFault(QStringLiteral("a file cannot be written"));
}

qint64 Files::read(const Handle &file, char *data, qint64 size)
{
    ssize_t count = -1;
    do {
        count = ::read(number(file), data, size_t(size));
    } while (count < 0 && errno == EINTR);
    return count;
}

bool Files::rewind(const Handle &file)
{
    return lseek(number(file), 0, SEEK_SET) == 0;
}

InstallResult Files::sync(const Handle &handle)
{
    changing();
    return fsync(number(handle)) == 0 ? InstallResult()
                                      : systemFault(QStringLiteral("the disk did not take what was written"));
}

InstallResult Files::lock(const Handle &folder, const QByteArray &name, Handle *file)
{
    *file = opened(openat(number(folder), name.constData(), O_RDWR | O_CREAT | safely, mode_t(0600)));
    if (file->isOpen() && flock(number(*file), LOCK_EX | LOCK_NB) == 0)
        return InstallResult();
    if (file->isOpen() && errno == EWOULDBLOCK)
        return {ExitCode::InstallBusy, QStringLiteral("another installation is under way")};
    return systemFault(QStringLiteral("the installation cannot be locked"));
}

Files::Handle Files::lockForAppending(const Handle &folder, const QByteArray &name)
{
    const Handle file = opened(openat(number(folder), name.constData(), O_RDWR | O_APPEND | safely));
    return file.isOpen() && flock(number(file), LOCK_EX | LOCK_NB) == 0 ? file : Handle();
}

void Files::keepForSuccessor(const Handle &file)
{
    // The copy lives on in that program; the lock belongs to both.
    if (flock(number(file), LOCK_SH) == 0)
        (void)dup(number(file));
}

bool Files::move(const Handle &fromFolder, const QByteArray &from, const Handle &toFolder,
                 const QByteArray &to)
{
    if (renamed(fromFolder, from, toFolder, to))
        return true;
    // A folder that moves has to be writable, because it holds the way to its parent.
    return errno == EACCES && openUp(fromFolder, from) && renamed(fromFolder, from, toFolder, to);
}

bool Files::exchange(const Handle &folder, const QByteArray &name, const Handle &otherFolder,
                     const QByteArray &otherName)
{
    const auto attempt = [&] { return renamed(folder, name, otherFolder, otherName, RENAME_EXCHANGE); };
    if (attempt())
        return true;
    if (errno != EACCES)
        return false;
    const bool isOpenedUp = openUp(folder, name);
    return (openUp(otherFolder, otherName) || isOpenedUp) && attempt();
}

bool Files::unlink(const Handle &folder, const QByteArray &name)
{
    return unlinked(folder, name, 0);
}

bool Files::removeEmptyFolder(const Handle &parent, const QByteArray &name)
{
    return unlinked(parent, name, AT_REMOVEDIR);
}
