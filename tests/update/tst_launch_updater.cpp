#include "gui/KovGui.h"
#include "gui/tasks/http/ProxyResult.h"
#include "gui/update/launch/CTaskLaunchUpdater.h"
#include "gui/update/launch/CommandLineUtils.h"
#include "tests/support/KovTest.h"
#include "tests/support/LogCapture.h"

#include <QNetworkProxy>

/// Stands for the class that finds proxies: finds the one that the address names.
class ProxyOfUrl : public CAbstractTask, public ProxyResult
{
    Q_OBJECT
    Q_INTERFACES(ProxyResult)

public:
    Q_INVOKABLE explicit ProxyOfUrl(CTaskGenericId *id)
        : CAbstractTask(QList<int>{}, id)
    { }
    QNetworkProxy proxy() const override
    {
        const QString host = id()->params().value("url").toString();
        const bool isSocks = host.startsWith("socks");
        return {isSocks ? QNetworkProxy::Socks5Proxy : QNetworkProxy::HttpProxy, host, 3128};
    }
};

constexpr char hang[] = "print .|; again";

class tst_LaunchUpdater : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        KovGui::init(KAM_CONSOLE);
        KovGui::setLogVerbosity(2);
    }
    void neverStarted()
    {
        for (const char *line :
             {"\"/no/such/updater\" -i", "\"" NO_PROGRAM "\"", "\"" MISBEHAVING_PROGRAM, "", "elevated"}) {
            const LogCapture log;
            CTaskLaunchUpdater task({QLatin1String(line), qstrcmp(line, "elevated") == 0, QString()});
            QSignalSpy finished(&task, &CAbstractTask::taskFinished);
            task.execute();
            QTRY_COMPARE(finished.size(), 1);
            QCOMPARE(task.getResult(), KOV_ERR_FAILURE);
            QCOMPARE(log.count("(!)Error:"), 1);
        }
    }

    void ranToItsEnd_data()
    {
        Table<QByteArray, int> row;
        row("any exit code", "exit 7", 7);
        row("a crash", "crash 9", 9);
        row("input is closed", "read", 0);
    }

    void ranToItsEnd()
    {
        const auto [behaviour, exitCode] = cells<QByteArray, int>();
        CTaskLaunchUpdater task(params(behaviour.constData()));
        QSignalSpy finished(&task, &CAbstractTask::taskFinished);
        task.execute();
        QTRY_COMPARE(finished.size(), 1);
        QCOMPARE(task.getResult(), KOV_SUCCESS);
        QCOMPARE(task.exitCode() & 0xff, exitCode);
        QCOMPARE(task.exitStatus() == QProcess::CrashExit, behaviour == "crash 9");
    }

    void aHangingProgramIsEnded()
    {
        const LogCapture log;
        CTaskLaunchUpdater task(params(hang));
        task.execute();
        QTRY_VERIFY(!task.output().isEmpty());
        auto *timer = task.findChild<QTimer *>("hangTimer");
        QCOMPARE(timer->interval(), 30 * 60 * 1000);
        QMetaObject::invokeMethod(timer, "timeout");
        QTRY_VERIFY(task.isFinished());
        QCOMPARE(task.getResult(), KOV_SUCCESS);
        QCOMPARE(task.exitStatus(), QProcess::CrashExit);
        QCOMPARE(log.count("printed nothing for 30 minutes"), 1);
    }

    void progress()
    {
        // A program of that name must not count.
        QTemporaryDir directory;
        const QString program = directory.filePath("install");
        QVERIFY(QFile::copy(MISBEHAVING_PROGRAM, program));
        for (const char *argument : {"install", "http://h/install"}) {
            auto taskParams
                = params("print installer:%4|2\ninstaller:%100 installer:%101\ninstaller:%99999999999\n"
                         "INSTALLER:%3 install|er:%7");
            taskParams.commandLine = CommandLineUtils::join(program, {QLatin1String(argument)});
            CTaskLaunchUpdater task(taskParams);
            QList<int> percentages;
            connect(&task, &CTaskLaunchUpdater::progress, this, [&](int percent) { percentages << percent; });
            task.execute();
            QTRY_VERIFY(task.isFinished());
            QCOMPARE(percentages,
                     qstrcmp(argument, "install") == 0 ? (QList<int>{42, 100, 7}) : QList<int>{});
        }
    }

    void standardErrorCannotFloodOrForgeTheLog()
    {
        const LogCapture log;
        CTaskLaunchUpdater task(
            params("warn line\rF /forged:1:1/ https://me:secret@h/\x1b[31m\n; again 20000"));
        task.execute();
        QTRY_VERIFY(task.isFinished());
        QVERIFY(log.text().contains("line\\rF /forged:1:1/ https://h/"));
        QVERIFY(!log.text().contains("\033") && !log.text().contains("secret"));
        QVERIFY2(log.text().size() < 100000, QByteArray::number(log.text().size()).constData());
        QCOMPARE(log.count("more bytes were not logged"), 1);
    }

    void terminateDoesNotWait()
    {
        const auto abandoned = [] { return QCoreApplication::instance()->findChildren<QProcess *>(); };
        for (const bool applicationEnds : {false, true}) {
            CTaskLaunchUpdater task(params(hang));
            QSignalSpy finished(&task, &CAbstractTask::taskFinished);
            task.execute();
            QTRY_VERIFY(!task.output().isEmpty());
            task.terminate(KOV_ERR_CANCELLED);
            QCOMPARE(finished.size(), 1);
            QCOMPARE(abandoned().size(), 1);
            // The application deletes its children; a program among them that still runs would warn.
            if (applicationEnds)
                delete abandoned().first()->parent();
            QTRY_VERIFY(abandoned().isEmpty());
            QCOMPARE(finished.size(), 1);
            QCOMPARE(task.getResult(), KOV_ERR_CANCELLED);
        }
    }

    void proxyArguments()
    {
        const QByteArray plain("-i|");
        const auto output = [this](const char *url) {
            auto taskParams = params("arguments", "-i");
            taskParams.proxyUrl = QLatin1String(url);
            CTaskLaunchUpdater task(taskParams);
            task.execute();
            return QTest::qWaitFor([&task] { return task.isFinished(); }) ? task.output() : QByteArray();
        };
        const LogCapture log;
        // A host that took the class out of the registry.
        KovGui::staticMetaObjectHash().remove("CTaskGetProxyInfo");
        QCOMPARE(output("proxy.lan"), plain);
        QCOMPARE(log.count("the updater runs without"), 1);
        KovGui::staticMetaObjectHash()["CTaskGetProxyInfo"] = &ProxyOfUrl::staticMetaObject;
        QCOMPARE(output("proxy.lan"),
                 plain + "--proxy-server|proxy.lan|--proxy-port|3128|--proxy-try-count|1|");
        QCOMPARE(output("socks.lan"),
                 plain
                     + "--proxy-server|socks.lan|--proxy-port|3128|--proxy-try-count|1|--proxy-kind|socks5|");
        QCOMPARE(output("--config"), plain);
    }

private:
    static CTaskLaunchUpdater::TaskParams params(const char *behaviour, const char *arguments = "")
    {
        qputenv("MISBEHAVIOUR", behaviour);
        return {QStringLiteral("\"" MISBEHAVING_PROGRAM "\" ") + QLatin1String(arguments), false, QString()};
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_LaunchUpdater)
#include "tst_launch_updater.moc"
