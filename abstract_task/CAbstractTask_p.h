#pragma once

#include "abstract_task/CAbstractTask.h"
#include "abstract_task/CSlotInfo.h"
#include "abstract_task/TaskList_p.h"

#include <QVector>

#include <functional>
#include <vector>

class StepTable;

/// The running state of a task. The manager runs it and keeps it in its lists.
class CAbstractTask::Private
{
public:
    enum State { Created, Running, Finishing, Finished };

    explicit Private(CAbstractTask *task, CTaskGenericId *identifier)
        : q(task)
        , id(identifier)
    { }

    /// Runs steps until one waits, the task is held or it has ended. The task may be deleted on return.
    void run();
    void start();
    void schedule();
    /// Hands the result to the virtual finish(), once.
    void end(KOV_RESULT outcome);
    /// The last act: out of the register, the signal, the callbacks. @param task what callbacks get, null
    /// when dying
    void close(KOV_RESULT outcome, CAbstractTask *task);
    /// Emits taskFinished, once.
    void announce();
    bool isDeletionDue() const { return state == Finished && (managed || deleteWhenFinished); }
    void endTerminated();
    void terminateChildren(KOV_RESULT outcome);
    void forEachChild(const std::function<void(CAbstractTask *)> &action);
    void detachFromParent();
    void edit(std::function<void()> change);
    bool isStepUnderWay() const { return inStep || (waiting && !completed); }
    bool isCalledFromOtherThread(const char *operation) const;
    const StepTable &stepTable() const;
    /// For the log.
    const void *asAddress() const { return q; }

    /// Tells a caller further up the stack that the task was deleted beneath it; costs no allocation.
    class Watch
    {
    public:
        explicit Watch(Private *task)
            : m_task(task)
            , m_outer(task->watch)
        {
            task->watch = this;
        }
        ~Watch()
        {
            if (m_task)
                m_task->watch = m_outer;
        }
        Q_DISABLE_COPY(Watch)
        bool isDeleted() const { return !m_task; }
        static void tellAll(Private *task)
        {
            for (Watch *watch = task->watch; watch; watch = watch->m_outer)
                watch->m_task = nullptr;
        }

    private:
        Private *m_task;
        Watch *m_outer;
    };

    CAbstractTask *const q;
    std::unique_ptr<CTaskGenericId> id;

    State state = Created;
    bool started = false;
    bool hasOwnList = false;
    bool inStep = false;
    bool waiting = false;
    bool completed = false;
    bool paused = false;
    bool terminating = false;
    bool deleteWhenFinished = false;
    bool dying = false;
    bool announced = false;
    KOV_RESULT completion = KOV_SUCCESS;
    KOV_RESULT terminationResult = KOV_SUCCESS;
    /// The last positive code until the end, then the result.
    KOV_RESULT result = KOV_SUCCESS;

    QList<int> steps;
    int next = 0;
    int current = -1;
    std::vector<std::function<void()>> earlyEdits;
    mutable const StepTable *table = nullptr;

    Watch *watch = nullptr;
    Private *parent = nullptr;
    TaskList<Private> children;
    TaskLink<Private> childLink{this};

    // The manager's.
    bool managed = false;
    quint64 turn = 0;
    uint kind = 0;
    uint hash = 0;
    const CTaskGenericId *registeredId = nullptr;
    QVector<CSlotInfo> callbacks;
    TaskLink<Private> readyLink{this};
    TaskLink<Private> kindLink{this};
    TaskLink<Private> idLink{this};
    TaskLink<Private> ownedLink{this};
};
