#include "abstract_task/CAbstractTask_p.h"

#include "abstract_task/CTaskManager.h"
#include "abstract_task/StepTable_p.h"
#include "abstract_task/Tasks.h"
#include "abstract_task/TasksLog_p.h"

#include <QPointer>
#include <QThread>

const StepTable &CAbstractTask::Private::stepTable() const
{
    if (!table)
        table = &StepTable::of(q->metaObject());
    return *table;
}

bool CAbstractTask::Private::isCalledFromOtherThread(const char *operation) const
{
    if (QThread::currentThread() == q->thread())
        return false;
    Tasks::log(0, "(!)Error: %s of task %p is called from another thread, ignored", operation, asAddress());
    return true;
}

void CAbstractTask::Private::schedule()
{
    CTaskManager::instance()->schedule(q);
}

void CAbstractTask::Private::edit(std::function<void()> change)
{
    if (started)
        change();
    else
        earlyEdits.push_back(std::move(change));
}

void CAbstractTask::Private::start()
{
    started = true;
    if (!hasOwnList)
        steps = q->getDefaultSubTaskList();
    for (const std::function<void()> &change : std::exchange(earlyEdits, {}))
        change();
}

void CAbstractTask::Private::run()
{
    if (inStep)
        return;
    const Watch watching(this);
    while (state == Running) {
        if (terminating) {
            endTerminated();
            return;
        }
        if (paused || (waiting && !completed))
            return;
        if (!started)
            start();

        if (std::exchange(waiting, false)) {
            if (KOV_FAILED(completion)) {
                end(completion);
                return;
            }
            if (completion > 0)
                result = completion;
        }
        if (next >= steps.size()) {
            end(result);
            return;
        }

        current = qAsConst(steps).at(next++);
        completed = false;
        inStep = true;
        Q_EMIT q->subTaskStarted(current);
        if (watching.isDeleted())
            return;
        const bool isWanted = state == Running && !terminating;
        const KOV_RESULT returned = isWanted ? q->performSubTask() : KOV_SUCCESS;
        if (watching.isDeleted())
            return;
        inStep = false;
        // It was finished in an event loop of the step, which would have deleted it under the step's method.
        if (isDeletionDue())
            q->deleteLater();

        if (KOV_FAILED(returned) || (completed && !waiting)) {
            waiting = completed = true;
            if (KOV_FAILED(returned))
                completion = returned;
        } else if (!waiting && returned > 0) {
            result = returned;
        }
    }
}

void CAbstractTask::Private::end(KOV_RESULT outcome)
{
    state = Finishing;
    q->finish(outcome);
}

void CAbstractTask::Private::endTerminated()
{
    if (waiting && !completed && q->getNonTerminatableSubTasks().contains(current)) {
        Tasks::log(2, "Task %p is terminated after its step %d", asAddress(), current);
        return;
    }
    const Watch watching(this);
    terminateChildren(terminationResult);
    // A child that has to end its own step first wakes this task when it is done.
    if (!watching.isDeleted() && state == Running && children.isEmpty())
        end(terminationResult);
}

void CAbstractTask::Private::forEachChild(const std::function<void(CAbstractTask *)> &action)
{
    if (children.isEmpty())
        return;
    // A child that is told something may end, and take others or this task with it.
    QVector<QPointer<CAbstractTask>> tasks;
    children.forEach([&tasks](const Private *child) {
        tasks.append(child->q);
        return true;
    });
    for (const QPointer<CAbstractTask> &task : qAsConst(tasks)) {
        if (task)
            action(task.data());
    }
}

void CAbstractTask::Private::terminateChildren(KOV_RESULT outcome)
{
    forEachChild([outcome](CAbstractTask *child) { child->terminate(outcome); });
}

void CAbstractTask::Private::detachFromParent()
{
    childLink.remove();
    Private *former = std::exchange(parent, nullptr);
    if (former && former->state == Running && former->terminating)
        former->schedule();
}

void CAbstractTask::Private::close(KOV_RESULT outcome, CAbstractTask *task)
{
    const Watch watching(this);
    state = Finished;
    result = outcome;
    waiting = false;
    if (Tasks::isLogged(3))
        Tasks::log(3, "Task %p finished with result %.8X", asAddress(), unsigned(outcome));
    const QVector<CSlotInfo> slotsToCall = std::exchange(callbacks, {});
    detachFromParent();
    CTaskManager::taskEnded(q);
    terminateChildren(KOV_ERR_CANCELLED);
    // A listener of a child's end may have deleted this task, whose destructor has announced its end then.
    if (!watching.isDeleted())
        announce();
    for (const CSlotInfo &slot : slotsToCall)
        CTaskManager::callBack(slot, outcome, watching.isDeleted() ? nullptr : task);
    if (!watching.isDeleted() && task && isDeletionDue() && !inStep)
        task->deleteLater();
}

void CAbstractTask::Private::announce()
{
    if (!std::exchange(announced, true))
        Q_EMIT q->taskFinished(result);
}
