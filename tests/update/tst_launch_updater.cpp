#include "gui/KovGui.h"
#include "gui/update/CTaskLaunchUpdater.h"
#include "gui/update/CommandLineUtils.h"
#include "tests/support/KovTest.h"
#include "tests/update/LogCapture.h"

#include <QNetworkProxy>

/// Stands for the class that finds proxies: finds the one that the address names.
class ProxyOfUrl : public CAbstractTask
{
    Q_OBJECT

public:
    Q_INVOKABLE explicit ProxyOfUrl(CTaskGenericId *id)
        : CAbstractTask(QList<int>{}, id)
    { }
    Q_INVOKABLE QNetworkProxy proxy() const
    {
        return {QNetworkProxy::HttpProxy, id()->params().value(QStringLiteral("url")).toString(), 3128};
    }
};

class tst_LaunchUpdater : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { KovGui::init(KAM_CONSOLE); }
    void outcome_data();
    void outcome();
    void progress();
    void standardErrorCannotFloodOrForgeTheLog();
    void terminateDoesNotWait();
    void proxyArguments_data();
    void proxyArguments();

private:
    static CTaskLaunchUpdater::TaskParams params(const char *behaviour, const char *arguments = "")
    {
        qputenv("MISBEHAVIOUR", behaviour);
        return {QStringLiteral("\"" MISBEHAVING_UPDATER "\" ") + QLatin1String(arguments), false, QString()};
    }
};

void tst_LaunchUpdater::outcome_data()
{
    QTest::addColumn<QString>("behaviour"); // or a command line
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<bool>("crashed");

    QTest::newRow("any exit code is a run") << QStringLiteral("exit 7") << 0 << 7 << false;
    QTest::newRow("a crash") << QStringLiteral("signal 4") << 0 << 4 << true;
    QTest::newRow("input is closed") << QStringLiteral("wait for the end of input") << 0 << 0 << false;
    QTest::newRow("output without end") << QStringLiteral("flood output") << KOV_ERR_FAILURE << -1 << false;
    QTest::newRow("no such program") << QStringLiteral("\"/no/such/updater\" -i") << KOV_ERR_FAILURE << -1
                                     << false;
    QTest::newRow("not executable") << QStringLiteral("\"/etc/passwd\"") << KOV_ERR_FAILURE << -1 << false;
    QTest::newRow("broken quotes") << QStringLiteral("\"/bin/true") << KOV_ERR_FAILURE << -1 << false;
    QTest::newRow("elevated") << QStringLiteral("elevated") << KOV_ERR_FAILURE << -1 << false;
}

void tst_LaunchUpdater::outcome()
{
    QFETCH(QString, behaviour);
    QFETCH(int, result);
    auto taskParams = params(behaviour.toLatin1().constData());
    if (behaviour.startsWith(QLatin1Char('"')))
        taskParams.commandLine = behaviour;
    taskParams.elevated = behaviour == QLatin1String("elevated");
    const LogCapture log;
    CTaskLaunchUpdater task(taskParams);
    QSignalSpy finished(&task, &CAbstractTask::taskFinished);
    task.execute();
    QTRY_VERIFY_WITH_TIMEOUT(task.isFinished(), 30000);
    QCOMPARE(task.getResult(), result);
    QTEST(task.exitCode(), "exitCode");
    QTEST(task.exitStatus() == QProcess::CrashExit, "crashed");
    QVERIFY(task.output().size() <= CTaskLaunchUpdater::maximumOutputSize);
    QTRY_VERIFY(QCoreApplication::instance()->findChildren<QProcess *>().isEmpty());
    QCOMPARE(finished.size(), 1);
    QCOMPARE(log.count("(!)Error:"), result == 0 ? 0 : 1);
}

void tst_LaunchUpdater::progress()
{
    // A program of that name must not count.
    QTemporaryDir directory;
    const QString program = directory.filePath(QStringLiteral("install"));
    QVERIFY(QFile::link(QStringLiteral(MISBEHAVING_UPDATER), program));
    for (const char *argument : {"install", "http://h/install"}) {
        auto taskParams = params("progress");
        taskParams.commandLine = CommandLineUtils::join(program, {QLatin1String(argument)});
        CTaskLaunchUpdater task(taskParams);
        QList<int> percentages;
        connect(&task, &CTaskLaunchUpdater::progress, this, [&](int percent) { percentages << percent; });
        task.execute();
        QTRY_VERIFY(task.isFinished());
        QCOMPARE(percentages, qstrcmp(argument, "install") == 0 ? (QList<int>{42, 100, 7}) : QList<int>{});
    }
}

void tst_LaunchUpdater::standardErrorCannotFloodOrForgeTheLog()
{
    const LogCapture log;
    CTaskLaunchUpdater task(params("flood errors"));
    task.execute();
    QTRY_VERIFY(task.isFinished());
    QVERIFY(log.all().contains("line 0\\rF /forged:1:1/ https://***@h/\\x1b[31m\n"));
    QVERIFY2(log.all().size() < 100000, QByteArray::number(log.all().size()).constData());
    QCOMPARE(log.count("more bytes were not logged"), 1);
}

void tst_LaunchUpdater::terminateDoesNotWait()
{
    CTaskLaunchUpdater task(params("hang"));
    QSignalSpy finished(&task, &CAbstractTask::taskFinished);
    task.execute();
    QTRY_VERIFY(!task.output().isEmpty());
    task.terminate(KOV_ERR_CANCELLED);
    QCOMPARE(finished.size(), 1);
    QCOMPARE(QCoreApplication::instance()->findChildren<QProcess *>().size(), 1);
    QTRY_VERIFY(QCoreApplication::instance()->findChildren<QProcess *>().isEmpty());
    QCOMPARE(finished.size(), 1);
    QCOMPARE(task.getResult(), KOV_ERR_CANCELLED);
}

void tst_LaunchUpdater::proxyArguments_data()
{
    QTest::addColumn<QString>("proxyUrl");
    QTest::addColumn<bool>("known");
    QTest::addColumn<QByteArray>("output");

    QTest::newRow("not asked for") << QString() << true << QByteArray("-i|");
    QTest::newRow("no class for it") << QStringLiteral("proxy.lan") << false << QByteArray("-i|");
    QTest::newRow("found") << QStringLiteral("proxy.lan") << true
                           << QByteArray(
                                  "-i|--proxy-server|proxy.lan|--proxy-port|3128|--proxy-try-count|1|");
    QTest::newRow("a host like an option") << QStringLiteral("--config") << true << QByteArray("-i|");
}

void tst_LaunchUpdater::proxyArguments()
{
    QFETCH(bool, known);
    const QString key = QStringLiteral("CTaskGetProxyInfo");
    KovGui::staticMetaObjectHash().insert(key, known ? &ProxyOfUrl::staticMetaObject : nullptr);
    auto taskParams = params("arguments", "-i");
    QFETCH(QString, proxyUrl);
    taskParams.proxyUrl = proxyUrl;
    const LogCapture log;
    CTaskLaunchUpdater task(taskParams);
    task.execute();
    QTRY_VERIFY(task.isFinished());
    QTEST(task.output(), "output");
    QCOMPARE(log.count("the updater runs without"), known ? 0 : 1);
}

KOV_TEST_MAIN(QCoreApplication, tst_LaunchUpdater)
#include "tst_launch_updater.moc"
