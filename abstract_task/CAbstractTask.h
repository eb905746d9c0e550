#pragma once

#include "abstract_task/AbstractTaskGlobal.h"
#include "abstract_task/CTaskGenericId.h"
#include "kov_sdk/KovTypes.h"

#include <QList>
#include <QObject>

#include <memory>

/**
 * An asynchronous piece of work made of steps that run one after another.
 *
 * A task class names its steps in an enumeration TaskStep, in the order in which they run, and has for each
 * key an invokable method of that name with a lower-case first letter, without arguments, that returns a
 * KOV_RESULT:
 *
 *     class CTaskFetch : public CAbstractTask
 *     {
 *         Q_OBJECT
 *     public:
 *         enum TaskStep { OpenFile = 0, Transfer = 2 };       // gaps are allowed
 *         Q_ENUM(TaskStep)
 *         Q_INVOKABLE explicit CTaskFetch(CTaskGenericId *id) : CAbstractTask(id) {}
 *         ~CTaskFetch() override { endBeforeDestruction(); }
 *         unsigned type() const override { return 47; }
 *
 *     private:
 *         Q_INVOKABLE KOV_RESULT openFile()
 *         {
 *             return m_file.open(QFile::WriteOnly) ? KOV_SUCCESS : KOV_ERR_FAILURE;
 *         }
 *         Q_INVOKABLE KOV_RESULT transfer()
 *         {
 *             setWaitForSubTaskCompletion();
 *             startTransfer();    // its finished() slot calls subTaskCompleted(result)
 *             return KOV_SUCCESS;
 *         }
 *     };
 *
 * The invokable constructor is needed only where CTaskManager::runTask creates the task.
 *
 * **Results.** Negative is failure and ends the task with that result. Positive codes say more than "done":
 * the task goes on, and the last one is its result when no later step fails. Else the result is KOV_SUCCESS.
 *
 * **Order of events.** execute() registers the task with the manager and returns; the first step runs from
 * the event loop. Then for each step: subTaskStarted, performSubTask(), in it validateSubTask() and the
 * step's method; the next step follows in a loop, or, when the step waits, from the event loop after
 * subTaskCompleted(). When no step remains or one failed: finish(result), which takes the task out of the
 * manager's register, terminates children that still run, emits taskFinished(result), calls the manager's
 * callbacks in the order in which they came, and posts the task's deletion where one is due. taskFinished is
 * emitted exactly once for a task that was executed, whatever happens to it.
 *
 * **Out of the ordinary.**
 * - subTaskCompleted() before the step's method returns: kept until it returns. A failure that the method
 * then returns counts, any other value it returns does not.
 * - A second completion of a step: the first counts, the second is ignored with a warning in the log. It can
 * be told from a completion of the next step only until that one waits, so do not rely on it.
 * - A completion after the end or before execute(): ignored. After a termination it is the normal case.
 * - finish() from inside a step or a slot: the task ends there and then; what the step returns is ignored. A
 * second call is ignored with a warning.
 * - A step number without a key, a step without a method of the right shape: the task ends with
 * KOV_ERR_FAILURE and a line in the log.
 * - execute() a second time, or after the end: ignored with an error in the log. A task runs once.
 * - terminate(): see there.
 * - A task deleted while it runs ends with KOV_ERR_CANCELLED: taskFinished is emitted and the callbacks are
 * called from the destructor, the callbacks with a null task. The destructor of this class can no longer
 * reach the derived part: an override of finish() is not called, and attached children are cut off from the
 * task before they are terminated. A class that cleans up in finish(), owns child tasks as members, or
 * connects its own taskFinished to a slot of its own, calls endBeforeDestruction() first in its destructor.
 * - A task deleted by a slot of its own taskFinished: the remaining callbacks get a null task. Deleting it
 * from inside one of its steps is safe for this class; the step's method must not touch the task afterwards.
 *
 * Lives on the thread of CTaskManager. A call from another thread is refused with an error in the log; work
 * on other threads reports back through queued signals.
 */
class ABSTRACTTASK_EXPORT CAbstractTask : public QObject
{
    Q_OBJECT

public:
    enum Option {
        NoOption = 0,
        /// The task deletes itself from the event loop after its end. For a task without an owner. Set on a
        /// task that has ended already, it deletes it as well. A task of the manager's is deleted in any
        /// case.
        DeleteWhenFinished = 1,
    };
    Q_ENUM(Option)

    /// Takes over the identifier; null is allowed, setId() may follow before execute().
    explicit CAbstractTask(CTaskGenericId *id = nullptr);
    /// The same with a list of steps in place of getDefaultSubTaskList().
    CAbstractTask(const QList<int> &subTasks, CTaskGenericId *id);
    ~CAbstractTask() override;

    /// Starts the task. Returns before its first step runs. After terminate() it does nothing: the task has
    /// ended.
    void execute();
    bool isFinished() const;
    /// From execute() to the end; a paused task is running.
    bool isRunning() const;
    bool isPaused() const;
    /// The final result; KOV_SUCCESS as long as isFinished() is false.
    KOV_RESULT getResult() const;
    /// NoOption is ignored.
    void setOption(Option option, bool on);
    bool testOption(Option option) const;
    /// Takes over the identifier and deletes the former one. Refused (the argument is deleted, a line is
    /// logged) once the task was executed: it is registered under its identifier. A task without one is never
    /// found by identifier.
    void setId(CTaskGenericId *id);

    /// The key of the step in TaskStep, or the number in decimal when it has none.
    virtual QString subTaskToString(int subTask) const;
    /// The task's kind; by default the identifier's, 0 without one.
    virtual unsigned type() const;
    virtual const CTaskGenericId *id() const;

public Q_SLOTS:
    /**
     * Ends the task with the result (usually KOV_ERR_CANCELLED; any value is taken as it is).
     *
     * - Before execute(): the task ends at once, without a step; its finish() runs and taskFinished is
     * emitted.
     * - While a step waits, between two steps, while paused: attached children are terminated first, then the
     * task ends, before this method returns. When a child cannot end at once, the task ends after it.
     * - From inside a step's method (or an event loop that it runs): the task ends when the method returns.
     * - During a step of getNonTerminatableSubTasks(): neither the step nor its children are touched; the
     * task ends with this result after the step, whatever the step's own result is.
     * - A second call, or one after the end: ignored, the first result stands.
     */
    virtual void terminate(int result);
    /// Shows the task's window to the user, where it has one. By default passed on to the attached children.
    virtual void bringToFront();

    /// Holds the task: until resume() no further step begins, and the task ends only by terminate() or its
    /// own finish(). The step under way is told by pauseSubTask() and goes on unless it obeys. Reaches
    /// attached children. May be called before execute(). Ignored after the end.
    void pause();
    void resume();

Q_SIGNALS:
    /// The step is about to run and getCurrentSubTask(). A slot that ends or terminates the task keeps it
    /// from running; one that pauses the task comes too late for it.
    void subTaskStarted(int subTask);
    /// isPaused() has changed. Emitted before the attached children and the step under way are told. When a
    /// slot changes it back, they hear of that only.
    void pausedChanged(bool paused);
    void taskFinished(KOV_RESULT result);

protected:
    /// The steps to run, asked for once, from the event loop that runs the first step. By default all of
    /// TaskStep in the order of the enumeration; an override changes that list or builds its own.
    virtual QList<int> getDefaultSubTaskList() const;
    /// Called before each step, with getCurrentSubTask() set to it; a failure ends the task before the step
    /// runs.
    virtual KOV_RESULT validateSubTask();
    /// Ends the task. An override cleans up and then calls this one, at once or later: the task runs until it
    /// does.
    virtual void finish(int result);
    /// The task was paused while a step is under way: suspend its work. By default nothing.
    virtual void pauseSubTask();
    /// Steps during which terminate() waits. By default none.
    virtual QList<int> getNonTerminatableSubTasks() const;

protected Q_SLOTS:
    /// The step under way has ended with this result. The next step runs from the event loop.
    virtual void subTaskCompleted(int result);
    /// Runs the current step; the place for an override that wraps every step.
    virtual KOV_RESULT performSubTask();

protected:
    /// The task was resumed: go on with the step that pauseSubTask() suspended. By default nothing.
    virtual void resumeSubTask();

    /// The list of steps may be changed at any time before the end; a step may be in it more than once.
    /// Changes made before the first step are applied to the default list.
    void appendSubTask(int subTask);
    void prependSubTask(int subTask);
    /// Behind the current step or the first coming one of that number; at the end, with a warning, when there
    /// is none.
    void insertAfterSubTask(int after, int subTask);
    /// Drops the coming steps; the current one goes on. Before the first step: the default list is not asked
    /// for.
    void clearSubTaskList();
    /// The step under way, or the one before the next one between two steps; the last one after the end. -1
    /// before the first.
    int getCurrentSubTask() const;
    /// The coming steps, without the current one. Empty before the first step.
    QList<int> getRemainSubTasks() const;
    /// To be called from the step's method: the step goes on after it returns, until subTaskCompleted().
    void setWaitForSubTaskCompletion();

    /**
     * Makes terminate(), pause(), resume() and bringToFront() reach a nested task, from now until it ends.
     * Owns nothing. When this task ends while the child runs, the child is terminated with KOV_ERR_CANCELLED.
     * A task has one parent at most, the latest. Not for a task that others share: they would lose it with
     * this one.
     */
    void attachChildTask(CAbstractTask *child);

    /**
     * Runs a nested task as the step's work: connects its taskFinished to the slot, attaches it, waits for
     * subTaskCompleted() and executes it. For the end of a step's method, or later while that step waits:
     *
     *     return runChild(new CTaskTransfer(url), &CTaskFetch::onTransferFinished);
     *
     * @param child  becomes a child object of this task when it has no parent; null fails
     * @param slot   a method of this class or any function that takes the result; it ends by calling
     *               subTaskCompleted()
     * @return KOV_SUCCESS, or KOV_ERR_FAILURE with a line in the log when there is no child
     */
    template <typename Slot>
    KOV_RESULT runChild(CAbstractTask *child, Slot slot)
    {
        if constexpr (std::is_member_function_pointer_v<Slot>) {
            using Derived = typename QtPrivate::FunctionPointer<Slot>::Object;
            if (child)
                connect(child, &CAbstractTask::taskFinished, static_cast<Derived *>(this), slot);
        } else if (child) {
            connect(child, &CAbstractTask::taskFinished, this, slot);
        }
        return startChild(child);
    }

    /// For destructors of derived classes, as their first statement: a task that still runs is finished with
    /// KOV_ERR_CANCELLED, with the finish() of that class, while all of its members exist. Callbacks get a
    /// null task.
    void endBeforeDestruction();

private:
    KOV_RESULT startChild(CAbstractTask *child);

    friend class CTaskManager;
    class Private;
    const std::unique_ptr<Private> d;
};
