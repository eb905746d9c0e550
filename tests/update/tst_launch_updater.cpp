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
        , m_url(id->params().value(QStringLiteral("url")).toString())
    { }
    Q_INVOKABLE QNetworkProxy proxy() const { return {QNetworkProxy::HttpProxy, m_url, 3128}; }

private:
    const QString m_url;
};

class tst_LaunchUpdater : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { KovGui::init(KAM_CONSOLE); }
    void cleanup();
    void outcome_data();
    void outcome();
    void neverStarted_data();
    void neverStarted();
    void progress_data();
    void progress();
    void standardErrorCannotFloodOrForgeTheLog();
    void terminateDoesNotWait();
    void destroyedWhileRunning();
    void proxyArguments_data();
    void proxyArguments();

private:
    static CTaskLaunchUpdater::TaskParams params(const QStringList &arguments = {})
    {
        CTaskLaunchUpdater::TaskParams params;
        params.commandLine = CommandLineUtils::join(QStringLiteral(MISBEHAVING_UPDATER), arguments);
        return params;
    }
    static bool allProcessesGone() { return QCoreApplication::instance()->findChildren<QProcess *>().isEmpty(); }
};

void tst_LaunchUpdater::cleanup()
{
    QTRY_VERIFY(allProcessesGone());
    KovGui::staticMetaObjectHash().remove(QStringLiteral("CTaskGetProxyInfo"));
}

void tst_LaunchUpdater::outcome_data()
{
    QTest::addColumn<QByteArray>("behaviour");
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<bool>("crashed");

    QTest::newRow("any exit code is a run") << QByteArray("exit 7") << 0 << 7 << false;
    QTest::newRow("a crash") << QByteArray("signal 4") << 0 << 4 << true;
    QTest::newRow("input is closed") << QByteArray("wait for the end of input") << 0 << 0 << false;
    QTest::newRow("output without end") << QByteArray("flood output") << KOV_ERR_FAILURE << -1 << false;
}

void tst_LaunchUpdater::outcome()
{
    QFETCH(QByteArray, behaviour);
    QFETCH(int, result);
    QFETCH(int, exitCode);
    QFETCH(bool, crashed);
    qputenv("MISBEHAVIOUR", behaviour);
    CTaskLaunchUpdater task(params());
    QSignalSpy finished(&task, &CAbstractTask::taskFinished);
    task.execute();
    QTRY_VERIFY_WITH_TIMEOUT(task.isFinished(), 30000);
    QCOMPARE(task.getResult(), result);
    QCOMPARE(task.exitCode(), exitCode);
    QCOMPARE(task.exitStatus() == QProcess::CrashExit, crashed);
    QVERIFY(task.output().size() <= CTaskLaunchUpdater::maximumOutputSize);
    QTRY_VERIFY(allProcessesGone());
    QCOMPARE(finished.size(), 1);
}

void tst_LaunchUpdater::neverStarted_data()
{
    QTest::addColumn<QString>("commandLine");
    QTest::addColumn<bool>("elevated");

    QTest::newRow("no such program") << QStringLiteral("\"/no/such/updater\" -i") << false;
    QTest::newRow("not executable") << QStringLiteral("\"/etc/passwd\"") << false;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("broken quotes") << QStringLiteral("\"/bin/true") << false;
    QTest::newRow("elevated") << params().commandLine << true;
}

void tst_LaunchUpdater::neverStarted()
{
    QFETCH(QString, commandLine);
    QFETCH(bool, elevated);
    CTaskLaunchUpdater::TaskParams params;
    params.commandLine = commandLine;
    params.elevated = elevated;
    const LogCapture log;
    CTaskLaunchUpdater task(params);
    QSignalSpy finished(&task, &CAbstractTask::taskFinished);
    task.execute();
    QTRY_COMPARE(finished.size(), 1);
    QCOMPARE(task.getResult(), KOV_ERR_FAILURE);
    QCOMPARE(log.count("(!)Error:"), 1);
}

void tst_LaunchUpdater::progress_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QList<int>>("percentages");

    QTest::newRow("whole numbers, split output")
        << QStringList{QStringLiteral("install")} << QList<int>{42, 100, 7};
    QTest::newRow("a check") << QStringList{QStringLiteral("check"), QStringLiteral("http://h/install")}
                             << QList<int>{};
}

void tst_LaunchUpdater::progress()
{
    QFETCH(QStringList, arguments);
    // A program in a folder with that name must not count.
    QTemporaryDir directory;
    const QString program = directory.filePath(QStringLiteral("install"));
    QVERIFY(QFile::link(QStringLiteral(MISBEHAVING_UPDATER), program));
    qputenv("MISBEHAVIOUR", "progress");
    CTaskLaunchUpdater::TaskParams params;
    params.commandLine = CommandLineUtils::join(program, arguments);
    CTaskLaunchUpdater task(params);
    QList<int> percentages;
    connect(&task, &CTaskLaunchUpdater::progress, this, [&](int percent) { percentages << percent; });
    task.execute();
    QTRY_VERIFY(task.isFinished());
    QTEST(percentages, "percentages");
}

void tst_LaunchUpdater::standardErrorCannotFloodOrForgeTheLog()
{
    qputenv("MISBEHAVIOUR", "flood errors");
    const LogCapture log;
    CTaskLaunchUpdater task(params());
    task.execute();
    QTRY_VERIFY(task.isFinished());
    const QByteArray all = log.all();
    QVERIFY(all.contains("line 0\\rF /forged:1:1/ https://***@h/\\x1b[31m\n"));
    QVERIFY2(all.size() < 100000, QByteArray::number(all.size()).constData());
    QCOMPARE(log.count("more bytes were not logged"), 1);
}

void tst_LaunchUpdater::terminateDoesNotWait()
{
    qputenv("MISBEHAVIOUR", "hang");
    CTaskLaunchUpdater task(params());
    QSignalSpy finished(&task, &CAbstractTask::taskFinished);
    task.execute();
    QTRY_COMPARE(task.output(), QByteArray("hanging\n"));
    task.terminate(KOV_ERR_CANCELLED);
    QVERIFY(task.isFinished());
    QCOMPARE(task.getResult(), KOV_ERR_CANCELLED);
    QVERIFY(!allProcessesGone());
    QTRY_VERIFY(allProcessesGone());
    QCOMPARE(finished.size(), 1);
}

void tst_LaunchUpdater::destroyedWhileRunning()
{
    qputenv("MISBEHAVIOUR", "hang");
    auto task = std::make_unique<CTaskLaunchUpdater>(params());
    task->execute();
    task.reset();
    QTRY_VERIFY(allProcessesGone());
}

void tst_LaunchUpdater::proxyArguments_data()
{
    QTest::addColumn<QString>("proxyUrl");
    QTest::addColumn<bool>("known");
    QTest::addColumn<QByteArray>("output");

    const QByteArray plain = "-i\n";
    QTest::newRow("not asked for") << QString() << true << plain;
    QTest::newRow("no class for it") << QStringLiteral("proxy.lan") << false << plain;
    QTest::newRow("found") << QStringLiteral("proxy.lan") << true
                           << plain + "--proxy-server\nproxy.lan\n--proxy-port\n3128\n--proxy-try-count\n1\n";
    QTest::newRow("a host like an option") << QStringLiteral("--config") << true << plain;
}

void tst_LaunchUpdater::proxyArguments()
{
    QFETCH(bool, known);
    QFETCH(QString, proxyUrl);
    if (known)
        KovGui::staticMetaObjectHash()[QStringLiteral("CTaskGetProxyInfo")] = &ProxyOfUrl::staticMetaObject;
    qputenv("MISBEHAVIOUR", "arguments");
    auto withProxy = params({QStringLiteral("-i")});
    withProxy.proxyUrl = proxyUrl;
    const LogCapture log;
    CTaskLaunchUpdater task(withProxy);
    task.execute();
    QTRY_VERIFY(task.isFinished());
    QTEST(task.output(), "output");
    QCOMPARE(log.count("the updater runs without"), known ? 0 : 1);
}

KOV_TEST_MAIN(QCoreApplication, tst_LaunchUpdater)
#include "tst_launch_updater.moc"
