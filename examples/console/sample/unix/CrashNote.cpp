#include "examples/console/sample/CrashNote.h"

#include <QFile>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <execinfo.h>
#include <fcntl.h>
#include <unistd.h>

namespace CrashNote {

namespace {

constexpr int deepest = 64;
/// Made at the start: nothing may be allocated in a crash.
char notePath[1024];

void writeText(int file, const char *text)
{
    if (write(file, text, std::strlen(text)) < 0)
        _exit(1);
}

/// Calls only what is safe in a signal handler, but for backtrace(), which is as safe as it gets.
void onCrash(int signal)
{
    const int file = open(notePath, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
    if (file >= 0) {
        writeText(file, "Tessarine Console crashed: signal ");
        const char number[] = {char('0' + signal / 10), char('0' + signal % 10), '\n', '\0'};
        writeText(file, number);
        void *calls[deepest];
        backtrace_symbols_fd(calls, backtrace(calls, deepest), file);
        close(file);
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

} // namespace

void install()
{
    const QByteArray path = QFile::encodeName(newPath());
    qstrncpy(notePath, path.constData(), sizeof notePath);
    // The first call loads what it needs.
    void *calls[1];
    backtrace(calls, 1);
    for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL})
        std::signal(signal, onCrash);
}

void crash()
{
    // Not null, which a sanitizer would report in place of the crash.
    auto *volatile nowhere = reinterpret_cast<int *>(16);
    *nowhere = 1;
    std::abort();
}

} // namespace CrashNote
