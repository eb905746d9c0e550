#include "programs/updater/Process.h"

#include "gui/platform/StandardStreams.h"
#include "gui/platform/windows/CommandLine.h"
#include "gui/platform/windows/Handle.h"
#include "gui/platform/windows/StopEvent.h"
#include "programs/updater/base/ErrorLine.h"
#include "programs/updater/base/Files.h"
#include "programs/updater/base/StopRequest.h"

#include <QDir>
#include <vector>

#include <shellapi.h>

namespace {

using KovGui::Platform::Handle;

/// Whatever happens to this process, the child does not outlive it.
HANDLE jobOfThisProcess()
{
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return job;
}

int waitFor(const PROCESS_INFORMATION &child)
{
    while (WaitForSingleObject(child.hProcess, 100) == WAIT_TIMEOUT) {
        if (StopRequest::isPending())
            KovGui::Platform::requestStop(child.dwProcessId);
    }
    DWORD code = DWORD(ExitCode::InternalError);
    GetExitCodeProcess(child.hProcess, &code);
    return int(code);
}

} // namespace

QByteArrayList Process::prepare(int, char *[])
{
    KovGui::Platform::useBinaryStreams();
    QByteArrayList words;
    int count = 0;
    wchar_t **const all = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 0; i < count; ++i)
        words.append(QString::fromWCharArray(all[i]).toUtf8());
    LocalFree(all);
    return words;
}

int Process::handOver(const QByteArray &path, const QByteArrayList &arguments)
{
    QString program = QDir::toNativeSeparators(Files::decoded(path));
    if (!program.endsWith(QLatin1String(".exe"), Qt::CaseInsensitive))
        program += QLatin1String(".exe");
    // With the system's own separators: some programs take others in their name for options.
    std::vector<std::wstring> words{program.toStdWString()};
    for (const QByteArray &argument : arguments.mid(1))
        words.push_back(Files::decoded(argument).toStdWString());
    std::wstring line = KovGui::Platform::commandLineOf(words);

    StopRequest::watch();
    const HANDLE job = jobOfThisProcess();
    const Handle closedJob(job);
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    start.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION child{};
    if (!CreateProcessW(program.toStdWString().c_str(), line.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED,
                        nullptr, nullptr, &start, &child)) {
        printError(QStringLiteral("%1 cannot be started: %2")
                       .arg(program, qt_error_string(int(GetLastError())).trimmed()));
        return int(ExitCode::InternalError);
    }
    const Handle closedProcess(child.hProcess);
    const Handle closedThread(child.hThread);
    // Suspended until it is in the job: it could start others before.
    AssignProcessToJobObject(job, child.hProcess);
    ResumeThread(child.hThread);
    return waitFor(child);
}
