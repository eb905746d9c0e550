#pragma once

#include "kov_sdk/Event_p.h"
#include "kov_sdk/Report_p.h"

#include <atomic>
#include <condition_variable>
#include <thread>

namespace KovService {

/// Work that ends once, with a result. May be used from any thread.
class Job : public Object, public std::enable_shared_from_this<Job>
{
public:
    static constexpr _KOV_HANDLE_TYPE handleType = KHT_JOB;

    struct Outcome
    {
        KOV_RESULT code = KOV_ERR_IN_PROGRESS;
        std::shared_ptr<Event> error;
        std::string data;
        std::shared_ptr<Report> report = nullptr;
    };

    Job()
        : Object(handleType)
    { }

    bool hasEnded() const;
    /// While the job runs: KOV_ERR_IN_PROGRESS, no error and no data.
    Outcome outcome() const;
    /// Ends the job and calls its function. False when it had ended.
    bool end(Outcome outcome);
    /// Percent. Never goes back.
    unsigned progress() const { return m_progress; }
    void setProgress(unsigned percent);
    /// The rules of KovJob_SetCompletionFunction.
    void setFunction(KovJob_CompletionFunction function, void *context);

private:
    void callFunction(std::unique_lock<std::mutex> &lock, KovJob_CompletionFunction function, void *context);

    mutable std::mutex m_mutex;
    std::condition_variable m_functionReturned;
    bool m_ended = false;
    std::atomic<unsigned> m_progress{0};
    Outcome m_outcome;
    KovJob_CompletionFunction m_function = nullptr;
    void *m_context = nullptr;
    int m_running = 0; ///< calls of a function, one inside the other, all on m_runner
    std::thread::id m_runner;
};

} // namespace KovService
