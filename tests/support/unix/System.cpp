#include "tests/support/System.h"

#include <QFile>
#include <QProcess>

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace System {

const bool renamesOpenFiles = true;

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
    return ::geteuid() == 0;
}

void resetAtClose(qintptr socket)
{
    const linger atOnce{1, 0};
    ::setsockopt(int(socket), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

} // namespace System
