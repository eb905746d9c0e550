#include "programs/updater/base/unix/Files.h"

#include "programs/updater/base/ErrorLine.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>

namespace {

constexpr char rubbishPrefix[] = "rubbish-";

bool unlinked(int folder, const char *name, int flags = 0)
{
    Files::changing();
    return unlinkat(folder, name, flags) == 0;
}

bool renamed(int fromFolder, const char *from, int toFolder, const char *to, unsigned flags = 0)
{
    Files::changing();
    return renameat2(fromFolder, from, toFolder, to, flags) == 0;
}

/// What a user took away from himself: a folder of his own that he may not write to.
bool openUp(int folder, const char *name)
{
    const Descriptor descriptor = Files::openFolder(folder, name);
    struct stat status = {};
    return descriptor.isOpen() && fstat(descriptor.number(), &status) == 0
           && (status.st_mode & S_IRWXU) != S_IRWXU
           && fchmod(descriptor.number(), (status.st_mode & 07777) | S_IRWXU) == 0;
}

/// A name that is not taken, for what cannot be removed.
/// @param first  the first number that is tried
QByteArray freshName(int folder, int first = 1)
{
    for (int number = first;; ++number) {
        const QByteArray name = rubbishPrefix + QByteArray::number(number);
        if (!Files::exists(folder, name.constData()))
            return name;
    }
}

QByteArrayList namesIn(const Descriptor &folder)
{
    QByteArrayList names;
    const std::unique_ptr<DIR, int (*)(DIR *)> listing(fdopendir(dup(folder.number())), closedir);
    if (!listing)
        return names;
    rewinddir(listing.get());
    while (const dirent *entry = readdir(listing.get())) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            names.append(entry->d_name);
    }
    return names;
}

/// Empties and removes one folder. The folders in it are moved out beside it first, so that the depth of a
/// tree costs neither descriptors nor stack.
/// @param others  receives their new names
bool removeFolder(int parent, const QByteArray &name, QByteArrayList *others)
{
    if (Files::isMountPoint(parent, name.constData())) {
        errno = EBUSY;
        return false;
    }
    openUp(parent, name.constData());
    const Descriptor folder = Files::openFolder(parent, name.constData());
    int error = 0;
    for (const QByteArray &inner : namesIn(folder)) {
        if (unlinked(folder.number(), inner.constData())
            || unlinked(folder.number(), inner.constData(), AT_REMOVEDIR))
            continue;
        error = errno;
        const QByteArray fresh = freshName(parent, others->size() + 1);
        if ((error == ENOTEMPTY || error == EEXIST)
            && Files::move(folder.number(), inner.constData(), parent, fresh.constData())) {
            others->append(fresh);
            error = 0;
        }
    }
    const bool isRemoved = unlinked(parent, name.constData(), AT_REMOVEDIR);
    if (error != 0)
        errno = error;
    return isRemoved;
}

QString reason()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

Descriptor openPath(const QString &path)
{
    return Descriptor(::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

} // namespace

QString Files::makePrivateFolder(const QString &path)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    if (::mkdir(QFile::encodeName(path).constData(), 0700) != 0 && errno != EEXIST)
        return reason();
    const Descriptor folder = openPath(path);
    struct stat status = {};
    if (!folder.isOpen() || ::fstat(folder.number(), &status) != 0)
        return reason();
    if (status.st_uid != ::geteuid())
        return QStringLiteral("it belongs to another user");
    return (status.st_mode & 077) == 0 || ::fchmod(folder.number(), 0700) == 0 ? QString() : reason();
}

QString Files::createPrivate(const QString &path, const char *data, qint64 size)
{
    const QFileInfo info(path);
    const Descriptor folder = openPath(info.absolutePath());
    const bool ok
        = folder.isOpen()
          && writeNew(folder.number(), QFile::encodeName(info.fileName()).constData(), data, size).ok()
          && ::fsync(folder.number()) == 0;
    return ok ? QString() : reason();
}

QString Files::replacePrivate(const QString &path, const char *data, qint64 size)
{
    const QFileInfo info(path);
    const QByteArray name = QFile::encodeName(info.fileName());
    const QByteArray draft = name + ".new";
    const Descriptor folder = openPath(info.absolutePath());
    // What an interrupted writer left, or a link that somebody put there.
    ::unlinkat(folder.number(), draft.constData(), 0);
    if (!folder.isOpen() || !writeNew(folder.number(), draft.constData(), data, size).ok())
        return reason();
    if (::renameat(folder.number(), draft.constData(), folder.number(), name.constData()) == 0)
        return ::fsync(folder.number()) == 0 ? QString() : reason();
    const QString fault = reason();
    ::unlinkat(folder.number(), draft.constData(), 0);
    return fault;
}

InstallResult Files::systemFault(const QString &what)
{
    const int error = errno;
    const QString reason = QString::fromLocal8Bit(std::strerror(error));
    if (error == ENOSPC || error == EDQUOT)
        return {ExitCode::NotEnoughSpace, QStringLiteral("there is not enough space on the disk")};
    return {ExitCode::InstallFailed, QStringLiteral("%1: %2").arg(what, reason)};
}

Descriptor Files::openFolder(int folder, const char *name)
{
    return Descriptor(openat(folder, name, O_RDONLY | O_DIRECTORY | safely));
}

bool Files::exists(int folder, const char *name)
{
    struct stat status = {};
    return fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0;
}

bool Files::isMountPoint(int folder, const char *name)
{
    struct statx parent = {};
    struct statx status = {};
    constexpr int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
    if (statx(folder, "", flags | AT_EMPTY_PATH, STATX_TYPE, &parent) != 0
        || statx(folder, name, flags, STATX_TYPE, &status) != 0)
        return false;
    return (status.stx_attributes & status.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0
           || status.stx_dev_major != parent.stx_dev_major || status.stx_dev_minor != parent.stx_dev_minor;
}

std::optional<QByteArray> Files::read(int folder, const char *name, qint64 limit)
{
    const Descriptor file(openat(folder, name, O_RDONLY | safely));
    struct stat status = {};
    if (!file.isOpen() || fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)
        || status.st_size > limit)
        return std::nullopt;
    QByteArray content(int(status.st_size), '\0');
    int done = 0;
    while (done < content.size()) {
        const ssize_t count = ::read(file.number(), content.data() + done, size_t(content.size() - done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return std::nullopt;
        done += int(count);
    }
    return content;
}

InstallResult Files::writeNew(int folder, const char *name, const char *data, qint64 size)
{
    Files::changing();
    const Descriptor file(openat(folder, name, O_WRONLY | O_CREAT | O_EXCL | safely, mode_t(0600)));
    if (!file.isOpen())
        return systemFault(QStringLiteral("a file cannot be made"));
    InstallResult result = writeAll(file.number(), data, size);
    if (result.ok())
        result = sync(file.number());
    const int error = errno;
    if (!result.ok())
        unlinkat(folder, name, 0);
    errno = error;
    return result;
}

InstallResult Files::writeAll(int file, const char *data, qint64 size)
{
    Files::changing();
    return KovGui::Platform::writeAll(file, data, size_t(size))
               ? InstallResult()
               : systemFault(QStringLiteral("a file cannot be written"));
}

InstallResult Files::sync(int descriptor)
{
    Files::changing();
    return fsync(descriptor) == 0 ? InstallResult()
                                  : systemFault(QStringLiteral("the disk did not take what was written"));
}

bool Files::move(int fromFolder, const char *from, int toFolder, const char *to)
{
    if (renamed(fromFolder, from, toFolder, to))
        return true;
    // A folder that moves has to be writable, because it holds the way to its parent.
    return errno == EACCES && openUp(fromFolder, from) && renamed(fromFolder, from, toFolder, to);
}

bool Files::exchange(int folder, const char *name, int otherFolder, const char *otherName)
{
    const auto attempt = [&] { return renamed(folder, name, otherFolder, otherName, RENAME_EXCHANGE); };
    if (attempt())
        return true;
    if (errno != EACCES)
        return false;
    const bool isOpenedUp = openUp(folder, name);
    return (openUp(otherFolder, otherName) || isOpenedUp) && attempt();
}

InstallResult Files::remove(int folder, const char *name)
{
    if (unlinked(folder, name) || errno == ENOENT)
        return InstallResult();
    QByteArrayList left{name};
    InstallResult result;
    while (!left.isEmpty()) {
        if (!removeFolder(folder, left.takeLast(), &left) && result.ok())
            result
                = systemFault(QStringLiteral("\"%1\" cannot be removed").arg(QString::fromLocal8Bit(name)));
    }
    return result;
}

InstallResult Files::discard(int folder, const char *name)
{
    const InstallResult removed = remove(folder, name);
    if (removed.ok() || (exists(folder, name) && !move(folder, name, folder, freshName(folder).constData())))
        return removed;
    printError(
        QStringLiteral("%1; what is left of it is set aside and tried again later").arg(removed.fault));
    return InstallResult();
}

void Files::removeRubbish(int folder)
{
    const Descriptor listed = openFolder(folder, ".");
    for (const QByteArray &name : namesIn(listed)) {
        if (name.startsWith(rubbishPrefix))
            (void)remove(folder, name.constData());
    }
}
