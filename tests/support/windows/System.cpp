#include "tests/support/System.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

#include <winsock2.h>

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

namespace {

std::wstring native(const QString &path)
{
    return QDir::toNativeSeparators(path).toStdWString();
}

} // namespace

namespace System {

const bool renamesOpenFiles = false;

static const bool isWine = GetProcAddress(GetModuleHandleW(L"ntdll"), "wine_get_version");
const bool checksCertificates = !isWine;
const bool showsInterrupt = !isWine;
const bool hasModes = false;
const bool showsProcesses = false;

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

bool mountSmall(const QString &, qint64)
{
    return false;
}

bool resizeMounted(const QString &, qint64)
{
    return false;
}

bool unmount(const QString &)
{
    return false;
}

bool limitFileSize(qint64)
{
    return false;
}

qint64 childNamed(const char *name)
{
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    qint64 child = 0;
    for (BOOL isOne = Process32FirstW(snapshot, &entry); isOne && child == 0;
         isOne = Process32NextW(snapshot, &entry)) {
        const bool isNamed = QString::fromWCharArray(entry.szExeFile).startsWith(QLatin1String(name));
        if (isNamed && entry.th32ParentProcessID == GetCurrentProcessId())
            child = entry.th32ProcessID;
    }
    CloseHandle(snapshot);
    return child;
}

bool kill(qint64 process)
{
    // One that has ended can still be opened, and Wine ends it again.
    const HANDLE opened = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, DWORD(process));
    const bool isKilled = opened && WaitForSingleObject(opened, 0) == WAIT_TIMEOUT
                          && TerminateProcess(opened, STATUS_CONTROL_C_EXIT);
    if (opened)
        CloseHandle(opened);
    return isKilled;
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

bool isRoot()
{
    return false;
}

bool startServer(QProcess &process, const QString &program, const QStringList &arguments, const QString &)
{
    process.start(program, arguments);
    return true;
}

QByteArray shownOf(qint64)
{
    return QByteArray();
}

qint64 peakMemory()
{
    PROCESS_MEMORY_COUNTERS counters{};
    return GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters)
               ? qint64(counters.PeakWorkingSetSize)
               : 0;
}

qint64 peakMemoryOfChildren()
{
    return 0;
}

void resetAtClose(qintptr socket)
{
    const linger atOnce{1, 0};
    setsockopt(SOCKET(socket), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char *>(&atOnce), sizeof atOnce);
}

} // namespace System
