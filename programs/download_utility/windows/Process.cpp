#include "programs/download_utility/Process.h"

#include "gui/platform/StandardStreams.h"
#include "gui/platform/windows/StopEvent.h"
#include "gui/platform/windows/WideText.h"

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <thread>

#include <windows.h>

#include <shellapi.h>
#include <winternl.h>

namespace Process {

namespace {

const Result unusablePassword(ExitCode::PasswordMissing, "the password on standard input is not usable");
const std::size_t longestLine = 4096;

bool isUsable(const std::string &line)
{
    return line.size() <= longestLine && line.find('\0') == std::string::npos;
}

void dropCarriageReturn(std::string &line)
{
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
}

/// A console speaks another code page than a program does.
Result readConsole(HANDLE console, std::string &line)
{
    std::wstring wide;
    wchar_t c = 0;
    DWORD count = 0;
    const wchar_t endOfInput = 0x1a;
    while (ReadConsoleW(console, &c, 1, &count, nullptr) && count > 0 && c != L'\n' && c != endOfInput
           && wide.size() <= longestLine)
        wide += c;
    line = KovGui::Platform::toUtf8(wide);
    dropCarriageReturn(line);
    return isUsable(line) ? Result() : unusablePassword;
}

Result readInput(std::string &line)
{
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode = 0;
    if (GetConsoleMode(input, &mode))
        return readConsole(input, line);
    for (char c = 0; isUsable(line);) {
        DWORD count = 0;
        if (!ReadFile(input, &c, 1, &count, nullptr) && GetLastError() != ERROR_BROKEN_PIPE)
            return Result(ExitCode::PasswordMissing, "the password cannot be read from standard input");
        if (count == 0 || c == '\n') {
            dropCarriageReturn(line);
            return Result();
        }
        line += c;
    }
    return unusablePassword;
}

/// Writes to standard output on a thread of its own: a pipe of this system cannot be asked for its room. What
/// hangs there ends with the process.
class ReportWriter
{
public:
    ~ReportWriter()
    {
        std::unique_lock<std::mutex> lock(m_state->mutex);
        m_state->changed.wait_for(lock, std::chrono::seconds(1), [this] { return m_state->text.empty(); });
    }

    Report write(const std::string &text)
    {
        const std::lock_guard<std::mutex> lock(m_state->mutex);
        if (m_state->isReaderGone)
            return Report::ReaderGone;
        if (!m_state->text.empty())
            return Report::ReaderBusy;
        if (!m_isRunning)
            std::thread([state = m_state] { run(*state); }).detach();
        m_isRunning = true;
        m_state->text = text;
        m_state->changed.notify_all();
        return Report::Written;
    }

private:
    struct State
    {
        std::mutex mutex;
        std::condition_variable changed;
        std::string text; ///< handed over and not written yet
        bool isReaderGone = false;
    };

    static void run(State &state)
    {
        std::unique_lock<std::mutex> lock(state.mutex);
        for (;;) {
            state.changed.wait(lock, [&state] { return !state.text.empty(); });
            const std::string text = state.text;
            lock.unlock();
            DWORD written = 0;
            const bool isWritten = WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data(), DWORD(text.size()),
                                             &written, nullptr);
            const DWORD error = GetLastError();
            lock.lock();
            state.isReaderGone = !isWritten
                                 && (error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA
                                     || error == ERROR_PIPE_NOT_CONNECTED);
            state.text.clear();
            state.changed.notify_all();
        }
    }

    bool m_isRunning = false;
    const std::shared_ptr<State> m_state = std::make_shared<State>();
};

} // namespace

std::vector<std::string> start(int, char **)
{
    KovGui::Platform::useBinaryStreams();
    std::vector<std::string> arguments;
    int count = 0;
    wchar_t **const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; wide && i < count; ++i)
        arguments.push_back(KovGui::Platform::toUtf8(wide[i]));
    LocalFree(wide);
    return arguments;
}

void prepare()
{
    KovGui::Platform::watchForStop();
    // Nothing is asked in a window either, about a drive without a disk for instance.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    // The TLS library would write the keys of every connection to the file named there.
    _putenv("SSLKEYLOGFILE=");
}

bool stopRequested()
{
    return KovGui::Platform::isStopRequested();
}

void lowerPriority()
{
    // Processor, disk and memory; where the system refuses that, at least the processor.
    if (!SetPriorityClass(GetCurrentProcess(), PROCESS_MODE_BACKGROUND_BEGIN))
        SetPriorityClass(GetCurrentProcess(), BELOW_NORMAL_PRIORITY_CLASS);
}

Result readLine(std::string &line)
{
    struct Answer
    {
        std::mutex mutex;
        std::condition_variable arrived;
        std::optional<Result> result;
        std::string line;
    };
    // A read from a pipe, a file or a console ends when it likes, so it has a thread, and outlives this call
    // when nothing comes.
    const auto answer = std::make_shared<Answer>();
    std::thread([answer] {
        std::string read;
        const Result result = readInput(read);
        const std::lock_guard<std::mutex> lock(answer->mutex);
        answer->result = result;
        answer->line = read;
        answer->arrived.notify_all();
    }).detach();

    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    std::unique_lock<std::mutex> lock(answer->mutex);
    while (std::chrono::steady_clock::now() < end) {
        if (stopRequested())
            return Result(ExitCode::Stopped, "stopped by a signal");
        const auto isThere = [&answer] { return answer->result.has_value(); };
        if (!answer->arrived.wait_for(lock, std::chrono::milliseconds(200), isThere))
            continue;
        line = answer->line;
        return *answer->result;
    }
    return Result(ExitCode::PasswordMissing, "no password arrived on standard input");
}

Report writeReport(const std::string &text)
{
    static ReportWriter writer;
    return writer.write(text);
}

std::string bootIdentity()
{
    // When the kernel started, as its clock said then: a clock that is set later moves both numbers.
    struct
    {
        LARGE_INTEGER bootTime;
        LARGE_INTEGER currentTime;
        LARGE_INTEGER timeZoneBias;
        ULONG timeZone;
        ULONG reserved;
        ULONGLONG bootTimeBias;
        ULONGLONG sleepTimeBias;
    } times = {};
    if (NtQuerySystemInformation(SystemTimeOfDayInformation, &times, sizeof times, nullptr) != 0
        || times.bootTime.QuadPart == 0)
        return std::string();
    return std::to_string(static_cast<ULONGLONG>(times.bootTime.QuadPart) - times.bootTimeBias);
}

} // namespace Process
