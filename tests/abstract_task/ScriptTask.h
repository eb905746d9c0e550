#pragma once

#include "abstract_task/CAbstractTask.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QMap>
#include <QMetaEnum>
#include <QPointer>
#include <QStringList>
#include <QTimer>

#include <functional>

/// What happened, in order; a test compares it with what should have happened.
inline QStringList &eventLog()
{
    static QStringList log;
    return log;
}

/**
 * A task that does what a text says: "A: wait; B: return 5, append C". Operations are
 * wait, complete n, terminate n, finish n, return n, delete, destroy (as a careful destructor does), execute,
 * pause, resume, own (deletes itself at its end), loop <operation> (in an event loop of the step), run (the
 * event loop), append X, prepend X, insert X Y (Y behind X), clear, child (nested, waits in its step A),
 * child <operation>.
 */
class CTaskScripted : public CAbstractTask
{
    Q_OBJECT

public:
    /// Values with gaps and out of order: a look-up by index finds the wrong step.
    enum TaskStep { A = 3, B = 0, C = 7, Locked = 9 };
    Q_ENUM(TaskStep)

    static int &instances()
    {
        static int count = 0;
        return count;
    }

    Q_INVOKABLE explicit CTaskScripted(CTaskGenericId *id)
        : CTaskScripted(QString(), QString(), id)
    { }
    CTaskScripted(const QString &script, const QString &name = QString(), CTaskGenericId *id = nullptr)
        : CAbstractTask(id)
        , m_name(name)
    {
        ++instances();
        const QStringList lines = script.split(';', Qt::SkipEmptyParts);
        for (const QString &line : lines)
            m_steps.insert(line.section(':', 0, 0).trimmed(), line.section(':', 1));
        connect(this, &CAbstractTask::taskFinished,
                [name](int n) { note(name, QString("finished %1").arg(n)); });
    }
    ~CTaskScripted() override { --instances(); }

    /// Runs "operation, operation" and gives what "return" says.
    static int perform(CTaskScripted *task, const QString &operations)
    {
        const QPointer<CTaskScripted> guarded(task);
        int result = 0;
        const QStringList list = operations.split(',', Qt::SkipEmptyParts);
        for (const QString &operation : list) {
            QStringList words = operation.simplified().split(' ');
            if (words.at(0) == "return")
                result = words.at(1).toInt();
            else if (words.at(0) == "run")
                QCoreApplication::processEvents();
            else if (guarded)
                guarded->performOne(words);
        }
        return result;
    }

protected:
    // Locked runs only where a script adds it.
    QList<int> getDefaultSubTaskList() const override
    {
        QList<int> list = CAbstractTask::getDefaultSubTaskList();
        list.removeAll(Locked);
        return list;
    }
    KOV_RESULT validateSubTask() override { return m_steps.value("validate").toInt(); }
    void finish(int result) override
    {
        note(m_name, "finish");
        CAbstractTask::finish(result);
    }
    void pauseSubTask() override { note(m_name, "pause"); }
    void resumeSubTask() override { note(m_name, "resume"); }
    QList<int> getNonTerminatableSubTasks() const override { return {Locked}; }

private:
    Q_INVOKABLE KOV_RESULT a() { return step("A"); }
    Q_INVOKABLE int b() { return step("B"); }
    Q_INVOKABLE KOV_RESULT c() { return step("C"); }
    Q_INVOKABLE KOV_RESULT locked() { return step("Locked"); }

    static void note(const QString &name, const QString &what) { eventLog() << name + what; }

    int step(const char *name)
    {
        note(m_name, QString::fromLatin1(name));
        return perform(this, m_steps.value(QString::fromLatin1(name)));
    }

    static int number(const QString &key)
    {
        return QMetaEnum::fromType<TaskStep>().keyToValue(key.toLatin1().constData());
    }

    void performOne(QStringList words)
    {
        const QString name = words.takeFirst();
        const int value = words.isEmpty() ? 0 : words.at(0).toInt();
        const QMap<QString, std::function<void()>> operations{
            {"wait", [&] { setWaitForSubTaskCompletion(); }},
            {"complete", [&] { subTaskCompleted(value); }},
            {"terminate", [&] { terminate(value); }},
            {"finish", [&] { finish(value); }},
            {"delete", [&] { delete this; }},
            {"destroy", [&] { endBeforeDestruction(), delete this; }},
            {"execute", [&] { execute(); }},
            {"pause", [&] { pause(); }},
            {"resume", [&] { resume(); }},
            {"append", [&] { appendSubTask(number(words.at(0))); }},
            {"prepend", [&] { prependSubTask(number(words.at(0))); }},
            {"insert", [&] { insertAfterSubTask(number(words.at(0)), number(words.at(1))); }},
            {"mark", [&] { eventLog() << "-"; }},
            {"clear", [&] { clearSubTaskList(); }},
            {"own", [&] { setOption(DeleteWhenFinished, true); }},
            {"loop", [&] { performInLoop(words); }},
            {"child", [&] { performOnChild(words); }},
        };
        const auto found = operations.value(name);
        if (found)
            found();
        else
            eventLog() << "unknown operation " + name;
    }

    /// An event loop of the step that outlives what is posted in it.
    void performInLoop(const QStringList &words)
    {
        QEventLoop loop;
        QTimer::singleShot(0, &loop, [this, words] { perform(this, words.join(' ')); });
        QTimer::singleShot(0, &loop, [&loop] { QTimer::singleShot(0, &loop, &QEventLoop::quit); });
        loop.exec();
    }

    void performOnChild(const QStringList &words)
    {
        if (!words.isEmpty()) {
            perform(m_child, words.join(' '));
            return;
        }
        m_child = new CTaskScripted("A: wait; Locked: wait", "child ");
        m_child->setOption(DeleteWhenFinished, true);
        runChild(m_child, [this](int result) {
            note(m_name, "told");
            subTaskCompleted(result);
        });
    }

    const QString m_name;
    QMap<QString, QString> m_steps;
    QPointer<CTaskScripted> m_child;
};
