#include "tests/programs/download/UtilityRun.h"
#include "tests/support/KovTest.h"
#include "tests/support/NginxServer.h"
#include "tests/support/SocksServer.h"
#include "tests/support/SquidServer.h"
#include "tests/support/System.h"
#include "tests/support/TestAuthority.h"
#include "tests/support/TestServer.h"

using Reply = TestServer::Reply;
using Request = TestServer::Request;

namespace {

const QByteArray password = "p\xc3\xa4ss: w\\rd%";
const QByteArray proxyUser = "proxyuser";
const QByteArray file = testContent(300 * 1024, 1);

Reply honest(const Request &request)
{
    return TestServer::honest(request, file, "\"one\"");
}

} // namespace

/// Against the real things: a proxy that demands a password, and a server with a certificate of a private
/// authority.
class tst_DownloadServers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(m_squid.start(proxyUser, password), m_squid.errorText().constData());
        QVERIFY(QDir().mkpath(path("www")) && writeFile(path("www/file.bin"), file));
        const QString certificate = m_authority.issue("/CN=localhost", "DNS:localhost,IP:127.0.0.2");
        const QString redirect = "location /down/ { return 302 http://localhost:1/file.bin; }";
        QVERIFY2(m_nginx.start(path("www"), certificate + redirect, "ssl"),
                 qPrintable(m_nginx.errorString()));
    }

    void init()
    {
        QVERIFY(QDir(path("out")).removeRecursively() && QDir().mkpath(path("out")));
        m_squid.clearAccessLog();
    }

    void passwordReachesOnlyTheProxy()
    {
        TestServer origin([](const Request &request) {
            Reply reply = TestServer::honest(request, file, "\"one\"", request.number == 1 ? 200 * 1024 : -1);
            reply.end = request.number == 1 ? TestServer::End::Stay : TestServer::End::Close;
            return reply;
        });
        UtilityRun run(origin.url(), path("out"), throughProxy());
        run.start(password + "\n");
        QTRY_VERIFY(!fileContent(path("out/file.bin.kovupd-part")).isEmpty());
        QByteArray seen = System::shownOf(run.process.processId());
        QCOMPARE(seen.contains(proxyUser), System::showsProcesses);
        QVERIFY(System::askToStop(run.process));
        QCOMPARE(run.wait(), 32);
        seen += run.output + run.errors + fileContent(path("out/file.bin.kovupd-info"));

        UtilityRun again(origin.url(), path("out"), throughProxy());
        QCOMPARE(again.run(password + "\n"), 0);
        QCOMPARE(fileContent(path("out/file.bin")), file);
        QVERIFY2(m_squid.accessLog().contains(proxyUser), m_squid.accessLog().constData());
        seen += again.output + again.errors + origin.requests.join();
        QVERIFY(!seen.contains("Proxy-Authorization"));
        for (const QByteArray &form : {password, password.toBase64(), password.toPercentEncoding(),
                                       (proxyUser + ":" + password).toBase64()})
            QVERIFY2(!seen.contains(form), seen.constData());
    }

    void wrongPasswordIsSentOnce()
    {
        TestServer origin(honest);
        for (const QByteArray &url : {origin.url(), secureUrl("localhost")}) {
            init();
            UtilityRun run(url, path("out"), throughProxy());
            QCOMPARE(run.run("wrong\n"), 20);
            // One question without a user, one with.
            QTRY_COMPARE(m_squid.accessLog().count(proxyUser), 1);
            QVERIFY2(m_squid.accessLog().count("DENIED/407") <= 2, m_squid.accessLog().constData());
        }
        QVERIFY(origin.requests.isEmpty());
        QCOMPARE(UtilityRun(origin.url(), path("out"), throughProxy()).run(), 20);
        QCOMPARE(UtilityRun(origin.url(), path("out"), throughProxy()).run(QByteArray("a\0b\n", 4)), 33);
    }

    void noWayAroundTheProxy()
    {
        TestServer origin(honest);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("no_proxy", "*");
        environment.insert("http_proxy", "http://127.0.0.1:1");

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

    void socks_data()
    {
        Table<QByteArray, QByteArray, QByteArray, int> row; // what the proxy wants; the user; the password
        row("no login", "", "", "", 0);
        row("login", proxyUser + ':' + password, proxyUser, password, 0);
        row("wrong password", proxyUser + ':' + password, proxyUser, "wrong", 20);
        row("no user", proxyUser + ':' + password, "", "", 20);
    }

    void socks()
    {
        const auto [login, user, sent, exitCode] = cells<QByteArray, QByteArray, QByteArray, int>();
        const TestServer origin(honest);
        const SocksServer socks(login);
        UtilityRun run(origin.url(), path("out"),
                       "--proxy-kind socks5 --proxy-server 127.0.0.1 --proxy-port "
                           + QByteArray::number(socks.serverPort())
                           + (user.isEmpty() ? "" : " --proxy-try-count 1 -pu " + user));
        QVERIFY2(run.run(sent + '\n') == exitCode, run.errors.constData());
        QCOMPARE(socks.logins, user.isEmpty() ? QByteArrayList() : QByteArrayList{user + ':' + sent});
        QCOMPARE(socks.names.size(), exitCode == 0 ? 1 : 0);
        QVERIFY(!(run.output + run.errors).contains(password));
    }

    void certificates_data()
    {
        Table<QByteArray, QByteArray, int> row;

        row("trusted", secureUrl("localhost"), trusting(), 0);
        if (System::checksCertificates)
            row("unknown authority", secureUrl("localhost"), "", 26);
        row("another address", secureUrl("127.0.0.1"), trusting(), 26);
        row("no such file", secureUrl("localhost"), "--ca-file /nonexistent", 26);
        row("a folder", secureUrl("localhost"), "--ca-file /", 26);
        row("redirect to plain HTTP", secureUrl("localhost", "/down/file.bin"), trusting(), 27);
    }

    void certificates()
    {
        const auto [url, more, exitCode] = cells<QByteArray, QByteArray, int>();
        UtilityRun run(url, path("out"), more);
        QVERIFY2(run.run() == exitCode, run.errors.constData());
        QCOMPARE(fileContent(path("out/file.bin")), exitCode == 0 ? file : QByteArray());
    }

    void tunnel()
    {
        UtilityRun run(secureUrl("localhost"), path("out"), throughProxy() + trusting());
        QVERIFY2(run.run(password) == 0, run.errors.constData());
        QCOMPARE(fileContent(path("out/file.bin")), file);
        QTRY_VERIFY(m_squid.accessLog().contains("CONNECT localhost:" + QByteArray::number(m_nginx.port())
                                                 + " " + proxyUser));
    }

private:
    QString path(const char *name) const { return m_folder.filePath(QLatin1String(name)); }
    QByteArray throughProxy() const
    {
        return "--proxy-server 127.0.0.1 --proxy-port " + QByteArray::number(m_squid.port()) + " -pu "
               + proxyUser + " --proxy-try-count 1 ";
    }
    QByteArray trusting() const { return "--ca-file " + m_authority.certificate().toUtf8(); }
    QByteArray secureUrl(const QByteArray &host, const QByteArray &name = "/file.bin") const
    {
        return "https://" + host + ":" + QByteArray::number(m_nginx.port()) + name;
    }

    QTemporaryDir m_folder;
    TestAuthority m_authority;
    SquidServer m_squid;
    NginxServer m_nginx;
};

KOV_TEST_MAIN(QCoreApplication, tst_DownloadServers)
#include "tst_download_servers.moc"
