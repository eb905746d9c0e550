#include "abstract_task/CTaskManager.h"
#include "gui/KovGui.h"
#include "gui/messages/CMessageBoxBuilder.h"
#include "gui/messages/CMessageManager.h"
#include "gui/messages/CMessageProcessor.h"
#include "gui/messages/CSearchParentHelper.h"
#include "gui/messages/record/CMessageDataProvider.h"
#include "gui/update/UpdateTypes_p.h"
#include "gui/update/install/CTaskInstallProductUpdate.h"
#include "gui/update/record/UpgradeUtils.h"
#include "gui/window/CProgressDialog.h"
#include "tests/support/KovTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/NginxServer.h"
#include "tests/support/OffscreenPlatform.h"

#include <QAbstractButton>
#include <QCryptographicHash>
#include <QProcess>
#include <QSettings>

namespace {

const QByteArray package("the package");
const QString packageName = QStringLiteral("Setup-3.1.5.31502.run");

/// One letter for each thing that is out of the ordinary.
CTaskInstallProductUpdate::TaskParams paramsOf(const QString &letters)
{
    const auto has = [&letters](char letter) { return letters.contains(QLatin1Char(letter)); };
    return {has('a'), has('b'), has('c'), has('s')};
}

void write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly) && file.write(content) == content.size(), qPrintable(path));
}

} // namespace

class Install : public CTaskInstallProductUpdate
{
    Q_OBJECT

public:
    using CTaskInstallProductUpdate::CTaskInstallProductUpdate;
    QStringList criticalApps() const override { return apps; }
    static inline QStringList apps;
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

/// The installation as its user sees it: every window that appears is recorded and answered from a script.
class tst_InstallTask : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ignoreOffscreenWarnings();
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
                [this](const Messaging::MessageData &data) {
                    m_windows << QString::number(uint(data.code), 16);
                    m_text = data.longMsg;
                });
        qApp->installEventFilter(this);
        write(m_root.filePath(packageName), package);
        QVERIFY2(m_server.start(m_root.path()), qPrintable(m_server.errorString()));
    }

    void init()
    {
        QSettings().clear();
        m_directory = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir().mkpath(folder()));
        m_script.clear();
        m_windows.clear();
        m_text.clear();
        Install::apps.clear();
    }

    void cleanup()
    {
        QTRY_VERIFY(qApp->findChildren<QProcess *>().isEmpty());
        QTRY_VERIFY(QApplication::topLevelWidgets().isEmpty());
        QVERIFY(CTaskManager::instance()->getTasksByType(63).isEmpty());
    }

    void outcome()
    {
        using Task = CTaskInstallProductUpdate;
        const int done = KOV_SUCCESS;
        const int no = KOV_ERR_CANCELLED;
        const int failed = KOV_ERR_UPDATE_INSTALLATION_FAILED;
        const char *const error = "CUpdateDialog,CProgressDialog,80015351";
        const struct
        {
            // As of paramsOf(); p the package is there, q not asked at start, d no digest, n nothing at the
            // address, m no updater, x damaged
            const char *letters;
            const char *updater;
            const char *script; // the buttons that the user presses, in order
            const char *windows; // what the user sees, in order; messages by their code
            int result, choice;
            const char *text = ""; // part of the last message
        } rows[] = {
            {"p", "exit 0", "Install Update", "CUpdateDialog,CProgressDialog", done, Task::InstallNow},
            {"ap", "exit 0", "Install Update", "CUpdateDialog", done, Task::InstallNow},
            {"apq", "exit 0", "", "", done, Task::NotAsked},
            {"p", "exit 0", "Remind Me Later", "CUpdateDialog", no, Task::Postpone},
            {"p", "exit 0", "(close)", "CUpdateDialog", no, Task::Postpone},
            {"c", "exit 0", "Skip This Version", "CUpdateDialog", no, Task::Skip},
            {"c", "exit 0", "Download Update,Install",
             "CUpdateDialog,CDownloadProgressDialog,CConfirmUpdateInstallationDialog,CProgressDialog", done,
             Task::InstallNow},
            {"cp", "exit 0", "Install Update", "CUpdateDialog,CProgressDialog", done, Task::InstallNow},
            {"", "exit 0", "Don't Install", "CDownloadProgressDialog,CConfirmUpdateInstallationDialog", no,
             Task::Skip},
            {"b", "exit 0", "Install Update", "CUpdateDialog,CProgressDialog", done, Task::InstallNow},
            {"bn", "exit 0", "", "", KOV_ERR_FAILURE, Task::NotAsked},
            {"d", "exit 0", "OK", "80015351", KOV_ERR_FAILURE, Task::NotAsked, "verify"},
            {"a", "exit 0", "", "CDownloadProgressDialog", done, Task::NotAsked}, // the package has gone
            {"pd", "exit 0", "Install Update,OK", "CUpdateDialog,80015351", KOV_ERR_FAILURE, Task::InstallNow,
             "verify"},
            {"px", "exit 0", "Install Update,Cancel", "CUpdateDialog,3c00", KOV_ERR_FAILURE, Task::InstallNow,
             "Setup-3.1.5.31502.run"},
            {"px", "exit 0", "Install Update,Try Again",
             "CUpdateDialog,3c00,CDownloadProgressDialog,CProgressDialog", done, Task::InstallNow},
            {"p", "exit 10", "Install Update,Cancel", error, failed, Task::InstallNow, "by hand"},
            {"p", "exit 11", "Install Update,Cancel", error, failed, Task::InstallNow, "is wrong"},
            {"p", "exit 17", "Install Update,Cancel", error, failed, Task::InstallNow, "no signature"},
            {"p", "exit 77", "Install Update,Cancel", error, failed, Task::InstallNow, "error 77"},
            {"p", "signal 9", "Install Update,Cancel", error, failed, Task::InstallNow, "unexpectedly"},
            {"p", "exit 14", "Install Update,Try Again,Cancel",
             "CUpdateDialog,CProgressDialog,80015351,CProgressDialog,80015351", failed, Task::InstallNow,
             "space"},
            {"pm", "exit 0", "Install Update,OK", "CUpdateDialog,80015206", KOV_ERR_UPDATER_MISSING,
             Task::InstallNow},
            {"s", "exit 0", "Download and Install Update",
             "CUpdateDialog,CDownloadProgressDialog,CProgressDialog", done, Task::InstallNow},
            {"sp", "exit 0", "(close),No,(close),Yes", "CUpdateDialog,3c09,CUpdateDialog,3c09", no,
             Task::Cancel},
        };
        for (const auto &row : rows) {
            init();
            const QByteArray name = QByteArray(row.letters) + ", " + row.updater + ", " + row.script + ": ";
            const auto is = [&row](char letter) { return strchr(row.letters, letter) != nullptr; };
            useUpdater(row.updater, is('m'));
            if (is('p'))
                write(path(), is('x') ? QByteArray("the Package") : package);
            m_script = QString::fromLatin1(row.script).split(QLatin1Char(','), Qt::SkipEmptyParts);
            const LogCapture log;
            {
                Install task(info(QLatin1String(row.letters)), paramsOf(QLatin1String(row.letters)));
                task.setConfirmInstall(!is('q'));
                QSignalSpy finished(&task, &CAbstractTask::taskFinished);
                task.execute();
                QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 30000);
                QCOMPARE(name + m_windows.join(QLatin1Char(',')).toLatin1(), name + row.windows);
                QCOMPARE(name + QByteArray::number(task.getResult()), name + QByteArray::number(row.result));
                QCOMPARE(name + QByteArray::number(task.userChoice()), name + QByteArray::number(row.choice));
            }
            QVERIFY2(m_text.contains(QLatin1String(row.text)) && !m_text.contains(QLatin1String("%1")),
                     qPrintable(m_text));
            QVERIFY2(m_script.isEmpty() && !UpgradeUtils::isDownloadingUpdateInBackground(),
                     name.constData());
            QVERIFY2(!is('x') || QFile::exists(path()) == (row.result == done), name.constData());
            const bool ran = row.result == done || row.result == failed;
            QCOMPARE(log.count("Update install command: ") > 0, ran);
            // The application may be gone when the updater ends.
            QCOMPARE(QSettings().value(QStringLiteral("ProductUpdate/UpdateToVersion")).toString(),
                     ran ? QStringLiteral("3.1.5-31502") : QString());
            cleanup();
        }
    }

    void aRunningInstallationIsNotCut()
    {
        const QString signal = m_directory->filePath(QStringLiteral("go on"));
        useUpdater("install until " + signal.toLocal8Bit());
        write(path(), package);
        Install task(info(), paramsOf(QString()));
        QSignalSpy finished(&task, &CAbstractTask::taskFinished);
        task.execute();
        QTRY_COMPARE(m_windows.size(), 1);
        QCoreApplication::processEvents();
        // Started when the list of steps was made already.
        Install::apps << QStringLiteral("Editor <1>") << QStringLiteral("Viewer");
        m_script << QStringLiteral("Try Again");
        for (QWidget *window : QApplication::topLevelWidgets())
            QMetaObject::invokeMethod(window, "onInstallNowClicked");
        CProgressDialog *progress = nullptr;
        const auto isShown = [&progress] {
            for (QWidget *window : QApplication::topLevelWidgets())
                progress = progress ? progress : qobject_cast<CProgressDialog *>(window);
            return progress != nullptr;
        };
        QTRY_VERIFY(isShown());
        QVERIFY2(m_text.contains(QLatin1String("Editor &lt;1&gt;"))
                     && m_text.contains(QLatin1String("Viewer")),
                 qPrintable(m_text));
        QTRY_COMPARE(progress->value(), 42);
        QVERIFY(!progress->isCancelButtonVisible());
        const auto *bar = progress->findChild<QWidget *>(QStringLiteral("m_prbProgress"));
        QVERIFY(progress->height() - bar->geometry().bottom() < bar->height()); // no room for buttons
        QCOMPARE(progress->windowTitle(), KovGui::getAppGuiName());
        QVERIFY(progress->labelText().contains(KovGui::getAppGuiName()));
        task.terminate(KOV_ERR_CANCELLED);
        QTest::qWait(50);
        QVERIFY(!task.isFinished() && progress->isVisible());
        write(signal, "x");
        QTRY_COMPARE(finished.size(), 1);
        QCOMPARE(task.getResult(), KOV_ERR_CANCELLED);
        QFile arguments(signal + QLatin1String(".arguments"));
        QVERIFY(arguments.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromLocal8Bit(arguments.readAll()),
                 QStringLiteral("--update|install|--file|") + path()
                     + QStringLiteral("|--not-check-postinstall|"));
    }

    void aDeletedTaskLeavesNothing()
    {
        useUpdater("exit 14");
        write(path(), package);
        for (const int windows : {1, 3}) {
            m_windows.clear();
            m_script = windows == 1 ? QStringList{} : QStringList{QStringLiteral("Install Update")};
            auto task = std::make_unique<Install>(info(), paramsOf(QString()));
            QSignalSpy finished(task.get(), &CAbstractTask::taskFinished);
            task->execute();
            QTRY_COMPARE(m_windows.size(), windows);
            task.reset();
            QCOMPARE(finished.value(0).value(0).toInt(), KOV_ERR_CANCELLED);
            QTRY_VERIFY(QApplication::topLevelWidgets().isEmpty());
        }
    }

    void questionsAnsweredByPolicyDoNotRepeat()
    {
        AnsweringProvider::answers = true;
        for (const char *letters : {"x", "k", ""}) {
            useUpdater("exit 14");
            write(path(), *letters == 'x' ? QByteArray("the Package") : package);
            if (*letters == 'k')
                Install::apps << QStringLiteral("Editor");
            m_script << QStringLiteral("Install Update");
            Install task(info(), paramsOf(QLatin1String("a")));
            QSignalSpy finished(&task, &CAbstractTask::taskFinished);
            task.execute();
            QTRY_COMPARE(finished.size(), 1);
            QVERIFY(KOV_FAILED(task.getResult()));
        }
        AnsweringProvider::answers = false;
    }

    void onlyStalePackagesAreRemoved()
    {
        const QStringList stale{QStringLiteral("Set+up-3.1.4.31301.tar.gz"),
                                QStringLiteral("Set+up-9.0.0-1.tar.gz"),
                                QStringLiteral("Set+up-3.1.4.31301.tar.gz.kovupd-part"),
                                QStringLiteral("Set+up-3.1.4.31301.tar.gz.kovupd-info")};
        const QString current = QStringLiteral("Set+up-3.1.5.31502.tar.gz");
        QStringList kept{current,
                         current + QLatin1String(".kovupd-part"),
                         current + QLatin1String(".kovupd-info"),
                         QStringLiteral("Settup-3.1.4.31301.tar.gz"),
                         QStringLiteral("My Set+up-3.1.4.31301.tar.gz"),
                         QStringLiteral("Set+up-3.1.4.31301.tar.gz.sig"),
                         QStringLiteral("Set+up-3.1.4.31301.tar_gz"),
                         QStringLiteral("Set+up-3.1.4.31301.zip"),
                         QStringLiteral("Set+up-3.1.4.tar.gz"),
                         QStringLiteral("Set+up-3.1.4.31301 (1).tar.gz"),
                         QStringLiteral("Set+up-notes.tar.gz"),
                         QStringLiteral("set+up-3.1.4.31301.tar.gz"),
                         QStringLiteral("thesis.tar.gz")};
        for (const QString &name : stale + kept)
            write(folder() + QLatin1Char('/') + name, "x");
        const QDir directory(folder());
        QVERIFY(directory.mkpath(QStringLiteral("Set+up-1.0.0.1.tar.gz")));
        QVERIFY(QFile::link(directory.filePath(QStringLiteral("thesis.tar.gz")),
                            directory.filePath(QStringLiteral("Set+up-1.0.0.2.tar.gz"))));
        kept << QStringLiteral("Set+up-1.0.0.1.tar.gz") << QStringLiteral("Set+up-1.0.0.2.tar.gz");
        kept.sort();

        const auto run = [this](const QString &name) {
            m_script << QStringLiteral("(close)");
            CProductUpdateInfo update = info();
            update.download.url = m_server.url(name);
            Install task(update, paramsOf(QStringLiteral("ac")));
            task.execute();
            return QTest::qWaitFor([&task] { return task.isFinished(); });
        };
        const LogCapture log;
        write(folder() + QStringLiteral("/thesis-4.run"), "x");
        QVERIFY(run(QStringLiteral("thesis-4.run")) && run(QStringLiteral("thesis.tar.gz")));
        QCOMPARE(log.count("Remove unneeded update"), 0);
        QVERIFY(QFile::remove(folder() + QStringLiteral("/thesis-4.run")));
        QVERIFY(run(current));
        QCOMPARE(log.count("Remove unneeded update"), stale.size());
        QStringList left = directory.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
        left.sort();
        QCOMPARE(left, kept);
    }

    void privateFolder()
    {
        CProductUpdateInfo update = info();
        update.download.destinationDirectory.clear();
        const QString expected = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation)
                                 + QLatin1String("/updates");
        const QString there = Install(update, paramsOf(QString())).updateInfo().download.destinationDirectory;
        QCOMPARE(there, expected);
        QCOMPARE(int(QFile::permissions(there) & (QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther)), 0);

        QVERIFY(QDir().rmdir(there) && QFile::link(folder(), there));
        const LogCapture log;
        Install refused(update, paramsOf(QString()));
        QCOMPARE(refused.getInstallationPath(), QString());
        refused.execute();
        QTRY_VERIFY(refused.isFinished());
        QCOMPARE(refused.getResult(), KOV_ERR_FAILURE);
        QVERIFY(log.count("cannot be used") == 1 && m_windows.isEmpty());
        QVERIFY(QFile::remove(there));
    }

private:
    CProductUpdateInfo info(const QString &letters = QString()) const;
    QString folder() const { return m_directory->filePath(QStringLiteral("up \"da\" te")); }
    QString path() const { return folder() + QLatin1Char('/') + packageName; }
    /// The download utility and the updater are set by one key, so one program stands for both.
    void useUpdater(const QByteArray &behaviour, bool missing = false)
    {
        qputenv("MISBEHAVIOUR", behaviour);
        const QString program = m_directory->filePath(QStringLiteral("both"));
        write(program, "#!/bin/sh\ncase \"$1\" in --update) exec '" MISBEHAVING_UPDATER
                       "' \"$@\";; *) exec '" DOWNLOAD_UTILITY "' \"$@\";; esac\n");
        QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        KovGui::setUpdaterFilePathAndUpdateMode(missing ? QStringLiteral("/no/such/updater") : program,
                                                QString(), QStringLiteral("ctl"));
    }

    bool eventFilter(QObject *object, QEvent *event) override
    {
        auto *window = event->type() == QEvent::Show ? qobject_cast<CBaseDialog *>(object) : nullptr;
        if (!window)
            return false;
        const QString name = QString::fromLatin1(window->metaObject()->className());
        if (name != QLatin1String("CMessageBox"))
            m_windows << name;
        if (!name.endsWith(QLatin1String("ProgressDialog")))
            QTimer::singleShot(0, window, [this, window] { answer(window); });
        return false;
    }

    void answer(QWidget *window)
    {
        const QString text = m_script.isEmpty() ? QString() : m_script.takeFirst();
        if (text.isEmpty() || text == QLatin1String("(close)")) {
            if (!text.isEmpty())
                window->close();
            return;
        }
        for (auto *button : window->findChildren<QAbstractButton *>()) {
            if (button->isVisible() && button->text().remove(QLatin1Char('&')) == text) {
                Install::apps.clear();
                button->click();
                return;
            }
        }
        QFAIL(qPrintable(QStringLiteral("no button ") + text));
    }

    QTemporaryDir m_root;
    NginxServer m_server;
    std::unique_ptr<QTemporaryDir> m_directory;
    QStringList m_script;
    QStringList m_windows;
    QString m_text;
};

KOV_TEST_MAIN(QApplication, tst_InstallTask)
#include "tst_install_task.moc"

CProductUpdateInfo tst_InstallTask::info(const QString &letters) const
{
    CProductUpdateInfo info;
    const bool nowhere = letters.contains(QLatin1Char('n'));
    info.transactionId = QStringLiteral("-3.1.5-31502");
    info.download.url = m_server.url((nowhere ? QStringLiteral("nowhere/") : QString()) + packageName);
    info.download.destinationDirectory = folder();
    info.download.size = package.size();
    if (!letters.contains(QLatin1Char('d')))
        info.download.md5 = QString::fromLatin1(
            QCryptographicHash::hash(package, QCryptographicHash::Md5).toHex().toUpper());
    return info;
}
