#pragma once

#include "abstract_task/AbstractTaskGlobal.h"
#include "abstract_task/CSlotInfo.h"
#include "abstract_task/CTaskGenericId.h"
#include "kov_sdk/KovTypes.h"

#include <QList>
#include <QObject>

#include <memory>

class CAbstractTask;

/**
 * Creates tasks by identifier, finds running ones and calls back when they end.
 *
 * Every task that runs is in its register, whether the manager made it or its owner executed it. Starting,
 * finding and ending a task take constant time, however many run.
 *
 * Lives on the thread of the first instance() call (the GUI thread); every method is to be called there. A
 * call from another thread is refused with an error in the log.
 */
class ABSTRACTTASK_EXPORT CTaskManager : public QObject
{
    Q_OBJECT

public:
    /// The process's manager, created on first use. It goes with the application object: the tasks that it
    /// owns are deleted then, which ends the running ones with KOV_ERR_CANCELLED.
    static CTaskManager *instance();
    ~CTaskManager() override;

    /**
     * Creates the task that the identifier names, executes it, and calls the slot with (KOV_RESULT,
     * CAbstractTask*) when it has ended. The class is the one that the class resolver gives for "C" and the
     * kind's key. The task is owned by the manager and deleted from the event loop after the callbacks.
     *
     * The slot is called once, on every path, and never before this method returns. Its task is null when
     * there is none (any more). A slot that cannot be called is an error in the log; one whose receiver is
     * gone is not. With an empty record nothing is called.
     *
     * @param id      taken over, whatever happens; null is an error
     * @param shared  true: when a task with an equal identifier runs already, no second one is started and
     * the callback is attached to the (oldest) running one, whoever owns it. false: always a task of its own;
     * equal identifiers may run at once.
     * @return the task, or null when none could be created (a null identifier, a kind without a name or a
     * class, a class that is no task or has no invokable constructor that takes a CTaskGenericId*): then an
     * error is logged and the slot is called with (KOV_ERR_FAILURE, null) from the event loop.
     */
    CAbstractTask *runTask(CTaskGenericId *id, const CSlotInfo &onFinished, bool shared);

    /// The running task of that identifier, whoever started it; null when none runs. With several, the
    /// oldest.
    CAbstractTask *getTaskById(const CTaskGenericId &id) const;
    /// All running tasks of a kind, oldest first, those without an identifier as well.
    QList<CAbstractTask *> getTasksByType(unsigned type) const;

protected:
    bool event(QEvent *event) override;

private:
    friend class CAbstractTask;
    CTaskManager();
    void taskStarted(CAbstractTask *task);
    void schedule(CAbstractTask *task);
    static void taskEnded(CAbstractTask *task);
    static void callBack(const CSlotInfo &slot, KOV_RESULT result, CAbstractTask *task);
    CAbstractTask *fail(const CSlotInfo &onFinished);

    class Private;
    const std::unique_ptr<Private> d;
};
