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
 * Lives on the thread of the first instance() call (the GUI thread); every method is to be called there.
 */
class ABSTRACTTASK_EXPORT CTaskManager : public QObject
{
    Q_OBJECT

public:
    /// The process's manager, created on first use.
    static CTaskManager *instance();
    ~CTaskManager() override;

    /**
     * Creates the task that the identifier names, runs it, and calls the slot with (KOV_RESULT,
     * CAbstractTask*) when it has ended. The task is owned by the manager and deleted after the callback.
     *
     * @param id      taken over, whatever happens; null is an error
     * @param shared  true: when a task with an equal identifier runs already, no second one is started and
     * the callback is attached to the running one. false: always a task of its own.
     * @return the task, or null when none could be created (no class for the kind, a class that cannot be
     * created): then a line is logged and the slot is called with (KOV_ERR_FAILURE, null) from the event
     * loop.
     */
    CAbstractTask *runTask(CTaskGenericId *id, const CSlotInfo &onFinished, bool shared);

    /// The running task of that identifier, whoever started it; null when none runs. With several, the
    /// oldest.
    CAbstractTask *getTaskById(const CTaskGenericId &id) const;
    /// All running tasks of a kind, oldest first.
    QList<CAbstractTask *> getTasksByType(unsigned type) const;

private:
    friend class CAbstractTask;
    CTaskManager();
    void taskStarted(CAbstractTask *task);
    void taskEnded(CAbstractTask *task);

    class Private;
    const std::unique_ptr<Private> d;
};
