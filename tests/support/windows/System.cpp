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
    // With a console of its own, for an event reaches everybody at one.
    process.setCreateProcessArgumentsModifier(
        [](QProcess::CreateProcessArguments *arguments) { arguments->flags |= CREATE_NO_WINDOW; });
}

bool askToStop(QProcess &process)
{
    SetConsoleCtrlHandler([](DWORD) { return TRUE; }, TRUE);
    FreeConsole();
    const bool isAsked
        = AttachConsole(DWORD(process.processId())) && GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
    FreeConsole();
    AttachConsole(ATTACH_PARENT_PROCESS);
    return isAsked;
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
