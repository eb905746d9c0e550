#include "gui/Clock.h"
#include "gui/KovGui.h"
#include "gui/messages/CMessageManager.h"
#include "gui/update/CAppUpdateLogic.h"
#include "gui/update/CAppUpdateWorker.h"
#include "gui/update/CTaskCheckForProductUpdate.h"
#include "gui/update/CTaskInstallProductUpdate.h"
#include "gui/update/UpdateSettings_p.h"
#include "gui/update/UpgradeUtils.h"
#include "tests/support/KovTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/OffscreenPlatform.h"

#include <QSettings>
#include <QTimer>

using Install = CTaskInstallProductUpdate;
using namespace UpdateSettings;

/// A check that ends as it is told, or waits.
class ScriptedCheck : public CTaskCheckForProductUpdate
{
    Q_OBJECT

public:
    Q_INVOKABLE explicit ScriptedCheck(CTaskCheckForProductUpdate::Options options)
        : CTaskCheckForProductUpdate(options)
    {
        ++started;
    }
    ~ScriptedCheck() override { endBeforeDestruction(); }
    const CProductUpdateInfo *getUpdateInfo() const override
    {
        return result == KOV_SUCCESS ? &found : nullptr;
    }
    void end() { subTaskCompleted(result); }
    static inline KOV_RESULT result;
    static inline CProductUpdateInfo found{CProductUpdateInfo::MinorUpdate};
    static inline bool waits;
    static inline int started;

protected:
    QList<int> getDefaultSubTaskList() const override { return {CheckForUpdates}; }
    KOV_RESULT performSubTask() override
    {
        if (waits)
            setWaitForSubTaskCompletion();
        return waits ? KOV_SUCCESS : result;
    }
};

/// The same for an installation. It may take its time to end when it is terminated.
class ScriptedInstall : public CTaskInstallProductUpdate
{
    Q_OBJECT

public:
    Q_INVOKABLE ScriptedInstall(const CProductUpdateInfo &info,
                                const CTaskInstallProductUpdate::TaskParams &params)
        : CTaskInstallProductUpdate(info, params)
    {
        latest = this;
        started << QStringLiteral("%1%2%3%4")
                       .arg(params.onAppStart)
                       .arg(params.downloadInBackground)
                       .arg(params.confirmDownload)
                       .arg(params.smartInstall);
    }
    ~ScriptedInstall() override { endBeforeDestruction(); }
    UserChoice userChoice() const override { return choice; }
    void terminate(int result) override { endsLate ? void() : CTaskInstallProductUpdate::terminate(result); }
    void bringToFront() override { ++raised; }
    static inline KOV_RESULT result;
    static inline UserChoice choice;
    static inline bool waits, endsLate;
    static inline int raised;
    static inline QStringList started; // the four parameters as digits
    static inline QPointer<ScriptedInstall> latest;

protected:
    QList<int> getDefaultSubTaskList() const override { return {DownloadUpdate}; }
    KOV_RESULT performSubTask() override
    {
        if (waits)
            setWaitForSubTaskCompletion();
        return waits ? KOV_SUCCESS : result;
    }
};

class Worker : public CAppUpdateWorker
{
    Q_OBJECT

public:
    Q_INVOKABLE explicit Worker(CAppUpdateLogic *logic)
        : CAppUpdateWorker(logic)
    {
        QCOMPARE(CAppUpdateLogic::instance(), logic);
    }
    bool isInstallMajorUpdateAvailable() const override { return majorAvailable; }
    bool useCheckForUpdateTimer() const override { return usesTimer; }
    void processQuit() override
    {
        ++quits;
        QVERIFY(!UpgradeUtils::isNeedToInstallUpdateOnAppStart());
    }
    void installMajorUpdate() override { majorVersion = pendingUpdateInfo()->getVersion(); }
    static inline bool majorAvailable, usesTimer;
    static inline int quits;
    static inline QString majorVersion;
};

namespace {

void setClock(const QString &text)
{
    const QDateTime now = QDateTime::fromString(text, QStringLiteral("yyyy-MM-dd hh:mm:ss"));
    Clock::set([now] { return now; });
}

void store(QLatin1String key, const QVariant &value)
{
    QSettings().setValue(key, value);
}

QTimer *timer(const char *name)
{
    return CAppUpdateLogic::instance()->worker()->findChild<QTimer *>(QLatin1String(name));
}

} // namespace

/// The worker with the real settings and tasks that end as a row tells.
class tst_UpdateSchedule : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void due_data();
    void due();
    void aMonthOfTimeouts_data();
    void aMonthOfTimeouts();
    void startUp_data();
    void startUp();
    void foundUpdate_data();
    void foundUpdate();
    void endOfInstallation_data();
    void endOfInstallation();
    void supersession();
    void joinedCheckAndQuittingInTheMiddle();
    void majorUpgrade();
    void refusals();

private:
    static CAppUpdateLogic *logic() { return CAppUpdateLogic::instance(); }
    void putPackage() { QVERIFY(QFile(packagePath()).open(QIODevice::WriteOnly)); }
    QString packagePath() const { return m_folder.filePath(QStringLiteral("app-3.1.5.31502.tar.gz")); }
    QTemporaryDir m_folder;
};

void tst_UpdateSchedule::initTestCase()
{
    ignoreOffscreenWarnings();
    KovGui::init(KAM_CONSOLE);
    KovGui::setLogVerbosity(2);
    auto &table = KovGui::staticMetaObjectHash();
    table[QStringLiteral("CTaskCheckForProductUpdate")] = &ScriptedCheck::staticMetaObject;
    table[QStringLiteral("CTaskInstallProductUpdate")] = &ScriptedInstall::staticMetaObject;
    table[QStringLiteral("CAppUpdateWorker")] = &Worker::staticMetaObject;
}

void tst_UpdateSchedule::init()
{
    setClock(QStringLiteral("2026-05-10 12:00:00"));
    CProductUpdateInfo found;
    found.transactionId = QStringLiteral("-3.1.5-31502");
    found.download.url = QStringLiteral("http://h/app-3.1.5.31502.tar.gz");
    found.download.destinationDirectory = m_folder.path();
    ScriptedCheck::found = found;
    ScriptedCheck::result = ScriptedInstall::result = KOV_SUCCESS;
    ScriptedCheck::waits = ScriptedInstall::waits = ScriptedInstall::endsLate = false;
    ScriptedCheck::started = ScriptedInstall::raised = Worker::quits = 0;
    ScriptedInstall::choice = Install::NotAsked;
    ScriptedInstall::started.clear();
    Worker::majorAvailable = Worker::usesTimer = true;
}

void tst_UpdateSchedule::cleanup()
{
    ScriptedInstall::endsLate = false;
    CAppUpdateLogic::destroy();
    QTRY_VERIFY(!ScriptedInstall::latest);
    Clock::set({});
    UpgradeUtils::setUpdatesRestricted(false);
    QSettings().clear();
    QFile::remove(packagePath());
}

void tst_UpdateSchedule::due_data()
{
    QTest::addColumn<QString>("last");
    QTest::addColumn<QString>("now");
    QTest::addColumn<int>("period"); // -1: not chosen
    QTest::addColumn<bool>("isDue");
    QTest::addColumn<bool>("isReplaced"); // the stored time, by the present one

    const auto row = [](const char *title, const char *last, const char *now, int period, bool isDue,
                        bool isReplaced = false) {
        QTest::newRow(title) << QString::fromLatin1(last) << QString::fromLatin1(now) << period << isDue
                             << isReplaced;
    };
    row("the first", "", "2026-05-10 12:00:00", -1, true, true);
    row("unreadable", "10.5.2026", "2026-05-10 12:00:00", 1, true, true);
    row("never", "", "2026-05-10 12:00:00", 0, false);
    row("unknown period", "2020-05-10 12:00:00", "2026-05-10 12:00:00", 4, false);
    row("weekly, early", "2026-05-03 12:00:00", "2026-05-10 11:59:59", 2, false);
    row("weekly", "2026-05-03 12:00:00", "2026-05-10 12:00:00", 2, true);
    row("end of January, early", "2026-01-31 12:00:00", "2026-02-28 11:59:59", 3, false);
    row("end of January", "2026-01-31 12:00:00", "2026-02-28 12:00:00", 3, true);
    row("end of January, leap year", "2028-01-31 12:00:00", "2028-02-28 13:00:00", 3, false);
    row("day of 23 hours, early", "2026-03-28 12:00:00", "2026-03-29 11:59:59", 1, false);
    row("day of 23 hours", "2026-03-28 12:00:00", "2026-03-29 12:00:00", -1, true);
    row("into the hour that is left out", "2026-03-28 02:30:00", "2026-03-29 03:30:00", 1, true);
    row("day of 25 hours, early", "2026-10-24 12:00:00", "2026-10-25 11:59:59", 1, false);
    row("day of 25 hours", "2026-10-24 12:00:00", "2026-10-25 12:00:00", 1, true);
    row("the hour that comes twice", "2026-10-25 02:50:00", "2026-10-25 02:10:00", 1, false);
    row("clock set back", "2026-05-12 12:00:00", "2026-05-10 12:00:00", 1, true, true);
}

void tst_UpdateSchedule::due()
{
    QFETCH(QString, last);
    QFETCH(QString, now);
    QFETCH(int, period);
    QFETCH(bool, isReplaced);
    setClock(now);
    if (!last.isEmpty())
        store(lastCheckedOn, last);
    if (period >= 0)
        store(checkForUpdates, period);
    QTEST(logic()->isTimeToCheckForUpdates(), "isDue");
    QCOMPARE(QSettings().value(lastCheckedOn).toString(), isReplaced ? now : last);
    QVERIFY(!isReplaced || !logic()->isTimeToCheckForUpdates());
}

void tst_UpdateSchedule::aMonthOfTimeouts_data()
{
    QTest::addColumn<int>("period");
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("daysBack"); // by which the clock is set back in the middle
    QTest::addColumn<int>("checks");

    QTest::newRow("daily") << 1 << KOV_NO_UPDATE_AVAILABLE << 0 << 31;
    QTest::newRow("weekly") << 2 << KOV_NO_UPDATE_AVAILABLE << 0 << 5;
    QTest::newRow("failed checks are tried again") << 1 << KOV_ERR_UPDATER_FAILED << 0 << 31 * 24;
    QTest::newRow("so are cancelled ones") << 1 << KOV_ERR_CANCELLED << 0 << 31 * 24;
    QTest::newRow("the clock goes back a year") << 1 << KOV_NO_UPDATE_AVAILABLE << 365 << 32;
}

void tst_UpdateSchedule::aMonthOfTimeouts()
{
    QFETCH(int, period);
    QFETCH(int, result);
    QFETCH(int, daysBack);
    ScriptedCheck::result = result;
    store(checkForUpdates, period);
    QSignalSpy ended(logic(), &CAppUpdateLogic::updateCheckFinished);
    for (int hour = 0; hour < 31 * 24; ++hour) {
        const int shift = hour < 15 * 24 + 12 ? 0 : daysBack;
        const QDateTime now = QDateTime({2026, 5, 1}, {0, 0}).addSecs(3600 * hour).addDays(-shift);
        Clock::set([now] { return now; });
        logic()->worker()->onCheckForUpdatesTimerTimeout();
        while (ended.size() < ScriptedCheck::started)
            QCoreApplication::processEvents();
    }
    QTEST(ScriptedCheck::started, "checks");
    QCOMPARE(QSettings().contains(lastCheckedOn), KOV_SUCCEEDED(result));
}

void tst_UpdateSchedule::startUp_data()
{
    QTest::addColumn<QString>("state"); // one letter a fact
    QTest::addColumn<QVariant>("minutes");
    QTest::addColumn<int>("firstCheck"); // ms after start, -1 for none
    QTest::addColumn<int>("checks");
    QTest::addColumn<int>("interval"); // of the check timer, -1 when it does not run

    const auto row = [](const char *title, const char *state, const QVariant &minutes, int first, int checks,
                        int interval) {
        QTest::newRow(title) << QString::fromLatin1(state) << minutes << first << checks << interval;
    };
    row("checked today", "", QVariant(), 300000, 0, 3600000);
    row("interrupted download", "d", 1, 3000, 1, 60000);
    row("asked for, never otherwise", "an", 60, 3000, 1, 3600000);
    row("no periodic checks", "p", 59, 300000, 1, -1);
    row("no check at all", "po", 0, 300000, 0, -1);
    row("61 minutes", "", 61, 300000, 0, 3600000);
    row("negative", "", -1, 300000, 0, 3600000);
    row("beyond 32 bits of milliseconds", "", 71583, 300000, 0, 3600000);
    row("restricted", "rd", 1, -1, 0, 60000);
}

void tst_UpdateSchedule::startUp()
{
    QFETCH(QString, state);
    QFETCH(QVariant, minutes);
    const auto is = [&state](char letter) { return state.contains(QLatin1Char(letter)); };
    UpgradeUtils::setUpdatesRestricted(is('r'));
    UpgradeUtils::setLastCheckedOn(Clock::now());
    UpgradeUtils::setDownloadingUpdateInBackground(is('d'));
    UpgradeUtils::setNeedToCheckUpdateOnAppStart(is('a'));
    if (is('n'))
        store(checkForUpdates, 0);
    store(checkOnApplicationStart, !is('o'));
    Worker::usesTimer = !is('p');
    if (minutes.isValid())
        store(checkTimeoutMinutes, minutes);
    ScriptedCheck::result = KOV_NO_UPDATE_AVAILABLE;

    QSignalSpy ended(logic(), &CAppUpdateLogic::updateCheckFinished);
    QTimer *first = timer("startUpCheckTimer");
    QTEST(first->isActive() ? first->interval() : -1, "firstCheck");
    logic()->worker()->onCheckForUpdatesTimerTimeout();
    QTEST(ScriptedCheck::started, "checks");
    QTRY_COMPARE(ended.size(), ScriptedCheck::started);
    QTimer *repeated = timer("checkForUpdatesTimer");
    QTEST(repeated->isActive() ? repeated->interval() : -1, "interval");
    QVERIFY(!UpgradeUtils::isNeedToCheckUpdateOnAppStart());
    QCOMPARE(UpgradeUtils::isDownloadingUpdateInBackground(), is('r'));
}

void tst_UpdateSchedule::foundUpdate_data()
{
    QTest::addColumn<QString>(
        "state"); // b background check, m smart, s skipped, n no automatic download, d on disk
    QTest::addColumn<QString>("parameters");

    QTest::newRow("in the background") << "b"
                                       << "0100";
    QTest::newRow("in the background, not to be downloaded unasked") << "bn"
                                                                     << "0010";
    QTest::newRow("in the background, on disk") << "bd"
                                                << "0010";
    QTest::newRow("in the background, skipped") << "bs"
                                                << "";
    QTest::newRow("asked for") << ""
                               << "0010";
    QTest::newRow("asked for, skipped") << "s"
                                        << "0010";
    QTest::newRow("unattended") << "m"
                                << "0001";
}

void tst_UpdateSchedule::foundUpdate()
{
    QFETCH(QString, state);
    const auto is = [&state](char letter) { return state.contains(QLatin1Char(letter)); };
    UpgradeUtils::setUpdateSkipped(ScriptedCheck::found.transactionId, is('s'));
    if (is('n'))
        store(downloadAutomatically, false);
    if (is('d'))
        putPackage();
    ScriptedInstall::waits = true;
    LogCapture log;
    QSignalSpy ended(logic(), &CAppUpdateLogic::updateCheckFinished);
    QCOMPARE(logic()->checkForUpdates(is('b'), is('m'), false), KOV_SUCCESS);
    QTRY_COMPARE(ended.size(), 1);
    QCOMPARE(ended.first().at(1).toBool(), is('b'));
    QTEST(ScriptedInstall::started.join(QLatin1Char(' ')), "parameters");
    const bool isIgnored = is('b') && is('s');
    QCOMPARE(log.count("New update 3.1.5-31502 is in skipped list."), int(isIgnored));
    QCOMPARE(logic()->pendingUpdateInfo() == nullptr, isIgnored);
    QCOMPARE(UpgradeUtils::isDownloadingUpdateInBackground(), state == QLatin1String("b"));
    QCOMPARE(UpgradeUtils::lastCheckedOn(), Clock::now());
}

void tst_UpdateSchedule::endOfInstallation_data()
{
    QTest::addColumn<QString>("state"); // d package on disk, a at start-up, M major upgrade
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("choice");
    QTest::addColumn<QString>(
        "after"); // R request for the next start, P pending, T reminder, S skipped, Q quits

    const int cancelled = KOV_ERR_CANCELLED;
    const int failed = KOV_ERR_UPDATE_INSTALLATION_FAILED;
    const auto row = [](const char *title, const char *state, int result, int choice, const char *after) {
        QTest::newRow(title) << QString::fromLatin1(state) << result << choice << QString::fromLatin1(after);
    };
    row("installed", "d", KOV_SUCCESS, Install::InstallNow, "");
    row("installed at start", "da", KOV_SUCCESS, Install::InstallNow, "");
    row("major upgrade installed", "dM", KOV_SUCCESS, Install::InstallNow, "");
    row("later", "d", cancelled, Install::Postpone, "RPT");
    row("later, at start", "da", cancelled, Install::Postpone, "RPT");
    row("later, before the download", "", cancelled, Install::Postpone, "PT");
    row("skipped", "d", cancelled, Install::Skip, "S");
    row("skipped at start", "da", cancelled, Install::Skip, "S");
    row("cancelled", "d", cancelled, Install::Cancel, "P");
    row("failed", "d", failed, Install::InstallNow, "P");
    row("failed at start", "da", failed, Install::InstallNow, "Q");
    row("package missing at start", "a", KOV_ERR_FAILURE, Install::NotAsked, "");
}

void tst_UpdateSchedule::endOfInstallation()
{
    QFETCH(QString, state);
    QFETCH(int, result);
    QFETCH(int, choice);
    const auto is = [&state](char letter) { return state.contains(QLatin1Char(letter)); };
    CProductUpdateInfo info = ScriptedCheck::found;
    info.updateType = is('M') ? CProductUpdateInfo::MajorUpgrade : CProductUpdateInfo::MinorUpdate;
    info.store();
    if (is('d'))
        putPackage();
    if (is('a'))
        UpgradeUtils::setNeedToInstallUpdateOnAppStart(true, info.updateType, true);
    UpgradeUtils::setDownloadingUpdateInBackground(true);
    ScriptedInstall::result = result;
    ScriptedInstall::choice = Install::UserChoice(choice);
    logic()->setOnAppStart(is('a'));
    QSignalSpy ended(logic(), &CAppUpdateLogic::updateInstallFinished);
    const bool isRefused = state == QLatin1String("a");
    QCOMPARE(is('a') ? logic()->installPendingUpdate() : logic()->installUpdate(info, false, false),
             isRefused ? KOV_ERR_FAILURE : KOV_ERR_IN_PROGRESS);
    QTRY_COMPARE(ended.size(), int(!isRefused));

    const auto letter
        = [](bool isTrue, char value) { return isTrue ? QString(QLatin1Char(value)) : QString(); };
    int type = -1;
    QTEST(letter(UpgradeUtils::isNeedToInstallUpdateOnAppStart(&type), 'R')
              + letter(logic()->pendingUpdateInfo(), 'P')
              + letter(timer("installReminderTimer")->isActive(), 'T')
              + letter(UpgradeUtils::isUpdateSkipped(info.transactionId), 'S')
              + letter(Worker::quits == 1, 'Q'),
          "after");
    const QSettings settings;
    QCOMPARE(settings.value(installedUpdateVersion).toString(), result ? QString() : info.getVersion());
    QCOMPARE(settings.value(QStringLiteral("User Preferences/Show Welcome Screen")).toBool(), is('M'));
    QCOMPARE(UpgradeUtils::isDownloadingUpdateInBackground(), isRefused);
}

void tst_UpdateSchedule::supersession()
{
    ScriptedInstall::waits = ScriptedInstall::endsLate = true;
    LogCapture log;
    QSignalSpy ended(logic(), &CAppUpdateLogic::updateInstallFinished);
    QCOMPARE(logic()->installUpdate(ScriptedCheck::found, false, false), KOV_ERR_IN_PROGRESS);
    const QPointer<ScriptedInstall> old = ScriptedInstall::latest;
    QTRY_VERIFY(old->isInBackgroundDownload());
    QCOMPARE(logic()->installPendingUpdate(), KOV_ERR_IN_PROGRESS);
    QCOMPARE(log.count("A task to install product update is already running. Skip another install."), 1);
    QCOMPARE(ScriptedInstall::raised, 1);

    // The old one writes its file until it has ended, however often somebody asks.
    QCOMPARE(logic()->installPendingUpdate(true), KOV_ERR_IN_PROGRESS);
    QCOMPARE(logic()->installPendingUpdate(), KOV_ERR_IN_PROGRESS);
    QCoreApplication::processEvents();
    QCOMPARE(ScriptedInstall::started, QStringList(QStringLiteral("0100")));
    ScriptedInstall::choice = Install::Skip;
    old->Install::terminate(KOV_ERR_CANCELLED);
    QCOMPARE(ScriptedInstall::started.mid(1), QStringList(QStringLiteral("0000")));
    QVERIFY(!UpgradeUtils::isUpdateSkipped(ScriptedCheck::found.transactionId));
    QTRY_VERIFY(!old);
    QCOMPARE(ended.size(), 0);
    ScriptedInstall::latest->Install::terminate(KOV_ERR_FAILURE);
    QCOMPARE(ended.size(), 1);
}

void tst_UpdateSchedule::joinedCheckAndQuittingInTheMiddle()
{
    ScriptedCheck::waits = ScriptedInstall::waits = true;
    QSignalSpy ended(logic(), &CAppUpdateLogic::updateCheckFinished);
    store(lastCheckedOn, QStringLiteral("?"));
    logic()->worker()->onCheckForUpdatesTimerTimeout();
    CAppUpdateLogic::destroy();
    QVERIFY(!QSettings().contains(lastCheckedOn));

    ScriptedCheck::waits = false;
    QSignalSpy endedAnew(logic(), &CAppUpdateLogic::updateCheckFinished);
    logic()->checkForUpdates(true, false, false);
    logic()->checkForUpdates(true, false, false);
    QTRY_COMPARE(endedAnew.size(), 1);
    QCOMPARE(ended.size(), 0);
    QCOMPARE(ScriptedCheck::started, 2);

    // The download is interrupted; then it is done and the question stays open.
    CAppUpdateLogic::destroy();
    QVERIFY(UpgradeUtils::isDownloadingUpdateInBackground());
    QVERIFY(!logic()->pendingUpdateInfo());
    logic()->installUpdate(ScriptedCheck::found, false, false);
    putPackage();
    CAppUpdateLogic::destroy();
    LogCapture log;
    QVERIFY(!UpgradeUtils::isDownloadingUpdateInBackground());
    QCOMPARE(logic()->pendingUpdateInfo()->transactionId, ScriptedCheck::found.transactionId);
    QCOMPARE(log.count("MINOR update is pending for installation on app start"), 1);
}

void tst_UpdateSchedule::majorUpgrade()
{
    ScriptedCheck::found.updateType = CProductUpdateInfo::MajorUpgrade;
    int answer = Messaging::Button2;
    QStringList shown;
    connect(CMessageManager::instance(), &CMessageManager::aboutToShowMessage, this,
            [&](const Messaging::MessageData &data, QWidget *, CMessageBoxWndBase *window) {
                shown << data.longMsg;
                QTimer::singleShot(0, window, [window, &answer] { window->done(answer); });
            });
    const auto check = [] {
        QSignalSpy ended(logic(), &CAppUpdateLogic::updateCheckFinished);
        logic()->checkForUpdates(true, false, false);
        QTRY_COMPARE(ended.size(), 1);
        QTRY_VERIFY(QApplication::topLevelWidgets().isEmpty());
    };
    Worker::majorAvailable = false;
    check();
    QCOMPARE(shown.size(), 0);
    Worker::majorAvailable = true;
    check();
    QCOMPARE(shown.size(), 1);
    QVERIFY(!logic()->pendingUpdateInfo());
    answer = Messaging::Button1;
    check();
    QVERIFY(shown.last().contains(QLatin1String("3.1.5-31502")));
    QCOMPARE(Worker::majorVersion, QStringLiteral("3.1.5-31502"));
    QVERIFY(ScriptedInstall::started.isEmpty());
    CMessageManager::instance()->disconnect(this);
}

void tst_UpdateSchedule::refusals()
{
    LogCapture log;
    QCOMPARE(logic()->installPendingUpdate(), KOV_SUCCESS);
    QCOMPARE(log.count("No application update is currently pending for installation"), 1);
    logic()->worker()->processRestart(QStringLiteral("/nowhere"), false);
    QCOMPARE(log.count("About to restart application [/nowhere]"), 1);
    QCOMPARE(log.count("Failed to restart self"), 1);
    QCOMPARE(Worker::quits, 1);
    UpgradeUtils::setUpdatesRestricted(true);
    QCOMPARE(logic()->checkForUpdates(false, false, false), KOV_ERR_FAILURE);
    QCOMPARE(logic()->installUpdate(ScriptedCheck::found, true, false), KOV_ERR_FAILURE);
    QCOMPARE(log.count("In current application mode product upgrade not available."), 1);
    QVERIFY(!QSettings().contains(QStringLiteral("ProductUpdate/MinorUpdate/TransactionId")));
}

KOV_TEST_MAIN(QApplication, tst_UpdateSchedule)
#include "tst_update_schedule.moc"
