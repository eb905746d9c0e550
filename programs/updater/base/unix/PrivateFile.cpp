#include "programs/updater/base/PrivateFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString reason()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

/// Closed with the object; the system's error stays readable.
class Descriptor
{
public:
    explicit Descriptor(int descriptor)
        : m_descriptor(descriptor)
    { }
    ~Descriptor()
    {
        const int error = errno;
        if (m_descriptor >= 0)
            ::close(m_descriptor);
        errno = error;
    }
    Q_DISABLE_COPY(Descriptor)

    int get() const { return m_descriptor; }
    bool isOpen() const { return m_descriptor >= 0; }

private:
    const int m_descriptor;
};

bool writeAll(int descriptor, const char *data, qint64 size)
{
    while (size > 0) {
        const ssize_t written = ::write(descriptor, data, size_t(size));
        if (written < 0 && errno != EINTR)
            return false;
        data += qMax<ssize_t>(0, written);
        size -= qMax<ssize_t>(0, written);
    }
    return ::fsync(descriptor) == 0;
}

QString writeNew(const QByteArray &path, const char *data, qint64 size)
{
    const Descriptor file(::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file.isOpen())
        return reason();
    if (writeAll(file.get(), data, size))
        return QString();
    const QString fault = reason();
    ::unlink(path.constData());
    return fault;
}

QString syncFolderOf(const QString &path)
{
    const QByteArray folder = QFile::encodeName(QFileInfo(path).absolutePath());
    const Descriptor descriptor(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return descriptor.isOpen() && ::fsync(descriptor.get()) == 0 ? QString() : reason();
}

} // namespace

QString PrivateFile::makeFolder(const QString &path)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    const QByteArray name = QFile::encodeName(path);
    if (::mkdir(name.constData(), 0700) != 0 && errno != EEXIST)
        return reason();
    const Descriptor folder(::open(name.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat status = {};
    if (!folder.isOpen() || ::fstat(folder.get(), &status) != 0)
        return reason();
    if (status.st_uid != ::geteuid())
        return QStringLiteral("it belongs to another user");
    return (status.st_mode & 077) == 0 || ::fchmod(folder.get(), 0700) == 0 ? QString() : reason();
}

QString PrivateFile::create(const QString &path, const char *data, qint64 size)
{
    const QString fault = writeNew(QFile::encodeName(path), data, size);
    return fault.isEmpty() ? syncFolderOf(path) : fault;
}

QString PrivateFile::replace(const QString &path, const char *data, qint64 size)
{
    const QByteArray target = QFile::encodeName(path);
    const QByteArray temporary = target + ".new";
    // What an interrupted writer left, or a link that somebody put there.
    ::unlink(temporary.constData());
    const QString fault = writeNew(temporary, data, size);
    if (!fault.isEmpty())
        return fault;
    if (::rename(temporary.constData(), target.constData()) == 0)
        return syncFolderOf(path);
    const QString renameFault = reason();
    ::unlink(temporary.constData());
    return renameFault;
}
