#include "gui/messages/CMessageManager.h"
#include "gui/tasks/download/CDownloadProgressDialog.h"
#include "gui/tasks/download/CTaskInteractiveDownload.h"
#include "kov_sdk/KovSdk.h"
#include "tests/support/AnsweringProvider.h"
#include "tests/support/Files.h"
#include "tests/support/LogCapture.h"
#include "tests/support/NginxServer.h"
#include "tests/support/OffscreenPlatform.h"
#include "tests/support/Policies.h"
#include "tests/support/System.h"
#include "tests/support/TestServer.h"
#include "tests/tasks/DownloadFixture.h"

#include <QLabel>
#include <QMainWindow>
#include <QProgressBar>
#include <QPushButton>
#include <QWindow>

using Task = CTaskInteractiveDownload;

/// The task with the real utility and the real messages.
class tst_InteractiveDownload : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ignoreOffscreenWarnings();
        KovGui::init(KAM_CONSOLE);
        KovGui::setLogVerbosity(2);
        registerPolicy<CMessageDataProvider, AnsweringProvider>();
        ChosenProxy::install();
        QCOMPARE(KovApi_LoadMessageCatalogue(MESSAGES), KOV_SUCCESS);
        connect(CMessageManager::instance(), &CMessageManager::aboutToShowMessage, this,
                [this](const Messaging::MessageData &data, QWidget *, CMessageBoxWndBase *window) {
                    answer(window, data.code);
                });
    }

    void init()
    {
        KovGui::setUpdaterFilePathAndUpdateMode(QStringLiteral(DOWNLOAD_UTILITY), QString(), "ctl");
        m_folder = std::make_unique<QTemporaryDir>();
        m_server = std::make_unique<TestServer>(
            [this](const TestServer::Request &request) { return serve(request); });
        m_behaviour.clear();
        m_checksum = m_digest.toLatin1() + "  file.bin\n";
        m_pieceSize = 0;
        m_answers.clear();
        m_questions.clear();
        m_isDialogSeen = false;
    }

    void cleanup()
    {
        QTRY_VERIFY(QApplication::topLevelWidgets().isEmpty());
        QTRY_VERIFY(QCoreApplication::instance()->findChildren<CDownloadThread *>().isEmpty());
    }

    void outcomes_data()
    {
        // checksum: at the server; "*": the right one; digest: given; "*": the right one; existing: none,
        // right, wrong; answers: "quiet": in the background, and may not ask; outcome: result, questions,
        // file, transfers
        Table<QByteArray, QByteArray, QString, QString, QString, QString> row;

        const char *const words = "0123456789abcdef";
        row("digest given", "", "", "*", "none", "", "0  right 1");
        row("in the background", "", "*", "", "none", "quiet", "0  right 1");
        row("digest fetched late", "checksum comes late", "*", "", "none", "1", "0 f right 1");
        row("no digest", "", "", "", "none", "2", "80000009 f none 0");
        row("no digest, window closed", "", "", "", "none", "0", "80000009 f none 0");
        row("half a digest", "", words, "", "none", "quiet", "80000009  none 0");
        row("a web page", "", "<html>0123456789abcdef0123456789abcdef</html>", "", "right", "2",
            "80000009 f right 0");
        row("a large file", "", QByteArray(200000, ' ').append("*").constData(), "", "none", "quiet",
            "80000009  none 0");
        row("no digest that was given", "", "*", words, "wrong", "1", "80000009  wrong 0");
        row("here already", "", "", "*", "right", "", "0  right 0");
        row("here already, digest fetched", "", "*", "", "right", "quiet", "0  right 0");
        row("damaged here, again", "", "", "*", "wrong", "1", "0 e right 1");
        row("damaged here, kept", "", "", "*", "wrong", "2", "80000009 e wrong 0");
        row("damaged here, put aside", "", "", "*", "wrong", "quiet", "0  right 1");
        row("damaged in the application's folder", "own folder", "", "*", "wrong", "quiet", "0  right 1");
        row("damaged on its way, again", "damages once", "*", "", "none", "1", "0 d right 2");
        row("damaged on its way, no more", "damages once", "", "*", "none", "2", "80000009 d none 1");
        row("damaged on its way, quietly", "damages once", "", "*", "none", "quiet", "80000009  none 1");
        row("no HEAD", "no HEAD", "", "*", "none", "", "0  right 1");
        row("HEAD fails once", "fails once", "", "*", "none", "1", "0 f right 1");
        row("file gone", "gone", "", "*", "none", "12", "80000009 ff none 2");
        row("file gone, the host's policy says again", "gone", "", "*", "none", "policy", "80000009  none 2");
        row("damaged on its way, the host's policy says again", "damages once", "", "*", "none", "policy",
            "0  right 2");
    }

    void outcomes()
    {
        const auto [behaviour, checksum, digest, existing, answers, outcome]
            = cells<QByteArray, QByteArray, QString, QString, QString, QString>();
        m_behaviour = behaviour;
        const bool isOwnFolder = behaviour == "own folder";
        if (isOwnFolder) {
            const QString own = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
            QVERIFY(QDir().mkpath(own));
            m_folder = std::make_unique<QTemporaryDir>(own + "/XXXXXX");
        }
        m_checksum = QByteArray(checksum).replace('*', m_digest.toLatin1().toUpper() + " *file.bin");
        const bool isQuiet = answers == "quiet";
        AnsweringProvider::answers = answers == "policy";
        m_answers = isQuiet || AnsweringProvider::answers ? QString() : answers;
        if (existing != "none")
            QVERIFY(writeFile(filePath(), existing == "right" ? m_content : "mine"));
        QVERIFY(writeFile(filePath(".md5"), "mine as well"));

        const auto task = makeTask(QString(digest).replace('*', m_digest.toUpper()), isQuiet);
        task->execute();
        QTRY_VERIFY_WITH_TIMEOUT(task->isFinished(), 20000);
        AnsweringProvider::answers = false;
        QCOMPARE(QString("%1 %2 %3 %4")
                     .arg(unsigned(task->getResult()), 0, 16)
                     .arg(m_questions, whatIsAt(filePath()))
                     .arg(transfers()),
                 outcome);
        QVERIFY(!dialog() && m_isDialogSeen == (!isQuiet && !m_server->requests.isEmpty()));
        QCOMPARE(QFile::exists(filePath(".damaged")), isQuiet && !isOwnFolder && existing == "wrong");
        QCOMPARE(QFileInfo(filePath(".md5")).size(), 12);
    }

    void pausedAndResumedQuickly()
    {
        const LogCapture log;
        m_pieceSize = 4096;
        const auto task = makeTask(m_digest);
        task->execute();
        QTRY_VERIFY(QFileInfo(filePath(".kovupd-part")).size() > 100000);
        auto *button = dialog()->findChild<QPushButton *>("m_pbPauseResume");
        for (int i = 0; i < 40; ++i) {
            button->click();
            QCOMPARE(task->isPaused(), i % 2 == 0);
            QCOMPARE(labelText("m_lblProgress").endsWith(" - stopped"), task->isPaused());
            QTest::qWait(i % 7 == 0 ? 60 : i % 3);
        }
        task->pause();
        QTRY_VERIFY(task->findChildren<CTaskDownloadFile *>().isEmpty());
        const int begun = transfers();
        QTest::qWait(50);
        QVERIFY(!task->isFinished() && transfers() == begun);
        m_pieceSize = 0;
        task->resume();
        QTRY_VERIFY_WITH_TIMEOUT(task->isFinished(), 20000);
        QCOMPARE(task->getResult(), KOV_SUCCESS);
        QCOMPARE(m_questions, QString());
        QCOMPARE(whatIsAt(filePath()), "right");
        // One utility after the other, never two.
        int running = 0;
        for (const QByteArray &line : log.text().split('\n')) {
            running += line.contains("Start downloading.") ? 1 : 0;
            running -= line.contains("Downloading finished.") && running > 0 ? 1 : 0;
            QVERIFY(running <= 1);
        }
        QVERIFY(log.count("Start downloading.") > 3);
    }

    void endedByTheUser_data()
    {
        Table<> row;
        for (const char *how : {"cancel", "close", "cancel paused", "question open", "parent gone", "delete"})
            row(how);
    }

    void endedByTheUser()
    {
        const QByteArray how = QTest::currentDataTag();
        const LogCapture log;
        m_pieceSize = 4096;
        m_behaviour = how == "question open" ? "gone" : "";
        QMainWindow main;
        main.show();
        QWidget other; // cannot be a parent
        other.show();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        auto task = makeTask(m_digest);
        KOV_RESULT result = KOV_SUCCESS;
        bool isUtilityGone = false;
        connect(task.get(), &CAbstractTask::taskFinished, this, [&](KOV_RESULT code) {
            result = code;
            isUtilityGone = log.count("Downloading finished.") == 1;
        });
        task->execute();
        if (how == "question open")
            QTRY_COMPARE(m_questions, "f");
        else
            QTRY_VERIFY(QFileInfo(filePath(".kovupd-part")).size() > 100000);
        QVERIFY(!dialog() || dialog()->windowHandle()->transientParent() == main.windowHandle());
        if (how != "question open") {
            QVERIFY(task->isWatched());
            other.activateWindow();
            QTRY_VERIFY(!task->isWatched());
        }
        task->bringToFront();
        if (how == "cancel paused")
            task->pause();
        if (how == "delete")
            task.reset();
        else if (how == "question open")
            task->terminate(KOV_ERR_CANCELLED);
        else if (how == "parent gone")
            delete dialog();
        else if (how == "close")
            dialog()->close();
        else
            dialog()->findChild<QPushButton *>("m_pbCancel")->click();
        QVERIFY(!dialog());
        QTRY_COMPARE(result, KOV_ERR_CANCELLED);
        QVERIFY(isUtilityGone || how == "delete");
        QVERIFY(CMessageManager::instance()->getMessageWindowsForId(KOV_QUESTION_DOWNLOAD_FAILED).isEmpty());
        if (how != "cancel")
            return;
        m_pieceSize = 0;
        const auto next = makeTask(m_digest);
        next->execute();
        QTRY_VERIFY(next->isFinished());
        QCOMPARE(whatIsAt(filePath()), "right");
        QVERIFY(m_server->requests.constLast().contains("Range: bytes="));
    }

    void realServerDiesAndComesBack()
    {
        QTemporaryDir root;
        QVERIFY(writeFile(root.filePath("file.bin"), m_content));
        QVERIFY(writeFile(root.filePath("file.bin.md5"), m_checksum));
        NginxServer server;
        QVERIFY2(server.start(root.path(), "limit_rate 500k;"), qPrintable(server.errorString()));
        FileDownloadInfo info(m_folder->filePath("new/folder"));
        info.url = server.url("file.bin");
        Task task(info, QString(), false, true);
        task.execute();
        QTRY_VERIFY(QFileInfo(info.destinationFilePartPath()).size() > 100000);
        server.stop();
        // How far it is stays in sight.
        QTRY_VERIFY_WITH_TIMEOUT(labelText("m_lblProgress").startsWith("Waiting for the connection... ("),
                                 60000);
        QCOMPARE(dialog()->findChild<QProgressBar *>()->maximum(), 100);
        QVERIFY(dialog()->windowTitle().endsWith(" % of " + KovGui::getAppGuiName() + " downloaded"));
        QVERIFY(server.restart());
        fireReconnect(*task.findChild<CTaskDownloadFile *>());
        QTRY_VERIFY_WITH_TIMEOUT(task.isFinished(), 30000);
        QCOMPARE(m_questions, "");
        QCOMPARE(task.fileDownloadInfo().size, m_content.size());
        QCOMPARE(task.fileDownloadInfo().md5, m_digest);
        QCOMPARE(whatIsAt(info.destinationFilePath()), "right");
    }

    void fullDisk()
    {
        if (!System::mountSmall(m_folder->path(), 2 << 20))
            QSKIP("A small file system cannot be mounted: that is for root, and for containers that may.");
        const auto quiet = makeTask(m_digest, true);
        quiet->execute();
        QTRY_VERIFY(quiet->isFinished());
        const auto task = makeTask(m_digest);
        task->execute();
        QTRY_COMPARE(m_questions, "s");
        const bool isGrown = System::resizeMounted(m_folder->path(), 8 << 20);
        CMessageBoxWndBase *window = CMessageManager::instance()
                                         ->getMessageWindowsForId(KOV_QUESTION_NOT_ENOUGH_DISK_SPACE)
                                         .value(0);
        window->done(1);
        const bool isFinished = QTest::qWaitFor([&] { return task->isFinished(); }, 20000);
        const QString found = whatIsAt(filePath());
        System::unmount(m_folder->path());
        QVERIFY(isGrown && isFinished);
        QCOMPARE(quiet->getResult(), KOV_ERR_FAILURE);
        QCOMPARE(task->getResult(), KOV_SUCCESS);
        QCOMPARE(found, "right");
        QCOMPARE(transfers(), 1);
    }

private:
    void answer(CMessageBoxWndBase *window, int code)
    {
        const QMap<int, QChar> letters{{KOV_QUESTION_DOWNLOAD_FAILED, 'f'},
                                       {KOV_QUESTION_DOWNLOAD_DAMAGED, 'd'},
                                       {KOV_QUESTION_EXISTING_FILE_DAMAGED, 'e'},
                                       {KOV_QUESTION_NOT_ENOUGH_DISK_SPACE, 's'}};
        m_questions += letters.value(code, '?');
        const QString given = m_answers.mid(m_questions.size() - 1, 1);
        if (!given.isEmpty())
            QTimer::singleShot(0, window, [window, given] { window->done(given.toInt()); });
    }

    TestServer::Reply serve(const TestServer::Request &request)
    {
        m_isDialogSeen = m_isDialogSeen || dialog();
        const auto refuse = [](const char *status) {
            return TestServer::Reply{status + QByteArray("\r\nContent-Length: 0\r\n"), "",
                                     TestServer::End::Close, 0};
        };
        const QByteArray line = request.head.left(request.head.indexOf("\r\n"));
        if (line.contains(".md5")) {
            if (m_behaviour == "checksum comes late")
                return m_behaviour.clear(), refuse("404 Not Found");
            return m_checksum.isEmpty() ? refuse("404 Not Found") : TestServer::whole(m_checksum, "\"m\"");
        }
        if (line.startsWith("HEAD")) {
            if (m_behaviour == "no HEAD")
                return refuse("501 Not Implemented");
            if (m_behaviour == "fails once")
                return m_behaviour.clear(), refuse("500 Oops");
            return {TestServer::whole(m_content, "\"x\"").head, "", TestServer::End::Close, 0};
        }
        if (m_behaviour == "gone")
            return refuse("404 Not Found");
        if (m_behaviour == "damages once") {
            m_behaviour.clear();
            return TestServer::whole(testContent(m_content.size(), 8), "\"y\"");
        }
        TestServer::Reply reply = TestServer::honest(request, m_content, "\"x\"");
        reply.pieceSize = m_pieceSize;
        return reply;
    }

    std::unique_ptr<Task> makeTask(const QString &digest, bool isQuiet = false)
    {
        FileDownloadInfo info(m_folder->path());
        info.url = QString::fromUtf8(m_server->url("/a/file.bin?key=1"));
        return std::make_unique<Task>(info, digest, isQuiet, !isQuiet);
    }

    QString filePath(const char *suffix = "") const
    {
        return m_folder->filePath("file.bin" + QLatin1String(suffix));
    }
    QString whatIsAt(const QString &path) const
    {
        const QByteArray content = fileContent(path);
        return content.isNull() ? "none" : content == m_content ? "right" : "wrong";
    }

    static CDownloadProgressDialog *dialog()
    {
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (auto *found = qobject_cast<CDownloadProgressDialog *>(widget))
                return found->isVisible() ? found : nullptr;
        }
        return nullptr;
    }

    static QString labelText(const char *name)
    {
        return dialog()->findChild<QLabel *>(QLatin1String(name))->text();
    }
    int transfers() const
    {
        return int(std::count_if(m_server->requests.begin(), m_server->requests.end(),
                                 [](const QByteArray &head) { return head.startsWith("GET /a/file.bin?"); }));
    }

    const QByteArray m_content = testContent(3 * 1024 * 1024, 7);
    const QString m_digest
        = QString::fromLatin1(QCryptographicHash::hash(m_content, QCryptographicHash::Md5).toHex());
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<TestServer> m_server;
    QByteArray m_behaviour; ///< of the server
    QByteArray m_checksum; ///< what it has at ".md5"
    int m_pieceSize = 0;
    QString m_answers; ///< to the questions in order; without one they stay open
    QString m_questions; ///< that were asked, one letter each
    bool m_isDialogSeen = false;
};

KOV_TEST_MAIN(QApplication, tst_InteractiveDownload)
#include "tst_interactive_download.moc"
