#include "tests/support/System.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

#include <csignal>
#include <pwd.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace System {

const bool renamesOpenFiles = true;
const bool checksCertificates = true;
const bool showsInterrupt = true;
const bool hasModes = true;
const bool showsProcesses = true;

bool makeSymbolicLink(const QString &target, const QString &path)
{
    return ::symlink(QFile::encodeName(target).constData(), QFile::encodeName(path).constData()) == 0;
}

bool makeHardLink(const QString &target, const QString &path)
{
    return ::link(QFile::encodeName(target).constData(), QFile::encodeName(path).constData()) == 0;
}

bool makeFifo(const QString &path)
{
    return ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0;
}

bool mountSmall(const QString &folder, qint64 bytes)
{
    const QByteArray size = "size=" + QByteArray::number(bytes);
    return ::mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", 0, size.constData()) == 0;
}

bool resizeMounted(const QString &folder, qint64 bytes)
{
    const QByteArray size = "size=" + QByteArray::number(bytes);
    return ::mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", MS_REMOUNT, size.constData())
           == 0;
}

bool unmount(const QString &folder)
{
    return ::umount2(QFile::encodeName(folder).constData(), MNT_DETACH) == 0;
}

bool limitFileSize(qint64 bytes)
{
    // An error of the call instead of a signal.
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes < 0 ? RLIM_INFINITY : rlim_t(bytes), RLIM_INFINITY};
    return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

qint64 childNamed(const char *name)
{
    QProcess ps;
    ps.start(QStringLiteral("ps"),
             {QStringLiteral("-o"), QStringLiteral("pid=,comm="), QStringLiteral("--ppid"),
              QString::number(QCoreApplication::applicationPid())});
    ps.waitForFinished();
    for (const QByteArray &line : ps.readAllStandardOutput().split('\n')) {
        if (line.contains(name))
            return line.trimmed().split(' ').first().toInt();
    }
    return 0;
}

bool kill(qint64 process)
{
    return ::kill(pid_t(process), SIGKILL) == 0;
}

void prepareToStop(QProcess &) { }

bool askToStop(QProcess &process)
{
    process.terminate();
    return true;
}

bool runAsAnotherUser(QProcess &process)
{
    process.setArguments(
        QStringList{QStringLiteral("--reuid=65534"), QStringLiteral("--clear-groups"), process.program()}
        + process.arguments());
    process.setProgram(QStringLiteral("setpriv"));
    return isRoot();
}

bool isRoot()
{
    return ::geteuid() == 0;
}

bool startServer(QProcess &process, const QString &program, const QStringList &arguments,
                 const QString &folderOfProxy)
{
    // It goes even if this process is killed.
    QStringList command{QStringLiteral("--pdeathsig"), QStringLiteral("TERM")};
    if (isRoot() && !folderOfProxy.isEmpty()) {
        const passwd *const proxy = ::getpwnam("proxy");
        if (!proxy
            || ::chown(QFile::encodeName(folderOfProxy).constData(), proxy->pw_uid, proxy->pw_gid) != 0)
            return false;
        command << QStringLiteral("--reuid=proxy") << QStringLiteral("--regid=proxy")
                << QStringLiteral("--clear-groups");
    }
    process.start(QStringLiteral("setpriv"), command + QStringList(program) + arguments);
    return true;
}

QByteArray shownOf(qint64 process)
{
    QByteArray texts;
    for (const char *name : {"cmdline", "environ"}) {
        QFile file(QStringLiteral("/proc/%1/%2").arg(process).arg(QLatin1String(name)));
        if (file.open(QIODevice::ReadOnly))
            texts += file.readAll();
    }
    return texts;
}

qint64 peakMemory()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss * 1024LL;
}

qint64 peakMemoryOfChildren()
{
    rusage usage{};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    return usage.ru_maxrss * 1024LL;
}

void resetAtClose(qintptr socket)
{
    const linger atOnce{1, 0};
    ::setsockopt(int(socket), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

} // namespace System
