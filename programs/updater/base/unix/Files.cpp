#include "programs/updater/base/unix/Files.h"

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

} // namespace

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

InstallResult Files::writeAll(int file, const char *data, qint64 size)
{
    while (size > 0) {
        const ssize_t count = ::write(file, data, size_t(size));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return systemFault(QStringLiteral("a file cannot be written"));
        data += count;
        size -= count;
    }
    return InstallResult();
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
