#include "tests/programs/download/FaultServer.h"
#include "tests/programs/download/UtilityRun.h"
#include "tests/support/KovTest.h"
#include "tests/support/NginxServer.h"

#include <QTcpSocket>

using Reply = FaultServer::Reply;
using Request = FaultServer::Request;

namespace {

const QByteArray password = "p\xc3\xa4ss: w\\rd%";
const QByteArray proxyUser = "proxyuser";
const QByteArray file = testContent(300 * 1024, 1);

bool write(const QString &path, const QByteArray &content)
{
    QFile target(path);
    return target.open(QIODevice::WriteOnly) && target.write(content) == content.size();
}

bool isAnswering(quint16 port)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
    return socket.waitForConnected(1000);
}

Reply honest(const Request &request)
{
    return FaultServer::honest(request, file, "\"one\"");
}

} // namespace

/// Against the real things: a proxy that demands a password, and a server with a certificate of a private authority.
class tst_DownloadServers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void passwordReachesOnlyTheProxy();
    void wrongPasswordIsSentOnce();
    void noWayAroundTheProxy();
    void certificates_data();
    void certificates();
    void tunnel();
    void neverFromHttpsToHttp();

private:
    QString path(const char *name) const { return m_folder.filePath(QLatin1String(name)); }
    bool shell(const char *script);
    void startProxy();
    void startNginx();
    QByteArray proxyLog() const { return fileContent(path("access.log")); }
    QByteArray throughProxy() const
    {
        return "--proxy-server 127.0.0.1 --proxy-port " + QByteArray::number(m_proxyPort) + " -pu "
               + proxyUser + " --proxy-try-count 1 ";
    }
    QByteArray trusting(const char *authority) const { return "--ca-file " + path(authority).toUtf8(); }
    QByteArray secureUrl(const QByteArray &host, const QByteArray &name = "/file.bin") const
    {
        return "https://" + host + ":" + QByteArray::number(m_nginx.port()) + name;
    }

    QTemporaryDir m_folder;
    QProcess m_proxy;
    NginxServer m_nginx;
    quint16 m_proxyPort = 0;
};

bool tst_DownloadServers::shell(const char *script)
{
    QProcess process;
    process.setWorkingDirectory(m_folder.path());
    process.start(QStringLiteral("sh"), {QStringLiteral("-ec"), QString::fromUtf8(script)});
    return process.waitForFinished() && process.exitCode() == 0;
}

void tst_DownloadServers::startProxy()
{
    m_proxyPort = NginxServer::freePort();
    const QString configuration = QStringLiteral(
        "http_port 127.0.0.1:%1\npid_filename %2/squid.pid\naccess_log stdio:%2/access.log\ncache_log "
        "%2/cache.log\n"
        "cache deny all\ncoredump_dir %2\nshutdown_lifetime 0 seconds\npinger_enable off\n"
        "auth_param basic program /usr/lib/squid/basic_ncsa_auth %2/passwords\nauth_param basic realm test\n"
        "acl known proxy_auth REQUIRED\nhttp_access allow known\nhttp_access deny all\n");
    QVERIFY(write(path("squid.conf"), configuration.arg(m_proxyPort).arg(m_folder.path()).toLocal8Bit()));
    QVERIFY(write(path("password"), password + "\n"));
    QVERIFY(shell("echo \"proxyuser:$(openssl passwd -apr1 -stdin <password)\" >passwords; rm password; "
                  "touch access.log cache.log; chmod 777 .; chmod 666 *.log; chmod 644 passwords"));
    m_proxy.start(QStringLiteral("/usr/sbin/squid"),
                  {QStringLiteral("-N"), QStringLiteral("-f"), path("squid.conf")});
    QTRY_VERIFY2_WITH_TIMEOUT(isAnswering(m_proxyPort), "squid does not start; ./setup test installs it",
                              20000);
}

void tst_DownloadServers::startNginx()
{
    QVERIFY(shell("mkdir www; key='-newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout'; echo "
                  "subjectAltName=DNS:localhost >names; "
                  "openssl req -x509 $key ca.key -out ca.pem -days 2 -subj /CN=Authority; "
                  "openssl req $key key.pem -out request.pem -subj /CN=localhost; "
                  "openssl x509 -req -in request.pem -CA ca.pem -CAkey ca.key -CAcreateserial -days 2 "
                  "-extfile names -out chain.pem"));
    QVERIFY(write(path("www/file.bin"), file));
    const QString block = QStringLiteral("ssl_certificate %1/chain.pem; ssl_certificate_key %1/key.pem;\n"
                                         "location /down/ { return 302 http://localhost:1/file.bin; }");
    QVERIFY2(m_nginx.start(path("www"), block.arg(m_folder.path()), QStringLiteral("ssl")),
             qPrintable(m_nginx.errorString()));
}

void tst_DownloadServers::initTestCase()
{
    startProxy();
    startNginx();
}

void tst_DownloadServers::cleanupTestCase()
{
    m_proxy.terminate();
    QVERIFY(m_proxy.state() == QProcess::NotRunning || m_proxy.waitForFinished());
}

void tst_DownloadServers::init()
{
    QVERIFY(shell("rm -rf out; mkdir out; : >access.log"));
}

void tst_DownloadServers::passwordReachesOnlyTheProxy()
{
    FaultServer origin([](const Request &request) {
        Reply reply = FaultServer::honest(request, file, "\"one\"", request.number == 1 ? 200 * 1024 : -1);
        reply.end = request.number == 1 ? FaultServer::End::Stall : FaultServer::End::Close;
        return reply;
    });
    UtilityRun run(origin.url(), path("out"), throughProxy());
    run.start(password + "\n");
    QTRY_VERIFY(!fileContent(path("out/file.bin.kovupd-part")).isEmpty());
    const QString process = QStringLiteral("/proc/%1/").arg(run.process.processId());
    QByteArray seen = fileContent(process + QStringLiteral("cmdline"));
    QVERIFY(seen.contains(proxyUser));
    seen += fileContent(process + QStringLiteral("environ"));
    run.process.terminate();
    QCOMPARE(run.wait(), 32);
    seen += run.output + run.errors + fileContent(path("out/file.bin.kovupd-info"));

    UtilityRun again(origin.url(), path("out"), throughProxy());
    QCOMPARE(again.run(password + "\n"), 0);
    QCOMPARE(fileContent(path("out/file.bin")), file);
    QVERIFY2(proxyLog().contains(proxyUser), proxyLog().constData());
    seen += again.output + again.errors + origin.requests.join();
    QVERIFY(!seen.contains("Proxy-Authorization"));
    for (const QByteArray &form : {password, password.toBase64(), password.toPercentEncoding(),
                                   (proxyUser + ":" + password).toBase64()})
        QVERIFY2(!seen.contains(form), seen.constData());
}

void tst_DownloadServers::wrongPasswordIsSentOnce()
{
    FaultServer origin(honest);
    for (const QByteArray &url : {origin.url(), secureUrl("localhost")}) {
        init();
        UtilityRun run(url, path("out"), throughProxy());
        QCOMPARE(run.run("wrong\n"), 20);
        // One question without a user, one with.
        QTRY_COMPARE(proxyLog().count(proxyUser), 1);
        QVERIFY2(proxyLog().count("DENIED/407") <= 2, proxyLog().constData());
    }
    QVERIFY(origin.requests.isEmpty());
    QCOMPARE(UtilityRun(origin.url(), path("out"), throughProxy()).run(), 20);
    QCOMPARE(UtilityRun(origin.url(), path("out"), throughProxy()).run(QByteArray("a\0b\n", 4)), 33);
}

void tst_DownloadServers::noWayAroundTheProxy()
{
    FaultServer origin(honest);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("no_proxy"), QStringLiteral("*"));
    environment.insert(QStringLiteral("http_proxy"), QStringLiteral("http://127.0.0.1:1"));

    const QByteArray nobody
        = "--proxy-server 127.0.0.1 --proxy-port " + QByteArray::number(NginxServer::freePort());
    UtilityRun refused(origin.url(), path("out"), nobody);
    refused.process.setProcessEnvironment(environment);
    QCOMPARE(refused.run(), 25);
    QVERIFY(origin.requests.isEmpty());

    // And the other way round: the environment's proxy is nobody's wish.
    UtilityRun direct(origin.url(), path("out"));
    direct.process.setProcessEnvironment(environment);
    QCOMPARE(direct.run(), 0);
}

void tst_DownloadServers::certificates_data()
{
    QTest::addColumn<QByteArray>("url");
    QTest::addColumn<QByteArray>("more");
    QTest::addColumn<int>("exitCode");

    QTest::newRow("trusted") << secureUrl("localhost") << trusting("ca.pem") << 0;
    QTest::newRow("unknown authority") << secureUrl("localhost") << QByteArray() << 26;
    QTest::newRow("another name") << secureUrl("127.0.0.1") << trusting("ca.pem") << 26;
    QTest::newRow("no such file") << secureUrl("localhost") << trusting("none.pem") << 26;
}

void tst_DownloadServers::certificates()
{
    QFETCH(QByteArray, url);
    QFETCH(QByteArray, more);
    QFETCH(int, exitCode);
    UtilityRun run(url, path("out"), more);
    QVERIFY2(run.run() == exitCode, run.errors.constData());
    QCOMPARE(fileContent(path("out/file.bin")), exitCode == 0 ? file : QByteArray());
}

void tst_DownloadServers::tunnel()
{
    UtilityRun run(secureUrl("localhost"), path("out"), throughProxy() + trusting("ca.pem"));
    QVERIFY2(run.run(password) == 0, run.errors.constData());
    QCOMPARE(fileContent(path("out/file.bin")), file);
    QTRY_VERIFY(
        proxyLog().contains("CONNECT localhost:" + QByteArray::number(m_nginx.port()) + " " + proxyUser));
}

void tst_DownloadServers::neverFromHttpsToHttp()
{
    UtilityRun run(secureUrl("localhost", "/down/file.bin"), path("out"), trusting("ca.pem"));
    QVERIFY2(run.run() == 27, run.errors.constData());
}

KOV_TEST_MAIN(QCoreApplication, tst_DownloadServers)
#include "tst_download_servers.moc"
