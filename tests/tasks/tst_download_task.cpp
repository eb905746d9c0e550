#include "abstract_task/CTaskManager.h"
#include "gui/frame/GUI.h"
#include "gui/tasks/download/FileDownloadInfo.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/System.h"
#include "tests/tasks/DownloadFixture.h"

using Task = CTaskDownloadFile;

constexpr char hang[] = "print PROGRESS: 1\n|; again";
/// Faster than anybody reads.
static const QByteArray flood = QByteArray(" https://me:secret@h/\nPROGRESS: 1\n").repeated(500) + "; again";

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
        qputenv("RUNS", m_folder->filePath("runs").toUtf8());
        useUtility(MISBEHAVING_PROGRAM);
        ChosenProxy::chosen = QNetworkProxy();
        ChosenProxy::result = KOV_SUCCESS;
        ChosenProxy::waits = false;
    }

    void outcomes_data()
    {
        // behaviour: or the path of another program
        Table<QByteArray, bool, QByteArray> row;

        const QByteArray failed("state 1, state 2, finished file.bin -1 0, result 0x80000009");
        const QByteArray waiting("state 1, state 3");
        row("success", "exit 0", true, "state 1, state 2, finished file.bin 0 0, result 0x0");
        row("another code", "exit 23", true, QByteArray(failed).replace("-1", "23"));
        row("25, not wanted", "exit 25", false, QByteArray(failed).replace("-1", "25"));
        row("25 and wanted", "exit 25", true, waiting);
        row("31 and wanted", "exit 31", true, waiting);
        row("killed by signal 25", "crash 25", true, failed);
        row("killed by signal 31", "crash 31", true, failed);
        row("no utility", "/no/such/utility", true, failed);
        row("no program", NO_PROGRAM, true, failed);
    }

    void outcomes()
    {
        const auto [behaviour, reconnects, events] = cells<QByteArray, bool, QByteArray>();
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
        QCOMPARE(told.list.mid(told.list.size() - 3).join(", "),
                 "state 2, finished file.bin 25 0, result 0x80000009");
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
        const auto task = makeTask("print FILE_SI|ZE: 12|34\nDOWNLOADED_BYTES: 1|000\nPROGRESS: 10\nPROGR"
                                   "|ESS: 1|2\nESTIMATED_TIME: 7\nDOWNLOADING_RATE: 9|9|");
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
        const auto task = makeTask("warn line\rF /forged:1:1/ https://me:secret@h/\x1b[31m\n; again 20000");
        task->execute();
        QTRY_VERIFY(task->isFinished());
        QCOMPARE(task->getResult(), KOV_SUCCESS);
        QVERIFY(log.text().contains("\nDownloading standard error : \nline\\rF /forged:1:1/"));
        QVERIFY(!log.text().contains("secret"));
        QVERIFY2(log.text().size() < 200000, QByteArray::number(log.text().size()).constData());
        QCOMPARE(log.count("more bytes were not logged"), 1);
    }

    void endings_data()
    {
        // when: state; -1: before execute(), -2: while the proxy is looked for
        Table<QByteArray, QByteArray, int, QByteArray> row;

        const QByteArray neverBegan("finished - 0 1, result 0x80000009");
        const QByteArray canceled("state 1, state 2, finished file.bin -1 1, result 0x80000009");
        const QByteArray ended("state 1, state 2, finished - 0 1, result 0x80000275");
        row("before execute", "cancel", "exit 0", -1, neverBegan);
        row("in the search for a proxy", "cancel", "exit 0", -2, neverBegan);
        row("as the process begins", "cancel at once", hang, 1, canceled);
        row("one that never ends", "cancel", hang, 1, canceled);
        row("one that floods its output", "cancel", "print" + flood, 1, canceled);
        row("one that floods its errors", "cancel", "warn" + flood, 1, canceled);
        row("while waiting", "cancel", "exit 25", 3,
            "state 1, state 3, state 2, finished file.bin 25 1, result 0x80000009");
        row("terminated", "terminate", hang, 1, ended);
        row("deleted", "delete", hang, 1, ended);
        row("killed from outside", "kill", hang, 1,
            "state 1, state 2, finished file.bin -1 0, result 0x80000009");
    }

    void endings()
    {
        const auto [how, behaviour, when, events] = cells<QByteArray, QByteArray, int, QByteArray>();
        ChosenProxy::waits = when == -2;
        auto task = makeTask(behaviour, Task::Reconnect);
        const DownloadEvents told(task.get());
        const QSignalSpy reports(task.get(), &Task::sendDownloadProgressData);
        if (when != -1)
            task->execute();
        if (when == -2)
            QTRY_COMPARE(CTaskManager::instance()->getTasksByType(GUI::TaskGetProxyInfo).size(), 1);
        if (when >= 0)
            QTRY_COMPARE(int(task->state()), when);
        if (when == 1 && how != "cancel at once")
            QTRY_COMPARE(runs().size(), 1);
        if (behaviour == "print" + flood)
            QTRY_VERIFY(!reports.isEmpty());

        if (how.startsWith("cancel"))
            task->cancel();
        else if (how == "terminate")
            task->terminate(KOV_ERR_CANCELLED);
        else if (how == "delete")
            task.reset();
        else
            System::kill(processOf(runs().constFirst()));
        if (when == -1)
            task->execute();

        QTRY_COMPARE(told.text(), QString::fromUtf8(events));
        QCOMPARE(task && task->isCanceled(), how.startsWith("cancel"));
        QTRY_VERIFY(QCoreApplication::instance()->findChildren<CDownloadThread *>().isEmpty());
        for (const QByteArray &run : runs())
            QVERIFY(!System::kill(processOf(run)));
        // With it goes a question for the proxy's password.
        QVERIFY(CTaskManager::instance()->getTasksByType(GUI::TaskGetProxyInfo).isEmpty());
        QCOMPARE(told.text(), QString::fromUtf8(events));
    }

    void quitInTheMiddle()
    {
        const auto task = makeTask(hang);
        task->execute();
        QTRY_COMPARE(runs().size(), 1);
        QTimer::singleShot(0, QCoreApplication::instance(), &QCoreApplication::quit);
        QCoreApplication::exec();
        QVERIFY(!System::kill(processOf(runs().constFirst())));
        QVERIFY(task->findChild<CDownloadThread *>()->isFinished());
    }

    void arguments_data()
    {
        // Arguments behind the common ones, and standard input.
        Table<QNetworkProxy, bool, QByteArray, QByteArray> row;
        const auto proxy = [](const char *user, const QString &password = QString()) {
            return QNetworkProxy(QNetworkProxy::HttpProxy, "proxy", 3128, user, password);
        };
        const QByteArray server = "--proxy-server|proxy|--proxy-port|3128|";
        const QByteArray user = server + "-pu|me|--proxy-try-count|1|";
        row("no proxy", QNetworkProxy(), false, "", "");
        row("background", QNetworkProxy(), true, "-bd|", "");
        row("a proxy", proxy(""), false, server, "");
        row("a user without a password", proxy("me"), false, user, "");
        row("a password", proxy("me", "pä ss€"), false, user, "pä ss€\n");
    }

    void arguments()
    {
        const auto [proxy, isBackground, more, input] = cells<QNetworkProxy, bool, QByteArray, QByteArray>();
        ChosenProxy::chosen = proxy;
        const LogCapture log;
        const auto task = makeTask("read " + m_folder->filePath("runs.input").toUtf8(),
                                   isBackground ? Task::BackgroundDownload : Task::DownloadOptions());
        task->execute();
        QTRY_VERIFY(task->isFinished());
        const QByteArray run = runs().value(0);
        QCOMPARE(run.mid(run.indexOf('|') + 1), "download|-u|file|-f|http://h/a/file.bin|-p|"
                                                    + m_folder->path().toUtf8() + "|-ui|-fo|" + more);
        QCOMPARE(fileContent(m_folder->filePath("runs.input")), input);
        QVERIFY(log.text().contains(" download -u file -f http://h/a/file.bin -p "));
        QVERIFY(!log.text().contains(" me ") && !log.text().contains("ss€"));
    }

    void secretsThatCannotBeHandedOver()
    {
        const LogCapture log;
        qputenv("MISBEHAVIOUR", "exit 0");
        const QList<std::pair<const char *, const char *>> cases{
            {"http://h/f", "two\nlines"},     {"http://h/f", "two\rlines"}, {"http://me:secret@h/f", ""},
            {"https://secret-token@h/f", ""}, {"http:/me:secret@h/f", ""},  {"http:///me:secret@h/f", ""}};
        for (const auto &[url, password] : cases) {
            ChosenProxy::chosen = {QNetworkProxy::HttpProxy, "proxy", 1, "me", QLatin1String(password)};
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
        QTRY_COMPARE(told.text(), "finished - 0 1, result 0x80038005");
        QVERIFY(runs().isEmpty());
    }

    void fileNames()
    {
        const auto name = FileDownloadInfo::destinationFileNameFromUrl;
        QCOMPARE(name("http://h/a/s.deb?x=/y#z"), "s.deb");
        QCOMPARE(name("/var/tmp/.setup"), ".setup");
        QCOMPARE(name(QString()) + name("http://h/..%2F..%2Fetc%2Fpasswd"), QString());
        // Bytes count, not characters.
        QVERIFY(!FileDownloadInfo::isSafeFileName(QString(122, QChar(0xe9))));
    }

    void pathsAndSize()
    {
        QTemporaryDir directory;
        FileDownloadInfo info;
        QCOMPARE(info.destinationDirectory, QDir::homePath());
        info.url = "http://h/f";
        info.destinationDirectory.clear();
        QCOMPARE(info.destinationFilePath() + info.destinationFilePartPath(), QString());
        info = FileDownloadInfo(directory.path());
        info.url = "http://h/a/b/setup.exe";
        QCOMPARE(info.destinationFilePath(), directory.path() + QDir::separator() + "setup.exe");
        QCOMPARE(info.destinationFilePartPath(), info.destinationFilePath() + ".kovupd-part");
        QCOMPARE(info.downloadedByFar(), 0);
        QVERIFY(writeFile(info.destinationFilePartPath(), QByteArray(10, 'x')));
        QCOMPARE(info.downloadedByFar(), 10);
        QVERIFY(info.isCutOff());
        QVERIFY(writeFile(info.destinationFilePath(), QByteArray(7, 'x')));
        QCOMPARE(info.downloadedByFar(), 7);
        QVERIFY(!info.isCutOff());
    }

private:
    std::unique_ptr<Task> makeTask(const QByteArray &behaviour, Task::DownloadOptions options = {})
    {
        qputenv("MISBEHAVIOUR", behaviour);
        return std::make_unique<Task>("http://h/a/file.bin", m_folder->path(), options);
    }

    void useUtility(const QString &path) { KovGui::setUpdaterFilePathAndUpdateMode(path, QString(), "ctl"); }
    QList<QByteArray> runs() const
    {
        QList<QByteArray> lines = fileContent(m_folder->filePath("runs")).split('\n');
        lines.removeAll(QByteArray());
        return lines;
    }

    static qint64 processOf(const QByteArray &run) { return run.left(run.indexOf('|')).toInt(); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

KOV_TEST_MAIN(QCoreApplication, tst_DownloadTask)
#include "tst_download_task.moc"
