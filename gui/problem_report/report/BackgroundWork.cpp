#include "gui/problem_report/report/BackgroundWork_p.h"

#include <QElapsedTimer>
#include <QThread>

#include <atomic>

namespace {

/// Milliseconds between two progress signals.
constexpr int progressInterval = 40;

} // namespace

class BackgroundWork::Private : public QThread
{
public:
    Private(BackgroundWork *work, Body body)
        : m_work(work)
        , m_body(std::move(body))
    { }

    std::atomic<bool> isCancelled{false};

protected:
    void run() override
    {
        QElapsedTimer sinceProgress;
        const QVariant result = m_body([&](qint64 done) {
            if (!sinceProgress.isValid() || sinceProgress.elapsed() >= progressInterval) {
                sinceProgress.start();
                post([work = m_work, done] { Q_EMIT work->progress(done); });
            }
            return !isCancelled;
        });
        post([work = m_work, result] { Q_EMIT work->finished(result); });
    }

private:
    /// The object outlives the thread, and what is posted to it goes with it.
    void post(const std::function<void()> &function)
    {
        QMetaObject::invokeMethod(m_work, function, Qt::QueuedConnection);
    }

    BackgroundWork *const m_work;
    const Body m_body;
};

BackgroundWork::BackgroundWork(Body body, QObject *parent)
    : QObject(parent)
    , d(new Private(this, std::move(body)))
{ }

BackgroundWork::~BackgroundWork()
{
    cancel();
    d->wait();
}

void BackgroundWork::start()
{
    d->start(QThread::LowPriority);
}

void BackgroundWork::cancel()
{
    d->isCancelled = true;
}

bool BackgroundWork::isCancelled() const
{
    return d->isCancelled;
}
