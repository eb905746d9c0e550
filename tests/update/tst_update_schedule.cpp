#include "abstract_task/CTaskManager.h"
#include "gui/KovGui.h"
#include "gui/frame/Clock.h"
#include "gui/messages/CMessageManager.h"
#include "gui/update/CAppUpdateLogic.h"
#include "gui/update/CAppUpdateWorker.h"
#include "gui/update/check/CTaskCheckForProductUpdate.h"
#include "gui/update/install/CTaskInstallProductUpdate.h"
#include "gui/update/record/UpdateSettings_p.h"
#include "gui/update/record/UpgradeUtils.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"
#include "tests/support/OffscreenPlatform.h"

#include <QLabel>
#include <QMainWindow>
#include <QWindow>

using Install = CTaskInstallProductUpdate;
using namespace UpdateSettings;

/// What the tasks below end with, unless they wait.
static struct
{
    CProductUpdateInfo found{CProductUpdateInfo::MinorUpdate};
    KOV_RESULT check = KOV_SUCCESS;
    KOV_RESULT install = KOV_SUCCESS;
    Install::UserChoice choice = Install::NotAsked;
    bool waits = false;
    bool endsLate = false;
    bool isReal = false; // the installation shows its questions
    bool usesTimer = true;
    int checks = 0;
    int quits = 0;
    bool major = false;
    QList<int> installs; // the four parameters as decimal digits
    QPointer<Install> latest;
} script;

class ScriptedCheck : public CTaskCheckForProductUpdate
{
    Q_OBJECT

public:
    Q_INVOKABLE explicit ScriptedCheck(CTaskCheckForProductUpdate::Options options)
        : CTaskCheckForProductUpdate(options)
    {
        ++script.checks;
    }
    const CProductUpdateInfo *getUpdateInfo() const override { return getResult() ? nullptr : &script.found; }

protected:
    KOV_RESULT performSubTask() override
    {
        return script.waits ? setWaitForSubTaskCompletion(), KOV_SUCCESS : script.check;
    }
};

class ScriptedInstall : public CTaskInstallProductUpdate
{
    Q_OBJECT

public:
    Q_INVOKABLE ScriptedInstall(const CProductUpdateInfo &info,
                                const CTaskInstallProductUpdate::TaskParams &params)
        : CTaskInstallProductUpdate(info, params)
    {
        script.latest = this;
        script.installs << params.onAppStart * 1000 + params.downloadInBackground * 100
                               + params.confirmDownload * 10 + params.smartInstall;
    }
    UserChoice userChoice() const override { return script.choice; }
    bool isInBackgroundDownload() const override { return params().downloadInBackground; }
    void terminate(int result) override { script.endsLate ? void() : Install::terminate(result); }

protected:
    KOV_RESULT performSubTask() override
    {
        if (script.isReal)
            return Install::performSubTask();
        return script.waits ? setWaitForSubTaskCompletion(), KOV_SUCCESS : script.install;
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
    bool isInstallMajorUpdateAvailable() const override { return true; }
    bool useCheckForUpdateTimer() const override { return script.usesTimer; }
    void processQuit() override { script.quits += UpgradeUtils::isNeedToInstallUpdateOnAppStart() ? 9 : 1; }
    void installMajorUpdate() override { script.major = pendingUpdateInfo()->isMajorUpgrade(); }
};

/// The worker with the real settings.
class tst_UpdateSchedule : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ignoreOffscreenWarnings();
        KovGui::init(KAM_CONSOLE);
        auto &table = KovGui::staticMetaObjectHash();
        table["CTaskCheckForProductUpdate"] = &ScriptedCheck::staticMetaObject;
        table["CTaskInstallProductUpdate"] = &ScriptedInstall::staticMetaObject;
        table["CAppUpdateWorker"] = &Worker::staticMetaObject;
    }

    void init()
    {
        setClock({{2026, 5, 10}, {12, 0}});
        script = {};
        script.found.transactionId = "-3.1.5-31502";
        script.found.download.url = "http://h/app-3.1.5.31502.tar.gz";
        script.found.download.destinationDirectory = m_folder.path();
    }

    void cleanup()
    {
        CAppUpdateLogic::destroy();
        QTRY_VERIFY(!script.latest);
        UpgradeUtils::setUpdatesRestricted(false);
        QSettings().clear();
        QFile::remove(packagePath());
    }

    void due()
    {
        enum Answer { No, Due, Replaced }; // Replaced: due, and the stored time is the present one now
        const struct
        {
            const char *last, *now;
            int period; // -1: not chosen
            Answer answer;
        } rows[] = {
            {"", "2026-05-10 12:00:00", -1, Replaced},
            {"10.5.2026", "2026-05-10 12:00:00", 1, Replaced},
            {"", "2026-05-10 12:00:00", 0, No},
            {"2020-05-10 12:00:00", "2026-05-10 12:00:00", 4, No},
            {"2026-05-03 12:00:00", "2026-05-10 11:59:59", 2, No},
            {"2026-01-31 12:00:00", "2026-02-28 11:59:59", 3, No},
            {"2026-01-31 12:00:00", "2026-02-28 12:00:00", 3, Due},
            {"2028-01-31 12:00:00", "2028-02-28 13:00:00", 3, No}, // a leap year
            {"2026-03-28 12:00:00", "2026-03-29 12:00:00", -1, Due}, // a day of 23 hours
            {"2026-03-28 02:30:00", "2026-03-29 03:30:00", 1, Due}, // into the hour that is left out
            {"2026-10-24 12:00:00", "2026-10-25 11:59:59", 1, No}, // a day of 25 hours
            {"2026-10-25 02:50:00", "2026-10-25 02:10:00", 1, No}, // the hour that comes twice
            {"2026-05-12 12:00:00", "2026-05-10 12:00:00", 1, Replaced}, // the clock was set back
        };
        for (const auto &row : rows) {
            const QString last = QLatin1String(row.last);
            const QString now = QLatin1String(row.now);
            setClock(QDateTime::fromString(now, "yyyy-MM-dd hh:mm:ss"));
            QSettings().clear();
            QSettings settings;
            if (!last.isEmpty())
                settings.setValue(lastCheckedOn, last);
            if (row.period >= 0)
                settings.setValue(checkForUpdates, row.period);
            QVERIFY2(logic()->isTimeToCheckForUpdates() == (row.answer != No), row.now);
            QCOMPARE(settings.value(lastCheckedOn).toString(), row.answer == Replaced ? now : last);
            QVERIFY2(logic()->isTimeToCheckForUpdates() == (row.answer == Due), row.now);
        }
    }

    void aMonthOfTimeouts()
    {
        const int none = KOV_NO_UPDATE_AVAILABLE;
        const struct
        {
            int period, result, daysBack, checks; // the clock is set back in the middle
        } rows[] = {
            {1, none, 0, 31}, {2, none, 0, 5}, {1, KOV_ERR_UPDATER_FAILED, 0, 31 * 24}, {1, none, 365, 32}};
        for (const auto &row : rows) {
            cleanup();
            script.checks = 0;
            script.check = row.result;
            QSettings().setValue(checkForUpdates, row.period);
            QSignalSpy ended(logic(), &CAppUpdateLogic::updateCheckFinished);
            for (int hour = 0; hour < 31 * 24; ++hour) {
                const int shift = hour < 372 ? 0 : -row.daysBack;
                setClock(QDateTime({2026, 5, 1}, {0, 0}).addSecs(3600 * hour).addDays(shift));
                logic()->worker()->onCheckForUpdatesTimerTimeout();
                while (ended.size() < script.checks)
                    QCoreApplication::processEvents();
            }
            QCOMPARE(script.checks, row.checks);
            QCOMPARE(QSettings().contains(lastCheckedOn), row.result == none);
        }
    }

    void startUp()
    {
        // d an interrupted download, a asked for, n never check, p no periodic checks, o not at start, r
        // restricted
        const struct
        {
            const char *state;
            int minutes, firstCheck, checks, period; // -1: the timer does not run
        } rows[] = {{"", 0, 300000, 0, 3600000},     {"d", 1, 3000, 1, 60000}, {"an", 60, 3000, 1, 3600000},
                    {"p", 59, 300000, 1, -1},        {"po", 1, 300000, 0, -1}, {"", 61, 300000, 0, 3600000},
                    {"", 71583, 300000, 0, 3600000}, {"rd", 1, -1, 0, 60000}};
        script.check = KOV_NO_UPDATE_AVAILABLE;
        for (const auto &row : rows) {
            cleanup();
            script.checks = 0;
            const auto is = [&row](char letter) { return strchr(row.state, letter) != nullptr; };
            UpgradeUtils::setUpdatesRestricted(is('r'));
            UpgradeUtils::setLastCheckedOn(Clock::now());
            UpgradeUtils::setDownloadingUpdateInBackground(is('d'));
            UpgradeUtils::setNeedToCheckUpdateOnAppStart(is('a'));
            QSettings().setValue(checkForUpdates, is('n') ? 0 : 1);
            QSettings().setValue(checkOnApplicationStart, !is('o'));
            QSettings().setValue(checkTimeoutMinutes, row.minutes);
            script.usesTimer = !is('p');

            QSignalSpy ended(logic(), &CAppUpdateLogic::updateCheckFinished);
            QCOMPARE(intervalOf("startUpCheckTimer"), row.firstCheck);
            logic()->worker()->onCheckForUpdatesTimerTimeout();
            QCOMPARE(script.checks, row.checks);
            QTRY_COMPARE(ended.size(), row.checks);
            QCOMPARE(intervalOf("checkForUpdatesTimer"), row.period);
            QVERIFY(!UpgradeUtils::isNeedToCheckUpdateOnAppStart());
            QCOMPARE(UpgradeUtils::isDownloadingUpdateInBackground(), is('r'));
        }
    }

    void installation()
    {
        const int cancelled = KOV_ERR_CANCELLED;
        const int failed = KOV_ERR_UPDATE_INSTALLATION_FAILED;
        const struct
        {
            // A check that the user asked for, or: b in the background, m unattended, a none, at start-up.
            // The update: s skipped before, d on disk, n not to be downloaded unasked, M a major upgrade.
            const char *state;
            int parameters; // of the installation, -1 for none
            int result, choice;
            const char *after; // R request for the next start, P pending, T reminder, S skipped, Q quits, M
                               // major upgrade
        } rows[] = {
            {"b", 100, 0, Install::InstallNow, ""},
            {"bn", 10, failed, Install::NotAsked, "P"},
            {"bd", 10, cancelled, Install::Postpone, "RPT"},
            {"bs", -1, 0, Install::NotAsked, "S"},
            {"s", 10, 0, Install::InstallNow, "S"},
            {"m", 1, 0, Install::NotAsked, ""},
            {"", 10, cancelled, Install::Postpone, "PT"},
            {"", 10, cancelled, Install::Skip, "S"},
            {"ad", 1000, 0, Install::InstallNow, ""},
            {"ad", 1000, cancelled, Install::Postpone, "RPT"},
            {"ad", 1000, failed, Install::InstallNow, "Q"},
            {"a", -1, failed, Install::NotAsked, ""},
            {"bM", -1, 0, Install::NotAsked, "PM"},
        };
        for (const auto &row : rows) {
            cleanup();
            init();
            const auto is = [&row](char letter) { return strchr(row.state, letter) != nullptr; };
            CProductUpdateInfo &info = script.found;
            info.updateType = CProductUpdateInfo::UpdateType(is('M'));
            info.store();
            UpgradeUtils::setUpdateSkipped(info.transactionId, is('s'));
            UpgradeUtils::setNeedToInstallUpdateOnAppStart(is('a'), info.updateType, true);
            QSettings().setValue(downloadAutomatically, !is('n'));
            if (is('d'))
                putPackage();
            script.install = row.result;
            script.choice = Install::UserChoice(row.choice);
            QSignalSpy checked(logic(), &CAppUpdateLogic::updateCheckFinished);
            QSignalSpy ended(logic(), &CAppUpdateLogic::updateInstallFinished);
            logic()->setOnAppStart(is('a'));
            if (is('a'))
                logic()->worker()->startInstallReminder();
            const KOV_RESULT started = is('a') ? logic()->installPendingUpdate()
                                               : logic()->checkForUpdates(is('b'), is('m'), false);
            QCOMPARE(started, !is('a') ? KOV_SUCCESS : is('d') ? KOV_ERR_IN_PROGRESS : KOV_ERR_FAILURE);
            if (!is('a')) // joins the check that runs
                QCOMPARE(logic()->checkForUpdates(is('b'), is('m'), false), KOV_SUCCESS);
            QTRY_VERIFY(!script.latest && CTaskManager::instance()->getTasksByType(73).isEmpty());
            for (auto *question : CMessageManager::instance()->getMessageWindowsForId(0x3C30))
                question->done(Messaging::Button1);

            QCOMPARE(checked.size(), int(!is('a')));
            QCOMPARE(ended.size(), int(row.parameters >= 0));
            QCOMPARE(script.installs.value(0, -1), row.parameters);
            const auto letter = [](bool isTrue, char value) { return QByteArray(int(isTrue), value); };
            QCOMPARE(row.state + QByteArray(": ")
                         + letter(UpgradeUtils::isNeedToInstallUpdateOnAppStart(), 'R')
                         + letter(logic()->pendingUpdateInfo(), 'P')
                         + letter(intervalOf("installReminderTimer") == 600000, 'T')
                         + letter(UpgradeUtils::isUpdateSkipped(info.transactionId), 'S')
                         + letter(script.quits == 1, 'Q') + letter(script.major, 'M'),
                     row.state + QByteArray(": ") + row.after);
            QCOMPARE(QSettings().contains(installedUpdateVersion), row.result == 0 && row.parameters >= 0);
            QVERIFY(!UpgradeUtils::isDownloadingUpdateInBackground());
        }
    }

    void supersession()
    {
        script.waits = script.endsLate = true;
        QSignalSpy ended(logic(), &CAppUpdateLogic::updateInstallFinished);
        logic()->installUpdate(script.found, false, false);
        const QPointer<Install> old = script.latest;
        // The old one writes its file until it has ended, however often somebody asks.
        for (const bool isForeground : {false, true, false})
            QCOMPARE(logic()->installPendingUpdate(isForeground), KOV_ERR_IN_PROGRESS);
        QCoreApplication::processEvents();
        QCOMPARE(script.installs, QList<int>{100});
        script.choice = Install::Skip;
        old->Install::terminate(KOV_ERR_CANCELLED);
        QTRY_VERIFY(!old);
        QCOMPARE(script.installs, (QList<int>{100, 0}));
        QVERIFY(!UpgradeUtils::isUpdateSkipped(script.found.transactionId));
        QCOMPARE(ended.size(), 0);
        script.latest->Install::terminate(KOV_ERR_FAILURE);
        QCOMPARE(ended.size(), 1);
    }

    void quittingInTheMiddle()
    {
        script.waits = true;
        logic()->worker()->onCheckForUpdatesTimerTimeout();
        QVERIFY(QSettings().contains(lastCheckedOn));
        CAppUpdateLogic::destroy();
        QVERIFY(!QSettings().contains(lastCheckedOn));

        // One that was watched: the next start looks for its update, and goes on from what is there.
        logic()->installUpdate(script.found, true, false);
        QFile part(script.latest->updateInfo().download.destinationFilePartPath());
        QVERIFY(QDir().mkpath(QFileInfo(part).path()) && part.open(QFile::WriteOnly));
        QMetaObject::invokeMethod(qApp, "aboutToQuit");
        script.latest->terminate(KOV_ERR_CANCELLED);
        CAppUpdateLogic::destroy();
        QVERIFY(UpgradeUtils::isNeedToCheckUpdateOnAppStart() && part.remove());

        // The first download is interrupted; the next one is done, and its question stays open.
        for (const bool isDone : {false, true}) {
            logic()->installUpdate(script.found, false, false);
            if (isDone)
                putPackage();
            QMetaObject::invokeMethod(qApp, "aboutToQuit");
            script.latest->terminate(KOV_ERR_CANCELLED);
            CAppUpdateLogic::destroy();
            QCOMPARE(UpgradeUtils::isDownloadingUpdateInBackground(), !isDone);
            QCOMPARE(logic()->pendingUpdateInfo() != nullptr, isDone);
        }
    }

    /// Found by a check in the background while an older one is under way.
    void newerUpdate()
    {
        QMainWindow main;
        main.show();
        script.isReal = true;
        logic()->installUpdate(script.found, false, true);
        QTRY_COMPARE(offers(), QStringList{"3.1.5-31502"});
        findNewer();
        QTRY_COMPARE(offers(), QStringList{"3.1.6-31600"});
        for (const QWidget *window : QApplication::topLevelWidgets())
            QVERIFY(window == &main || !window->isVisible()
                    || window->windowHandle()->transientParent() == main.windowHandle());
        CAppUpdateLogic::destroy();

        // One that is watched is not cut, and what is decided about it does not hold for the newer one.
        for (const auto choice : {Install::Skip, Install::Postpone, Install::Cancel}) {
            cleanup();
            init();
            script.waits = true;
            script.choice = choice;
            const QString older = script.found.transactionId;
            logic()->installUpdate(script.found, true, false);
            QSignalSpy began(script.latest, &CAbstractTask::subTaskStarted);
            QTRY_COMPARE(began.size(), 1);
            putPackage();
            script.waits = false;
            findNewer();
            QCOMPARE(script.installs.size(), 1);
            script.latest->terminate(KOV_ERR_CANCELLED);
            QCOMPARE(logic()->pendingUpdateInfo()->getVersion(), "3.1.6-31600");
            QCOMPARE(UpgradeUtils::isUpdateSkipped(older), choice == Install::Skip);
            QVERIFY(!UpgradeUtils::isNeedToInstallUpdateOnAppStart());
            QCOMPARE(intervalOf("installReminderTimer"), 600000);
        }
    }

    /// Nothing that comes while the updater program runs loses its success.
    void otherUpdateDuringTheInstallation()
    {
        const QString signal = m_folder.filePath("go on");
        qputenv("MISBEHAVIOUR", "wait " + signal.toUtf8());
        KovGui::setUpdaterFilePathAndUpdateMode(MISBEHAVING_PROGRAM, QString(), "ctl");
        putPackage();
        script.isReal = true;
        script.found.download.md5 = "d41d8cd98f00b204e9800998ecf8427e"; // of nothing
        const auto installAtStart = [](bool confirm) {
            UpgradeUtils::setNeedToInstallUpdateOnAppStart(true, script.found.updateType, confirm);
            logic()->setOnAppStart(true);
            logic()->installUpdate(script.found, false, false);
        };
        installAtStart(true);
        QTRY_COMPARE(offers(), QStringList{"3.1.5-31502"});
        CAppUpdateLogic::destroy();
        installAtStart(false);
        QTRY_VERIFY(script.latest && script.latest->isInstalling());
        QSignalSpy ended(logic(), &CAppUpdateLogic::updateInstallFinished);
        script.found.transactionId = "-4.0.0-40000";
        script.found.updateType = CProductUpdateInfo::MajorUpgrade;
        QCOMPARE(logic()->installUpdate(script.found, true, false), KOV_ERR_IN_PROGRESS);
        script.latest->Install::terminate(KOV_ERR_CANCELLED);
        QVERIFY(writeFile(signal, ""));
        QTRY_COMPARE(ended.size(), 1);
        QCOMPARE(ended.first().first().toInt(), KOV_SUCCESS);
        QVERIFY(UpgradeUtils::isNeedToCheckUpdateOnAppStart());
    }

    void foregroundRequestAtTheEndOfACheck()
    {
        const auto once = connect(logic(), &CAppUpdateLogic::updateCheckFinished, logic(),
                                  [] { logic()->installPendingUpdate(true); });
        QSignalSpy ended(logic(), &CAppUpdateLogic::updateInstallFinished);
        logic()->checkForUpdates(true, false, false);
        QTRY_COMPARE(ended.size(), 1);
        QCOMPARE(script.installs, (QList<int>{100, 0}));
        disconnect(once);
    }

    void lastingDownload()
    {
        // Again and again, with growing pauses, until it succeeds.
        script.install = KOV_ERR_FAILURE;
        QSignalSpy ended(logic(), &CAppUpdateLogic::updateInstallFinished);
        logic()->installUpdate(script.found, false, false);
        for (const int minutes : {10, 20, 40, 80, 160, 240, 240}) {
            QTRY_COMPARE(intervalOf("downloadRetryTimer"), minutes * 60000);
            QMetaObject::invokeMethod(logic()->worker()->findChild<QTimer *>("downloadRetryTimer"),
                                      "timeout");
        }
        QTRY_COMPARE(ended.size(), 8);
        CAppUpdateLogic::destroy();
        QVERIFY(UpgradeUtils::isDownloadingUpdateInBackground());

        // An updater that installs is ended with the logic, or two would run.
        script.waits = script.endsLate = true;
        logic()->installUpdate(script.found, true, false);
        CAppUpdateLogic::destroy();
        QVERIFY(!script.latest);

        // An application that goes on after it was about to quit.
        script.endsLate = false;
        script.choice = Install::Postpone;
        logic()->installUpdate(script.found, true, false);
        QVERIFY(script.latest->params().askedFor);
        QMetaObject::invokeMethod(qApp, "aboutToQuit");
        QCoreApplication::processEvents();
        script.latest->terminate(KOV_ERR_CANCELLED);
        QCOMPARE(intervalOf("installReminderTimer"), 600000);
        // A reminder comes while its user does something else.
        QMetaObject::invokeMethod(logic()->worker()->findChild<QTimer *>("installReminderTimer"), "timeout");
        QVERIFY(script.latest && !script.latest->params().askedFor);
    }

    /// The first start of a new version counts as one that the updater watches.
    void restart()
    {
        const QString runs = m_folder.filePath("runs");
        qputenv("RUNS", runs.toUtf8());
        KovGui::setUpdaterFilePathAndUpdateMode(MISBEHAVING_PROGRAM, QString(), "ctl");
        logic()->worker()->restartOnTrial(false);
        QCOMPARE(script.quits, 1);
        const QByteArray program = QCoreApplication::applicationFilePath().toUtf8();
        QTRY_VERIFY(fileContent(runs).endsWith("|run|" + program + "|\n"));
    }

private:
    static void findNewer()
    {
        script.found.transactionId = "-3.1.6-31600";
        script.found.download.url = "http://h/app-3.1.6.31600.tar.gz";
        QSignalSpy ended(logic(), &CAppUpdateLogic::updateCheckFinished);
        QCOMPARE(logic()->checkForUpdates(true, false, false), KOV_SUCCESS);
        QTRY_COMPARE(ended.size(), 1);
    }
    /// What the open offers say.
    static QStringList offers()
    {
        QStringList texts;
        for (const QWidget *window : QApplication::topLevelWidgets()) {
            const auto *text = window->findChild<QLabel *>("m_lbDescription");
            if (text && window->isVisible())
                texts << text->text().section(' ', 2, 2);
        }
        return texts;
    }
    static CAppUpdateLogic *logic() { return CAppUpdateLogic::instance(); }
    static void setClock(const QDateTime &now)
    {
        Clock::set([now] { return now; });
    }
    static int intervalOf(const char *name)
    {
        const auto *timer = logic()->worker()->findChild<QTimer *>(QLatin1String(name));
        return timer->isActive() ? timer->interval() : -1;
    }
    void putPackage() { QVERIFY(QFile(packagePath()).open(QIODevice::WriteOnly)); }
    QString packagePath() const { return m_folder.filePath("app-3.1.5.31502.tar.gz"); }
    QTemporaryDir m_folder;
};

KOV_TEST_MAIN(QApplication, tst_UpdateSchedule)
#include "tst_update_schedule.moc"
