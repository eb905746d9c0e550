// Tasks beside KJob: a chain of one-step tasks, and a queue of children inside one task.

#include "abstract_task/CAbstractTask.h"
#include "abstract_task/CTaskManager.h"
#include "abstract_task/Tasks.h"

#include <KCompositeJob>

#include <QCoreApplication>
#include <QEventLoop>
#include <QVector>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <ctime>
#include <deque>
#include <functional>

#include <malloc.h>

// Counts every allocation of the process, Qt's own included: operator new ends here as well.
static std::atomic<quint64> allocations{0};
extern "C" void *__libc_malloc(size_t size);
extern "C" void *malloc(size_t size)
{
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

namespace {

constexpr int Rounds = 7;
constexpr int chainLength = 20000;

struct Kinds
{
    Q_GADGET
public:
    enum TaskTypes { TaskOneStep = 1 };
    Q_ENUM(TaskTypes)
};

class CTaskOneStep : public CAbstractTask
{
    Q_OBJECT

public:
    enum TaskStep { Work = 0 };
    Q_ENUM(TaskStep)
    Q_INVOKABLE explicit CTaskOneStep(CTaskGenericId *id = nullptr)
        : CAbstractTask(id)
    { }
    unsigned type() const override { return Kinds::TaskOneStep; }

private:
    Q_INVOKABLE KOV_RESULT work() { return KOV_SUCCESS; }
};

class OneStepJob : public KJob
{
    Q_OBJECT

public:
    void start() override { QMetaObject::invokeMethod(this, &OneStepJob::work, Qt::QueuedConnection); }

private:
    void work() { emitResult(); }
};

/// Runs its children one after another; all of them are attached from the start.
class CTaskQueue : public CAbstractTask
{
    Q_OBJECT

public:
    enum TaskStep { RunChildren = 0 };
    Q_ENUM(TaskStep)
    explicit CTaskQueue(int length)
    {
        for (int i = 0; i < length; ++i) {
            auto *child = new CTaskOneStep;
            child->setOption(DeleteWhenFinished, true);
            connect(child, &CAbstractTask::taskFinished, this, &CTaskQueue::onChildFinished);
            attachChildTask(child);
            m_children.push_back(child);
        }
    }
    ~CTaskQueue() override { endBeforeDestruction(); }

private:
    Q_INVOKABLE KOV_RESULT runChildren()
    {
        setWaitForSubTaskCompletion();
        onChildFinished(KOV_SUCCESS);
        return KOV_SUCCESS;
    }
    void onChildFinished(KOV_RESULT result)
    {
        if (m_children.empty()) {
            subTaskCompleted(result);
            return;
        }
        CAbstractTask *child = m_children.front();
        m_children.pop_front();
        child->execute();
    }

    std::deque<CAbstractTask *> m_children;
};

class QueueJob : public KCompositeJob
{
    Q_OBJECT

public:
    explicit QueueJob(int length)
    {
        for (int i = 0; i < length; ++i)
            addSubjob(new OneStepJob);
    }
    void start() override { subjobs().first()->start(); }

protected:
    void slotResult(KJob *job) override
    {
        KCompositeJob::slotResult(job);
        if (hasSubjobs())
            subjobs().first()->start();
        else
            emitResult();
    }
};

/// The next link of a chain; ends the loop after the last one.
class Chain : public QObject
{
    Q_OBJECT

public:
    explicit Chain(std::function<void(Chain *)> link)
        : m_link(std::move(link))
    { }
    void run()
    {
        next();
        m_loop.exec();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    void next()
    {
        if (m_left-- == 0)
            m_loop.quit();
        else
            m_link(this);
    }

public Q_SLOTS:
    void onFinished(KOV_RESULT, CAbstractTask *) { next(); }

private:
    const std::function<void(Chain *)> m_link;
    int m_left = chainLength;
    QEventLoop m_loop;
};

void chainOfTasks()
{
    Chain([](Chain *chain) {
        auto *task = new CTaskOneStep;
        task->setOption(CAbstractTask::DeleteWhenFinished, true);
        QObject::connect(task, &CAbstractTask::taskFinished, chain, &Chain::next);
        task->execute();
    }).run();
}

void chainOfManagedTasks()
{
    Chain([](Chain *chain) {
        const CSlotInfo slot(chain, SLOT(onFinished(KOV_RESULT, CAbstractTask *)));
        CTaskManager::instance()->runTask(new CTaskGenericId(Kinds::TaskOneStep), slot, true);
    }).run();
}

void chainOfTasksCalledByFunction()
{
    Chain([](Chain *chain) {
        CTaskManager::instance()->runTask(new CTaskGenericId(Kinds::TaskOneStep),
                                          CSlotInfo(chain, &Chain::onFinished), true);
    }).run();
}

void chainOfJobs()
{
    Chain([](Chain *chain) {
        auto *job = new OneStepJob;
        QObject::connect(job, &KJob::result, chain, &Chain::next);
        job->start();
    }).run();
}

void chainOfQueuedCalls()
{
    Chain([](Chain *chain) { QMetaObject::invokeMethod(chain, &Chain::next, Qt::QueuedConnection); }).run();
}

void queueOfTasks(int length)
{
    CTaskQueue queue(length);
    QEventLoop loop;
    QObject::connect(&queue, &CAbstractTask::taskFinished, &loop, &QEventLoop::quit);
    queue.execute();
    loop.exec();
}

void queueOfJobs(int length)
{
    QueueJob queue(length);
    queue.setAutoDelete(false);
    QEventLoop loop;
    QObject::connect(&queue, &KJob::result, &loop, &QEventLoop::quit);
    queue.start();
    loop.exec();
}

/// Nothing here waits for anything, and other programs on the machine do not count.
double processorMicroseconds()
{
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e6 + double(time.tv_nsec) / 1e3;
}

struct Contestant
{
    const char *name;
    int items;
    std::function<void()> run;
    QVector<double> microseconds = {};
    double allocationsEach = 0;

    double median()
    {
        std::sort(microseconds.begin(), microseconds.end());
        return microseconds.at(microseconds.size() / 2);
    }
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    Tasks::init(QMetaEnum::fromType<Kinds::TaskTypes>());
    Tasks::setClassResolver([](const QString &) { return &CTaskOneStep::staticMetaObject; });

    std::vector<Contestant> contestants{
        {"chain, task", chainLength, chainOfTasks},
        {"chain, managed task", chainLength, chainOfManagedTasks},
        {"chain, managed, a function", chainLength, chainOfTasksCalledByFunction},
        {"chain, KJob", chainLength, chainOfJobs},
        {"chain, raw queued call", chainLength, chainOfQueuedCalls},
        {"queue of 1,000, task", 1000, [] { queueOfTasks(1000); }},
        {"queue of 40,000, task", 40000, [] { queueOfTasks(40000); }},
        {"queue of 1,000, KCompositeJob", 1000, [] { queueOfJobs(1000); }},
        {"queue of 40,000, KCompositeJob", 40000, [] { queueOfJobs(40000); }},
    };
    for (int round = -1; round < Rounds; ++round) {
        for (Contestant &contestant : contestants) {
            const quint64 before = allocations.load();
            // What one leaves to the allocator to tidy up is not the next one's work.
            malloc_trim(0);
            const double begin = processorMicroseconds();
            contestant.run();
            // The first round only warms up.
            if (round < 0)
                continue;
            contestant.microseconds.append((processorMicroseconds() - begin) / contestant.items);
            contestant.allocationsEach = double(allocations.load() - before) / contestant.items;
        }
    }

    std::printf("%-32s %12s %14s   (processor time, medians of %d alternating rounds)\n", "", "us each",
                "allocations", Rounds);
    for (Contestant &contestant : contestants)
        std::printf("%-32s %12.2f %14.1f\n", contestant.name, contestant.median(),
                    contestant.allocationsEach);
    const double job = contestants[3].median();
    std::printf("task : KJob %.2f, managed task : KJob %.2f, with a function %.2f\n",
                contestants[0].median() / job, contestants[1].median() / job, contestants[2].median() / job);
    std::printf("40,000 : 1,000 per task %.2f, per KJob %.2f\n",
                contestants[6].median() / contestants[5].median(),
                contestants[8].median() / contestants[7].median());
    return 0;
}

#include "bench_tasks.moc"
