#include "abstract_task/CAbstractTask.h"

#include "abstract_task/CAbstractTask_p.h"
#include "abstract_task/CTaskManager.h"
#include "abstract_task/StepTable_p.h"
#include "abstract_task/Tasks.h"
#include "abstract_task/TasksLog_p.h"

#include <QThread>

CAbstractTask::CAbstractTask(CTaskGenericId *id)
    : d(new Private(this, id))
{
    Tasks::log(3, "Task %p created", d->asAddress());
}

CAbstractTask::CAbstractTask(const QList<int> &subTasks, CTaskGenericId *id)
    : CAbstractTask(id)
{
    d->steps = subTasks;
    d->hasOwnList = true;
}

CAbstractTask::~CAbstractTask()
{
    Tasks::log(3, "Task %p destroyed", d->asAddress());
    if (isRunning()) {
        // The derived part is gone: a child that ends now must not enter its slots.
        d->forEachChild([this](CAbstractTask *child) { disconnect(child, nullptr, this, nullptr); });
        d->close(KOV_ERR_CANCELLED, nullptr);
    } else if (isFinished()) {
        d->announce();
    }
    d->detachFromParent();
    d->children.forEach([](Private *child) {
        child->parent = nullptr;
        return true;
    });
    Private::Watch::tellAll(d.get());
}

void CAbstractTask::execute()
{
    if (d->isCalledFromOtherThread("execute()"))
        return;
    if (thread() != CTaskManager::instance()->thread()) {
        Tasks::log(0, "(!)Error: Task %p does not live on the task manager's thread, not executed",
                   d->asAddress());
        return;
    }
    if (d->state != Private::Created) {
        if (!d->terminating)
            Tasks::log(0, "(!)Error: Task %p is executed a second time, ignored", d->asAddress());
        return;
    }
    d->state = Private::Running;
    if (Tasks::isLogged(3))
        Tasks::log(3, "Task %p is a %s of kind %s, executed", d->asAddress(), metaObject()->className(),
                   qUtf8Printable(Tasks::typeName(type())));
    CTaskManager::instance()->taskStarted(this);
    d->schedule();
}

bool CAbstractTask::isFinished() const
{
    return d->state == Private::Finished;
}

bool CAbstractTask::isRunning() const
{
    return d->state == Private::Running || d->state == Private::Finishing;
}

bool CAbstractTask::isPaused() const
{
    return d->paused;
}

KOV_RESULT CAbstractTask::getResult() const
{
    return isFinished() ? d->result : KOV_SUCCESS;
}

void CAbstractTask::setOption(Option option, bool on)
{
    if (option != DeleteWhenFinished)
        return;
    d->deleteWhenFinished = on;
    if (d->isDeletionDue() && !d->inStep)
        deleteLater();
}

bool CAbstractTask::testOption(Option option) const
{
    return option == DeleteWhenFinished && d->deleteWhenFinished;
}

void CAbstractTask::setId(CTaskGenericId *id)
{
    std::unique_ptr<CTaskGenericId> given(id);
    if (d->state == Private::Created)
        d->id = std::move(given);
    else
        Tasks::log(0, "(!)Error: Task %p was executed, its identifier stays", d->asAddress());
}

QString CAbstractTask::subTaskToString(int subTask) const
{
    const StepTable::Step *step = d->stepTable().find(subTask);
    return step ? QString::fromLatin1(step->key) : QString::number(subTask);
}

unsigned CAbstractTask::type() const
{
    return d->id ? d->id->type() : 0;
}

const CTaskGenericId *CAbstractTask::id() const
{
    return d->id.get();
}

void CAbstractTask::terminate(int result)
{
    if (d->isCalledFromOtherThread("terminate()") || d->terminating || d->state == Private::Finishing
        || isFinished())
        return;
    d->terminating = true;
    d->terminationResult = result;
    if (d->state == Private::Created)
        d->end(result);
    else if (!d->inStep)
        d->endTerminated();
}

void CAbstractTask::bringToFront()
{
    d->forEachChild([](CAbstractTask *child) { child->bringToFront(); });
}

void CAbstractTask::pause()
{
    if (d->isCalledFromOtherThread("pause()") || d->paused || isFinished())
        return;
    const Private::Watch watching(d.get());
    d->paused = true;
    Q_EMIT pausedChanged(true);
    if (watching.isDeleted() || !d->paused)
        return;
    d->forEachChild([](CAbstractTask *child) { child->pause(); });
    if (watching.isDeleted())
        return;
    if (d->state == Private::Running && d->isStepUnderWay())
        pauseSubTask();
}

void CAbstractTask::resume()
{
    if (d->isCalledFromOtherThread("resume()") || !d->paused)
        return;
    const Private::Watch watching(d.get());
    d->paused = false;
    Q_EMIT pausedChanged(false);
    if (watching.isDeleted() || d->paused)
        return;
    d->forEachChild([](CAbstractTask *child) { child->resume(); });
    if (watching.isDeleted())
        return;
    if (d->state != Private::Running)
        return;
    d->schedule();
    if (d->isStepUnderWay())
        resumeSubTask();
}

QList<int> CAbstractTask::getDefaultSubTaskList() const
{
    return d->stepTable().order();
}

KOV_RESULT CAbstractTask::validateSubTask()
{
    return KOV_SUCCESS;
}

void CAbstractTask::finish(int result)
{
    if (d->isCalledFromOtherThread("finish()"))
        return;
    if (isFinished())
        Tasks::log(1, "(!)Warning: Task %p is finished a second time, ignored", d->asAddress());
    else
        d->close(result, d->dying ? nullptr : this);
}

void CAbstractTask::pauseSubTask() { }

void CAbstractTask::resumeSubTask() { }

QList<int> CAbstractTask::getNonTerminatableSubTasks() const
{
    return {};
}

void CAbstractTask::subTaskCompleted(int result)
{
    if (d->isCalledFromOtherThread("subTaskCompleted()"))
        return;
    if (d->state != Private::Running) {
        Tasks::log(3, "Task %p does not run, completion %.8X ignored", d->asAddress(), unsigned(result));
        return;
    }
    if (!d->isStepUnderWay() || d->completed) {
        Tasks::log(1, "(!)Warning: Task %p: step %d is completed already, result %.8X ignored",
                   d->asAddress(), d->current, unsigned(result));
        return;
    }
    d->completed = true;
    d->completion = result;
    if (!d->inStep)
        d->schedule();
}

KOV_RESULT CAbstractTask::performSubTask()
{
    const Private::Watch watching(d.get());
    const KOV_RESULT validity = validateSubTask();
    if (watching.isDeleted() || KOV_FAILED(validity) || d->state != Private::Running)
        return validity;

    const StepTable::Step *step = d->stepTable().find(d->current);
    if (!step || step->method < 0) {
        Tasks::log(0, "(!)Error: %s has no method that can run its step %s", metaObject()->className(),
                   qUtf8Printable(subTaskToString(d->current)));
        return KOV_ERR_FAILURE;
    }
    Tasks::log(4, "Task %p: step %s", d->asAddress(), step->key.constData());
    // Called without QMetaMethod::invoke, which compares type names at every call: the table has checked them
    // once.
    KOV_RESULT result = KOV_ERR_FAILURE;
    void *arguments[] = {&result};
    qt_metacall(QMetaObject::InvokeMetaMethod, step->method, arguments);
    return result;
}

void CAbstractTask::appendSubTask(int subTask)
{
    d->edit([this, subTask] { d->steps.append(subTask); });
}

void CAbstractTask::prependSubTask(int subTask)
{
    d->edit([this, subTask] { d->steps.insert(d->next, subTask); });
}

void CAbstractTask::insertAfterSubTask(int after, int subTask)
{
    d->edit([this, after, subTask] {
        const int found = d->current == after && d->next > 0 ? d->next - 1 : d->steps.indexOf(after, d->next);
        if (found < 0)
            Tasks::log(1, "(!)Warning: Task %p: there is no step %d to come, %d is put last", d->asAddress(),
                       after, subTask);
        d->steps.insert(found < 0 ? d->steps.size() : found + 1, subTask);
    });
}

void CAbstractTask::clearSubTaskList()
{
    if (d->started) {
        d->steps = d->steps.mid(0, d->next);
        return;
    }
    d->hasOwnList = true;
    d->steps.clear();
    d->earlyEdits.clear();
}

int CAbstractTask::getCurrentSubTask() const
{
    return d->current;
}

QList<int> CAbstractTask::getRemainSubTasks() const
{
    return d->started ? d->steps.mid(d->next) : QList<int>();
}

void CAbstractTask::setWaitForSubTaskCompletion()
{
    if (d->inStep)
        d->waiting = true;
    else
        Tasks::log(1, "(!)Warning: Task %p runs no step that could wait", d->asAddress());
}

void CAbstractTask::attachChildTask(CAbstractTask *child)
{
    if (!child || child == this || child->isFinished() || isFinished())
        return;
    child->d->detachFromParent();
    child->d->parent = d.get();
    d->children.append(child->d->childLink);
}

KOV_RESULT CAbstractTask::startChild(CAbstractTask *child)
{
    if (!child) {
        Tasks::log(0, "(!)Error: Task %p has no child that it could run", d->asAddress());
        return KOV_ERR_FAILURE;
    }
    if (!child->parent())
        child->setParent(this);
    attachChildTask(child);
    if (!d->isStepUnderWay() || d->inStep)
        setWaitForSubTaskCompletion();
    child->execute();
    return KOV_SUCCESS;
}

void CAbstractTask::endBeforeDestruction()
{
    if (isRunning() && d->state != Private::Finishing) {
        d->dying = true;
        d->end(KOV_ERR_CANCELLED);
    }
}
