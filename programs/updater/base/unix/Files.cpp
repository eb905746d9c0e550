#include "programs/updater/base/unix/Files.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>

namespace {

InstallResult removeContent(Descriptor folder)
{
    const std::unique_ptr<DIR, int (*)(DIR *)> listing(fdopendir(dup(folder.number())), closedir);
    if (!listing)
        return Files::systemFault(QStringLiteral("a folder cannot be listed"));
    rewinddir(listing.get());
    while (const dirent *entry = readdir(listing.get())) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
            continue;
        const InstallResult result = Files::remove(folder.number(), entry->d_name);
        if (!result.ok())
            return result;
    }
    return InstallResult();
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
    return KovGui::Platform::writeAll(file, data, size_t(size))
               ? InstallResult()
               : systemFault(QStringLiteral("a file cannot be written"));
}

InstallResult Files::sync(int descriptor)
{
    return fsync(descriptor) == 0 ? InstallResult()
                                  : systemFault(QStringLiteral("the disk did not take what was written"));
}

InstallResult Files::remove(int folder, const char *name)
{
    if (unlinkat(folder, name, 0) == 0 || errno == ENOENT)
        return InstallResult();
    Descriptor content = openFolder(folder, name);
    const InstallResult result = content.isOpen() ? removeContent(std::move(content)) : InstallResult();
    if (!result.ok())
        return result;
    return unlinkat(folder, name, AT_REMOVEDIR) == 0
               ? InstallResult()
               : systemFault(QStringLiteral("\"%1\" cannot be removed").arg(QString::fromLocal8Bit(name)));
}
