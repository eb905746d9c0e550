#include "gui/tasks/http/CHttpResponseParser.h"
#include "gui/tasks/http/CTaskHttpOperation.h"
#include "tests/support/KovTest.h"
#include "tests/support/NginxServer.h"
#include "tests/support/System.h"
#include "tests/tasks/HttpFixture.h"

#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSslConfiguration>

namespace {

const unsigned Failure = unsigned(KOV_ERR_FAILURE);

class Get : public CTaskHttpOperation
{
public:
    explicit Get(const QString &url, const QString &file = QString(), CAbstractFileParser *parser = nullptr,
                 ParserOwnershipPolicy policy = KeepParser)
        : CTaskHttpOperation(QNetworkRequest(QUrl(url)), QNetworkAccessManager::GetOperation, file, nullptr,
                             parser, policy, QByteArray())
    { }
};

} // namespace

class tst_HttpOperation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        write("page", "a page");
        write("answer", "<r><Result>7</Result></r>");
        write("broken-answer", "<r><x>");
        write("medium", QByteArray(5000, 'x'));
        write("full", QByteArray(int(CTaskHttpOperation::MaximumBodySize), 'x'));
        write("large", QByteArray(int(CTaskHttpOperation::MaximumBodySize) + 1, 'x'));
        const QString locations = "gzip_min_length 1; gzip_types *;"
                                  "location = /small { gzip on; alias %1/page; }"
                                  "location = /packed { add_header Content-Encoding gzip; alias %1/page; }"
                                  "location = /moved { return 302 /page; }"
                                  "location = /broken { return 500 'no, $request_uri'; }"
                                  "location = /private { auth_basic x; auth_basic_user_file /dev/null; }";
        QVERIFY2(m_server.start(m_root.path(), locations.arg(m_root.path())),
                 qPrintable(m_server.errorString()));
    }

    void request_data()
    {
        // expected: the beginning of the body, or a part of the log
        Table<QString, int, unsigned, QByteArray> table;
        const auto row = [&table](const char *name, const char *path, unsigned result, const char *expected,
                                  int operation = 2) { table(name, path, operation, result, expected); };
        row("page", "page", 0, "a page");
        row("head", "page", 0, "", QNetworkAccessManager::HeadOperation);
        row("server that compresses on request", "small", 0, "a page");
        row("server that compresses unasked", "packed", Failure,
            "(!)Error: the response is compressed (gzip)");
        row("as large as allowed", "full", 0, "xxxx");
        row("one byte more", "large", Failure,
            "(!)Error: the response is larger than 16777216 bytes. Url: http://127");
        row("redirect is not followed", "moved", 0, "<html>\r\n<head><title>302");
        row("missing", "missing", Failure, "(!)Http error: 203(Error transferring http://127");
        row("page that repeats the request", "broken", Failure,
            "Error string: no, /broken?Password=xxx&Email=j***@");
        row("password wanted", "private", unsigned(KOV_ERR_SERVER_AUTHENTICATION_REQUIRED),
            "(!)Http error: 204(");
        row("unknown operation", "page", Failure, "Failed to post HTTP operation <3>",
            QNetworkAccessManager::PutOperation);
        row("invalid URL", "\\%", Failure, "(!)Error: ivalid URL: ");
    }

    void request()
    {
        const auto [path, operation, result, expected] = cells<QString, int, unsigned, QByteArray>();
        QUrl url(m_server.url(path) + "?Password=open-sesame&Email=john@h.example");
        url.setUserInfo("user-word:pass-sesame");
        if (path == "\\%")
            url = QUrl("http://user-word:pass-sesame@h h/");
        const QString file = m_root.filePath("body");
        const LogCapture log(3);
        CTaskHttpOperation task(QNetworkRequest(url), QNetworkAccessManager::Operation(operation), file,
                                nullptr, nullptr, CTaskHttpOperation::KeepParser, QByteArray());
        QCOMPARE(unsigned(resultOf(task)), result);
        QCOMPARE(QFile::exists(file), result == 0);
        QVERIFY2((result ? log.text().contains(expected) : fileContent(file).startsWith(expected)),
                 log.text().constData());
        QCOMPARE(log.text().contains("(!)"), result != 0 && !expected.startsWith("Failed"));
        for (const char *secret : {"sesame", "user-word", "john@"})
            QVERIFY2(!log.text().contains(secret), log.text().constData());
    }

    void misbehavingServer()
    {
        for (const char *answer :
             {"", "220 mail.example\r\n", "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf",
              "HTTP/1.1 404 No\r\nContent-Length: 19\r\n\r\nno\n01-01 forged line"}) {
            TestServer server(answer, TestServer::End::Close);
            const LogCapture log(3);
            Get task(urlOf(server));
            QVERIFY2(resultOf(task) == KOV_ERR_FAILURE, answer);
            QVERIFY(!log.text().contains("\n01-01"));
        }
    }

    void endlessBody()
    {
        QFile file(m_root.filePath("endless"));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(8LL << 30));
        const qint64 before = System::peakMemory();
        const LogCapture log(3);
        Get task(m_server.url("endless"));
        QSignalSpy finished(&task, &CAbstractTask::taskFinished);
        task.execute();
        QTRY_VERIFY(task.findChild<QNetworkReply *>());
        // The window's thread is busy while bytes come in.
        QThread::msleep(500);
        QVERIFY(finished.wait(20000));
        QVERIFY(log.text().contains("larger than 16777216 bytes"));
        const qint64 grown = (System::peakMemory() - before) >> 20;
        QVERIFY2(grown < 150, qPrintable(QString("grown by %1 MiB").arg(grown)));
    }

    void certificates_data()
    {
        // host: for which the certificate of "h.example" is used
        Table<QString, QString, bool, bool, int> row;
        const char *maker = "/CN=.tessarine.example";
        const char *host = "www.tessarine.example";
        row("right", "/CN=h", "h.example", true, true, 0);
        row("unknown authority", "/CN=h", "h.example", false, false, 0);
        row("another host's", "/CN=h", "other.example", true, false, 0);
        row("maker's for a host of its own", maker, host, true, true, 1);
        row("the last of two names counts", "/CN=h/CN=.tessarine.example", host, true, true, 1);
        row("not the first", "/CN=.tessarine.example/CN=h", host, true, false, 0);
        row("no leading dot", "/CN=tessarine.example", host, true, false, 0);
        row("maker's for a foreign host", maker, "www.tessarine.example.org", true, false, 0);
        row("maker's of an unknown authority", maker, host, false, false, 1);
    }

    void certificates()
    {
        const auto [subject, host, trusted, accepted, forgiven] = cells<QString, QString, bool, bool, int>();
        if (accepted && !System::checksCertificates)
            QSKIP("No authority of a request's own is taken here.");
        NginxServer server;
        QVERIFY(server.start(m_root.path(), m_authority.issue(subject, "DNS:h.example"), "ssl"));
        TestServer tunnel([&server](const TestServer::Request &) {
            return TestServer::Reply{"200 Connected\r\n", {}, TestServer::End::Stay, 0, server.port()};
        });
        const QNetworkProxy proxy(QNetworkProxy::HttpProxy, "127.0.0.1", tunnel.serverPort());
        QNetworkRequest request(QUrl(QString("https://%1/page").arg(host)));
        QSslConfiguration ssl = QSslConfiguration::defaultConfiguration();
        ssl.setCaCertificates(QSslCertificate::fromPath(trusted ? m_authority.certificate() : QString()));
        request.setSslConfiguration(ssl);
        const LogCapture log(3);
        CTaskHttpOperation task(request, QNetworkAccessManager::GetOperation, QString(), &proxy, nullptr,
                                CTaskHttpOperation::KeepParser, QByteArray());
        QCOMPARE(resultOf(task), accepted ? KOV_SUCCESS : KOV_ERR_FAILURE);
        QCOMPARE(log.text().count("Force to ignore this error"), forgiven);
        QCOMPARE(log.text().contains("(!)SSL error == "), forgiven > 0 || !accepted);
    }

    void fileInTheWay_data()
    {
        // way: what is there, F: a file of an earlier run, L: a link, to somebody's file if there is one (O),
        // D: a folder, P: a pipe; content: empty: no file
        Table<QString, QString, QString> row;
        row("file of an earlier run", "F", "page", "a page");
        row("file of an earlier run, failure", "F", "missing", "");
        row("link to somebody's file", "OL", "page", "a page");
        row("link into nothing", "L", "page", "a page");
        row("folder", "D", "page", "");
        row("pipe", "P", "page", "");
    }

    void fileInTheWay()
    {
        const auto [way, path, content] = cells<QString, QString, QString>();
        QTemporaryDir folder;
        const QString other = folder.filePath("other");
        const QString place = folder.filePath("target");
        QVERIFY(!way.contains('O') || writeFile(other, "\n"));
        QVERIFY(!way.contains('F') || writeFile(place, "a longer text"));
        QVERIFY(!way.contains('D') || QDir().mkdir(place));
        if ((way.contains('L') && !System::makeSymbolicLink(other, place))
            || (way == "P" && !System::makeFifo(place)))
            QSKIP("This system has no such thing.");
        const QFileInfo target(place);
        const bool isKept = !target.isFile() && target.exists();
        const LogCapture log(3);
        Get task(m_server.url(path), target.filePath());
        QCOMPARE(resultOf(task), content.isEmpty() ? KOV_ERR_FAILURE : KOV_SUCCESS);
        QCOMPARE(QFile::exists(target.filePath()), isKept || !content.isEmpty());
        QCOMPARE(log.text().contains("(!)Error: failed to open temporary file "), isKept);
        if (!content.isEmpty())
            QCOMPARE(fileContent(target.filePath()), content.toUtf8());
        QVERIFY(QFileInfo(other).size() <= 1);
    }

    void fullDisk()
    {
        const LogCapture log(3);
        Get task(m_server.url("medium"), m_root.filePath("cut"));
        if (!System::limitFileSize(1000))
            QSKIP("A file's size has no limit on this system.");
        const KOV_RESULT result = resultOf(task);
        System::limitFileSize(-1);
        QCOMPARE(result, KOV_ERR_FAILURE);
        QVERIFY(log.text().contains("(!)Error: failed to write file")
                && !QFile::exists(m_root.filePath("cut")));
    }

    void parser()
    {
        const LogCapture log(3);
        CHttpResponseParser good;
        CHttpResponseParser bad;
        CHttpResponseParser unused;
        QPointer<CHttpResponseParser> deleted = new CHttpResponseParser;
        auto task = std::make_unique<Get>(m_server.url("answer"), QString(), &good);
        Get broken(m_server.url("broken-answer"), QString(), &bad);
        Get failing(m_server.url("missing"), QString(), &unused);
        Get owner(m_server.url("answer"), QString(), deleted, CTaskHttpOperation::DeleteParser);
        QCOMPARE(resultOf(*task), KOV_SUCCESS);
        QCOMPARE(good.data(), QVariant(7));
        QVERIFY(QFile::exists(good.filePath()));
        task.reset();
        QVERIFY(!QFile::exists(good.filePath()));
        QCOMPARE(resultOf(broken), KOV_SUCCESS);
        QVERIFY(log.text().contains("(!)Error: failed to parse file " + bad.filePath().toUtf8()
                                    + ". ErrCode: 3"));
        QCOMPARE(resultOf(failing), KOV_ERR_FAILURE);
        QCOMPARE(unused.errCode(), 0);
        QCOMPARE(resultOf(owner), KOV_SUCCESS);
        QVERIFY(!deleted && !owner.parser());
    }

    void timeOut()
    {
        TestServer silent("");
        const LogCapture log(3);
        Get task(urlOf(silent, "/?NewPassword=sesame"));
        QSignalSpy finished(&task, &CAbstractTask::taskFinished);
        auto *timer = task.findChild<QTimer *>("operationTimeout");
        task.execute();
        QTRY_VERIFY(!silent.received.isEmpty());
        QVERIFY(timer->isActive() && timer->isSingleShot());
        QCOMPARE(timer->interval(), 60000);
        timer->start(0);
        QVERIFY(finished.wait());
        QCOMPARE(task.getResult(), KOV_ERR_FAILURE);
        QVERIFY(
            log.text().contains("(!)Http error: Internal timeout. Url: " + silent.url("/?NewPassword=xxx")));
        QTRY_COMPARE(silent.disconnections, 1);
    }

    void endOfTheTaskEndsTheTransfer()
    {
        const QString file = m_root.filePath("half");
        TestServer slow("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf");
        auto deleted = std::make_unique<Get>(urlOf(slow), file);
        deleted->execute();
        QTRY_VERIFY(!slow.received.isEmpty());
        QVERIFY(QFile::exists(file));
        deleted.reset();
        QTRY_COMPARE(slow.disconnections, 1);
        QVERIFY(!QFile::exists(file));
    }

private:
    void write(const char *name, const QByteArray &content)
    {
        QVERIFY(writeFile(m_root.filePath(name), content));
    }

    QTemporaryDir m_root;
    NginxServer m_server;
    TestAuthority m_authority;
};

KOV_TEST_MAIN(QCoreApplication, tst_HttpOperation)
#include "tst_http_operation.moc"
