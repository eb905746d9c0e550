#include "programs/updater/package/PackageFile.h"

#include "programs/updater/base/unix/Files.h"

#include <QFile>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace {

InstallResult cannotOpen(const QString &path, const QString &reason)
{
    return {ExitCode::PackageNotTrusted, QStringLiteral("%1 cannot be opened: %2").arg(path, reason)};
}

} // namespace

class PackageFile::Private
{
public:
    Descriptor file;
    qint64 size = 0;
};

PackageFile::PackageFile()
    : d(new Private)
{ }

PackageFile::~PackageFile() = default;

InstallResult PackageFile::open(const QString &path)
{
    d->file = Descriptor(::open(QFile::encodeName(path).constData(), O_RDONLY | Files::safely));
    if (!d->file.isOpen() && errno == ELOOP)
        return cannotOpen(path, QStringLiteral("it is a symbolic link"));
    struct stat status = {};
    if (!d->file.isOpen() || fstat(d->file.number(), &status) != 0)
        return cannotOpen(path, QString::fromLocal8Bit(std::strerror(errno)));
    if (!S_ISREG(status.st_mode))
        return cannotOpen(path, QStringLiteral("it is no file"));
    d->size = status.st_size;
    return InstallResult();
}

void PackageFile::adopt(int number)
{
    d->file = Descriptor(number);
    d->size = 0;
}

qint64 PackageFile::size() const
{
    return d->size;
}

qint64 PackageFile::read(char *data, qint64 size)
{
    ssize_t count = -1;
    do {
        count = ::read(d->file.number(), data, size_t(size));
    } while (count < 0 && errno == EINTR);
    return count;
}

InstallResult PackageFile::append(const char *data, qint64 size)
{
    return Files::writeAll(d->file.number(), data, size);
}

InstallResult PackageFile::rewind()
{
    return lseek(d->file.number(), 0, SEEK_SET) == 0
               ? InstallResult()
               : Files::systemFault(QStringLiteral("the copy of the package cannot be read"));
}
