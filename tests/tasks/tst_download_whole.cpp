#include "gui/tasks/download/CMd5Calculator.h"
#include "tests/support/Files.h"
#include "tests/support/NginxServer.h"
#include "tests/support/TestServer.h"
#include "tests/tasks/DownloadFixture.h"

#include <QCryptographicHash>

using Task = CTaskDownloadFile;

/// The task with the real utility.
class tst_DownloadWhole : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }
    void serverThatComesBack();
    void passwordForTheProxy();

private:
    QString digestOfResult() const;

    const QByteArray m_content = testContent(3 * 1024 * 1024, 7);
    const QString m_digest
        = QString::fromLatin1(QCryptographicHash::hash(m_content, QCryptographicHash::Md5).toHex());
    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_DownloadWhole::initTestCase()
{
    KovGui::init(KAM_CONSOLE);
    ChosenProxy::install();
    KovGui::setUpdaterFilePathAndUpdateMode(QStringLiteral(DOWNLOAD_UTILITY), QString(),
                                            QStringLiteral("ctl"));
}

QString tst_DownloadWhole::digestOfResult() const
{
    auto *calculator = new CMd5Calculator(m_folder->filePath(QStringLiteral("file.bin")));
    QSignalSpy spy(calculator, SIGNAL(finished(bool, QString)));
    calculator->start();
    return spy.wait(10000) ? spy.at(0).at(1).toString() : QString();
}

void tst_DownloadWhole::serverThatComesBack()
{
    QTemporaryDir root;
    QVERIFY(writeFile(root.filePath(QStringLiteral("file.bin")), m_content));
    NginxServer server;
    QVERIFY2(server.start(root.path()), qPrintable(server.errorString()));
    server.stop();

    Task task(server.url(QStringLiteral("file.bin")), m_folder->path(), Task::Reconnect);
    const DownloadEvents told(&task);
    DownloadProgressData last;
    connect(&task, &Task::sendDownloadProgressData, this,
            [&](const DownloadProgressData &data) { last = data; });
    task.execute();
    QTRY_COMPARE_WITH_TIMEOUT(task.state(), Task::WaitingForReconnect, 30000);
    QVERIFY(server.restart());
    fireReconnect(task);
    QTRY_VERIFY_WITH_TIMEOUT(task.isFinished(), 30000);
    QCOMPARE(told.text(),
             QStringLiteral("state 1, state 3, state 1, state 2, finished file.bin 0 0, result 0x0"));
    QCOMPARE(last.fileSize, m_content.size());
    QCOMPARE(last.downloadedBytes, m_content.size());
    QCOMPARE(last.progress, 100);
    QCOMPARE(digestOfResult(), m_digest);
}

void tst_DownloadWhole::passwordForTheProxy()
{
    const QByteArray password = "p\xc3\xa4ss word";
    TestServer proxy([&](const TestServer::Request &request) {
        return request.head.contains(("me:" + password).toBase64())
                   ? TestServer::whole(m_content, "\"x\"")
                   : TestServer::Reply{"407 Proxy Authentication Required\r\n"
                                       "Proxy-Authenticate: Basic realm=\"r\"\r\nContent-Length: 0\r\n",
                                       "", TestServer::End::Close, 0};
    });
    const auto result = [&](const QByteArray &given) {
        ChosenProxy::chosen = {QNetworkProxy::HttpProxy, QStringLiteral("127.0.0.1"), proxy.serverPort(),
                               QStringLiteral("me"), QString::fromUtf8(given)};
        Task task(QStringLiteral("http://nowhere.invalid/file.bin"), m_folder->path(), {});
        task.execute();
        return QTest::qWaitFor([&] { return task.isFinished(); }, 10000) ? task.getResult()
                                                                         : KOV_ERR_UNEXPECTED;
    };
    QCOMPARE(result("wrong"), KOV_ERR_FAILURE);
    QCOMPARE(result(""), KOV_ERR_FAILURE);
    QCOMPARE(result(password), KOV_SUCCESS);
    QCOMPARE(digestOfResult(), m_digest);
}

KOV_TEST_MAIN(QCoreApplication, tst_DownloadWhole)
#include "tst_download_whole.moc"
