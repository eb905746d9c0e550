#include "abstract_task/CTaskManager.h"
#include "gui/KovGui.h"
#include "gui/help/Help.h"
#include "gui/messages/CMessageBoxBuilder.h"
#include "gui/messages/CMessageDataProvider.h"
#include "gui/messages/CMessageManager.h"
#include "gui/messages/CMessageProcessor.h"
#include "gui/messages/CSearchParentHelper.h"
#include "gui/update/CTaskCheckForProductUpdate.h"
#include "gui/update/UpdateTypes_p.h"
#include "gui/update/UpgradeUtils.h"
#include "gui/window/CProgressDialog.h"
#include "tests/support/KovTest.h"
#include "tests/support/NginxServer.h"
#include "tests/update/LogCapture.h"

#include <QAbstractButton>
#include <QProcess>
#include <QSettings>

using Check = CTaskCheckForProductUpdate;

/// A host's check that gets no address.
class CheckWithoutAddress : public CTaskCheckForProductUpdate
{
    Q_OBJECT

public:
    Q_INVOKABLE explicit CheckWithoutAddress(CTaskCheckForProductUpdate::Options options)
        : CTaskCheckForProductUpdate(options)
    { }
    KOV_RESULT getCustomUpdateServerUrl(QString &) override { return KOV_ERR_INVALID_ARG; }
};

/// One that the registry cannot create.
class CheckWithoutConstructor : public CTaskCheckForProductUpdate
{
    Q_OBJECT

public:
    CheckWithoutConstructor()
        : CTaskCheckForProductUpdate(CTaskCheckForProductUpdate::NoOptions)
    { }
};

/// A host's policy that may answer the question without asking.
class AnsweringProvider : public CMessageDataProvider
{
    Q_OBJECT

public:
    Q_INVOKABLE AnsweringProvider() = default;
    bool isMessageHasAutoAnswer(int code) override { return answers && code == KOV_QUESTION_NO_CONNECTION; }
    static bool answers;
};
bool AnsweringProvider::answers = false;

/// The check from its start to the closed message, with the real updater and a real server; what the real
/// updater never does is left to a program that misbehaves.
class tst_CheckForUpdate : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void onFinished(KOV_RESULT result, CAbstractTask *task);

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void outcome_data();
    void outcome();
    void cancel();
    void joinsTheRunningCheck();
    void raisesTheOpenMessage();
    void noConnectionIsAskedAbout_data();
    void noConnectionIsAskedAbout();
    void storedAnswerDoesNotTryForEver();
    void destroyedInTheMiddle_data();
    void destroyedInTheMiddle();
    void refusedStart_data();
    void refusedStart();
    void hostsOwnAddress();
    void learnMore();

private:
    Check *start(Check::Options options)
    {
        return Check::start(options, CSlotInfo(this, "onFinished(KOV_RESULT, CAbstractTask*)"));
    }
    void misbehave(const char *how);
    void writeCatalogue(const QString &folder, int build);
    void onMessage(const Messaging::MessageData &data, CMessageBoxWndBase *window);
    static CProgressDialog *progressWindow();
    static bool click(QWidget *window, const QString &label);

    QTemporaryDir m_root;
    NginxServer m_server;
    QList<int> m_results;
    CProductUpdateInfo m_found;
    QList<int> m_messages;
    QPointer<CMessageBoxWndBase> m_window;
    bool m_closeMessages = true;
    bool m_progressSeen = false;
    bool m_progressBehindMessage = false;
    bool m_cancelSeen = false;

protected:
    bool eventFilter(QObject *object, QEvent *event) override;
};

void tst_CheckForUpdate::onFinished(KOV_RESULT result, CAbstractTask *task)
{
    m_results << result;
    const auto *check = qobject_cast<Check *>(task);
    m_found = check && check->getUpdateInfo() ? *check->getUpdateInfo() : CProductUpdateInfo();
}

void tst_CheckForUpdate::initTestCase()
{
    KovGui::init(KAM_CONSOLE);
    auto &registry = KovGui::staticMetaObjectHash();
    registry[QStringLiteral("CMessageDataProvider")] = &AnsweringProvider::staticMetaObject;
    for (const QMetaObject *policy :
         {&CMessageBoxBuilder::staticMetaObject, &CSearchParentHelper::staticMetaObject,
          &CMessageProcessor::staticMetaObject}) {
        registry[QString::fromLatin1(policy->className())] = policy;
    }
    registerUpdateTypes();
    connect(CMessageManager::instance(), &CMessageManager::aboutToShowMessage, this,
            [this](const Messaging::MessageData &data, QWidget *, CMessageBoxWndBase *window) {
                onMessage(data, window);
            });
    qApp->installEventFilter(this);

    writeCatalogue(QStringLiteral("newer"), 31302);
    writeCatalogue(QStringLiteral("current"), 31301);
    QVERIFY2(m_server.start(m_root.path()), qPrintable(m_server.errorString()));
}

void tst_CheckForUpdate::init()
{
    QSettings().clear();
    m_results.clear();
    m_messages.clear();
    m_closeMessages = true;
    m_progressSeen = m_progressBehindMessage = m_cancelSeen = false;
    KovGui::staticMetaObjectHash()[QStringLiteral("CTaskCheckForProductUpdate")] = &Check::staticMetaObject;
    for (const char *mode : {"app", "ctl"})
        KovGui::setUpdaterFilePathAndUpdateMode(QStringLiteral(UPDATER_PROGRAM), QString(),
                                                QString::fromLatin1(mode));
    UpgradeUtils::setRunUpdaterInAppMode(false);
    QVERIFY(UpgradeUtils::setUpdateServerBase(m_server.url(QStringLiteral("newer"))));
}

void tst_CheckForUpdate::cleanup()
{
    QTRY_VERIFY(qApp->findChildren<QProcess *>().isEmpty());
    QTRY_VERIFY(QApplication::topLevelWidgets().isEmpty());
    QVERIFY(!CTaskManager::instance()->getTasksByType(73).size());
}

void tst_CheckForUpdate::misbehave(const char *how)
{
    qputenv("MISBEHAVIOUR", how);
    KovGui::setUpdaterFilePathAndUpdateMode(QStringLiteral(MISBEHAVING_UPDATER), QString(),
                                            QStringLiteral("ctl"));
}

void tst_CheckForUpdate::writeCatalogue(const QString &folder, int build)
{
    const QString directory = m_root.filePath(folder + QStringLiteral("/console/v3/tessarine"));
    QVERIFY(QDir().mkpath(directory));
    QFile file(directory + QStringLiteral("/tessarine_updates.xml"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?><TessarineUpdates><Product>"
        "<ProductName>Tessarine "
        "Console</ProductName><UpdateEnabled>true</UpdateEnabled><Version><Major>3</Major>"
        "<Minor>1</Minor><SubMinor>4</SubMinor><SubSubMinor>"
        + QByteArray::number(build)
        + "</SubSubMinor>"
          "<StringRepresentation>3.1.4</StringRepresentation><Update><UpdateName>N</UpdateName>"
          "<UpdateDescription>Better.\nFaster.</UpdateDescription><FilePath>Setup-3.1.4.31302.run</FilePath>"
          "<FileSize>15360</FileSize><LocaleName>any</LocaleName><OsType>any</OsType>"
          "<DateTime>2026-01-02 "
          "03:04:05</DateTime><DistributorName>T</DistributorName><Chargeable>false</Chargeable>"
          "<Status>released</Status></Update></Version></Product></TessarineUpdates>");
}

bool tst_CheckForUpdate::eventFilter(QObject *object, QEvent *event)
{
    auto *progress = event->type() == QEvent::Show ? qobject_cast<CProgressDialog *>(object) : nullptr;
    if (progress) {
        m_progressSeen = true;
        m_cancelSeen = progress->isCancelButtonVisible();
    }
    return false;
}

void tst_CheckForUpdate::onMessage(const Messaging::MessageData &data, CMessageBoxWndBase *window)
{
    m_messages << data.code;
    m_window = window;
    m_progressBehindMessage = m_progressBehindMessage || progressWindow();
    if (m_closeMessages)
        QTimer::singleShot(0, window, &QWidget::close);
}

CProgressDialog *tst_CheckForUpdate::progressWindow()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        auto *progress = qobject_cast<CProgressDialog *>(window);
        if (progress && progress->isVisible())
            return progress;
    }
    return nullptr;
}

bool tst_CheckForUpdate::click(QWidget *window, const QString &label)
{
    const auto buttons = window->findChildren<QAbstractButton *>();
    for (QAbstractButton *button : buttons) {
        if (button->text().remove(QLatin1Char('&')) == label) {
            button->click();
            return true;
        }
    }
    return false;
}

void tst_CheckForUpdate::outcome_data()
{
    QTest::addColumn<QByteArray>(
        "updater"); // what goes wrong, or "real", "app", "missing", "custom", "unusable"
    QTest::addColumn<QString>("folder");
    QTest::addColumn<int>("options");
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("message");

    const int background = Check::CheckInBackground;
    const int smart = Check::SmartInstall;
    const int silentIfCurrent = Check::DoNotShowUpToDate;
    const int none = KOV_NO_UPDATE_AVAILABLE;
    const int unreachable = KOV_ERR_UPDATE_SERVER_NOT_REACHABLE;
    const int failed = KOV_ERR_UPDATER_FAILED;
    const int missing = KOV_ERR_UPDATER_MISSING;
    const auto row = [](const char *title, const char *updater, const char *folder, int options, int result,
                        int message) {
        QTest::newRow(title) << QByteArray(updater) << QString::fromLatin1(folder) << options << result
                             << message;
    };
    row("found", "real", "newer", 0, KOV_SUCCESS, 0);
    row("found, NoOptions", "real", "newer", Check::NoOptions, KOV_SUCCESS, 0);
    row("found, background", "real", "newer", background, KOV_SUCCESS, 0);
    row("found, app mode", "app", "newer", background, KOV_SUCCESS, 0);
    row("found, custom server", "custom", "newer", 0, KOV_SUCCESS, 0);
    row("smart install ignores the custom server", "custom", "newer", smart, none, 0);
    row("up to date", "real", "current", 0, none, none);
    row("up to date, background", "real", "current", background, none, 0);
    row("up to date, smart install", "real", "current", smart, none, 0);
    row("up to date, not to be told", "real", "current", silentIfCurrent, none, 0);
    row("no connection", "real", "", 0, unreachable, unreachable);
    row("no connection, not to be told of no update", "real", "", silentIfCurrent, unreachable, unreachable);
    row("no connection, background", "real", "", background, unreachable, 0);
    row("unusable address", "unusable", "newer", 0, unreachable, unreachable);
    row("unusable address, background", "unusable", "newer", background, unreachable, 0);
    row("no catalogue", "real", "nowhere", 0, failed, failed);
    row("signal of the number of no update", "signal 4", "newer", 0, failed, failed);
    row("signal of the number of no connection", "signal 25", "newer", 0, failed, failed);
    row("other exit code", "exit 7", "newer", 0, failed, failed);
    row("other exit code, background", "exit 7", "newer", background, failed, 0);
    row("other exit code, smart install", "exit 7", "newer", smart, failed, 0);
    row("an update without a package", "exit 0", "newer", 0, failed, failed);
    row("flood", "flood output", "newer", 0, failed, failed);
    row("missing", "missing", "newer", 0, missing, missing);
    row("missing, background", "missing", "newer", background, missing, 0);
    row("missing, smart install", "missing", "newer", smart, missing, 0);
}

void tst_CheckForUpdate::outcome()
{
    QFETCH(QByteArray, updater);
    QFETCH(QString, folder);
    QFETCH(int, options);
    QFETCH(int, result);
    QFETCH(int, message);
    const QString setting = QStringLiteral("Application preferences/VolumeLicenseUpdatePolicy");
    const QString server = folder.isEmpty()
                               ? QStringLiteral("http://127.0.0.1:%1").arg(NginxServer::freePort())
                               : m_server.url(folder);
    QVERIFY(UpgradeUtils::setUpdateServerBase(server));
    if (updater == "missing") {
        KovGui::setUpdaterFilePathAndUpdateMode(m_root.path(), QString(), QStringLiteral("ctl"));
    } else if (updater == "app") {
        UpgradeUtils::setRunUpdaterInAppMode(true);
    } else if (updater == "custom") {
        QSettings().setValue(setting, UpgradeUtils::defaultCatalogueUrl(0));
        QVERIFY(UpgradeUtils::setUpdateServerBase(m_server.url(QStringLiteral("current"))));
    } else if (updater == "unusable") {
        QSettings().setValue(setting, QStringLiteral("http://me:secret@h/ --config=/x"));
    } else if (updater != "real") {
        misbehave(updater.constData());
    }

    const LogCapture log;
    const QPointer<Check> check = start(Check::Options(options));
    QVERIFY(check);
    QTRY_VERIFY_WITH_TIMEOUT(!check, 30000);
    QCOMPARE(m_results, QList<int>{result});
    QCOMPARE(m_messages, message == 0 ? QList<int>() : QList<int>{message});
    QCOMPARE(m_progressSeen, (options & Check::CheckInBackground) == 0);
    QCOMPARE(m_cancelSeen, (options & (Check::CheckInBackground | Check::SmartInstall)) == 0);
    QVERIFY(!m_progressBehindMessage);
    QVERIFY(!log.all().contains("secret"));
    if (result == KOV_SUCCESS) {
        QCOMPARE(m_found.getVersion(), QStringLiteral("3.1.4-31302"));
        QCOMPARE(m_found.updateDescription, QStringLiteral("Better.\nFaster."));
        QCOMPARE(m_found.download.size, 15360);
        QCOMPARE(m_found.download.destinationFileName(), QStringLiteral("Setup-3.1.4.31302.run"));
    }
}

void tst_CheckForUpdate::cancel()
{
    misbehave("hang");
    const QPointer<Check> check = start(Check::DoNotShowUpToDate);
    QTRY_VERIFY(progressWindow() && progressWindow()->isActiveWindow());
    QCOMPARE(progressWindow()->windowTitle(), QStringLiteral("Tessarine Console Update"));
    QVERIFY(!progressWindow()->isModal());
    QTest::keyClick(progressWindow(), Qt::Key_Escape);
    QTRY_VERIFY(!check);
    QVERIFY(!progressWindow());
    QCOMPARE(m_results, QList<int>{KOV_ERR_CANCELLED});
    QVERIFY(m_messages.isEmpty());
}

void tst_CheckForUpdate::joinsTheRunningCheck()
{
    misbehave("hang");
    const LogCapture log;
    const QPointer<Check> check = start(Check::CheckInBackground);
    QTRY_COMPARE(log.count("Update command : "), 1);
    QVERIFY(!progressWindow());
    QCOMPARE(start(Check::CheckInBackground), check.data());
    QVERIFY(!progressWindow() && check->isCheckInBackground());
    QCOMPARE(start(Check::Options()), check.data());
    QVERIFY(progressWindow() && !check->isCheckInBackground());
    QCOMPARE(log.count("A task to check for product updates is already running. Skip another check."), 2);
    check->terminate(KOV_ERR_CANCELLED);
    QCOMPARE(m_results, QList<int>({KOV_ERR_CANCELLED, KOV_ERR_CANCELLED, KOV_ERR_CANCELLED}));
    QVERIFY(!progressWindow());
    QCOMPARE(log.count("Update command : "), 1);
    QTRY_VERIFY(!check);
}

void tst_CheckForUpdate::raisesTheOpenMessage()
{
    misbehave("exit 7");
    m_closeMessages = false;
    const QPointer<Check> check = start(Check::Options());
    QTRY_VERIFY(m_window && m_window->isActiveWindow());
    QWidget other;
    other.show();
    other.activateWindow();
    QTRY_VERIFY(other.isActiveWindow());
    QCOMPARE(start(Check::Options()), check.data());
    QTRY_VERIFY(m_window->isActiveWindow());
    QVERIFY(!progressWindow() && m_results.isEmpty());
    m_window->close();
    QTRY_VERIFY(!check);
    QCOMPARE(m_results, QList<int>({KOV_ERR_UPDATER_FAILED, KOV_ERR_UPDATER_FAILED}));
    QCOMPARE(m_messages.size(), 1);
}

void tst_CheckForUpdate::noConnectionIsAskedAbout_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<int>("result");

    QTest::newRow("try again") << QStringLiteral("Try Again") << int(KOV_SUCCESS);
    QTest::newRow("install what is there")
        << QStringLiteral("Install current") << KOV_ERR_UPDATE_SERVER_NOT_REACHABLE;
}

void tst_CheckForUpdate::noConnectionIsAskedAbout()
{
    QFETCH(QString, answer);
    m_closeMessages = false;
    m_server.stop();
    const QPointer<Check> check = start(Check::SmartInstall);
    QTRY_COMPARE(m_messages, QList<int>{KOV_QUESTION_NO_CONNECTION});
    QTRY_VERIFY(m_window && m_window->isVisible());
    QVERIFY2(m_server.restart(), qPrintable(m_server.errorString()));
    m_progressSeen = false;
    QVERIFY(click(m_window, answer));
    QTRY_VERIFY(!check);
    QFETCH(int, result);
    QCOMPARE(m_results, QList<int>{result});
    QCOMPARE(m_progressSeen, result == KOV_SUCCESS);
    QCOMPARE(m_messages.size(), 1);
}

void tst_CheckForUpdate::storedAnswerDoesNotTryForEver()
{
    QVERIFY(UpgradeUtils::setUpdateServerBase(
        QStringLiteral("http://127.0.0.1:%1").arg(NginxServer::freePort())));
    AnsweringProvider::answers = true;
    const QPointer<Check> check = start(Check::SmartInstall);
    QTRY_VERIFY(!check);
    AnsweringProvider::answers = false;
    QCOMPARE(m_results, QList<int>{KOV_ERR_UPDATE_SERVER_NOT_REACHABLE});
    QVERIFY(m_messages.isEmpty());
}

void tst_CheckForUpdate::destroyedInTheMiddle_data()
{
    QTest::addColumn<QByteArray>("behaviour");
    QTest::addColumn<int>("messages");

    QTest::newRow("updater running") << QByteArray("hang") << 0;
    QTest::newRow("message open") << QByteArray("exit 7") << 1;
}

void tst_CheckForUpdate::destroyedInTheMiddle()
{
    QFETCH(QByteArray, behaviour);
    QFETCH(int, messages);
    misbehave(behaviour.constData());
    m_closeMessages = false;
    const LogCapture log;
    const QPointer<Check> check = start(Check::Options());
    QTRY_COMPARE(log.count("Update command : "), 1);
    QTRY_COMPARE(m_messages.size(), messages);
    QTRY_VERIFY(messages == 0 || m_window->isVisible());
    delete check.data();
    QCOMPARE(m_results, QList<int>{KOV_ERR_CANCELLED});
    QVERIFY(!progressWindow());
    QTRY_VERIFY(!m_window);
}

void tst_CheckForUpdate::refusedStart_data()
{
    QTest::addColumn<bool>("restricted");
    QTest::addColumn<QByteArray>("line");

    QTest::newRow("restricted mode") << true
                                     << QByteArray(
                                            "In current application mode check for updates not available.");
    QTest::newRow("registered class cannot be created")
        << false
        << QByteArray(
               "CheckWithoutConstructor, registered for CTaskCheckForProductUpdate, cannot be created");
}

void tst_CheckForUpdate::refusedStart()
{
    QFETCH(bool, restricted);
    QFETCH(QByteArray, line);
    UpgradeUtils::setUpdatesRestricted(restricted);
    if (!restricted) {
        KovGui::staticMetaObjectHash()[QStringLiteral("CTaskCheckForProductUpdate")]
            = &CheckWithoutConstructor::staticMetaObject;
    }
    const LogCapture log;
    QVERIFY(!start(Check::Options()));
    UpgradeUtils::setUpdatesRestricted(false);
    QVERIFY(m_results.isEmpty());
    QTRY_COMPARE(m_results, QList<int>{KOV_ERR_FAILURE});
    QCOMPARE(log.count(line.constData()), 1);
}

void tst_CheckForUpdate::hostsOwnAddress()
{
    KovGui::staticMetaObjectHash()[QStringLiteral("CTaskCheckForProductUpdate")]
        = &CheckWithoutAddress::staticMetaObject;
    const QPointer<Check> check = start(Check::Options());
    QTRY_VERIFY(!check);
    QCOMPARE(m_results, QList<int>{KOV_ERR_INVALID_ARG});
}

void tst_CheckForUpdate::learnMore()
{
    QUrl opened;
    Help::setUrlOpener([&opened](const QUrl &url) {
        opened = url;
        return true;
    });
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Austria));
    Check(Check::NoOptions).onLearnMoreClicked();
    QLocale::setDefault(QLocale::c());
    Help::setUrlOpener(nullptr);
    QVERIFY2(opened.path().endsWith(QStringLiteral("-new-verison-de_AT")), qPrintable(opened.toString()));
}

KOV_TEST_MAIN(QApplication, tst_CheckForUpdate)
#include "tst_check_for_update.moc"
