#include "kov_sdk_communication/CSdkRequest.h"

#include <QByteArray>

#include <mutex>
#include <unordered_map>
#include <unordered_set>

namespace {

/**
 * The requests that wait for the end of a job.
 *
 * A job has one completion function, and it may be running while a request dies: so all requests share one
 * function without a context, which finds them here by the job.
 */
class WaitingRequests
{
public:
    static WaitingRequests &instance()
    {
        // Jobs may end on other threads until the process is gone.
        static WaitingRequests *const requests = new WaitingRequests;
        return *requests;
    }

    void add(KOV_HANDLE job, CSdkRequest *request)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_requests[job].insert(request);
    }

    /// After the return, no call for the request is posted any more.
    void remove(KOV_HANDLE job, CSdkRequest *request)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto entry = m_requests.find(job);
        if (entry == m_requests.end())
            return;
        entry->second.erase(request);
        if (entry->second.empty())
            m_requests.erase(entry);
    }

    template <typename Post>
    void takeAll(KOV_HANDLE job, Post post)
    {
        // Posting under the lock keeps a request alive until its event is in the queue, which dies with it.
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto entry = m_requests.find(job);
        if (entry == m_requests.end())
            return;
        for (CSdkRequest *request : entry->second)
            post(request);
        m_requests.erase(entry);
    }

private:
    std::mutex m_mutex;
    std::unordered_map<KOV_HANDLE, std::unordered_set<CSdkRequest *>> m_requests;
};

} // namespace

class CSdkRequest::Private
{
public:
    t_SdkHandleWrap job;
    bool isCompleted = false;
    KOV_RESULT result = KOV_ERR_IN_PROGRESS;
    KOV_RESULT failure = KOV_ERR_INVALID_HANDLE; ///< the result when the job cannot be asked for one

    static void postCompletion(CSdkRequest *request);
    static void onJobEnded(KOV_HANDLE job, KOV_RESULT result, void *context);
};

void CSdkRequest::Private::postCompletion(CSdkRequest *request)
{
    // Carries no result: the request asks the job, which knows about threads.
    QMetaObject::invokeMethod(request, "complete", Qt::QueuedConnection);
}

void CSdkRequest::Private::onJobEnded(KOV_HANDLE job, KOV_RESULT, void *)
{
    WaitingRequests::instance().takeAll(job, &Private::postCompletion);
}

void CSdkRequest::complete()
{
    KOV_RESULT result = d->failure;
    if (!d->job.isNull())
        KovJob_GetRetCode(d->job, &result);
    d->isCompleted = true;
    d->result = result;
    Q_EMIT jobCompleted(result); // the request may be gone after this
}

CSdkRequest::CSdkRequest(const t_SdkHandleWrap &job, QObject *parent)
    : QObject(parent)
    , d(std::make_unique<Private>())
{
    qRegisterMetaType<KOV_RESULT>("KOV_RESULT");
    if (KovHandle_GetType(job) != KHT_JOB) {
        Private::postCompletion(this);
        return;
    }
    d->job = job;
    WaitingRequests::instance().add(job, this);
    const KOV_RESULT result = KovJob_SetCompletionFunction(job, &Private::onJobEnded, nullptr);
    if (KOV_SUCCEEDED(result))
        return;
    WaitingRequests::instance().remove(job, this);
    d->job.reset();
    d->failure = result;
    Private::postCompletion(this);
}

CSdkRequest::~CSdkRequest()
{
    if (!d->job.isNull())
        WaitingRequests::instance().remove(d->job, this);
}

t_SdkHandleWrap CSdkRequest::job() const
{
    return d->job;
}

bool CSdkRequest::isCompleted() const
{
    return d->isCompleted;
}

KOV_RESULT CSdkRequest::result() const
{
    return d->result;
}

t_SdkHandleWrap CSdkRequest::errorEvent() const
{
    t_SdkHandleWrap event;
    if (d->isCompleted && !d->job.isNull() && KOV_FAILED(KovJob_GetError(d->job, event.out())))
        event.reset();
    return event;
}

QString CSdkRequest::data() const
{
    uint32_t size = 0;
    if (!d->isCompleted || d->job.isNull() || KOV_FAILED(KovJob_GetData(d->job, nullptr, &size)))
        return QString();
    QByteArray text(static_cast<int>(size) + 1, '\0');
    size = static_cast<uint32_t>(text.size());
    if (KOV_FAILED(KovJob_GetData(d->job, text.data(), &size)))
        return QString();
    return QString::fromUtf8(text.constData(), static_cast<int>(size));
}

void CSdkRequest::cancel()
{
    if (!d->job.isNull())
        KovJob_Cancel(d->job);
}
