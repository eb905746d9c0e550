#include "abstract_task/CTaskManager.h"
#include "gui/frame/GUI.h"
#include "tests/support/Files.h"
#include "tests/support/LogCapture.h"
#include "tests/tasks/DownloadFixture.h"

using Task = CTaskDownloadFile;

/// The task and its thread, with a child process that misbehaves.
class tst_DownloadTask : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        KovGui::init(KAM_CONSOLE);
        KovGui::setLogVerbosity(2);
        ChosenProxy::install();
    }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        qputenv("RUNS", m_folder->filePath(QStringLiteral("runs")).toUtf8());
        useUtility(QStringLiteral(MISBEHAVING_DOWNLOAD));
        ChosenProxy::chosen = QNetworkProxy();
        ChosenProxy::result = KOV_SUCCESS;
        ChosenProxy::waits = false;
    }

    void outcomes_data()
    {
        QTest::addColumn<QByteArray>("behaviour"); // or the path of another program
        QTest::addColumn<bool>("reconnects");
        QTest::addColumn<QByteArray>("events");

        const QByteArray failed("state 1, state 2, finished file.bin -1 0, result 0x80000009");
        const QByteArray waiting("state 1, state 3");
        row<QByteArray>("success", "exit 0", true, "state 1, state 2, finished file.bin 0 0, result 0x0");
        row<QByteArray>("another code", "exit 23", true, QByteArray(failed).replace("-1", "23"));
        row<QByteArray>("25, not wanted", "exit 25", false, QByteArray(failed).replace("-1", "25"));
        row<QByteArray>("25 and wanted", "exit 25", true, waiting);
        row<QByteArray>("31 and wanted", "exit 31", true, waiting);
        row<QByteArray>("killed by signal 25", "signal 25", true, failed);
        row<QByteArray>("killed by signal 31", "signal 31", true, failed);
        row<QByteArray>("no utility", "/no/such/utility", true, failed);
        row<QByteArray>("no program", "/etc/passwd", true, failed);
    }

    void outcomes()
    {
        QFETCH(QByteArray, behaviour);
        QFETCH(bool, reconnects);
        QFETCH(QByteArray, events);
        if (behaviour.startsWith('/'))
            useUtility(QString::fromUtf8(behaviour));
        ChosenProxy::result = KOV_NO_PROXY_TO_ASK;
        const LogCapture log;
        const auto task = makeTask(behaviour, reconnects ? Task::Reconnect : Task::DownloadOptions());
        const DownloadEvents told(task.get());
        task->execute();
        QTRY_COMPARE(told.text(), QString::fromUtf8(events));
        QCOMPARE(log.count("canceled"), 0);
    }

    void elevenReconnects()
    {
        const auto task = makeTask("exit 25", Task::Reconnect);
        const DownloadEvents told(task.get());
        task->execute();
        QList<int> delays;
        for (int i = 0; i < 11; ++i) {
            QTRY_COMPARE(task->state(), Task::WaitingForReconnect);
            QVERIFY(reconnectTimer(*task)->isActive());
            delays << reconnectTimer(*task)->interval();
            fireReconnect(*task);
            QTRY_COMPARE(runs().size(), i + 2);
        }
        QTRY_VERIFY(task->isFinished());
        QCOMPARE(delays, (QList<int>{5000, 30000, 60000} + QVector<int>(8, 300000).toList()));
        QCOMPARE(told.list.mid(told.list.size() - 3).join(QLatin1String(", ")),
                 QStringLiteral("state 2, finished file.bin 25 0, result 0x80000009"));
    }

    void reconnectStartsWhenTheThreadHasEnded()
    {
        const auto task = makeTask("exit 25", Task::Reconnect);
        task->execute();
        QTRY_COMPARE(task->state(), Task::Downloading);
        auto *thread = task->findChild<CDownloadThread *>();
        // Called on the thread itself: it stays a while after it has reported.
        connect(
            thread, &CDownloadThread::downloadFinished, thread, [] { QThread::msleep(200); },
            Qt::DirectConnection);
        QTRY_COMPARE(task->state(), Task::WaitingForReconnect);
        QVERIFY(thread->isRunning());
        QMetaObject::invokeMethod(task.get(), "onReconnectTimeout");
        QTRY_COMPARE(runs().size(), 2);
        QTRY_COMPARE(task->state(), Task::WaitingForReconnect);
        QMetaObject::invokeMethod(task.get(), "onReconnectTimeout");
        task->cancel();
        QTRY_VERIFY(task->isFinished());
        QCOMPARE(runs().size(), 2);
    }

    void progressFromPieces()
    {
        const auto task = makeTask("pieces");
        QList<DownloadProgressData> reports;
        QList<uint> percentages;
        connect(task.get(), &Task::sendDownloadProgressData, this,
                [&](const DownloadProgressData &data) { reports << data; });
        connect(task.get(), &Task::sendProgress, this, [&](uint percent) { percentages << percent; });
        task->execute();
        QTRY_VERIFY(task->isFinished());
        QVERIFY(!reports.isEmpty());
        for (const DownloadProgressData &data : qAsConst(reports)) {
            QVERIFY(data.fileSize == 0 || data.fileSize == 1234);
            QVERIFY(data.downloadedBytes == 0 || data.downloadedBytes == 1000);
        }
        for (const uint percent : qAsConst(percentages))
            QVERIFY(percent == 0 || percent == 10 || percent == 12);
        const DownloadProgressData &last = reports.last();
        QCOMPARE(percentages.last(), 12u);
        QCOMPARE(last.progress, 12);
        QCOMPARE(last.estimatedTime, 7);
        QCOMPARE(last.downloadingRate, 99);
    }

    void standardErrorCannotFloodOrForgeTheLog()
    {
        const LogCapture log;
        const auto task = makeTask("flood errors");
        task->execute();
        QTRY_VERIFY(task->isFinished());
        QCOMPARE(task->getResult(), KOV_SUCCESS);
        QVERIFY(log.text().contains("\nDownloading standard error : \nline 0\\rF /forged:1:1/"));
        QVERIFY(!log.text().contains("secret"));
        QVERIFY2(log.text().size() < 200000, QByteArray::number(log.text().size()).constData());
        QCOMPARE(log.count("more bytes were not logged"), 1);
    }

    void endings_data()
    {
        QTest::addColumn<QByteArray>("how");
        QTest::addColumn<QByteArray>("behaviour");
        QTest::addColumn<int>("when"); // state; -1: before execute(), -2: while the proxy is looked for
        QTest::addColumn<QByteArray>("events");

        const QByteArray neverBegan("finished - 0 1, result 0x80000009");
        const QByteArray canceled("state 1, state 2, finished file.bin -1 1, result 0x80000009");
        const QByteArray ended("state 1, state 2, finished - 0 1, result 0x80000275");
        row<QByteArray>("before execute", "cancel", "exit 0", -1, neverBegan);
        row<QByteArray>("in the search for a proxy", "cancel", "exit 0", -2, neverBegan);
        row<QByteArray>("as the process begins", "cancel at once", "hang", 1, canceled);
        row<QByteArray>("one that never ends", "cancel", "hang", 1, canceled);
        row<QByteArray>("one that floods", "cancel", "flood", 1, canceled);
        row<QByteArray>("while waiting", "cancel", "exit 25", 3,
                        "state 1, state 3, state 2, finished file.bin 25 1, result 0x80000009");
        row<QByteArray>("terminated", "terminate", "hang", 1, ended);
        row<QByteArray>("deleted", "delete", "hang", 1, ended);
        row<QByteArray>("killed from outside", "kill", "hang", 1,
                        "state 1, state 2, finished file.bin -1 0, result 0x80000009");
    }

    void endings()
    {
        QFETCH(QByteArray, how);
        QFETCH(QByteArray, behaviour);
        QFETCH(int, when);
        ChosenProxy::waits = when == -2;
        auto task = makeTask(behaviour, Task::Reconnect);
        const DownloadEvents told(task.get());
        if (when != -1)
            task->execute();
        if (when == -2)
            QTRY_COMPARE(CTaskManager::instance()->getTasksByType(GUI::TaskGetProxyInfo).size(), 1);
        if (when >= 0)
            QTRY_COMPARE(int(task->state()), when);
        if (when == 1 && how != "cancel at once")
            QTRY_COMPARE(runs().size(), 1);

        if (how.startsWith("cancel"))
            task->cancel();
        else if (how == "terminate")
            task->terminate(KOV_ERR_CANCELLED);
        else if (how == "delete")
            task.reset();
        else
            ::kill(processOf(runs().constFirst()), SIGKILL);
        if (when == -1)
            task->execute();

        QFETCH(QByteArray, events);
        QTRY_COMPARE(told.text(), QString::fromUtf8(events));
        QCOMPARE(task && task->isCanceled(), how.startsWith("cancel"));
        for (const QByteArray &run : runs())
            QTRY_VERIFY(!isAlive(run));
        QTRY_VERIFY(QCoreApplication::instance()->findChildren<CDownloadThread *>().isEmpty());
        // With it goes a question for the proxy's password.
        QVERIFY(CTaskManager::instance()->getTasksByType(GUI::TaskGetProxyInfo).isEmpty());
        QCOMPARE(told.text(), QString::fromUtf8(events));
    }

    void quitInTheMiddle()
    {
        const auto task = makeTask("hang");
        task->execute();
        QTRY_COMPARE(runs().size(), 1);
        QTimer::singleShot(0, QCoreApplication::instance(), &QCoreApplication::quit);
        QCoreApplication::exec();
        QVERIFY(!isAlive(runs().constFirst()));
        QVERIFY(task->findChild<CDownloadThread *>()->isFinished());
    }

    void arguments_data()
    {
        QTest::addColumn<QNetworkProxy>("proxy");
        QTest::addColumn<bool>("isBackground");
        QTest::addColumn<QByteArray>("more"); // arguments behind the common ones, and standard input

        const auto proxy = [](const char *user, const QString &password = QString()) {
            return QNetworkProxy(QNetworkProxy::HttpProxy, QStringLiteral("proxy"), 3128, QLatin1String(user),
                                 password);
        };
        const QByteArray server = "--proxy-server|proxy|--proxy-port|3128|";
        const QByteArray user = server + "-pu|me|--proxy-try-count|1|";
        QTest::newRow("no proxy") << QNetworkProxy() << false << QByteArray("end");
        QTest::newRow("background") << QNetworkProxy() << true << QByteArray("-bd|end");
        QTest::newRow("a proxy") << proxy("") << false << server + "end";
        QTest::newRow("a user without a password") << proxy("me") << false << user + "end";
        QTest::newRow("a password") << proxy("me", QStringLiteral(u"p\u00e4 ss\u20ac")) << false
                                    << user + "[p\xc3\xa4 ss\xe2\x82\xac]end";
    }

    void arguments()
    {
        QFETCH(QNetworkProxy, proxy);
        QFETCH(bool, isBackground);
        QFETCH(QByteArray, more);
        ChosenProxy::chosen = proxy;
        const LogCapture log;
        const auto task
            = makeTask("read input", isBackground ? Task::BackgroundDownload : Task::DownloadOptions());
        task->execute();
        QTRY_VERIFY(task->isFinished());
        const QByteArray run = runs().value(0);
        QCOMPARE(run.mid(run.indexOf('|') + 1), "download|-u|file|-f|http://h/a/file.bin|-p|"
                                                    + m_folder->path().toUtf8() + "|-ui|-fo|" + more);
        QVERIFY(log.text().contains(" download -u file -f http://h/a/file.bin -p "));
        QVERIFY(!log.text().contains(" me ") && !log.text().contains("ss\xe2\x82\xac"));
    }

    void secretsThatCannotBeHandedOver()
    {
        const LogCapture log;
        qputenv("MISBEHAVIOUR", "exit 0");
        const QList<std::pair<const char *, const char *>> cases{
            {"http://h/f", "two\nlines"},     {"http://h/f", "two\rlines"}, {"http://me:secret@h/f", ""},
            {"https://secret-token@h/f", ""}, {"http:/me:secret@h/f", ""},  {"http:///me:secret@h/f", ""}};
        for (const auto &[url, password] : cases) {
            ChosenProxy::chosen = {QNetworkProxy::HttpProxy, QStringLiteral("proxy"), 1, QStringLiteral("me"),
                                   QLatin1String(password)};
            Task task(QLatin1String(url), m_folder->path(), Task::Reconnect);
            task.execute();
            QTRY_VERIFY(task.isFinished());
            QCOMPARE(task.getResult(), KOV_ERR_FAILURE);
        }
        QVERIFY(runs().isEmpty());
        QCOMPARE(log.count("(!)Error:"), cases.size());
        QVERIFY(!log.text().contains("two") && !log.text().contains("secret"));
    }

    void proxyFailure()
    {
        ChosenProxy::result = KOV_ERR_PROXY_AUTHENTICATION_REQUIRED;
        const auto task = makeTask("exit 0", Task::Reconnect);
        const DownloadEvents told(task.get());
        task->execute();
        QTRY_COMPARE(told.text(), QStringLiteral("finished - 0 1, result 0x80038005"));
        QVERIFY(runs().isEmpty());
    }

private:
    std::unique_ptr<Task> makeTask(const QByteArray &behaviour, Task::DownloadOptions options = {})
    {
        qputenv("MISBEHAVIOUR", behaviour);
        return std::make_unique<Task>(QStringLiteral("http://h/a/file.bin"), m_folder->path(), options);
    }

    void useUtility(const QString &path)
    {
        KovGui::setUpdaterFilePathAndUpdateMode(path, QString(), QStringLiteral("ctl"));
    }
    QList<QByteArray> runs() const
    {
        QList<QByteArray> lines = fileContent(m_folder->filePath(QStringLiteral("runs"))).split('\n');
        lines.removeAll(QByteArray());
        return lines;
    }

    static pid_t processOf(const QByteArray &run) { return run.left(run.indexOf('|')).toInt(); }
    static bool isAlive(const QByteArray &run) { return ::kill(processOf(run), 0) == 0; }

    std::unique_ptr<QTemporaryDir> m_folder;
};

KOV_TEST_MAIN(QCoreApplication, tst_DownloadTask)
#include "tst_download_task.moc"
