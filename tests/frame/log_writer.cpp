// A process that logs, for tst_log_file to start, kill and look at: log_writer DIRECTORY COMMAND [ARGUMENTS]
// DIRECTORY "-" sets none. The exit code is 0, or the number of the line that found a fault, or 77: not
// permitted here.

#include "gui/log/Log.h"
#include "tests/frame/LogMessages.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <map>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

static std::string s_directory;
static std::atomic<std::time_t> s_secondsAhead{0};

/// The clock by which the log looks after its file, in place of the C library's.
extern "C" std::time_t time(std::time_t *result) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const std::time_t seconds = now.tv_sec + s_secondsAhead;
    if (result)
        *result = seconds;
    return seconds;
}

#define REQUIRE(condition)                                                                                   \
    if (!(condition)) {                                                                                      \
        std::fprintf(stderr, "line %d: %s\n", __LINE__, #condition);                                         \
        std::_Exit(__LINE__ % 256 ? __LINE__ % 256 : 1);                                                     \
    }

/// Every thread logs the same messages in order, so that a reader knows what must stand in its lines.
static int logInThreads(int threads, int count, const std::atomic<bool> &end, useconds_t pause = 0)
{
    std::atomic<int> written{0};
    std::vector<std::thread> all;
    for (int thread = 0; thread < threads; ++thread)
        all.emplace_back([&] {
            for (int i = 0; i < count && !end; ++i, ++written) {
                KovGui::log("", "flood", 0, "%s", messageOf(i).c_str());
                if (pause)
                    usleep(pause);
            }
        });
    for (std::thread &thread : all)
        thread.join();
    return written;
}

static void flood(int threads, int count)
{
    logInThreads(threads, count, std::atomic<bool>{false});
}

/// Logs until the work ends; prints how many records. A pause keeps the file of a longer run small.
static void logDuring(const std::function<void()> &work, useconds_t pause)
{
    std::atomic<bool> end{false};
    std::thread worker([&] {
        work();
        end = true;
    });
    std::printf("%d\n", logInThreads(3, INT_MAX, end, pause));
    worker.join();
}

static void untilInputEnds()
{
    while (std::getchar() != EOF) { }
}

/// Others open files all the time: no record may land in theirs.
static void changeDirectories()
{
    for (int i = 0; i < 1000; ++i) {
        KovGui::setLogDirectory((s_directory + (i % 2 ? "/a" : "/b")).c_str());
        int ends[2];
        REQUIRE(pipe2(ends, O_NONBLOCK) == 0);
        sched_yield();
        char byte;
        REQUIRE(read(ends[0], &byte, 1) == -1 && errno == EAGAIN);
        close(ends[0]);
        close(ends[1]);
        // On a busy machine all changes could be over before the other threads have begun.
        if (i % 10 == 0)
            usleep(2000);
    }
}

static int logDescriptor()
{
    char target[4096];
    for (int number = 0; number < 64; ++number) {
        const ssize_t length
            = readlink(("/proc/self/fd/" + std::to_string(number)).c_str(), target, sizeof target);
        if (length > 0 && std::string(target, length).find("tessarine-qor.log") != std::string::npos)
            return number;
    }
    return -1;
}

/// A host closes every descriptor that it does not know, as daemons do, and then opens its own.
static void closedByHost(bool nextSecond)
{
    close(STDIN_FILENO);
    KOV_LOG(0, "first");
    const int number = logDescriptor();
    REQUIRE(number > STDERR_FILENO);
    REQUIRE(fcntl(number, F_GETFD) & FD_CLOEXEC);
    int ends[2];
    REQUIRE(pipe2(ends, O_NONBLOCK) == 0);
    REQUIRE(dup2(ends[1], number) == number);
    if (nextSecond)
        s_secondsAhead = 1;
    else
        KovGui::setLogDirectory(s_directory.c_str());
    KOV_LOG(0, "second");
    char text[16];
    REQUIRE(read(ends[0], text, sizeof text) == -1 && errno == EAGAIN);
    REQUIRE(write(number, "ours", 4) == 4 && read(ends[0], text, sizeof text) == 4);
}

static void forked()
{
    KOV_LOG(0, "%d", int(getpid()));
    const pid_t child = fork();
    KOV_LOG(0, "%d", int(getpid()));
    if (child == 0)
        _exit(0);
    waitpid(child, nullptr, 0);
}

static void diskFull()
{
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit little{8192, RLIM_INFINITY};
    const rlimit much{RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &little);
    for (int i = 0; i < 100; ++i) {
        errno = 1234;
        KOV_LOG(0, "%0199d", i);
        REQUIRE(errno == 1234);
    }
    setrlimit(RLIMIT_FSIZE, &much);
    KOV_LOG(0, "space again");
}

/// No directory was set: the system's logs folder, on a /var/log of our own.
static void systemLogs()
{
    if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
        || mount("tmpfs", "/var/log", "tmpfs", 0, "size=64k") != 0)
        std::_Exit(77);
    umask(077);
    KOV_LOG(0, "first");
    struct stat folder, file;
    REQUIRE(stat("/var/log/tessarine", &folder) == 0 && (folder.st_mode & 07777) == 01777);
    REQUIRE(stat("/var/log/tessarine/tessarine-qor.log", &file) == 0 && (file.st_mode & 07777) == 0666);
    for (int i = 0; i < 100; ++i)
        KOV_LOG(0, "%04000d", i);
    REQUIRE(stat("/var/log/tessarine/tessarine-qor.log", &file) == 0 && file.st_size > 32000);
}

int main(int argc, char *argv[])
{
    if (argc < 3)
        return 2;
    s_directory = argv[1];
    if (s_directory != "-")
        KovGui::setLogDirectory(argv[1]);
    const auto number = [argc, argv](int i) { return i < argc ? std::atoi(argv[i]) : 1; };
    const std::map<std::string, std::function<void()>> commands{
        {"flood", [&] { flood(number(3), number(4)); }},
        {"killed", [&] { flood(1, number(3)), std::raise(SIGKILL); }},
        {"until-told", [] { logDuring(untilInputEnds, 50); }},
        {"change-directories", [] { logDuring(changeDirectories, 0); }},
        {"closed-by-host", [&] { closedByHost(number(3)); }},
        {"forked", forked},
        {"disk-full", diskFull},
        {"system-logs", systemLogs},
    };
    const auto command = commands.find(argv[2]);
    if (command == commands.end())
        return 2;
    command->second();
    return 0;
}
