#pragma once

#include "abstract_task/CAbstractTask.h"
#include "gui/KovGui.h"
#include "gui/tasks/http/ProxyResult.h"

#include <QTimer>
#include <QtTest>

/// Runs the task; its result, or 1 when it does not end.
inline KOV_RESULT resultOf(CAbstractTask &task)
{
    task.execute();
    return QTest::qWaitFor([&task] { return task.isFinished(); }, 20000) ? task.getResult() : 1;
}

/// Stands for the class that finds proxies: gives what the test sets, a little later, as real ones do.
class ChosenProxy : public CAbstractTask, public ProxyResult
{
    Q_OBJECT
    Q_INTERFACES(ProxyResult)

public:
    enum TaskStep { Find = 0 };
    Q_ENUM(TaskStep)

    Q_INVOKABLE explicit ChosenProxy(CTaskGenericId *id)
        : CAbstractTask(id)
    { }
    QNetworkProxy proxy() const override { return chosen; }

    static void install(const QMetaObject *task = &staticMetaObject)
    {
        KovGui::staticMetaObjectHash()["CTaskGetProxyInfo"] = task;
    }
    inline static QNetworkProxy chosen;
    inline static KOV_RESULT result = KOV_SUCCESS;
    inline static bool waits = false;

private:
    Q_INVOKABLE KOV_RESULT find()
    {
        setWaitForSubTaskCompletion();
        if (!waits)
            QTimer::singleShot(0, this, [this] { subTaskCompleted(result); });
        return KOV_SUCCESS;
    }
};
