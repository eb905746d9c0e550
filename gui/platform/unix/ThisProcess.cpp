#include "gui/platform/ThisProcess.h"

#include <atomic>
#include <ctime>
#include <pthread.h>
#include <unistd.h>

namespace KovGui::Platform {

static std::atomic<unsigned> s_processId{0};

static void forget()
{
    s_processId.store(0, std::memory_order_relaxed);
}

unsigned processId() noexcept
{
    // getpid() is a system call, a tenth of what a whole record costs.
    unsigned id = s_processId.load(std::memory_order_relaxed);
    if (id)
        return id;
    static std::atomic<bool> s_watchesForks{false};
    id = unsigned(getpid());
    if (s_watchesForks.exchange(true) || pthread_atfork(nullptr, nullptr, forget) == 0)
        s_processId.store(id, std::memory_order_relaxed);
    else
        s_watchesForks = false;
    return id;
}

unsigned threadId() noexcept
{
    struct Known
    {
        unsigned process;
        unsigned thread;
    };
    static thread_local Known known{0, 0};
    const unsigned process = processId();
    if (known.process != process)
        known = {process, unsigned(gettid())};
    return known.thread;
}

LocalTime localTime() noexcept
{
    struct Known
    {
        time_t seconds;
        LocalTime time;
    };
    // The C library converts under a lock that all threads share: once a second and thread is enough.
    static thread_local Known known{-1, {}};
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (known.seconds != now.tv_sec) {
        tm parts{};
        if (!localtime_r(&now.tv_sec, &parts))
            return {};
        known = {now.tv_sec, {parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec, 0}};
    }
    LocalTime result = known.time;
    result.millisecond = int(now.tv_nsec / 1000000);
    return result;
}

} // namespace KovGui::Platform
