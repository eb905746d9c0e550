#include "abstract_task/CTaskManager.h"
#include "abstract_task/Tasks.h"
#include "tests/abstract_task/ScriptTask.h"
#include "tests/support/KovTest.h"

#include <algorithm>
#include <thread>

class CTaskWithoutConstructor : public CAbstractTask
{
    Q_OBJECT
};

class Kinds : public QObject
{
    Q_OBJECT

public:
    enum TaskTypes {
        TaskUnknown,
        TaskScripted = 47,
        TaskWithoutConstructor = 48,
        TaskAlien = 49,
        TaskMissing = 50
    };
    Q_ENUM(TaskTypes)
};

/// Notes callbacks of the manager.
class Listener : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void onFinished(KOV_RESULT result, CAbstractTask *task)
    {
        eventLog() << QString("called %1 %2").arg(result).arg(QLatin1String(task ? "task" : "null"));
        if (deletes)
            delete task;
    }

public:
    bool deletes = false;
    CSlotInfo slot() { return CSlotInfo(this, SLOT(onFinished(KOV_RESULT, CAbstractTask *))); }
};

class tst_Task : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        Tasks::init(QMetaEnum::fromType<Kinds::TaskTypes>());
        Tasks::setClassResolver([](const QString &name) -> const QMetaObject * {
            for (const QMetaObject *meta :
                 {&CTaskScripted::staticMetaObject, &CTaskWithoutConstructor::staticMetaObject}) {
                if (name == QLatin1String(meta->className()))
                    return meta;
            }
            return name == "CTaskAlien" ? &QObject::staticMetaObject : nullptr;
        });
        Tasks::setLogFunction(
            [](unsigned level, const char *text) {
                QVERIFY2(level != 0 || QByteArray(text).startsWith("(!)Error: "), text);
                eventLog() << QLatin1String(level == 0 ? "error" : "warning");
            },
            [] { return 1; });
    }

    void init() { eventLog().clear(); }
    void cleanup()
    {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(CTaskScripted::instances(), 0);
    }

    void script_data()
    {
        Table<QString, QString, QString> row;
        const char *const all = "A|B|C|finish|finished 0";

        row("steps in enumeration order", "", "execute, run", all);
        row("nothing before the event loop", "", "execute", "");
        row("failure ends", "B: return -5", "execute, run", "A|B|finish|finished -5");
        row("positive code goes on", "A: return 9; B: return 15282", "execute, run",
            "A|B|C|finish|finished 15282");
        row("failure wins over a code", "A: return 9; C: return -2", "execute, run",
            "A|B|C|finish|finished -2");
        row("validation fails", "validate: -7", "execute, run", "finish|finished -7");
        row("step that does not exist", "A: clear, append X, append B", "execute, run",
            "A|error|finish|finished -2147483639");

        row("waits", "B: wait", "execute, run, complete 4, run", "A|B|C|finish|finished 4");
        row("waiting step fails", "B: wait", "execute, run, complete -4, run", "A|B|finish|finished -4");
        row("next step comes from the loop", "B: wait", "execute, run, complete 0", "A|B");
        row("completed inside its method", "B: wait, complete 3, return 8", "execute, run",
            "A|B|C|finish|finished 3");
        row("completed inside without wait", "B: complete -3", "execute, run", "A|B|finish|finished -3");
        row("failure after a completion", "B: complete 3, return -8", "execute, run",
            "A|B|finish|finished -8");
        row("failure drops the wait", "B: wait, return -8", "execute, run", "A|B|finish|finished -8");
        row("second completion", "B: wait", "execute, run, complete 1, complete -2, run",
            "A|B|warning|C|finish|finished 1");
        row("completion before and after", "", "complete -1, execute, run, complete -1", all);
        row("execute twice", "", "execute, execute, run, execute", "error|A|B|C|finish|finished 0|error");

        row("finish in a step", "B: finish 6, return -1", "execute, run", "A|B|finish|finished 6");
        row("finish while waiting", "B: wait", "execute, run, finish -6, complete 0, run",
            "A|B|finish|finished -6");
        row("finish twice", "", "execute, run, finish 1", "A|B|C|finish|finished 0|finish|warning");
        row("deleted in a step", "B: delete", "execute, run", "A|B|finished -2147483019");
        row("deleted while waiting", "B: wait", "execute, run, delete", "A|B|finished -2147483019");
        row("destroyed with its own clean-up", "B: wait", "execute, run, destroy",
            "A|B|finish|finished -2147483019");

        row("edits in a step", "A: clear, append C, prepend B, insert A C", "execute, run",
            "A|C|B|C|finish|finished 0");
        row("edits apply to the default list", "", "append A, insert A C, prepend C, execute, run",
            "C|A|C|B|C|A|finish|finished 0");
        row("cleared before execute", "", "clear, append B, execute, run", "B|finish|finished 0");
        row("insert after nothing", "A: clear, insert B C", "execute, run", "A|warning|C|finish|finished 0");

        row("terminate before execute", "", "terminate -9, execute, run", "finish|finished -9");
        row("terminate before the first step", "", "execute, terminate -9, run", "finish|finished -9");
        row("terminate while waiting, at once", "B: wait",
            "execute, run, terminate -9, terminate -8, complete 0, run", "A|B|finish|finished -9");
        row("terminate inside a step", "B: terminate -9, wait", "execute, run", "A|B|finish|finished -9");
        row("terminate between completion and next step", "B: wait",
            "execute, run, complete 0, terminate -9, run", "A|B|finish|finished -9");
        row("locked step ends first", "A: clear, append Locked, append B; Locked: wait",
            "execute, run, terminate -9, run, mark, complete -1, run", "A|Locked|-|finish|finished -9");
        row("locked step fails by itself", "A: clear, append Locked; Locked: terminate -9, return -1",
            "execute, run", "A|Locked|finish|finished -9");

        row("pause holds the next step", "B: wait", "execute, run, pause, complete 0, run, resume, run",
            "A|B|pause|C|finish|finished 0");
        row("pause before the start", "", "pause, execute, run, resume, run", all);
        row("resume in time", "B: wait", "execute, run, pause, pause, resume, resume, complete 0, run",
            "A|B|pause|resume|C|finish|finished 0");
        row("terminate while paused", "B: wait", "execute, run, pause, terminate -9",
            "A|B|pause|finish|finished -9");
        row("step with an event loop", "A: run, complete 0, resume, run", "execute, pause, resume, run", all);

        row("child completes", "B: child", "execute, run, run, child complete 5, run, run, run",
            "A|B|child A|child B|child C|child finish|child finished 5|told|C|finish|finished 5");
        row("terminate reaches the child", "B: child", "execute, run, run, terminate -9, run",
            "A|B|child A|child finish|child finished -9|told|finish|finished -9");
        row("terminate waits for the child's locked step", "B: child",
            "execute, run, run, child clear, child append Locked, child complete 0, run, terminate -9, run, "
            "mark, child complete 0, run, run",
            "A|B|child A|child Locked|-|child finish|child finished -9|told|finish|finished -9");
        row("finish terminates the child", "B: child", "execute, run, run, finish 1, run",
            "A|B|child A|finish|child finish|child finished -2147483019|told|finished 1");
        row("child deleted", "B: child", "execute, run, run, child delete, run",
            "A|B|child A|child finished -2147483019|told|finish|finished -2147483019");
        row("finished in a step's event loop: it lives until the step returns", "B: loop finish -5, mark",
            "own, execute, run", "A|B|finish|finished -5|-");
        row("deleted with its child", "B: child", "execute, run, run, delete",
            "A|B|child A|child finish|child finished -2147483019|finished -2147483019");
        row("pause reaches the child", "B: child",
            "execute, run, run, pause, child complete 0, run, resume, run, run, run",
            "A|B|child A|child pause|pause|resume|child B|child C|child finish|child finished "
            "0|told|C|finish|finished 0");
    }

    void script()
    {
        const auto [steps, script, expected] = cells<QString, QString, QString>();
        const QPointer<CTaskScripted> task(new CTaskScripted(steps));
        CTaskScripted::perform(task, script);
        const QString happened = eventLog().join('|');
        if (task && !task->isFinished())
            CTaskScripted::perform(task, "delete");
        delete task;
        QCOMPARE(happened, expected);
    }

    void runTask_data()
    {
        Table<int, QString> row;
        const char *const failed = "error|called -2147483639 null";
        row("runs", int(Kinds::TaskScripted), "A|B|C|finish|finished 0|called 0 task");
        row("no class", int(Kinds::TaskMissing), failed);
        row("no name", 9999, failed);
        row("no task", int(Kinds::TaskAlien), failed);
        row("no constructor", int(Kinds::TaskWithoutConstructor), failed);
        row("no identifier", -1, failed);
    }

    void runTask()
    {
        const auto [kind, expected] = cells<int, QString>();
        Listener listener;
        CTaskGenericId *id = kind < 0 ? nullptr : new CTaskGenericId(unsigned(kind));
        const CAbstractTask *task = CTaskManager::instance()->runTask(id, listener.slot(), true);
        QCOMPARE(task != nullptr, kind == Kinds::TaskScripted);
        QVERIFY(!eventLog().join(QString()).contains("called"));
        QCoreApplication::processEvents();
        QCOMPARE(eventLog().join('|'), expected);
    }

    void managedCallbacks_data()
    {
        Table<bool, QString, QString> row;
        row("both are told", false, "run", "A|B|C|finish|finished 0|called 0 task|called 0 task");
        row("terminated", false, "terminate -9", "finish|finished -9|called -9 task|called -9 task");
        row("deleted while it runs", false, "delete",
            "finished -2147483019|called -2147483019 null|called -2147483019 null");
        row("destroyed with its own clean-up", false, "destroy",
            "finish|finished -2147483019|called -2147483019 null|called -2147483019 null");
        row("deleted by the first callback", true, "run",
            "A|B|C|finish|finished 0|called 0 task|called 0 null");
    }

    void managedCallbacks()
    {
        const auto [deletes, script, expected] = cells<bool, QString, QString>();
        Listener listener;
        listener.deletes = deletes;
        CTaskManager *manager = CTaskManager::instance();
        CAbstractTask *task
            = manager->runTask(new CTaskGenericId(Kinds::TaskScripted), listener.slot(), true);
        QCOMPARE(manager->runTask(new CTaskGenericId(Kinds::TaskScripted), listener.slot(), true), task);
        CTaskScripted::perform(qobject_cast<CTaskScripted *>(task), script);
        QCOMPARE(eventLog().join('|'), expected);
        QVERIFY(!manager->getTaskById(CTaskGenericId(Kinds::TaskScripted)));
    }

    void receiverGoneBeforeTheEnd()
    {
        auto listener = std::make_unique<Listener>();
        CTaskManager::instance()->runTask(new CTaskGenericId(Kinds::TaskScripted), listener->slot(), true);
        listener.reset();
        QCoreApplication::processEvents();
        QCOMPARE(eventLog().last(), "finished 0");
    }

    void managerGoesWithItsTasks()
    {
        Listener listener;
        CTaskManager::instance()->runTask(new CTaskGenericId(Kinds::TaskScripted), listener.slot(), true);
        delete CTaskManager::instance();
        QCOMPARE(eventLog().join('|'), "finished -2147483019|called -2147483019 null");
        QCOMPARE(CTaskScripted::instances(), 0);
    }

    void findsOldestOfEqualTasks()
    {
        CTaskManager *manager = CTaskManager::instance();
        const CTaskGenericId id(Kinds::TaskScripted);
        CTaskScripted own(QString(), QString(), new CTaskGenericId(id));
        QVERIFY(!manager->getTaskById(id));
        own.execute();
        CAbstractTask *second = manager->runTask(new CTaskGenericId(id), CSlotInfo(), false);
        CTaskScripted unnamed(QString{});
        unnamed.execute();
        QVERIFY(second != &own);
        QCOMPARE(manager->getTaskById(id), &own);
        QCOMPARE(manager->getTasksByType(Kinds::TaskScripted), QList<CAbstractTask *>({&own, second}));
        QCOMPARE(manager->getTasksByType(0), QList<CAbstractTask *>{&unnamed});
        own.setId(new CTaskGenericId(1));
        QCOMPARE(eventLog(), QStringList("error"));
        own.terminate(-1);
        QCOMPARE(manager->getTaskById(id), second);
        QCoreApplication::processEvents();
        QVERIFY(!manager->getTaskById(id));
    }

    void startsAndPausesAreTold()
    {
        CTaskScripted task("B: wait");
        connect(&task, &CAbstractTask::subTaskStarted, this,
                [](int step) { eventLog() << QString("start %1").arg(step); });
        connect(&task, &CAbstractTask::pausedChanged, this, [&](bool paused) {
            QCOMPARE(task.isPaused(), paused);
            eventLog() << QString("paused %1").arg(paused);
        });
        CTaskScripted::perform(&task, "resume, execute, run, pause, pause, resume, resume, complete 0, run");
        QCOMPARE(eventLog().join('|'),
                 "start 3|A|start 0|B|paused 1|pause|paused 0|resume|start 7|C|finish|finished 0");
    }

    void slotsThatInterfere()
    {
        for (const char *how : {"terminate -9", "finish -9", "delete"}) {
            eventLog().clear();
            QPointer<CTaskScripted> task(new CTaskScripted(QString{}));
            connect(task, &CAbstractTask::subTaskStarted, this,
                    [&] { CTaskScripted::perform(task, QLatin1String(how)); });
            CTaskScripted::perform(task, "execute, run");
            QVERIFY2(!eventLog().contains("A"), how);
            QVERIFY2(eventLog().constLast().startsWith("finished -"), how);
            delete task;
        }
        eventLog().clear();
        CTaskScripted task("A: wait");
        connect(&task, &CAbstractTask::pausedChanged, &task, &CAbstractTask::resume);
        CTaskScripted::perform(&task, "execute, run, pause, complete 0, run");
        QCOMPARE(eventLog().join('|'), "A|resume|B|C|finish|finished 0");
    }

    void endIsToldWhenAListenerOfTheChildsDeletesTheTask()
    {
        const QPointer<CTaskScripted> task(new CTaskScripted("B: child"));
        CTaskScripted::perform(task, "execute, run, run");
        auto *child = task->findChild<CTaskScripted *>();
        connect(child, &CAbstractTask::taskFinished, this, [task] { delete task; });
        eventLog().clear();
        CTaskScripted::perform(task, "finish 3");
        QVERIFY(!task);
        QCOMPARE(eventLog().join('|'), "finish|child finish|child finished -2147483019|told|finished 3");
    }

    void othersGoOnInAStepsEventLoop()
    {
        CTaskScripted first("A: run", "1 ");
        CTaskScripted second(QString(), "2 ");
        first.execute();
        second.execute();
        QCoreApplication::processEvents();
        QCOMPARE(eventLog().join('|'), "1 A|2 A|2 B|2 C|2 finish|2 finished 0|1 B|1 C|1 finish|1 finished 0");
    }

    void longChainsDoNotRecurse()
    {
        int left = 5000;
        quintptr lowest = std::numeric_limits<quintptr>::max();
        quintptr highest = 0;
        std::function<void()> next = [&] {
            const char here = 0;
            lowest = qMin(lowest, quintptr(&here));
            highest = qMax(highest, quintptr(&here));
            if (left-- == 0)
                return;
            auto *task = new CTaskScripted(QString{});
            task->setOption(CAbstractTask::DeleteWhenFinished, true);
            connect(task, &CAbstractTask::taskFinished, this, next);
            task->execute();
        };
        next();
        QTRY_VERIFY_WITH_TIMEOUT(left < 0, 30000);
        QVERIFY2(highest - lowest < 100000, qPrintable(QString::number(highest - lowest)));
    }

    void identifiers()
    {
        CTaskManager *manager = CTaskManager::instance();
        const auto id = [](const QString &name, const QVariant &value) {
            CTaskGenericId result(Kinds::TaskScripted);
            result.insertParam(name, value);
            return result;
        };
        const QString flag = "flag";
        const QVector<CTaskGenericId> different{
            id(flag, true),      id(flag, 1),     id(flag, "1"),
            id(flag, QUrl("1")), id(flag, false), id("other", true),
            id(flag, 1.5),       id(flag, 2.5),   CTaskGenericId(Kinds::TaskScripted)};
        QSet<CAbstractTask *> tasks;
        for (const CTaskGenericId &one : different)
            tasks.insert(manager->runTask(new CTaskGenericId(one), CSlotInfo(), true));
        QCOMPARE(tasks.size(), different.size());
        // The register looks identifiers up by a hash, so equality is asked for by itself as well.
        for (const CTaskGenericId &one : different) {
            QVERIFY(*manager->getTaskById(one)->id() == one);
            QCOMPARE(std::count(different.cbegin(), different.cend(), one), 1);
        }
        QCoreApplication::processEvents();
    }

    void otherThreadIsRefused()
    {
        CTaskScripted task("A: wait");
        CTaskScripted::perform(&task, "execute, run");
        CTaskManager *manager = CTaskManager::instance();
        QList<CAbstractTask *> found = manager->getTasksByType(0);
        QCOMPARE(found.size(), 1);
        std::thread([&] {
            CTaskScripted::perform(&task, "complete 0, terminate 0, finish 0, pause, execute");
            found = manager->getTasksByType(0);
        }).join();
        QCOMPARE(eventLog().join('|'), "A|error|error|finish|error|error|error|error");
        QVERIFY(found.isEmpty());
        QVERIFY(task.isRunning() && !task.isPaused());
        task.terminate(-9);
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_Task)
#include "tst_task.moc"
