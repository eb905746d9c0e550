#include "abstract_task/CTaskManager.h"
#include "gui/KovGui.h"
#include "gui/messages/CMessageBoxBuilder.h"
#include "gui/messages/CMessageManager.h"
#include "gui/messages/CMessageProcessor.h"
#include "gui/messages/CSearchParentHelper.h"
#include "gui/messages/record/CMessageDataProvider.h"
#include "gui/tasks/sign_in/CProxyAuthenticator.h"
#include "gui/tasks/sign_in/CUserAuthDialog.h"
#include "gui/tasks/sign_in/ProxyAuthUtils.h"
#include "gui/update/UpdateTypes_p.h"
#include "gui/update/check/CTaskCheckForProductUpdate.h"
#include "gui/update/record/UpgradeUtils.h"
#include "gui/window/CProgressDialog.h"
#include "tests/support/KovTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/NginxServer.h"
#include "tests/support/OffscreenPlatform.h"
#include "tests/support/ReplacedAnswers.h"
#include "tests/support/SampleSignature.h"
#include "tests/support/SquidServer.h"

#include <QAbstractButton>
#include <QProcess>
#include <QSettings>

using Check = CTaskCheckForProductUpdate;

/// A host's check that the registry cannot create.
class CheckWithoutConstructor : public CTaskCheckForProductUpdate
{
    Q_OBJECT
    using CTaskCheckForProductUpdate::CTaskCheckForProductUpdate;
};

/// A host's policy that may answer a question without asking.
class AnsweringProvider : public CMessageDataProvider
{
    Q_OBJECT

public:
    Q_INVOKABLE AnsweringProvider() = default;
    bool isMessageHasAutoAnswer(int) override { return answers; }
    static inline bool answers = false;
};

/// The check from its start to the closed message, with the real updater and a real server. What the real
/// updater never does is left to a program that misbehaves.
class tst_CheckForUpdate : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void onFinished(KOV_RESULT result, CAbstractTask *task)
    {
        m_results << result;
        const auto *check = qobject_cast<Check *>(task);
        m_found = check && check->getUpdateInfo() ? *check->getUpdateInfo() : CProductUpdateInfo();
    }

private Q_SLOTS:
    void initTestCase()
    {
        ignoreOffscreenWarnings();
        ignoreReplacedAnswers();
        KovGui::init(KAM_CONSOLE);
        KovGui::setLogVerbosity(2);
        for (const QMetaObject *policy :
             {&CMessageBoxBuilder::staticMetaObject, &CSearchParentHelper::staticMetaObject,
              &CMessageProcessor::staticMetaObject})
            KovGui::staticMetaObjectHash()[QLatin1String(policy->className())] = policy;
        KovGui::staticMetaObjectHash()[QStringLiteral("CMessageDataProvider")]
            = &AnsweringProvider::staticMetaObject;
        registerUpdateTypes();
        connect(CMessageManager::instance(), &CMessageManager::aboutToShowMessage, this,
                [this](const Messaging::MessageData &data, QWidget *, CMessageBoxWndBase *window) {
                    m_messages << data.code;
                    QVERIFY2(!data.longMsg.isEmpty() && !data.longMsg.contains(QLatin1String("%1")),
                             qPrintable(data.longMsg));
                    m_text = data.longMsg;
                    m_window = window;
                    m_progressBehindMessage |= progressWindow() != nullptr;
                    if (m_closeMessages)
                        QTimer::singleShot(0, window, &QWidget::close);
                });
        qApp->installEventFilter(this);
        writeCatalogue(QStringLiteral("newer"), 31302);
        writeCatalogue(QStringLiteral("current"), 31301);
        QVERIFY2(m_server.start(m_root.path()), qPrintable(m_server.errorString()));
    }

    void init()
    {
        QSettings().clear();
        m_results.clear();
        m_messages.clear();
        m_closeMessages = true;
        m_progressSeen = m_progressBehindMessage = m_cancelSeen = false;
        KovGui::staticMetaObjectHash()[QStringLiteral("CTaskCheckForProductUpdate")]
            = &Check::staticMetaObject;
        useUpdater(UPDATER_PROGRAM);
        UpgradeUtils::setRunUpdaterInAppMode(false);
        QVERIFY(UpgradeUtils::setUpdateServerBase(m_server.url(QStringLiteral("newer"))));
    }

    void cleanup()
    {
        QTRY_VERIFY(qApp->findChildren<QProcess *>().isEmpty());
        QTRY_VERIFY(QApplication::topLevelWidgets().isEmpty());
        QVERIFY(CTaskManager::instance()->getTasksByType(73).isEmpty());
    }

    void outcome_data()
    {
        QTest::addColumn<QByteArray>(
            "updater"); // what goes wrong, or "real", "app", "missing", "custom", "unusable"
        QTest::addColumn<QString>("folder"); // of the catalogue; empty: nobody listens
        QTest::addColumn<int>("options");
        QTest::addColumn<int>("result");
        QTest::addColumn<bool>("told");

        const int background = Check::CheckInBackground;
        const int smart = Check::SmartInstall;
        const int found = KOV_SUCCESS;
        const int none = KOV_NO_UPDATE_AVAILABLE;
        const int unreachable = KOV_ERR_UPDATE_SERVER_NOT_REACHABLE;
        const int failed = KOV_ERR_UPDATER_FAILED;
        const int missing = KOV_ERR_UPDATER_MISSING;
        const auto row = [](const char *updater, const char *folder, int options, int result, bool told) {
            QTest::addRow("%s %s, options %d", updater, folder, options)
                << QByteArray(updater) << QString::fromLatin1(folder) << options << result << told;
        };
        row("real", "newer", 0, found, false);
        row("real", "newer", Check::NoOptions, found, false);
        row("real", "newer", background, found, false);
        row("app", "newer", background, found, false);
        row("custom", "newer", 0, found, false);
        row("custom", "newer", smart, none, false);
        row("real", "current", 0, none, true);
        row("real", "current", background, none, false);
        row("real", "current", smart, none, false);
        row("real", "current", Check::DoNotShowUpToDate, none, false);
        row("real", "", Check::DoNotShowUpToDate, unreachable, true);
        row("real", "", background, unreachable, false);
        row("unusable", "newer", 0, failed, true);
        row("unusable", "newer", background, failed, false);
        row("real", "nowhere", 0, failed, true);
        row("signal 4", "newer", 0, failed, true);
        row("signal 25", "newer", 0, failed, true);
        row("exit 7", "newer", 0, failed, true);
        row("exit 29", "newer", 0, failed, true);
        row("exit 7", "newer", background, failed, false);
        row("exit 7", "newer", smart, failed, false);
        row("exit 0", "newer", 0, failed, true);
        row("flood output", "newer", 0, failed, true);
        row("missing", "newer", 0, missing, true);
        row("missing", "newer", background, missing, false);
        row("missing", "newer", smart, missing, false);
    }

    void outcome()
    {
        QFETCH(QByteArray, updater);
        QFETCH(QString, folder);
        QFETCH(int, options);
        QFETCH(int, result);
        QFETCH(bool, told);
        const QString setting = QStringLiteral("Application preferences/VolumeLicenseUpdatePolicy");
        const QString nobody = QStringLiteral("http://127.0.0.1:%1").arg(NginxServer::freePort());
        QVERIFY(UpgradeUtils::setUpdateServerBase(folder.isEmpty() ? nobody : m_server.url(folder)));
        UpgradeUtils::setRunUpdaterInAppMode(updater == "app");
        if (updater == "missing") {
            useUpdater("/");
        } else if (updater == "custom") {
            QSettings().setValue(setting, UpgradeUtils::defaultCatalogueUrl(0));
            QVERIFY(UpgradeUtils::setUpdateServerBase(m_server.url(QStringLiteral("current"))));
        } else if (updater == "unusable") {
            QSettings().setValue(setting, QStringLiteral("http://me:secret@h/ --config=/x"));
        } else if (updater != "real" && updater != "app") {
            useUpdater(MISBEHAVING_UPDATER, updater.constData());
        }

        const LogCapture log;
        const QPointer<Check> check = start(options);
        QTRY_VERIFY_WITH_TIMEOUT(!check, 30000);
        QCOMPARE(m_results, QList<int>{result});
        QCOMPARE(m_messages, told ? QList<int>{result} : QList<int>());
        QVERIFY(!told || updater != "unusable" || m_text.contains(QLatin1String("cannot be used")));
        QVERIFY(!told || result != KOV_NO_UPDATE_AVAILABLE || m_text.contains(QLatin1String("3.1.4-31301")));
        QVERIFY(!told || updater != "exit 29" || m_text.contains(QLatin1String("not signed")));
        QVERIFY(!told || !updater.startsWith("signal") || m_text.contains(QLatin1String("unexpectedly")));
        QCOMPARE(m_progressSeen, (options & Check::CheckInBackground) == 0);
        QCOMPARE(m_cancelSeen, (options & (Check::CheckInBackground | Check::SmartInstall)) == 0);
        QVERIFY(!m_progressBehindMessage && !log.text().contains("secret"));
        if (result == KOV_SUCCESS) {
            QCOMPARE(m_found.getVersion() + m_found.updateDescription,
                     QStringLiteral("3.1.4-31302Better.\nFaster."));
            QCOMPARE(m_found.download.destinationFileName(), QStringLiteral("Setup-3.1.4.31302.run"));
            QCOMPARE(m_found.download.size, 15360);
        }
    }

    void joinsTheRunningCheckAndCancelsIt()
    {
        useUpdater(MISBEHAVING_UPDATER, "hang");
        const LogCapture log;
        const QPointer<Check> check = start(Check::CheckInBackground);
        QTRY_COMPARE(log.count("Update command : "), 1);
        QCOMPARE(start(Check::CheckInBackground), check.data());
        QVERIFY(!progressWindow() && check->isCheckInBackground());
        QCOMPARE(start(0), check.data());
        QVERIFY(progressWindow() && !check->isCheckInBackground());
        QCOMPARE(progressWindow()->windowTitle(), QStringLiteral("Tessarine Console Update"));
        QTRY_VERIFY(progressWindow()->isActiveWindow());
        QTest::keyClick(progressWindow(), Qt::Key_Escape);
        QTRY_COMPARE(m_results, QList<int>({KOV_ERR_CANCELLED, KOV_ERR_CANCELLED, KOV_ERR_CANCELLED}));
        QVERIFY(m_messages.isEmpty() && !progressWindow());
        QCOMPARE(log.count("A task to check for product updates is already running. Skip another check."), 2);
        QCOMPARE(log.count("Update command : "), 1);
    }

    void openMessageIsRaisedAndGoesWithTheCheck()
    {
        useUpdater(MISBEHAVING_UPDATER, "exit 7");
        m_closeMessages = false;
        const QPointer<Check> check = start(0);
        QTRY_VERIFY(m_window && m_window->isActiveWindow());
        QWidget other;
        other.show();
        other.activateWindow();
        QTRY_VERIFY(other.isActiveWindow());
        QCOMPARE(start(0), check.data());
        QTRY_VERIFY(m_window->isActiveWindow());
        QVERIFY(!progressWindow() && m_results.isEmpty() && m_messages.size() == 1);
        delete check.data();
        QCOMPARE(m_results, QList<int>({KOV_ERR_CANCELLED, KOV_ERR_CANCELLED}));
        QTRY_VERIFY(!m_window);
    }

    void noConnectionIsAskedAbout_data()
    {
        QTest::addColumn<QString>("answer"); // empty: the host's policy answers with the first one
        QTest::addColumn<int>("result");
        QTest::newRow("try again") << QStringLiteral("Try Again") << int(KOV_SUCCESS);
        QTest::newRow("install what is there")
            << QStringLiteral("Install current") << KOV_ERR_UPDATE_SERVER_NOT_REACHABLE;
        QTest::newRow("not asked, so not tried for ever") << QString() << KOV_ERR_UPDATE_SERVER_NOT_REACHABLE;
    }

    void noConnectionIsAskedAbout()
    {
        QFETCH(QString, answer);
        QFETCH(int, result);
        m_closeMessages = false;
        m_server.stop();
        AnsweringProvider::answers = answer.isEmpty();
        const QPointer<Check> check = start(Check::SmartInstall);
        QTRY_VERIFY(answer.isEmpty() ? !check : m_window && m_window->isVisible());
        QCOMPARE(m_messages, answer.isEmpty() ? QList<int>() : QList<int>{KOV_QUESTION_NO_CONNECTION});
        AnsweringProvider::answers = false;
        QVERIFY2(m_server.restart(), qPrintable(m_server.errorString()));
        m_progressSeen = false;
        for (auto *button :
             m_window ? m_window->findChildren<QAbstractButton *>() : QList<QAbstractButton *>()) {
            if (button->text().remove(QLatin1Char('&')) == answer)
                button->click();
        }
        QTRY_COMPARE(m_results, QList<int>{result});
        QCOMPARE(m_progressSeen, result == KOV_SUCCESS);
    }

    void refusedStart()
    {
        const LogCapture log;
        UpgradeUtils::setUpdatesRestricted(true);
        QVERIFY(!start(0));
        UpgradeUtils::setUpdatesRestricted(false);
        KovGui::staticMetaObjectHash()[QStringLiteral("CTaskCheckForProductUpdate")]
            = &CheckWithoutConstructor::staticMetaObject;
        QVERIFY(!start(0) && m_results.isEmpty());
        QTRY_COMPARE(m_results, QList<int>({KOV_ERR_FAILURE, KOV_ERR_FAILURE}));
        QCOMPARE(log.count("In current application mode check for updates not available."), 1);
        QCOMPARE(
            log.count("CheckWithoutConstructor, registered for CTaskCheckForProductUpdate, has no invokable "
                      "constructor"),
            1);
    }

    void proxyThatWantsAPassword()
    {
        SquidServer squid;
        const QString user = QStringLiteral("jo");
        const QString secret = QStringLiteral("s3cr&t word");
        QVERIFY2(squid.start(user.toUtf8(), secret.toUtf8()), squid.errorText().constData());
        const QNetworkProxy proxy(QNetworkProxy::HttpProxy, QStringLiteral("127.0.0.1"), squid.port());
        const auto prefer = [](const char *key, const QVariant &value) {
            QSettings().setValue(QLatin1String("User Preferences/Proxy/") + QLatin1String(key), value);
        };
        const struct
        {
            const char *name;
            int options;
            bool isSaved;
            QStringList typed; // passwords; none: cancelled
            int questions;
            KOV_RESULT result;
        } rows[] = {
            {"saved", Check::CheckInBackground, true, {}, 0, KOV_SUCCESS},
            {"nobody is asked", Check::CheckInBackground, false, {secret}, 0, KOV_ERR_UPDATER_FAILED},
            {"cancelled", 0, false, {}, 1, KOV_ERR_UPDATER_FAILED},
            {"typed again", 0, false, {QStringLiteral("wrong"), secret}, 2, KOV_SUCCESS},
        };
        for (const auto &row : rows) {
            init();
            CProxyAuthenticator::destroy();
            prefer("Proxy Enabled", true);
            prefer("Proxy Http Host", proxy.hostName());
            prefer("Proxy Http Port", QString::number(proxy.port()));
            if (row.isSaved)
                QVERIFY(ProxyAuthUtils::saveProxyCredentials(proxy, user, secret));
            const LogCapture log;
            m_typed = row.typed;
            m_questions = 0;
            const QPointer<Check> check = start(row.options);
            QTRY_VERIFY_WITH_TIMEOUT(!check, 30000);
            QVERIFY2(m_results == QList<int>{row.result} && m_questions == row.questions, row.name);
            QVERIFY2(!log.text().contains("s3cr"), row.name);
        }
    }

private:
    Check *start(int options)
    {
        return Check::start(Check::Options(options),
                            CSlotInfo(this, "onFinished(KOV_RESULT, CAbstractTask*)"));
    }
    static void useUpdater(const char *path, const char *behaviour = "")
    {
        qputenv("MISBEHAVIOUR", behaviour);
        for (const char *mode : {"app", "ctl"})
            KovGui::setUpdaterFilePathAndUpdateMode(QLatin1String(path), QString(), QLatin1String(mode));
    }
    void writeCatalogue(const QString &folder, int build)
    {
        const QString directory = m_root.filePath(folder + QStringLiteral("/console/v3/tessarine"));
        QVERIFY(QDir().mkpath(directory));
        QFile file(directory + QStringLiteral("/tessarine_updates.xml"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(
            "<TessarineUpdates><Product><ProductName>Tessarine Console</ProductName><UpdateEnabled>true"
            "</UpdateEnabled><Version><Major>3</Major><Minor>1</Minor><SubMinor>4</SubMinor><SubSubMinor>"
            + QByteArray::number(build)
            + "</SubSubMinor><StringRepresentation>3.1.4</StringRepresentation><Update><UpdateName>N</UpdateName>"
              "<UpdateDescription>Better.\nFaster.</UpdateDescription><FilePath>Setup-3.1.4.31302.run</FilePath>"
              "<FileSize>15360</FileSize><LocaleName>any</LocaleName><OsType>any</OsType>"
              "<DateTime>2026-01-02 03:04:05</DateTime><DistributorName>T</DistributorName><Chargeable>false"
              "</Chargeable><Status>released</Status></Update></Version></Product></TessarineUpdates>");
        file.close();
        Signature::Statement package = sampleStatement(Signature::Role::Package);
        package.version = {3, 1, 4, 31302};
        package.size = 15360;
        QVERIFY(signSample(file.fileName(), sampleStatement(Signature::Role::Catalogue)));
        QVERIFY(signSample(directory + QStringLiteral("/Setup-3.1.4.31302.run"), package));
    }

    bool eventFilter(QObject *object, QEvent *event) override
    {
        auto *progress = event->type() == QEvent::Show ? qobject_cast<CProgressDialog *>(object) : nullptr;
        m_progressSeen |= progress != nullptr;
        m_cancelSeen |= progress && progress->isCancelButtonVisible();
        if (auto *question
            = event->type() == QEvent::Show ? qobject_cast<CUserAuthDialog *>(object) : nullptr) {
            ++m_questions;
            QTimer::singleShot(0, question, [this, question] {
                if (m_typed.isEmpty()) {
                    question->reject();
                    return;
                }
                question->setUsername(QStringLiteral("jo"));
                question->setPassword(m_typed.takeFirst());
                question->accept();
            });
        }
        return false;
    }

    static CProgressDialog *progressWindow()
    {
        for (QWidget *window : QApplication::topLevelWidgets()) {
            auto *progress = qobject_cast<CProgressDialog *>(window);
            if (progress && progress->isVisible())
                return progress;
        }
        return nullptr;
    }

    QTemporaryDir m_root;
    NginxServer m_server;
    QList<int> m_results;
    CProductUpdateInfo m_found;
    QList<int> m_messages;
    QString m_text;
    QPointer<QWidget> m_window;
    QStringList m_typed;
    int m_questions = 0;
    bool m_closeMessages = true;
    bool m_progressSeen = false;
    bool m_cancelSeen = false;
    bool m_progressBehindMessage = false;
};

KOV_TEST_MAIN(QApplication, tst_CheckForUpdate)
#include "tst_check_for_update.moc"
