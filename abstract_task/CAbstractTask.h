#pragma once

#include "abstract_task/AbstractTaskGlobal.h"
#include "abstract_task/CTaskGenericId.h"
#include "kov_sdk/KovTypes.h"

#include <QList>
#include <QObject>

#include <memory>

/**
 * An asynchronous piece of work made of steps that run one after another.
 */
class ABSTRACTTASK_EXPORT CAbstractTask : public QObject
{
    Q_OBJECT

public:
    enum Option {
        NoOption = 0,
        DeleteWhenFinished = 1,
    };
    Q_ENUM(Option)

    /// Takes over the identifier; null is allowed, setId() may follow before execute().
    explicit CAbstractTask(CTaskGenericId *id = nullptr);
    /// The same with a list of steps in place of getDefaultSubTaskList().
    CAbstractTask(const QList<int> &subTasks, CTaskGenericId *id);
    ~CAbstractTask() override;

    void execute();
    bool isFinished() const;
    bool isRunning() const;
    KOV_RESULT getResult() const;
    void setOption(Option option, bool on);
    bool testOption(Option option) const;
    void setId(CTaskGenericId *id);

    virtual QString subTaskToString(int subTask) const;
    virtual unsigned type() const;
    virtual const CTaskGenericId *id() const;

public Q_SLOTS:
    virtual void terminate(int result);
    virtual void bringToFront();

Q_SIGNALS:
    void taskFinished(KOV_RESULT result);

protected:
    virtual QList<int> getDefaultSubTaskList() const;
    virtual KOV_RESULT validateSubTask();
    virtual void finish(int result);
    virtual void pauseSubTask();
    virtual QList<int> getNonTerminatableSubTasks() const;

protected Q_SLOTS:
    virtual void subTaskCompleted(int result);
    virtual KOV_RESULT performSubTask();

protected:
    void appendSubTask(int subTask);
    void prependSubTask(int subTask);
    void insertAfterSubTask(int after, int subTask);
    void clearSubTaskList();
    int getCurrentSubTask() const;
    QList<int> getRemainSubTasks() const;
    void setWaitForSubTaskCompletion();

private:
    class Private;
    const std::unique_ptr<Private> d;
};
