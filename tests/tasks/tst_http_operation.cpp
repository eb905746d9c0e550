#include "gui/tasks/CHttpResponseParser.h"
#include "gui/tasks/CTaskHttpOperation.h"
#include "gui/tasks/HttpManager_p.h"
#include "tests/support/KovTest.h"
#include "tests/support/NginxServer.h"
#include "tests/tasks/HttpFixture.h"

#include <QNetworkReply>
#include <QSslConfiguration>
#include <QTimer>
#include <csignal>
#include <sys/resource.h>

namespace {

const qint64 Limit = CTaskHttpOperation::MaximumBodySize;

QString s(const char *text)
{
    return QString::fromUtf8(text);
}

} // namespace

class tst_HttpOperation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void request_data();
    void request();
    void endlessBody();
    void misbehavingServer_data();
    void misbehavingServer();
    void post();
    void certificates_data();
    void certificates();
    void fileInTheWay_data();
    void fileInTheWay();
    void fullDisk();
    void parser_data();
    void parser();
    void timeOut();
    void endOfTheTaskEndsTheTransfer();
    void managerOutlivesItsChallenge();

private:
    void write(const QString &name, const QByteArray &content);
    QByteArray read(const QString &path) const;

    QTemporaryDir m_root;
    QTemporaryDir m_out;
    NginxServer m_server;
    TestAuthority m_authority;
};

void tst_HttpOperation::write(const QString &name, const QByteArray &content)
{
    QFile file(m_root.filePath(name));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
}

QByteArray tst_HttpOperation::read(const QString &path) const
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
}

void tst_HttpOperation::initTestCase()
{
    write(s("page"), "a page");
    write(s("full"), QByteArray(int(Limit), 'x'));
    write(s("large"), QByteArray(int(Limit) + 1, 'x'));
    write(s("users"), "");
    const QString locations
        = s("gzip_min_length 1; gzip_types *;"
            "location = /packed { add_header Content-Encoding gzip; alias %1/page; }"
            "location = /small { gzip on; alias %1/page; }"
            "location = /moved { return 302 /page; }"
            "location = /broken { return 500 'no, $request_uri and $http_authorization'; }"
            "location = /private { auth_basic x; auth_basic_user_file %1/users; }");
    QVERIFY2(m_server.start(m_root.path(), locations.arg(m_root.path())), qPrintable(m_server.errorString()));
}

void tst_HttpOperation::request_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("operation");
    QTest::addColumn<unsigned>("result");
    QTest::addColumn<QByteArray>("body"); // the beginning
    QTest::addColumn<QByteArray>("record");

    const auto get = int(QNetworkAccessManager::GetOperation);
    const unsigned failure = unsigned(KOV_ERR_FAILURE);
    QTest::newRow("page") << s("page") << get << 0u << QByteArray("a page") << QByteArray();
    QTest::newRow("head") << s("page") << int(QNetworkAccessManager::HeadOperation) << 0u << QByteArray()
                          << QByteArray();
    QTest::newRow("server that compresses on request")
        << s("small") << get << 0u << QByteArray("a page") << QByteArray();
    QTest::newRow("server that compresses unasked")
        << s("packed") << get << failure << QByteArray()
        << QByteArray("(!)Error: the response is compressed (gzip)");
    QTest::newRow("as large as allowed") << s("full") << get << 0u << QByteArray("xxxx") << QByteArray();
    QTest::newRow("one byte more")
        << s("large") << get << failure << QByteArray()
        << QByteArray("(!)Error: the response is larger than 16777216 bytes. Url: http://127");
    QTest::newRow("redirect is not followed")
        << s("moved") << get << 0u << QByteArray("<html>\r\n<head><title>302") << QByteArray();
    QTest::newRow("missing") << s("missing") << get << failure << QByteArray()
                             << QByteArray("(!)Http error: 203(Error transferring http://127");
    QTest::newRow("page that repeats the request")
        << s("broken") << get << failure << QByteArray()
        << QByteArray("Error string: no, /broken?Password=xxx&Email=");
    QTest::newRow("needs a password")
        << s("private") << get << unsigned(KOV_ERR_SERVER_AUTHENTICATION_REQUIRED) << QByteArray()
        << QByteArray("(!)Http error: 204(");
    QTest::newRow("operation that is not known")
        << s("page") << int(QNetworkAccessManager::PutOperation) << failure << QByteArray()
        << QByteArray("Failed to post HTTP operation <3>");
}

void tst_HttpOperation::request()
{
    QFETCH(QString, path);
    QFETCH(int, operation);
    QFETCH(unsigned, result);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, record);
    QUrl url(m_server.url(path) + s("?Password=open-sesame&Email=john@h.example"));
    url.setUserInfo(s("user-word:pass-sesame"));
    const QString file = m_out.filePath(s("body"));

    RecordedLog log;
    CTaskHttpOperation task(QNetworkRequest(url), QNetworkAccessManager::Operation(operation), file, nullptr,
                            nullptr, CTaskHttpOperation::KeepParser, QByteArray());
    QCOMPARE(unsigned(resultOf(task)), result);
    QCOMPARE(read(file).left(body.size()), result == 0 ? body : QByteArray("no file").left(body.size()));
    QCOMPARE(QFile::exists(file), result == 0);
    QVERIFY2(log.text().contains(record), log.text().constData());
    QCOMPARE(log.text().contains("(!)"), result != 0 && !record.startsWith("Failed"));
    QVERIFY2(log.text().contains("Complete url: http://127.0.0.1"), log.text().constData());
    for (const char *secret : {"sesame", "user-word", "john@"})
        QVERIFY2(!log.text().contains(secret), log.text().constData());
}

void tst_HttpOperation::endlessBody()
{
    QFile file(m_root.filePath(s("endless")));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(8LL << 30));
    rusage before;
    ::getrusage(RUSAGE_SELF, &before);
    CTaskHttpOperation task(QNetworkRequest(QUrl(m_server.url(s("endless")))),
                            QNetworkAccessManager::GetOperation, QString(), nullptr, nullptr,
                            CTaskHttpOperation::KeepParser, QByteArray());
    RecordedLog log;
    QSignalSpy finished(&task, &CAbstractTask::taskFinished);
    task.execute();
    QTRY_VERIFY(task.findChild<QNetworkReply *>());
    // The window's thread is busy while bytes come in.
    QThread::msleep(500);
    QVERIFY(finished.wait(20000));
    QCOMPARE(task.getResult(), KOV_ERR_FAILURE);
    rusage after;
    ::getrusage(RUSAGE_SELF, &after);
    QVERIFY(log.text().contains("larger than 16777216 bytes"));
    const long grown = (after.ru_maxrss - before.ru_maxrss) / 1024;
    QVERIFY2(grown < 150, qPrintable(s("grown by %1 MiB").arg(grown)));
}

void tst_HttpOperation::misbehavingServer_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<unsigned>("result");
    QTest::newRow("closes") << QByteArray() << unsigned(KOV_ERR_FAILURE);
    QTest::newRow("body cut") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf")
                              << unsigned(KOV_ERR_FAILURE);
    QTest::newRow("no HTTP") << QByteArray("220 mail.example ESMTP\r\n") << unsigned(KOV_ERR_FAILURE);
    QTest::newRow("forged log line") << QByteArray(
        "HTTP/1.1 404 No\r\nContent-Length: 19\r\n\r\nno\n01-01 forged line")
                                     << unsigned(KOV_ERR_FAILURE);
}

void tst_HttpOperation::misbehavingServer()
{
    QFETCH(QByteArray, answer);
    QFETCH(unsigned, result);
    RawServer server(answer, true);
    RecordedLog log;
    CTaskHttpOperation task(QNetworkRequest(QUrl(server.url())), QNetworkAccessManager::GetOperation,
                            QString(), nullptr, nullptr, CTaskHttpOperation::KeepParser, QByteArray());
    QCOMPARE(unsigned(resultOf(task)), result);
    QVERIFY(!log.text().contains("\n01-01"));
}

void tst_HttpOperation::post()
{
    RawServer server("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
    QNetworkRequest request(QUrl(server.url(s("form"))));
    request.setHeader(QNetworkRequest::ContentTypeHeader, s("text/plain"));
    request.setRawHeader("X-Ours", "kept");
    CTaskHttpOperation task(request, QNetworkAccessManager::PostOperation, QString(), nullptr, nullptr,
                            CTaskHttpOperation::KeepParser, "the body");
    QCOMPARE(resultOf(task), KOV_SUCCESS);
    QVERIFY(server.received.startsWith("POST /form ") && server.received.endsWith("\r\n\r\nthe body"));
    QVERIFY(server.received.contains("X-Ours: kept\r\n"));
    QCOMPARE(task.reply()->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 200);
}

void tst_HttpOperation::certificates_data()
{
    QTest::addColumn<QString>("subject");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("trusted");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<int>("forgiven");
    const QString maker = s("/CN=.tessarine.example");
    const QString host = s("www.tessarine.example");
    const QString other = s("DNS:other.example");
    QTest::newRow("right") << s("/CN=h") << s("DNS:h.example") << s("h.example") << true << true << 0;
    QTest::newRow("unknown authority")
        << s("/CN=h") << s("DNS:h.example") << s("h.example") << false << false << 0;
    QTest::newRow("another host's") << s("/CN=h") << other << s("h.example") << true << false << 0;
    QTest::newRow("maker's for a host of its own") << maker << other << host << true << true << 1;
    QTest::newRow("the last of two names counts")
        << s("/CN=h/CN=.tessarine.example") << other << host << true << true << 1;
    QTest::newRow("not the first") << s("/CN=.tessarine.example/CN=h") << other << host << true << false << 0;
    QTest::newRow("maker's for a foreign host")
        << maker << other << s("www.tessarine.example.org") << true << false << 0;
    QTest::newRow("maker's of an unknown authority") << maker << other << host << false << false << 1;
    QTest::newRow("no leading dot") << s("/CN=tessarine.example") << other << host << true << false << 0;
}

void tst_HttpOperation::certificates()
{
    QFETCH(QString, subject);
    QFETCH(QString, name);
    QFETCH(QString, host);
    QFETCH(bool, trusted);
    QFETCH(bool, accepted);
    QFETCH(int, forgiven);
    NginxServer server;
    QVERIFY2(server.start(m_root.path(), m_authority.issue(subject, name), s("ssl")),
             qPrintable(server.errorString()));
    TunnelProxy tunnel(server.port());
    const QNetworkProxy proxy(QNetworkProxy::HttpProxy, s("127.0.0.1"), tunnel.serverPort());

    QNetworkRequest request(QUrl(s("https://%1/page").arg(host)));
    QSslConfiguration ssl = QSslConfiguration::defaultConfiguration();
    ssl.setCaCertificates(trusted ? QSslCertificate::fromData(m_authority.certificate())
                                  : QList<QSslCertificate>());
    request.setSslConfiguration(ssl);
    RecordedLog log;
    CTaskHttpOperation task(request, QNetworkAccessManager::GetOperation, QString(), &proxy, nullptr,
                            CTaskHttpOperation::KeepParser, QByteArray());
    QCOMPARE(resultOf(task), accepted ? KOV_SUCCESS : KOV_ERR_FAILURE);
    QCOMPARE(log.text().count("Force to ignore this error"), forgiven);
    QCOMPARE(log.text().contains("(!)SSL error == "), forgiven > 0 || !accepted);
}

void tst_HttpOperation::fileInTheWay_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("written");
    QTest::addColumn<bool>("kept");
    QTest::newRow("file of an earlier run") << s("file") << s("page") << true << false;
    QTest::newRow("file of an earlier run, failure") << s("file") << s("missing") << false << false;
    QTest::newRow("link to somebody's file") << s("link") << s("page") << true << false;
    QTest::newRow("link into nothing") << s("dangling link") << s("page") << true << false;
    QTest::newRow("folder") << s("folder") << s("page") << false << true;
    QTest::newRow("pipe") << s("pipe") << s("page") << false << true;
}

void tst_HttpOperation::fileInTheWay()
{
    QFETCH(QString, kind);
    QFETCH(QString, path);
    QFETCH(bool, written);
    QFETCH(bool, kept);
    QTemporaryDir folder;
    const QString target = folder.filePath(s("target"));
    const QString other = folder.filePath(s("other"));
    if (!kind.startsWith(s("dangling")))
        QVERIFY(QFile(other).open(QIODevice::WriteOnly));
    if (kind == s("file"))
        QVERIFY(QFile::copy(m_root.filePath(s("large")), target));
    else if (kind == s("folder"))
        QVERIFY(QDir().mkdir(target));
    else if (kind == s("pipe"))
        QCOMPARE(QProcess::execute(s("mkfifo"), {target}), 0);
    else
        QVERIFY(QFile::link(other, target));

    RecordedLog log;
    CTaskHttpOperation task(QNetworkRequest(QUrl(m_server.url(path))), QNetworkAccessManager::GetOperation,
                            target, nullptr, nullptr, CTaskHttpOperation::KeepParser, QByteArray());
    QCOMPARE(resultOf(task), written ? KOV_SUCCESS : KOV_ERR_FAILURE);
    QCOMPARE(QFile::exists(target), written || kept);
    QCOMPARE(log.text().contains("(!)Error: failed to open temporary file " + target.toUtf8()), kept);
    if (written)
        QCOMPARE(read(target), QByteArray("a page"));
    QCOMPARE(QFileInfo(other).size(), 0);
    QCOMPARE(QFile::exists(other), !kind.startsWith(s("dangling")));
}

void tst_HttpOperation::fullDisk()
{
    rlimit before;
    ::getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit tiny{1000, before.rlim_max};
    RecordedLog log;
    CTaskHttpOperation task(QNetworkRequest(QUrl(m_server.url(s("full")))),
                            QNetworkAccessManager::GetOperation, m_out.filePath(s("cut")), nullptr, nullptr,
                            CTaskHttpOperation::KeepParser, QByteArray());
    ::setrlimit(RLIMIT_FSIZE, &tiny);
    const KOV_RESULT result = resultOf(task);
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    QCOMPARE(result, KOV_ERR_FAILURE);
    QVERIFY2(log.text().contains("(!)Error: failed to write file"), log.text().constData());
    QVERIFY(!QFile::exists(m_out.filePath(s("cut"))));
}

void tst_HttpOperation::parser_data()
{
    QTest::addColumn<QByteArray>("page");
    QTest::addColumn<bool>("deleted");
    QTest::addColumn<int>("errCode");
    QTest::newRow("answer") << QByteArray("<r><Result>7</Result></r>") << false << 0;
    QTest::newRow("answer, parser goes with the task")
        << QByteArray("<r><Result>7</Result></r>") << true << 0;
    QTest::newRow("no answer is still a success") << QByteArray("<r><x>") << false << 3;
    QTest::newRow("nothing fetched") << QByteArray() << false << 0;
}

void tst_HttpOperation::parser()
{
    QFETCH(QByteArray, page);
    QFETCH(bool, deleted);
    QFETCH(int, errCode);
    QFile::remove(m_root.filePath(s("answer")));
    if (!page.isEmpty())
        write(s("answer"), page);
    RecordedLog log;
    QPointer<CHttpResponseParser> parser = new CHttpResponseParser;
    auto task = std::make_unique<CTaskHttpOperation>(
        QNetworkRequest(QUrl(m_server.url(s("answer")))), QNetworkAccessManager::GetOperation, QString(),
        nullptr, parser, deleted ? CTaskHttpOperation::DeleteParser : CTaskHttpOperation::KeepParser,
        QByteArray());
    QCOMPARE(resultOf(*task), page.isEmpty() ? KOV_ERR_FAILURE : KOV_SUCCESS);
    QCOMPARE(parser.isNull(), deleted);
    if (!deleted) {
        QCOMPARE(parser->errCode(), errCode);
        QCOMPARE(parser->data().toInt(), errCode == 0 && !page.isEmpty() ? 7 : 0);
        QCOMPARE(QFile::exists(parser->filePath()), !page.isEmpty());
        QCOMPARE(log.text().contains("(!)Error: failed to parse file " + parser->filePath().toUtf8()
                                     + ". ErrCode: 3"),
                 errCode == 3);
        task.reset();
        QVERIFY(!QFile::exists(parser->filePath()));
        delete parser;
    }
}

void tst_HttpOperation::timeOut()
{
    RawServer silent;
    RecordedLog log;
    CTaskHttpOperation task(QNetworkRequest(QUrl(silent.url(s("?NewPassword=sesame")))),
                            QNetworkAccessManager::GetOperation, QString(), nullptr, nullptr,
                            CTaskHttpOperation::KeepParser, QByteArray());
    QSignalSpy finished(&task, &CAbstractTask::taskFinished);
    auto *timer = task.findChild<QTimer *>(s("operationTimeout"));
    const auto userIsTyping = [&task](bool typing) {
        QVERIFY(QMetaObject::invokeMethod(&task, "onWaitingProxyAuthInput", Q_ARG(bool, typing)));
    };
    userIsTyping(false);
    QVERIFY(!timer->isActive());

    task.execute();
    QTRY_VERIFY(!silent.received.isEmpty());
    QVERIFY(timer->isActive() && timer->isSingleShot());
    QCOMPARE(timer->interval(), 60000);
    userIsTyping(true);
    QVERIFY(!timer->isActive());
    userIsTyping(false);
    QVERIFY(timer->isActive() && timer->remainingTime() > 50000);

    timer->start(0);
    QVERIFY(finished.wait());
    QCOMPARE(finished.first().first().value<KOV_RESULT>(), KOV_ERR_FAILURE);
    QVERIFY2(log.text().contains("(!)Http error: Internal timeout. Url: "
                                 + silent.url(s("?NewPassword=xxx")).toUtf8()),
             log.text().constData());
    QVERIFY(!task.reply());
    QTRY_COMPARE(silent.disconnections, 1);
    userIsTyping(false);
    QVERIFY(!timer->isActive());
}

void tst_HttpOperation::endOfTheTaskEndsTheTransfer()
{
    const QString file = m_out.filePath(s("half"));
    RawServer slow("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf");
    const auto start = [&] {
        auto task = std::make_unique<CTaskHttpOperation>(
            QNetworkRequest(QUrl(slow.url())), QNetworkAccessManager::GetOperation, file, nullptr, nullptr,
            CTaskHttpOperation::KeepParser, QByteArray());
        slow.received.clear();
        task->execute();
        return task;
    };
    auto terminated = start();
    QTRY_VERIFY(!slow.received.isEmpty());
    terminated->terminate(KOV_ERR_CANCELLED);
    QCOMPARE(terminated->getResult(), KOV_ERR_CANCELLED);
    QTRY_COMPARE(slow.disconnections, 1);

    auto deleted = start();
    QTRY_VERIFY(!slow.received.isEmpty());
    QVERIFY(QFile::exists(file));
    deleted.reset();
    QTRY_COMPARE(slow.disconnections, 2);
    QVERIFY(!QFile::exists(file));
}

void tst_HttpOperation::managerOutlivesItsChallenge()
{
    RawServer proxy("HTTP/1.1 407 No\r\nProxy-Authenticate: Basic realm=\"x\"\r\nContent-Length: 0\r\n\r\n");
    QPointer<HttpManager> manager = new HttpManager;
    manager->setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, s("127.0.0.1"), proxy.serverPort()));
    bool hasSurvived = false;
    QElapsedTimer elapsed;
    connect(manager, &QNetworkAccessManager::proxyAuthenticationRequired, this, [&] {
        // A dialog that stays open for a while after the task has gone.
        manager->retire();
        elapsed.start();
        QEventLoop dialog;
        QTimer::singleShot(50, &dialog, &QEventLoop::quit);
        dialog.exec();
        hasSurvived = manager;
    });
    manager->challengesAreAnswered();
    manager->get(QNetworkRequest(QUrl(s("http://h.example/"))));
    QTRY_VERIFY(elapsed.isValid() && manager.isNull());
    QVERIFY(hasSurvived);
    QVERIFY2(elapsed.elapsed() < 3000, "the destruction waited for the network thread");
}

KOV_TEST_MAIN(QCoreApplication, tst_HttpOperation)
#include "tst_http_operation.moc"
