#include "tests/programs/download/FaultServer.h"
#include "tests/programs/download/UtilityRun.h"
#include "tests/support/KovTest.h"

#include <QTcpSocket>

#include <memory>

using Reply = FaultServer::Reply;
using Request = FaultServer::Request;

namespace {

const QByteArray password = "p\xc3\xa4ss: w\\rd%";
const QByteArray proxyUser = "proxy user";

QByteArray file()
{
    static const QByteArray content = testContent(300 * 1024, 1);
    return content;
}

quint16 freePort()
{
    QTcpServer server;
    return server.listen(QHostAddress::LocalHost) ? server.serverPort() : 0;
}

bool write(const QString &path, const QByteArray &content)
{
    QFile target(path);
    return target.open(QIODevice::WriteOnly) && target.write(content) == content.size();
}

/// Every form in which the password could lie around.
QVector<QByteArray> forms()
{
    return {password, password.toBase64(), password.toPercentEncoding(),
            (proxyUser + ":" + password).toBase64()};
}

} // namespace

/// Against the real things: a proxy that demands a password, and a server with a certificate of a private
/// authority.
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
    QString path(const QString &name) const { return m_folder.filePath(name); }
    QString result() const { return path(QStringLiteral("out/file.bin")); }
    bool shell(const QString &script);
    std::unique_ptr<QProcess> startServer(const QString &program, const QStringList &arguments, quint16 port);
    void writeProxyConfiguration();
    void writeNginxConfiguration();
    QStringList proxyArguments() const;
    QByteArray secureUrl(const char *host, const char *file) const;
    QByteArray proxyLog() const { return fileContent(path(QStringLiteral("access.log"))); }

    QTemporaryDir m_folder;
    quint16 m_proxyPort = 0;
    quint16 m_tlsPort = 0;
    std::unique_ptr<QProcess> m_proxy;
    std::unique_ptr<QProcess> m_nginx;
};

bool tst_DownloadServers::shell(const QString &script)
{
    QProcess process;
    process.setWorkingDirectory(m_folder.path());
    process.start(QStringLiteral("sh"), {QStringLiteral("-ec"), script});
    return process.waitForFinished() && process.exitCode() == 0;
}

std::unique_ptr<QProcess> tst_DownloadServers::startServer(const QString &program,
                                                           const QStringList &arguments, quint16 port)
{
    auto process = std::make_unique<QProcess>();
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process->start(program, arguments);
    for (int attempt = 0; attempt < 200; ++attempt) {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
        if (socket.waitForConnected(100))
            return process;
        QTest::qWait(50);
    }
    return nullptr;
}

void tst_DownloadServers::writeProxyConfiguration()
{
    const QByteArray folder = m_folder.path().toLocal8Bit();
    QVERIFY(write(path(QStringLiteral("squid.conf")),
                  "http_port 127.0.0.1:" + QByteArray::number(m_proxyPort) + "\npid_filename " + folder
                      + "/squid.pid\naccess_log stdio:" + folder + "/access.log\ncache_log " + folder
                      + "/cache.log\ncache deny all\nlogfile_rotate 0\ncoredump_dir " + folder
                      + "\nshutdown_lifetime 0 seconds\npinger_enable off\n"
                        "auth_param basic program /usr/lib/squid/basic_ncsa_auth "
                      + folder
                      + "/passwords\nauth_param basic realm test\nauth_param basic utf8 off\n"
                        "acl known proxy_auth REQUIRED\nhttp_access allow known\nhttp_access deny all\n"));
    QVERIFY(write(path(QStringLiteral("password")), password + "\n"));
    QVERIFY(shell(QStringLiteral(
        "printf 'proxy user:%s\\n' \"$(openssl passwd -apr1 -stdin <password)\" >passwords; rm password; "
        "touch access.log cache.log; chmod 777 .; chmod 666 *.log; chmod 644 passwords")));
}

void tst_DownloadServers::writeNginxConfiguration()
{
    QVERIFY(shell(QStringLiteral("mkdir www; "
                                 "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes "
                                 "-keyout ca.key -out ca.pem -days 2 -subj /CN=Authority; "
                                 "openssl req -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout "
                                 "key.pem -out request.pem -subj /CN=localhost; "
                                 "echo subjectAltName=DNS:localhost >names; "
                                 "openssl x509 -req -in request.pem -CA ca.pem -CAkey ca.key -CAcreateserial "
                                 "-days 2 -extfile names -out certificate.pem")));
    QVERIFY(write(path(QStringLiteral("www/file.bin")), file()));
    const QByteArray folder = m_folder.path().toLocal8Bit();
    QVERIFY(write(path(QStringLiteral("nginx.conf")),
                  "daemon off; pid " + folder + "/nginx.pid; error_log " + folder
                      + "/error.log; events { }\nhttp { access_log off; "
                        "client_body_temp_path "
                      + folder + "; proxy_temp_path " + folder + "; fastcgi_temp_path " + folder
                      + "; uwsgi_temp_path " + folder + "; scgi_temp_path " + folder
                      + ";\nserver { listen 127.0.0.1:" + QByteArray::number(m_tlsPort)
                      + " ssl; ssl_certificate " + folder + "/certificate.pem; ssl_certificate_key " + folder
                      + "/key.pem; root " + folder
                      + "/www;\nlocation /down/ { return 302 http://localhost:1/file.bin; } } }\n"));
}

void tst_DownloadServers::initTestCase()
{
    m_proxyPort = freePort();
    m_tlsPort = freePort();
    writeProxyConfiguration();
    writeNginxConfiguration();
    m_proxy = startServer(QStringLiteral("/usr/sbin/squid"),
                          {QStringLiteral("-N"), QStringLiteral("-f"), path(QStringLiteral("squid.conf"))},
                          m_proxyPort);
    QVERIFY2(m_proxy, "squid does not start; ./setup test installs it");
    m_nginx = startServer(QStringLiteral("/usr/sbin/nginx"),
                          {QStringLiteral("-e"), QStringLiteral("stderr"), QStringLiteral("-c"),
                           path(QStringLiteral("nginx.conf"))},
                          m_tlsPort);
    QVERIFY2(m_nginx, "nginx does not start; ./setup test installs it");
}

void tst_DownloadServers::cleanupTestCase()
{
    for (const auto *server : {&m_proxy, &m_nginx}) {
        if (!*server)
            continue;
        (*server)->terminate();
        QVERIFY((*server)->waitForFinished());
    }
}

void tst_DownloadServers::init()
{
    QVERIFY(shell(QStringLiteral("rm -rf out; mkdir out; : >access.log")));
}

QStringList tst_DownloadServers::proxyArguments() const
{
    return {QStringLiteral("--proxy-server"),    QStringLiteral("127.0.0.1"), QStringLiteral("--proxy-port"),
            QString::number(m_proxyPort),        QStringLiteral("-pu"),       QString::fromUtf8(proxyUser),
            QStringLiteral("--proxy-try-count"), QStringLiteral("1")};
}

QByteArray tst_DownloadServers::secureUrl(const char *host, const char *file) const
{
    return QByteArray("https://") + host + ":" + QByteArray::number(m_tlsPort) + file;
}

void tst_DownloadServers::passwordReachesOnlyTheProxy()
{
    FaultServer origin([](const Request &request) {
        Reply reply = FaultServer::honest(request, file(), "\"one\"", request.number == 1 ? 200 * 1024 : -1);
        reply.end = request.number == 1 ? FaultServer::End::Stall : FaultServer::End::Close;
        return reply;
    });
    UtilityRun run(origin.url(), path(QStringLiteral("out")), proxyArguments());
    run.start(password + "\n");
    QTRY_VERIFY(!fileContent(path(QStringLiteral("out/file.bin.kovupd-part"))).isEmpty());
    const QString process = QStringLiteral("/proc/%1/").arg(run.process.processId());
    QByteArray seen = fileContent(process + QStringLiteral("cmdline"));
    QVERIFY(seen.contains(proxyUser));
    seen += fileContent(process + QStringLiteral("environ"));
    run.process.terminate();
    QCOMPARE(run.wait(), 32);
    seen += run.output + run.errors;

    UtilityRun again(origin.url(), path(QStringLiteral("out")), proxyArguments());
    QCOMPARE(again.run(password + "\n"), 0);
    QCOMPARE(fileContent(result()), file());
    seen += again.output + again.errors + fileContent(path(QStringLiteral("out/file.bin.kovupd-info")))
            + origin.requests.join();
    QVERIFY(!seen.contains("Proxy-Authorization"));
    for (const QByteArray &form : forms())
        QVERIFY2(!seen.contains(form), seen.constData());
    QVERIFY2(proxyLog().contains("proxy user"), proxyLog().constData());
}

void tst_DownloadServers::wrongPasswordIsSentOnce()
{
    FaultServer origin(
        [](const Request &request) { return FaultServer::honest(request, file(), "\"one\""); });
    for (const QByteArray &url : {origin.url(), secureUrl("localhost", "/file.bin")}) {
        init();
        UtilityRun run(url, path(QStringLiteral("out")), proxyArguments());
        QCOMPARE(run.run("wrong\n"), 20);
        // The question, and one answer that names the user.
        QTRY_COMPARE(proxyLog().count("proxy user"), 1);
        QVERIFY2(proxyLog().count("DENIED/407") <= 2, proxyLog().constData());
    }
    QVERIFY(origin.requests.isEmpty());

    UtilityRun silent(origin.url(), path(QStringLiteral("out")), proxyArguments());
    QCOMPARE(silent.run(), 20);
    QCOMPARE(
        UtilityRun(origin.url(), path(QStringLiteral("out")), proxyArguments()).run(QByteArray("a\0b\n", 4)),
        33);
}

void tst_DownloadServers::noWayAroundTheProxy()
{
    FaultServer origin(
        [](const Request &request) { return FaultServer::honest(request, file(), "\"one\""); });
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("no_proxy"), QStringLiteral("*"));
    environment.insert(QStringLiteral("http_proxy"), QStringLiteral("http://127.0.0.1:1"));

    UtilityRun refused(origin.url(), path(QStringLiteral("out")),
                       {QStringLiteral("--proxy-server"), QStringLiteral("127.0.0.1"),
                        QStringLiteral("--proxy-port"), QString::number(freePort())});
    refused.process.setProcessEnvironment(environment);
    QCOMPARE(refused.run(), 25);
    QVERIFY(origin.requests.isEmpty());

    // And the other way round: the environment's proxy is nobody's wish.
    UtilityRun direct(origin.url(), path(QStringLiteral("out")));
    direct.process.setProcessEnvironment(environment);
    QCOMPARE(direct.run(), 0);
}

void tst_DownloadServers::certificates_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("authority");
    QTest::addColumn<int>("exitCode");

    QTest::newRow("trusted") << QStringLiteral("localhost") << QStringLiteral("ca.pem") << 0;
    QTest::newRow("unknown authority") << QStringLiteral("localhost") << QString() << 26;
    QTest::newRow("another name") << QStringLiteral("127.0.0.1") << QStringLiteral("ca.pem") << 26;
    QTest::newRow("no such certificate file")
        << QStringLiteral("localhost") << QStringLiteral("none.pem") << 26;
}

void tst_DownloadServers::certificates()
{
    QFETCH(QString, host);
    QFETCH(QString, authority);
    QFETCH(int, exitCode);
    const QStringList more
        = authority.isEmpty() ? QStringList() : QStringList{QStringLiteral("--ca-file"), path(authority)};
    UtilityRun run(secureUrl(host.toLatin1().constData(), "/file.bin"), path(QStringLiteral("out")), more);
    QVERIFY2(run.run() == exitCode, run.errors.constData());
    QCOMPARE(fileContent(result()), exitCode == 0 ? file() : QByteArray());
}

void tst_DownloadServers::tunnel()
{
    const QStringList more
        = proxyArguments() + QStringList{QStringLiteral("--ca-file"), path(QStringLiteral("ca.pem"))};
    UtilityRun run(secureUrl("localhost", "/file.bin"), path(QStringLiteral("out")), more);
    QVERIFY2(run.run(password) == 0, run.errors.constData());
    QCOMPARE(fileContent(result()), file());
    QTRY_VERIFY(proxyLog().contains("CONNECT localhost:" + QByteArray::number(m_tlsPort) + " proxy user"));
}

void tst_DownloadServers::neverFromHttpsToHttp()
{
    UtilityRun run(secureUrl("localhost", "/down/file.bin"), path(QStringLiteral("out")),
                   {QStringLiteral("--ca-file"), path(QStringLiteral("ca.pem"))});
    QVERIFY2(run.run() == 27, run.errors.constData());
}

KOV_TEST_MAIN(QCoreApplication, tst_DownloadServers)
#include "tst_download_servers.moc"
