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
        const QStringList lines = script.split(QLatin1Char(';'), Qt::SkipEmptyParts);
        for (const QString &line : lines)
            m_steps.insert(line.section(QLatin1Char(':'), 0, 0).trimmed(), line.section(QLatin1Char(':'), 1));
        connect(this, &CAbstractTask::taskFinished,
                [name](int n) { note(name, QStringLiteral("finished %1").arg(n)); });
    }
    ~CTaskScripted() override { --instances(); }

    /// Runs "operation, operation" and gives what "return" says.
    static int perform(CTaskScripted *task, const QString &operations)
    {
        const QPointer<CTaskScripted> guarded(task);
        int result = 0;
        const QStringList list = operations.split(QLatin1Char(','), Qt::SkipEmptyParts);
        for (const QString &operation : list) {
            QStringList words = operation.simplified().split(QLatin1Char(' '));
            if (words.at(0) == QLatin1String("return"))
                result = words.at(1).toInt();
            else if (words.at(0) == QLatin1String("run"))
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
    KOV_RESULT validateSubTask() override { return m_steps.value(QStringLiteral("validate")).toInt(); }
    void finish(int result) override
    {
        note(m_name, QStringLiteral("finish"));
        CAbstractTask::finish(result);
    }
    void pauseSubTask() override { note(m_name, QStringLiteral("pause")); }
    void resumeSubTask() override { note(m_name, QStringLiteral("resume")); }
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
            {QStringLiteral("wait"), [&] { setWaitForSubTaskCompletion(); }},
            {QStringLiteral("complete"), [&] { subTaskCompleted(value); }},
            {QStringLiteral("terminate"), [&] { terminate(value); }},
            {QStringLiteral("finish"), [&] { finish(value); }},
            {QStringLiteral("delete"), [&] { delete this; }},
            {QStringLiteral("destroy"), [&] { endBeforeDestruction(), delete this; }},
            {QStringLiteral("execute"), [&] { execute(); }},
            {QStringLiteral("pause"), [&] { pause(); }},
            {QStringLiteral("resume"), [&] { resume(); }},
            {QStringLiteral("append"), [&] { appendSubTask(number(words.at(0))); }},
            {QStringLiteral("prepend"), [&] { prependSubTask(number(words.at(0))); }},
            {QStringLiteral("insert"), [&] { insertAfterSubTask(number(words.at(0)), number(words.at(1))); }},
            {QStringLiteral("mark"), [&] { eventLog() << QStringLiteral("-"); }},
            {QStringLiteral("clear"), [&] { clearSubTaskList(); }},
            {QStringLiteral("own"), [&] { setOption(DeleteWhenFinished, true); }},
            {QStringLiteral("loop"), [&] { performInLoop(words); }},
            {QStringLiteral("child"), [&] { performOnChild(words); }},
        };
        const auto found = operations.value(name);
        if (found)
            found();
        else
            eventLog() << QStringLiteral("unknown operation ") + name;
    }

    /// An event loop of the step that outlives what is posted in it.
    void performInLoop(const QStringList &words)
    {
        QEventLoop loop;
        QTimer::singleShot(0, &loop, [this, words] { perform(this, words.join(QLatin1Char(' '))); });
        QTimer::singleShot(0, &loop, [&loop] { QTimer::singleShot(0, &loop, &QEventLoop::quit); });
        loop.exec();
    }

    void performOnChild(const QStringList &words)
    {
        if (!words.isEmpty()) {
            perform(m_child, words.join(QLatin1Char(' ')));
            return;
        }
        m_child = new CTaskScripted(QStringLiteral("A: wait; Locked: wait"), QStringLiteral("child "));
        m_child->setOption(DeleteWhenFinished, true);
        runChild(m_child, [this](int result) {
            note(m_name, QStringLiteral("told"));
            subTaskCompleted(result);
        });
    }

    const QString m_name;
    QMap<QString, QString> m_steps;
    QPointer<CTaskScripted> m_child;
};
