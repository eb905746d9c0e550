#include "abstract_task/CTaskManager.h"
#include "gui/KovGui.h"
#include "gui/data_model/documents/CPackedProblemReport.h"
#include "gui/problem_report/CTaskCreateProblemReport.h"
#include "gui/problem_report/ClientProblemReportHelper.h"
#include "gui/problem_report/dialog/CTessarineProblemReportDialog.h"
#include "gui/problem_report/report/CProblemReportDelegate.h"
#include "gui/tasks/TaskIds.h"
#include "gui/window/CProgressDialog.h"
#include "kov_sdk_communication/CSdkRequest.h"
#include "tests/support/EventLog.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/OffscreenPlatform.h"

#include <memory>

namespace {

/// What a report is asked of: its requests end as a script says, a word each.
class Context : public QObject
{
    Q_OBJECT

public:
    Context(const QString &script, EventLog &log)
        : m_words(script.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        , m_log(log)
    {
        setProperty("serverUuid", QStringLiteral("server"));
        setProperty("vmUuid", QStringLiteral("machine"));
    }

    QTemporaryDir folder;
    t_SdkHandleWrap job;

    Q_INVOKABLE CSdkRequest *getProblemReport(uint kind)
    {
        const QString word = m_words.isEmpty() ? QStringLiteral("null") : m_words.takeFirst();
        m_log.add(QStringLiteral("request %1 %2").arg(kind).arg(word));
        if (word == QLatin1String("null"))
            return nullptr;
        KovService_CreateJob(job.out());
        if (word == QLatin1String("earlier")) {
            end(QStringLiteral("report"));
            auto *request = new CSdkRequest(job);
            if (!QTest::qWaitFor([request] { return request->isCompleted(); }))
                m_log.add(QStringLiteral("late"));
            return request;
        }
        if (word != QLatin1String("never"))
            QTimer::singleShot(0, this, [this, word] { end(word); });
        return new CSdkRequest(job);
    }

private:
    void end(const QString &word)
    {
        const QByteArray path = folder.filePath(QStringLiteral("ProblemReport-1.tar.gz")).toUtf8();
        const auto with = [&](const QByteArray &data) {
            t_SdkHandleWrap report;
            KovService_CreateReport(data.constData(), uint32_t(data.size()), "ProblemReport-1.tar.gz",
                                    report.out());
            KovService_CompleteJobWithReport(job, KOV_SUCCESS, report, "");
        };
        if (word == QLatin1String("report"))
            with("<Report><Type>user</Type></Report>");
        else if (word == QLatin1String("empty"))
            with("");
        else if (word == QLatin1String("broken"))
            with("<Report><Type>user</Typ");
        else if (word == QLatin1String("deep"))
            with(QByteArray("<Report>") + QByteArray("<a>").repeated(100000));
        else if (word == QLatin1String("handleless"))
            KovService_CompleteJob(job, KOV_SUCCESS, nullptr, "");
        else if (word == QLatin1String("fails"))
            KovService_CompleteJob(job, KOV_ERR_INVALID_ARG, nullptr, nullptr);
        else if (word == QLatin1String("outdated") && writeFile(QString::fromUtf8(path), "useless"))
            KovService_CompleteJob(job, KOV_ERR_PROBLEM_REPORT_OUTDATED, nullptr, path.constData());
        else if (word == QLatin1String("file"))
            KovService_CompleteJob(job, KOV_ERR_PROBLEM_REPORT_IN_FILE, nullptr, path.constData());
    }

    QStringList m_words;
    EventLog &m_log;
};

class Delegate : public CProblemReportDelegate
{
    Q_OBJECT

public:
    explicit Delegate(EventLog &log)
        : m_log(log)
    { }
    void beforeCollection() override { m_log.add(QStringLiteral("collect")); }
    void beforeReportShow(QWidget *) override { m_log.add(QStringLiteral("show")); }

private:
    EventLog &m_log;
};

CTessarineProblemReportDialog *dialog()
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (auto *found = qobject_cast<CTessarineProblemReportDialog *>(window))
            return found->isVisible() ? found : nullptr;
    }
    return nullptr;
}

} // namespace

/// The order of events from the request to the closed dialog.
class tst_ReportTask : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ignoreOffscreenWarnings();
        KovGui::init(KAM_CONSOLE);
    }

    void creation_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("events");
        QTest::addColumn<QString>("logged");
        const char *const good = "collect, request 1054 %1, show, finished(0)";
        const auto add = [](const char *name, const char *script, const QString &events, const char *logged) {
            row(name, script, events, logged);
        };
        const auto shown
            = [good](const char *word) { return QString::fromLatin1(good).arg(QLatin1String(word)); };
        const QString failed = QStringLiteral("collect, request 1054 %1, finished(-2147483639)");
        add("a report", "report", shown("report"), "");
        add("completed already", "earlier", shown("earlier"), "");
        add("outdated once", "outdated report",
            QStringLiteral("collect, request 1054 outdated, %1").arg(shown("report")), "");
        add("outdated twice", "outdated outdated report",
            QStringLiteral("collect, request 1054 outdated, collect, request 1054 outdated, "
                           "finished(-2147483503)"),
            "outdated a second time");
        add("a failure", "fails", QStringLiteral("collect, request 1054 fails, finished(-2147483645)"),
            "the service made no problem report: 80000003");
        add("no handle", "handleless", failed.arg(QStringLiteral("handleless")),
            "(!)Error: report parameter is empty!");
        add("nothing in it", "empty", failed.arg(QStringLiteral("empty")), "Empty problem report received");
        add("broken", "broken", failed.arg(QStringLiteral("broken")),
            "(!)Error: can't create report instance from ProblemReport-1.");
        add("nested without end", "deep", failed.arg(QStringLiteral("deep")), "can't create report instance");
        add("a file that is not there", "file", failed.arg(QStringLiteral("file")), "is not used");
        add("no request", "null", failed.arg(QStringLiteral("null")),
            "Current context does not support GetProblemReport command request");
    }
    void creation()
    {
        QFETCH(QString, script);
        QFETCH(QString, logged);
        const LogCapture capture;
        EventLog log;
        Context context(script, log);
        Delegate delegate(log);
        CTaskCreateProblemReport task(&context);
        task.setDelegate(&delegate);
        log.listen(&task, &CAbstractTask::taskFinished, "finished");
        task.execute();
        QVERIFY(CTaskManager::instance()->getTaskById(CTaskId_CreateProblemReport(
            QStringLiteral("server"), QStringLiteral("machine"), false, QString())));
        QTRY_VERIFY(task.isFinished() || dialog());
        if (dialog())
            dialog()->close();
        QTRY_VERIFY(task.isFinished());
        QTEST(log.take(), "events");
        QVERIFY2(LogCapture::text().contains(logged.toUtf8()), LogCapture::text().constData());
        // An outdated archive is gone.
        QVERIFY(!QFile::exists(context.folder.filePath(QStringLiteral("ProblemReport-1.tar.gz"))));
    }

    /// Whoever goes, and whenever: one end, and no window that stays.
    void deaths_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("who");
        QTest::addColumn<int>("result");
        for (const char *who : {"user", "task", "context", "request", "progress", "delegate"})
            row(who, "never", who, int(KOV_ERR_CANCELLED));
        row("dialog", "report", "dialog", int(KOV_SUCCESS));
        row("task with its dialog", "report", "task", int(KOV_ERR_CANCELLED));
    }
    void deaths()
    {
        QFETCH(QString, script);
        QFETCH(QString, who);
        const LogCapture capture;
        EventLog log;
        auto context = std::make_unique<Context>(script, log);
        auto delegate = std::make_unique<Delegate>(log);
        auto *task = new CTaskCreateProblemReport(context.get());
        task->setDelegate(delegate.get());
        QVector<int> results;
        connect(task, &CAbstractTask::taskFinished, this, [&results](int result) { results.append(result); });
        task->execute();
        const auto progress = [] {
            for (QWidget *window : QApplication::topLevelWidgets()) {
                if (auto *found = qobject_cast<CProgressDialog *>(window))
                    return found;
            }
            return static_cast<CProgressDialog *>(nullptr);
        };
        QTRY_VERIFY(script == QLatin1String("never") ? progress() != nullptr : dialog() != nullptr);
        const QPointer<CAbstractTask> guard(task);
        if (who == QLatin1String("user")) {
            progress()->cancel();
        } else if (who == QLatin1String("dialog")) {
            delete dialog();
        } else if (who == QLatin1String("task")) {
            delete task;
        } else if (who == QLatin1String("delegate")) {
            delegate.reset();
            progress()->cancel();
        } else {
            if (who == QLatin1String("context"))
                context.reset();
            else if (who == QLatin1String("request"))
                delete task->findChild<CSdkRequest *>();
            else
                delete progress();
            // The user's way out, or the owner's.
            if (progress())
                progress()->cancel();
            if (!results.size())
                task->terminate(KOV_ERR_CANCELLED);
        }
        QTRY_COMPARE(results.size(), 1);
        QTEST(results.first(), "result");
        delete guard;
        QTRY_VERIFY(!progress() && !dialog());
        QCOMPARE(results.size(), 1);
        if (context && script == QLatin1String("never") && who != QLatin1String("request")) {
            // The request was cancelled as well.
            KOV_RESULT code = KOV_SUCCESS;
            QCOMPARE(KovJob_GetRetCode(context->job, &code), KOV_SUCCESS);
            QCOMPARE(code, KOV_ERR_CANCELLED);
        }
    }

    void oldSchema()
    {
        EventLog log;
        Context context(QStringLiteral("report"), log);
        CTaskCreateProblemReport task(&context);
        task.setParameters({true});
        task.execute();
        QTRY_VERIFY(dialog());
        QCOMPARE(log.take(), QStringLiteral("request 1005 report"));
        dialog()->closeReportDialog();
        QTRY_VERIFY(task.isFinished());
    }

    void crashDumps_data()
    {
        QTest::addColumn<QString>("dump");
        QTest::addColumn<bool>("isShown");
        row("a dump", "signal 11 <b>at</b> 0x0", true);
        row("nothing", "", false);
        row("odd characters", "\x01\x02 %1 &amp;", true);
    }
    void crashDumps()
    {
        QFETCH(QString, dump);
        QFETCH(bool, isShown);
        const LogCapture capture;
        CTaskCreateProblemReport task(dump);
        task.execute();
        QTRY_VERIFY(task.isFinished() || dialog());
        QCOMPARE(dialog() != nullptr, isShown);
        if (dialog()) {
            QCOMPARE(dialog()->report().crashDump, dump);
            QCOMPARE(dialog()->report().type, QStringLiteral("crash"));
            QCOMPARE(dialog()->report().problemCode, std::optional<qint32>(KOV_ERR_UNEXPECTED));
            dialog()->close();
        }
        QTRY_VERIFY(task.isFinished());
        QCOMPARE(LogCapture::count("ERROR: crash dump string is empty"), int(!isShown));
    }

    void crashReportsThatAreNone()
    {
        const LogCapture capture;
        QVERIFY(!ClientProblemReportHelper::crashReport(QString(), QString(), nullptr, nullptr, true));
        QVERIFY(!ClientProblemReportHelper::crashReportWithDump(QString(), nullptr));
    }
};

KOV_TEST_MAIN(QApplication, tst_ReportTask)
#include "tst_report_task.moc"
