#include "tests/support/System.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

#include <winsock2.h>

#include <windows.h>

namespace {

std::wstring native(const QString &path)
{
    return QDir::toNativeSeparators(path).toStdWString();
}

} // namespace

namespace System {

const bool renamesOpenFiles = false;

bool makeSymbolicLink(const QString &target, const QString &path)
{
    const DWORD unprivileged = 2; // for a user with the system's developer mode
    const DWORD folder = QFileInfo(target).isDir() ? 1 : 0;
    // Some systems claim to have made it.
    return CreateSymbolicLinkW(native(path).c_str(), native(target).c_str(), folder | unprivileged)
           && GetFileAttributesW(native(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool makeHardLink(const QString &target, const QString &path)
{
    return CreateHardLinkW(native(path).c_str(), native(target).c_str(), nullptr);
}

bool makeFifo(const QString &)
{
    return false;
}

void prepareToStop(QProcess &process)
{
    if (!GetConsoleCP())
        AllocConsole();
    // Of one console, for that is whom an event reaches, and of a group of its own, for it spares the test.
    process.setCreateProcessArgumentsModifier([](QProcess::CreateProcessArguments *arguments) {
        arguments->flags &= ~DWORD(CREATE_NO_WINDOW);
        arguments->flags |= CREATE_NEW_PROCESS_GROUP;
    });
}

bool askToStop(QProcess &process)
{
    return GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, DWORD(process.processId()));
}

bool runAsAnotherUser(QProcess &)
{
    return false;
}

void resetAtClose(qintptr socket)
{
    const linger atOnce{1, 0};
    setsockopt(SOCKET(socket), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char *>(&atOnce), sizeof atOnce);
}

} // namespace System
