#include "kov_sdk/Job_p.h"

#include <utility>

namespace KovService {

bool Job::hasEnded() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_ended;
}

Job::Outcome Job::outcome() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_outcome;
}

bool Job::end(Outcome outcome)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_ended)
        return false;
    m_ended = true;
    m_outcome = std::move(outcome);
    const KovJob_CompletionFunction function = std::exchange(m_function, nullptr);
    if (function)
        callFunction(lock, function, m_context);
    return true;
}

void Job::setProgress(unsigned percent)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    percent = percent < 100 ? percent : 100;
    if (!m_ended && percent > m_progress)
        m_progress = percent;
}

void Job::setFunction(KovJob_CompletionFunction function, void *context)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_functionReturned.wait(lock,
                            [this] { return m_running == 0 || m_runner == std::this_thread::get_id(); });
    if (m_ended && function) {
        callFunction(lock, function, context);
        return;
    }
    m_function = function;
    m_context = context;
}

void Job::callFunction(std::unique_lock<std::mutex> &lock, KovJob_CompletionFunction function, void *context)
{
    // The function gets a living handle even when the last one is being freed on another thread.
    const KOV_HANDLE handle = HandleTable::instance().yield(shared_from_this());
    ++m_running;
    m_runner = std::this_thread::get_id();
    const KOV_RESULT code = m_outcome.code;
    lock.unlock();
    function(handle, code, context);
    HandleTable::instance().release(handle);
    lock.lock();
    if (--m_running == 0)
        m_functionReturned.notify_all();
}

} // namespace KovService
