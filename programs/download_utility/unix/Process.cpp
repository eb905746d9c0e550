#include "programs/download_utility/Process.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

namespace Process {

namespace {

volatile std::sig_atomic_t stopSignal = 0;

void onStopSignal(int number)
{
    stopSignal = number;
}

bool isReady(int descriptor, short events, int milliseconds)
{
    pollfd entry = {descriptor, events, 0};
    return poll(&entry, 1, milliseconds) > 0;
}

} // namespace

std::vector<std::string> start(int argc, char *argv[])
{
    return std::vector<std::string>(argv + std::min(argc, 1), argv + argc);
}

void prepare()
{
    struct sigaction action = {};
    sigemptyset(&action.sa_mask);
    action.sa_handler = onStopSignal;
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        // Who started the program may have shielded it from a signal: a shell in the background, nohup.
        struct sigaction present = {};
        if (sigaction(number, nullptr, &present) == 0 && present.sa_handler != SIG_IGN)
            sigaction(number, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    // The TLS library would write the keys of every connection to the file named there.
    unsetenv("SSLKEYLOGFILE");
}

bool stopRequested()
{
    return stopSignal != 0;
}

void lowerPriority()
{
    // The disk's priority follows the processor's where the scheduler knows one. A refusal changes nothing
    // for the download.
    (void)setpriority(PRIO_PROCESS, 0, 10);
}

Result readLine(std::string &line)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    line.clear();
    while (std::chrono::steady_clock::now() < end) {
        if (stopRequested())
            return Result(ExitCode::Stopped, "stopped by a signal");
        if (!isReady(STDIN_FILENO, POLLIN, 200))
            continue;
        char c = 0;
        const ssize_t count = ::read(STDIN_FILENO, &c, 1);
        if (count < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (count < 0)
            return Result(ExitCode::PasswordMissing, "the password cannot be read from standard input");
        if (count == 0 || c == '\n')
            return Result();
        if (c == '\0' || line.size() == 4096)
            return Result(ExitCode::PasswordMissing, "the password on standard input is not usable");
        line += c;
    }
    return Result(ExitCode::PasswordMissing, "no password arrived on standard input");
}

Report writeReport(const std::string &text)
{
    // A pipe that is ready takes 512 bytes at least without blocking, and never mixes them with another's.
    if (!isReady(STDOUT_FILENO, POLLOUT, 0))
        return Report::ReaderBusy;
    const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
    if (written < 0 && errno != EPIPE)
        return Report::ReaderBusy;
    return written < 0 ? Report::ReaderGone : Report::Written;
}

std::string bootIdentity()
{
    char text[64];
    const int file = ::open("/proc/sys/kernel/random/boot_id", O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return std::string();
    const ssize_t count = ::read(file, text, sizeof(text));
    ::close(file);
    std::string identity(text, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    identity.erase(std::min(identity.find('\n'), identity.size()));
    return identity;
}

} // namespace Process
