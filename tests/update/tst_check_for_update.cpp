#include "gui/tasks/sign_in/CProxyAuthenticator.h"
#include "gui/tasks/sign_in/ProxyAuthUtils.h"
#include "gui/update/check/CTaskCheckForProductUpdate.h"
#include "tests/support/SampleSignature.h"
#include "tests/support/SquidServer.h"
#include "tests/update/UpdateFixture.h"

using Check = CTaskCheckForProductUpdate;

/// A host's check that the registry cannot create.
class CheckWithoutConstructor : public CTaskCheckForProductUpdate
{
    Q_OBJECT
    using CTaskCheckForProductUpdate::CTaskCheckForProductUpdate;
};

/// The check from its start to the closed message, with the real updater and a real server. What the real
/// updater never does is left to a program that misbehaves.
class tst_CheckForUpdate : public UpdateFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        UpdateFixture::initTestCase();
        connect(CMessageManager::instance(), &CMessageManager::aboutToShowMessage, this,
                [] { QVERIFY2(!progressWindow(), "progress behind a message"); });
        qApp->installEventFilter(this);
        QVERIFY(writeSampleSite(m_root.filePath("newer"), 31302, "Better.\nFaster."));
        QVERIFY(writeSampleSite(m_root.filePath("current"), 31301, "Better.\nFaster."));
    }

    void init()
    {
        QSettings().clear();
        m_results.clear();
        m_progressSeen = m_cancelSeen = false;
        useUpdater(UPDATER_PROGRAM);
        UpgradeUtils::setRunUpdaterInAppMode(false);
        QVERIFY(UpgradeUtils::setUpdateServerBase(m_server.url("newer")));
    }

    void outcome_data()
    {
        // What goes wrong, or which updater; the catalogue's folder, without one nobody listens; the result,
        // and part of the message that tells it.
        Table<QString, QString, int, int, QString> table;
        const auto row = [&table](const char *updater, const char *folder, int options, int result,
                                  const char *text = "") {
            table(QByteArray(updater).simplified() + ' ' + folder + ", options "
                      + QByteArray::number(options),
                  updater, folder, options, result, text);
        };
        const int background = Check::CheckInBackground;
        const int smart = Check::SmartInstall;
        const int found = KOV_SUCCESS;
        const int none = KOV_NO_UPDATE_AVAILABLE;
        const int unreachable = KOV_ERR_UPDATE_SERVER_NOT_REACHABLE;
        const int failed = KOV_ERR_UPDATER_FAILED;
        const int missing = KOV_ERR_UPDATER_MISSING;
        row("real", "newer", 0, found);
        row("real", "newer", Check::NoOptions, found);
        row("app", "newer", background, found);
        row("custom", "newer", 0, found);
        row("custom", "newer", smart, none);
        row("real", "current", 0, none, "3.1.4-31301");
        row("real", "current", background, none);
        row("real", "current", smart, none);
        row("real", "current", Check::DoNotShowUpToDate, none);
        row("real", "", Check::DoNotShowUpToDate, unreachable, " ");
        row("real", "", background, unreachable);
        row("unusable", "newer", 0, failed, "cannot be used");
        row("unusable", "newer", background, failed);
        row("real", "nowhere", 0, failed, " ");
        row("crash 9", "newer", 0, failed, "unexpectedly");
        row("crash 25", "newer", 0, failed, "unexpectedly");
        row("exit 7", "newer", 0, failed, " ");
        row("exit 29", "newer", 0, failed, "not signed");
        row("exit 7", "newer", smart, failed);
        row("exit 0", "newer", 0, failed, " ");
        row("print FILE_PATH: http://h/x\n; again", "newer", 0, failed, " ");
        row("missing", "newer", 0, missing, " ");
        row("missing", "newer", background, missing);
    }

    void outcome()
    {
        const auto [updater, folder, options, result, text] = cells<QString, QString, int, int, QString>();
        const QString setting = "Application preferences/VolumeLicenseUpdatePolicy";
        const QString nobody = QString("http://127.0.0.1:%1").arg(NginxServer::freePort());
        QVERIFY(UpgradeUtils::setUpdateServerBase(folder.isEmpty() ? nobody : m_server.url(folder)));
        UpgradeUtils::setRunUpdaterInAppMode(updater == "app");
        if (updater == "missing") {
            useUpdater("/");
        } else if (updater == "custom") {
            QSettings().setValue(setting, UpgradeUtils::defaultCatalogueUrl(0));
            QVERIFY(UpgradeUtils::setUpdateServerBase(m_server.url("current")));
        } else if (updater == "unusable") {
            QSettings().setValue(setting, "http://me:secret@h/ --config=/x");
        } else if (updater != "real" && updater != "app") {
            useUpdater(MISBEHAVING_PROGRAM, updater);
        }

        const LogCapture log;
        const QString message = QString("CMessageBox:%1 close").arg(uint(result), 0, 16);
        const DialogScript script(text.isEmpty() ? QString() : message, {"CProgressDialog"});
        const QPointer<Check> check = start(options);
        QTRY_VERIFY_WITH_TIMEOUT(!check, 30000);
        QCOMPARE(m_results, QList<int>{result});
        QCOMPARE(script.shown(), script.text());
        QVERIFY2(m_text.contains(text), qPrintable(m_text));
        QCOMPARE(m_progressSeen, (options & Check::CheckInBackground) == 0);
        QCOMPARE(m_cancelSeen, (options & (Check::CheckInBackground | Check::SmartInstall)) == 0);
        QVERIFY(!log.text().contains("secret"));
        if (result == KOV_SUCCESS) {
            const char *command = updater == "app"
                                      ? "--started-by-gui --update check --mode silent --background-download "
                                        "--hide-no-updates-message --url http"
                                      : "--update check -i -ud -nr --url http";
            QVERIFY(log.text().contains(command));
            QCOMPARE(m_found.getVersion() + m_found.updateDescription, "3.1.4-31302Better.\nFaster.");
            QCOMPARE(m_found.download.destinationFileName(), "Setup-3.1.4.31302.run");
            QCOMPARE(m_found.download.size, 15360);
        }
    }

    void joinsTheRunningCheckAndCancelsIt()
    {
        useUpdater(MISBEHAVING_PROGRAM, "wait");
        const LogCapture log;
        const QPointer<Check> check = start(Check::CheckInBackground);
        QTRY_COMPARE(log.count("Update command : "), 1);
        QCOMPARE(start(Check::CheckInBackground), check.data());
        QVERIFY(!progressWindow() && check->isCheckInBackground());
        QCOMPARE(start(0), check.data());
        QVERIFY(progressWindow() && !check->isCheckInBackground());
        QCOMPARE(progressWindow()->windowTitle(), "Tessarine Console Update");
        QTRY_VERIFY(progressWindow()->isActiveWindow());
        QTest::keyClick(progressWindow(), Qt::Key_Escape);
        QTRY_COMPARE(m_results, QList<int>({KOV_ERR_CANCELLED, KOV_ERR_CANCELLED, KOV_ERR_CANCELLED}));
        QVERIFY(m_text.isEmpty() && !progressWindow());
        QCOMPARE(log.count("A task to check for product updates is already running. Skip another check."), 2);
        QCOMPARE(log.count("Update command : "), 1);
    }

    void openMessageIsRaisedAndGoesWithTheCheck()
    {
        useUpdater(MISBEHAVING_PROGRAM, "exit 7");
        const QPointer<Check> check = start(0);
        QTRY_VERIFY(m_message && m_message->isActiveWindow());
        const QPointer<QWidget> first = m_message;
        QWidget other;
        other.show();
        other.activateWindow();
        QTRY_VERIFY(other.isActiveWindow());
        QCOMPARE(start(0), check.data());
        QTRY_VERIFY(first->isActiveWindow());
        QVERIFY(!progressWindow() && m_results.isEmpty() && m_message == first);
        delete check.data();
        QCOMPARE(m_results, QList<int>({KOV_ERR_CANCELLED, KOV_ERR_CANCELLED}));
        QTRY_VERIFY(!m_message);
    }

    void noConnectionIsAskedAbout_data()
    {
        // The answer; 0: the host's policy gives the first one.
        Table<int, int> row;
        row("try again", 1, KOV_SUCCESS);
        row("install what is there", 2, KOV_ERR_UPDATE_SERVER_NOT_REACHABLE);
        row("not asked, so not tried for ever", 0, KOV_ERR_UPDATE_SERVER_NOT_REACHABLE);
    }

    void noConnectionIsAskedAbout()
    {
        const auto [answer, result] = cells<int, int>();
        m_server.stop();
        AnsweringProvider::answers = answer == 0;
        const QPointer<Check> check = start(Check::SmartInstall);
        const auto questions
            = [] { return CMessageManager::instance()->getMessageWindowsForId(KOV_QUESTION_NO_CONNECTION); };
        QTRY_VERIFY(AnsweringProvider::answers ? !check : !questions().isEmpty());
        QVERIFY2(m_server.restart(), qPrintable(m_server.errorString()));
        m_progressSeen = false;
        for (CMessageBoxWndBase *question : questions())
            question->done(answer);
        QTRY_COMPARE(m_results, QList<int>{result});
        QCOMPARE(m_progressSeen, result == KOV_SUCCESS);
    }

    void refusedStart()
    {
        const LogCapture log;
        UpgradeUtils::setUpdatesRestricted(true);
        QVERIFY(!start(0));
        UpgradeUtils::setUpdatesRestricted(false);
        const auto registered = registerPolicyForNow<Check, CheckWithoutConstructor>();
        QVERIFY(!start(0) && m_results.isEmpty());
        QTRY_COMPARE(m_results, QList<int>({KOV_ERR_FAILURE, KOV_ERR_FAILURE}));
        QCOMPARE(log.count("In current application mode check for updates not available."), 1);
        QVERIFY(log.text().contains("CheckWithoutConstructor, registered for CTaskCheckForProductUpdate, "
                                    "has no invokable constructor"));
    }

    void proxyThatWantsAPassword()
    {
        SquidServer squid;
        const QString secret = "s3cr&t+word";
        QVERIFY2(squid.start("jo", secret.toUtf8()), squid.errorText().constData());
        const QNetworkProxy proxy(QNetworkProxy::HttpProxy, "127.0.0.1", squid.port());
        const QString right = "CUserAuthDialog m_leName=jo m_lePassword=s3cr&t+word m_pbOk";
        const struct
        {
            const char *name;
            int options;
            bool isSaved;
            QString windows;
            KOV_RESULT result;
        } rows[] = {
            {"saved", Check::CheckInBackground, true, "", KOV_SUCCESS},
            {"nobody is asked", Check::CheckInBackground, false, "", KOV_ERR_UPDATER_FAILED},
            {"cancelled", 0, false, "CUserAuthDialog close; CMessageBox:80015210 close",
             KOV_ERR_UPDATER_FAILED},
            {"typed again", 0, false, "CUserAuthDialog m_leName=jo m_lePassword=wrong m_pbOk; " + right,
             KOV_SUCCESS},
        };
        for (const auto &row : rows) {
            init();
            CProxyAuthenticator::destroy();
            QSettings preferences;
            preferences.beginGroup("User Preferences/Proxy");
            preferences.setValue("Proxy Enabled", true);
            preferences.setValue("Proxy Http Host", proxy.hostName());
            preferences.setValue("Proxy Http Port", QString::number(proxy.port()));
            if (row.isSaved)
                QVERIFY(ProxyAuthUtils::saveProxyCredentials(proxy, "jo", secret));
            const LogCapture log;
            const DialogScript script(row.windows, {"CProgressDialog"});
            const QPointer<Check> check = start(row.options);
            QTRY_VERIFY_WITH_TIMEOUT(!check, 30000);
            QCOMPARE(row.name + script.shown(), row.name + script.text());
            QCOMPARE(m_results, QList<int>{row.result});
            QVERIFY2(!log.text().contains("s3cr"), row.name);
        }
    }

private:
    Check *start(int options)
    {
        return Check::start(Check::Options(options),
                            CSlotInfo(this, [this](KOV_RESULT result, CAbstractTask *task) {
                                m_results << result;
                                const auto *check = qobject_cast<Check *>(task);
                                if (check && check->getUpdateInfo())
                                    m_found = *check->getUpdateInfo();
                            }));
    }
    static void useUpdater(const char *path, const QString &behaviour = QString())
    {
        qputenv("MISBEHAVIOUR", behaviour.toUtf8());
        for (const char *mode : {"app", "ctl"})
            KovGui::setUpdaterFilePathAndUpdateMode(path, QString(), mode);
    }
    bool eventFilter(QObject *object, QEvent *event) override
    {
        auto *progress = event->type() == QEvent::Show ? qobject_cast<CProgressDialog *>(object) : nullptr;
        m_progressSeen |= progress != nullptr;
        m_cancelSeen |= progress && progress->isCancelButtonVisible();
        return false;
    }

    QList<int> m_results;
    CProductUpdateInfo m_found;
    bool m_progressSeen = false;
    bool m_cancelSeen = false;
};

KOV_TEST_MAIN(QApplication, tst_CheckForUpdate)
#include "tst_check_for_update.moc"
