#include "gui/platform/SystemProxy.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace KovGui::Platform {

namespace {

constexpr std::size_t maxAnswer = 64 * 1024;

using Clock = std::chrono::steady_clock;

int remaining(Clock::time_point end)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    return left > 0 ? int(left) : 0;
}

/// Beside the library as it was built, or where it was installed.
std::string findProgram()
{
    Dl_info library{};
    if (!dladdr(reinterpret_cast<const void *>(&findProgram), &library) || !library.dli_fname)
        return {};
    const std::string path = library.dli_fname;
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    for (const char *place : {KOV_FIND_PROXY_INSTALLED, "../bin/kovgui-find-proxy"}) {
        const std::string program = folder + place;
        if (access(program.c_str(), X_OK) == 0)
            return program;
    }
    return {};
}

const std::string &program()
{
    static const std::string path = findProgram();
    return path;
}

class Child
{
public:
    ~Child()
    {
        if (m_socket >= 0)
            close(m_socket);
        if (m_process <= 0)
            return;
        kill(m_process, SIGKILL);
        while (waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) { }
    }

    bool start()
    {
        // A socket, unlike a pipe, can be written without a signal when the child is gone.
        int pair[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0)
            return false;
        m_socket = pair[0];
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, pair[1], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, pair[1], STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        std::string name = program();
        char *const arguments[] = {name.data(), nullptr};
        const int error = posix_spawn(&m_process, program().c_str(), &actions, nullptr, arguments, environ);
        posix_spawn_file_actions_destroy(&actions);
        close(pair[1]);
        if (error != 0)
            m_process = -1;
        return error == 0;
    }

    bool write(const std::string &text)
    {
        const bool written = send(m_socket, text.data(), text.size(), MSG_NOSIGNAL) == ssize_t(text.size());
        shutdown(m_socket, SHUT_WR);
        return written;
    }

    int socket() const { return m_socket; }

private:
    pid_t m_process = -1;
    int m_socket = -1;
};

} // namespace

class SystemProxyQuery::Private
{
public:
    enum Outcome { Complete, TimedOut, Cancelled, Broken };
    Outcome readAll(int descriptor, int limit, std::string &text) const;
    bool understand(const std::string &answer, ProxyAddress &result) const;

    Report report = nullptr;
    int wakeUp[2] = {-1, -1};
};

SystemProxyQuery::Private::Outcome SystemProxyQuery::Private::readAll(int descriptor, int limit,
                                                                      std::string &text) const
{
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(limit);
    char buffer[4096];
    for (;;) {
        pollfd waiting[] = {{descriptor, POLLIN, 0}, {wakeUp[0], POLLIN, 0}};
        const int ready = poll(waiting, 2, remaining(end));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready == 0)
            return TimedOut;
        if (ready < 0)
            return Broken;
        if (waiting[1].revents)
            return Cancelled;
        const ssize_t size = read(descriptor, buffer, sizeof buffer);
        if (size == 0)
            return Complete;
        if (size < 0 || text.size() + std::size_t(size) > maxAnswer)
            return Broken;
        text.append(buffer, std::size_t(size));
    }
}

bool SystemProxyQuery::Private::understand(const std::string &answer, ProxyAddress &result) const
{
    std::size_t start = 0;
    for (std::size_t end; (end = answer.find('\n', start)) != std::string::npos; start = end + 1) {
        const std::string line = answer.substr(start, end - start);
        if (line.rfind("note ", 0) == 0)
            report(1, line.c_str() + 5);
        else if (line.rfind("error ", 0) == 0)
            report(0, ("(!)Error: " + line.substr(6) + '.').c_str());
        else if (line == "direct")
            return false;
        else if (line.rfind("proxy ", 0) == 0 && parseProxyAddress(line.substr(6), result))
            return true;
        else if (line.rfind("socks ", 0) == 0 && parseProxyAddress(line.substr(6), result))
            return result.isSocks = true;
    }
    report(0, "(!)Error: the system gave no answer to the question for a proxy.");
    return false;
}

SystemProxyQuery::SystemProxyQuery(Report report)
    : d(new Private)
{
    d->report = report;
    if (pipe2(d->wakeUp, O_CLOEXEC | O_NONBLOCK) != 0)
        report(0, "(!)Error: a question for the system's proxy cannot be interrupted.");
}

SystemProxyQuery::~SystemProxyQuery()
{
    for (const int descriptor : d->wakeUp) {
        if (descriptor >= 0)
            close(descriptor);
    }
}

bool SystemProxyQuery::isAvailable(Report report)
{
    static const bool isFound = [report] {
        if (program().empty())
            report(0, "(!)Error: kovgui-find-proxy is missing: the system's proxy settings are not used.");
        return !program().empty();
    }();
    return isFound;
}

bool SystemProxyQuery::find(const std::string &url, const std::string &scriptUrl, int limit,
                            ProxyAddress &result)
{
    if ((url + scriptUrl).find_first_of("\r\n") != std::string::npos) {
        d->report(0, "(!)Error: an address with a line break is not asked about.");
        return false;
    }
    Child child;
    if (!child.start() || !child.write(scriptUrl + '\n' + url + '\n')) {
        d->report(0, "(!)Error: kovgui-find-proxy could not be started.");
        return false;
    }
    std::string answer;
    switch (d->readAll(child.socket(), limit, answer)) {
    case Private::Complete:
        return d->understand(answer, result);
    case Private::TimedOut:
        d->report(0, "(!)Error: the system did not say in time which proxy to use.");
        return false;
    case Private::Cancelled:
        return false;
    case Private::Broken:
        break;
    }
    d->report(0, "(!)Error: the system's answer to the question for a proxy is broken.");
    return false;
}

void SystemProxyQuery::cancel() noexcept
{
    if (d->wakeUp[1] < 0)
        return;
    const char byte = 0;
    // A full pipe has woken the reader already.
    [[maybe_unused]] const ssize_t written = write(d->wakeUp[1], &byte, 1);
}

} // namespace KovGui::Platform
