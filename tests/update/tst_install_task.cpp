#include "gui/update/install/CTaskInstallProductUpdate.h"
#include "tests/support/System.h"
#include "tests/update/UpdateFixture.h"

using Task = CTaskInstallProductUpdate;

namespace {

const QByteArray package("the package");
const QString packageName = "Setup-3.1.5.31502.run";

} // namespace

class Install : public CTaskInstallProductUpdate
{
    Q_OBJECT

public:
    using CTaskInstallProductUpdate::CTaskInstallProductUpdate;
    QStringList criticalApps() const override { return apps; }
    static inline QStringList apps;
    static inline QString updater;

protected:
    KOV_RESULT performSubTask() override
    {
        // The download utility and the updater are set by one key.
        const QString program = getCurrentSubTask() == DownloadUpdate ? DOWNLOAD_UTILITY : updater;
        KovGui::setUpdaterFilePathAndUpdateMode(program, QString(), "ctl");
        return CTaskInstallProductUpdate::performSubTask();
    }
};

/// The installation as its user sees it: every window that appears is answered from a script.
class tst_InstallTask : public UpdateFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        UpdateFixture::initTestCase();
        QVERIFY(writeFile(m_root.filePath(packageName), package));
    }

    void init()
    {
        QSettings().clear();
        m_directory = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir().mkpath(folder()));
        Install::apps.clear();
    }

    void outcome_data()
    {
        // As of params(); p the package is there, q not asked at start, d no digest, n nothing at the
        // address, m no updater, x damaged. What the updater does, the windows, the result, the user's
        // choice, and part of the last message.
        Table<QString, QString, QString, int, int, QString> table;
        const auto row = [&table](const char *letters, const char *updater, const QString &windows,
                                  int result, int choice, const char *text = "") {
            table(QByteArray(letters) + ", " + updater + ", " + windows.toUtf8(), letters, updater, windows,
                  result, choice, text);
        };
        const int done = KOV_SUCCESS;
        const int no = KOV_ERR_CANCELLED;
        const int failed = KOV_ERR_UPDATE_INSTALLATION_FAILED;
        const QString now = "CUpdateDialog m_pbInstall";
        const QString install = now + "; CProgressDialog";
        const QString error = "; CMessageBox:80015351 m_pbButton";
        row("p", "exit 0", install, done, Task::InstallNow);
        row("ap", "exit 0", now, done, Task::InstallNow);
        row("apq", "exit 0", "", done, Task::NotAsked);
        row("p", "exit 0", "CUpdateDialog m_pbPostpone", no, Task::Postpone);
        row("p", "exit 0", "CUpdateDialog close", no, Task::Postpone);
        row("p", "exit 0", "CUpdateDialog delete", no, Task::Postpone);
        row("c", "exit 0", "CUpdateDialog m_pbSkipVersion", no, Task::Skip);
        row("c", "exit 0",
            now + "; CDownloadProgressDialog; CConfirmUpdateInstallationDialog m_pbInstall; CProgressDialog",
            done, Task::InstallNow);
        row("cp", "exit 0", install, done, Task::InstallNow);
        row("", "exit 0", "CDownloadProgressDialog; CConfirmUpdateInstallationDialog m_pbCancel", no,
            Task::Skip);
        row("b", "exit 0", install, done, Task::InstallNow);
        row("bn", "exit 0", "", KOV_ERR_FAILURE, Task::NotAsked);
        row("d", "exit 0", error.mid(2) + '1', KOV_ERR_FAILURE, Task::NotAsked, "verify");
        row("a", "exit 0", "CDownloadProgressDialog", done, Task::NotAsked); // the package has gone
        row("pd", "exit 0", now + error + '1', KOV_ERR_FAILURE, Task::InstallNow, "verify");
        row("px", "exit 0", now + "; CMessageBox:3c00 m_pbButton2", KOV_ERR_FAILURE, Task::InstallNow,
            "Setup-3.1.5.31502.run");
        row("px", "exit 0", now + "; CMessageBox:3c00 m_pbButton1; CDownloadProgressDialog; CProgressDialog",
            done, Task::InstallNow);
        row("p", "exit 10", install + error + '2', failed, Task::InstallNow, "by hand");
        row("p", "exit 11", install + error + '2', failed, Task::InstallNow, "is wrong");
        row("p", "exit 17", install + error + '2', failed, Task::InstallNow, "no signature");
        row("p", "exit 77", install + error + '2', failed, Task::InstallNow, "error 77");
        row("p", "crash 9", install + error + '2', failed, Task::InstallNow, "unexpectedly");
        row("p", "exit 14", install + error + "1; CProgressDialog" + error + '2', failed, Task::InstallNow,
            "space");
        row("pm", "exit 0", now + "; CMessageBox:80015206 m_pbButton1", KOV_ERR_UPDATER_MISSING,
            Task::InstallNow);
        row("s", "exit 0", now + "; CDownloadProgressDialog; CProgressDialog", done, Task::InstallNow);
        row("sp", "exit 0",
            "CUpdateDialog close; CMessageBox:3c09 m_pbButton2; CUpdateDialog close; "
            "CMessageBox:3c09 m_pbButton1",
            no, Task::Cancel);
    }

    void outcome()
    {
        const auto [letters, updater, windows, result, choice, text]
            = cells<QString, QString, QString, int, int, QString>();
        const bool isDamaged = letters.contains('x');
        useUpdater(updater, letters.contains('m'));
        if (letters.contains('p'))
            QVERIFY(writeFile(path(), isDamaged ? "the Package" : package));
        const LogCapture log;
        const DialogScript script(windows);
        Install task(info(letters), params(letters));
        task.setConfirmInstall(!letters.contains('q'));
        QSignalSpy finished(&task, &CAbstractTask::taskFinished);
        task.execute();
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 30000);
        QCOMPARE(script.shown(), script.text());
        QCOMPARE(task.getResult(), result);
        QCOMPARE(int(task.userChoice()), choice);
        QVERIFY2(m_text.contains(text), qPrintable(m_text));
        QVERIFY(!UpgradeUtils::isDownloadingUpdateInBackground());
        QVERIFY(!isDamaged || QFile::exists(path()) == (result == KOV_SUCCESS));
        const bool ran = result == KOV_SUCCESS || result == KOV_ERR_UPDATE_INSTALLATION_FAILED;
        QCOMPARE(log.count("Update install command: ") > 0, ran);
        // The application may be gone when the updater ends.
        QCOMPARE(QSettings().value("ProductUpdate/UpdateToVersion").toString(), ran ? "3.1.5-31502" : "");
    }

    void aRunningInstallationIsNotCut()
    {
        const QString signal = m_directory->filePath("go on");
        qputenv("RUNS", signal.toUtf8() + ".runs");
        useUpdater("print installer:%42\n|; wait " + signal);
        QVERIFY(writeFile(path(), package));
        const DialogScript script("CUpdateDialog; CMessageBox:3c08; CProgressDialog");
        Install task(info(), params());
        QSignalSpy finished(&task, &CAbstractTask::taskFinished);
        task.execute();
        QTRY_COMPARE(script.shown(), "CUpdateDialog");
        // Started when the list of steps was made already.
        Install::apps << "Editor <1>"
                      << "Viewer";
        for (QWidget *window : QApplication::topLevelWidgets())
            QMetaObject::invokeMethod(window, "onInstallNowClicked");
        QTRY_COMPARE(script.shown(), "CUpdateDialog; CMessageBox:3c08");
        QVERIFY2(m_text.contains("Editor &lt;1&gt;") && m_text.contains("Viewer"), qPrintable(m_text));
        Install::apps.clear();
        m_message->findChild<QAbstractButton *>("m_pbButton1")->click();
        QTRY_VERIFY(progressWindow());
        const CProgressDialog *progress = progressWindow();
        QTRY_COMPARE(progress->value(), 42);
        QVERIFY(!progress->isCancelButtonVisible());
        const auto *bar = progress->findChild<QWidget *>("m_prbProgress");
        QVERIFY(progress->height() - bar->geometry().bottom() < bar->height()); // no room for buttons
        QCOMPARE(progress->windowTitle(), KovGui::getAppGuiName());
        QVERIFY(progress->labelText().contains(KovGui::getAppGuiName()));
        task.terminate(KOV_ERR_CANCELLED);
        QTest::qWait(50);
        QVERIFY(!task.isFinished() && progress->isVisible());
        QVERIFY(writeFile(signal, "x"));
        QTRY_COMPARE(finished.size(), 1);
        QCOMPARE(task.getResult(), KOV_ERR_CANCELLED);
        QCOMPARE(script.shown(), script.text());
        const QByteArray run = fileContent(signal + ".runs");
        QCOMPARE(run.mid(run.indexOf('|')),
                 "|--update|install|--file|" + path().toUtf8() + "|--not-check-postinstall|\n");
    }

    void aDeletedTaskLeavesNothing()
    {
        useUpdater("exit 14");
        QVERIFY(writeFile(path(), package));
        for (const char *windows :
             {"CUpdateDialog", "CUpdateDialog m_pbInstall; CProgressDialog; CMessageBox:80015351"}) {
            const DialogScript script(windows);
            auto task = std::make_unique<Install>(info(), params());
            QSignalSpy finished(task.get(), &CAbstractTask::taskFinished);
            task->execute();
            QTRY_VERIFY(script.isDone());
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
            QVERIFY(writeFile(path(), *letters == 'x' ? "the Package" : package));
            if (*letters == 'k')
                Install::apps << "Editor";
            const DialogScript script("CUpdateDialog m_pbInstall", {"CDownloadProgressDialog"});
            Install task(info(), params("a"));
            QSignalSpy finished(&task, &CAbstractTask::taskFinished);
            task.execute();
            QTRY_COMPARE(finished.size(), 1);
            QVERIFY(KOV_FAILED(task.getResult()));
            QCOMPARE(script.shown(), script.text());
        }
    }

    void onlyStalePackagesAreRemoved()
    {
        const QString old = "Set+up-3.1.4.31301.tar.gz";
        const QString current = "Set+up-3.1.5.31502.tar.gz";
        const QStringList stale{old, "Set+up-9.0.0-1.tar.gz", old + ".kovupd-part", old + ".kovupd-info"};
        QStringList kept
            = QString(
                  "Settup-3.1.4.31301.tar.gz|My Set+up-3.1.4.31301.tar.gz|Set+up-3.1.4.31301.tar.gz.sig|"
                  "Set+up-3.1.4.31301.tar_gz|Set+up-3.1.4.31301.zip|Set+up-3.1.4.tar.gz|Set+up-notes.tar.gz|"
                  "Set+up-3.1.4.31301 (1).tar.gz|set+up-3.1.4.31301.tar.gz|thesis.tar.gz")
                  .split('|');
        if (!System::hasModes)
            kept.removeOne(old.toLower()); // the same file there
        kept << current << current + ".kovupd-part" << current + ".kovupd-info";
        const QDir directory(folder());
        for (const QString &name : stale + kept)
            QVERIFY(writeFile(directory.filePath(name), "x"));
        QVERIFY(directory.mkpath("Set+up-1.0.0.1.tar.gz"));
        kept << "Set+up-1.0.0.1.tar.gz";
        if (System::makeSymbolicLink(directory.filePath("thesis.tar.gz"),
                                     directory.filePath("Set+up-1.0.0.2.tar.gz")))
            kept << "Set+up-1.0.0.2.tar.gz";
        kept.sort();

        const auto run = [this](const QString &name) {
            const DialogScript script("CUpdateDialog close");
            CProductUpdateInfo update = info();
            update.download.url = m_server.url(name);
            Install task(update, params("ac"));
            task.execute();
            return QTest::qWaitFor([&task] { return task.isFinished(); });
        };
        const LogCapture log;
        QVERIFY(writeFile(directory.filePath("thesis-4.run"), "x"));
        QVERIFY(run("thesis-4.run") && run("thesis.tar.gz"));
        QCOMPARE(log.count("Remove unneeded update"), 0);
        QVERIFY(QFile::remove(directory.filePath("thesis-4.run")));
        QVERIFY(run(current));
        QStringList left = directory.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
        left.sort();
        QCOMPARE(left, kept);
    }

    void privateFolder()
    {
        CProductUpdateInfo update = info();
        update.download.destinationDirectory.clear();
        const QString there = Install(update, params()).updateInfo().download.destinationDirectory;
        QCOMPARE(there, QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation) + "/updates");
        const auto others = QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther;
        QVERIFY(!System::hasModes || (QFile::permissions(there) & others) == 0);

        QVERIFY(QDir().rmdir(there));
        if (!System::makeSymbolicLink(folder(), there))
            QSKIP("This system makes no links.");
        const LogCapture log;
        const DialogScript script("");
        Install refused(update, params());
        QCOMPARE(refused.getInstallationPath(), QString());
        refused.execute();
        QTRY_VERIFY(refused.isFinished());
        QCOMPARE(refused.getResult(), KOV_ERR_FAILURE);
        QCOMPARE(log.count("cannot be used"), 1);
        QCOMPARE(script.shown(), "");
        QVERIFY(QFile::remove(there));
    }

private:
    CProductUpdateInfo info(const QString &letters = QString()) const
    {
        CProductUpdateInfo info;
        info.transactionId = "-3.1.5-31502";
        info.download.url = m_server.url((letters.contains('n') ? "nowhere/" : "") + packageName);
        info.download.destinationDirectory = folder();
        info.download.size = package.size();
        if (!letters.contains('d'))
            info.download.md5 = QCryptographicHash::hash(package, QCryptographicHash::Md5).toHex().toUpper();
        return info;
    }
    /// One letter for each thing that is out of the ordinary.
    static Task::TaskParams params(const QString &letters = QString())
    {
        return {letters.contains('a'), letters.contains('b'), letters.contains('c'), letters.contains('s')};
    }
    /// Where the system has names with quotation marks, it is one.
    QString folder() const { return m_directory->filePath(System::hasModes ? "up \"da\" te" : "up da te"); }
    QString path() const { return folder() + '/' + packageName; }
    void useUpdater(const QString &behaviour, bool isMissing = false)
    {
        qputenv("MISBEHAVIOUR", behaviour.toUtf8());
        Install::updater = isMissing ? "/no/such/updater" : MISBEHAVING_PROGRAM;
    }

    std::unique_ptr<QTemporaryDir> m_directory;
};

KOV_TEST_MAIN(QApplication, tst_InstallTask)
#include "tst_install_task.moc"
