#include "gui/log/LogText.h"
#include "gui/tasks/TaskIds.h"
#include "gui/tasks/http/CTaskHttpOperation.h"
#include "gui/tasks/proxy/CTaskGetProxyInfo.h"
#include "gui/tasks/proxy/ProxyPreferences.h"
#include "gui/tasks/sign_in/CProxyAuthenticator.h"
#include "gui/tasks/sign_in/ProxyAuthUtils.h"
#include "tests/support/KovTest.h"
#include "tests/support/OffscreenPlatform.h"
#include "tests/support/SquidServer.h"
#include "tests/tasks/ProxyFixture.h"

namespace {

const QString userName = "somebody-known";
/// Looks different in each of its forms.
const QString secret = "s3cr&t/w%rd+x=>?~";

QByteArrayList forms(const QString &text)
{
    const QByteArray plain = text.toUtf8();
    return {plain, plain.toBase64(QByteArray::OmitTrailingEquals),
            (userName.toUtf8() + ':' + plain).toBase64(), text.toUtf8().toPercentEncoding(),
            QUrl::toPercentEncoding(text, "&/+=")};
}

QStringList filesBelow(const QString &folder)
{
    QStringList files;
    for (QDirIterator entry(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
         entry.hasNext();)
        files << entry.next();
    return files;
}

/// The arguments and the environment of this process and of its children.
QByteArray processTexts()
{
    QByteArray texts;
    const QByteArray parent = "PPid:\t" + QByteArray::number(QCoreApplication::applicationPid()) + '\n';
    for (const QString &name : QDir("/proc").entryList({"[0-9]*"}, QDir::Dirs)) {
        const QString folder = "/proc/" + name;
        if (name.toLongLong() == QCoreApplication::applicationPid()
            || fileContent(folder + "/status").contains(parent))
            texts += fileContent(folder + "/cmdline") + fileContent(folder + "/environ");
    }
    return texts;
}

/// Its thread is busy until the proxy has refused the tunnel.
class LateHttpOperation : public CTaskHttpOperation
{
public:
    LateHttpOperation(const QUrl &url, const QNetworkProxy &proxy, const SquidServer &squid)
        : CTaskHttpOperation(QNetworkRequest(url), QNetworkAccessManager::GetOperation, QString(), &proxy,
                             nullptr, KeepParser, QByteArray())
        , m_squid(squid)
    { }

    QNetworkReply *postHttpOperationRequest() override
    {
        const int before = m_squid.refusedUsers().size();
        QNetworkReply *const posted = CTaskHttpOperation::postHttpOperationRequest();
        while (m_squid.refusedUsers().size() == before)
            QThread::yieldCurrentThread();
        return posted;
    }

private:
    const SquidServer &m_squid;
};

} // namespace

class tst_ProxySquid : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ignoreOffscreenWarnings();
        ignoreReplacedAnswers();
        QVERIFY2(m_squid.start(userName.toUtf8(), secret.toUtf8()), m_squid.errorText().constData());
    }
    void init() { QSettings().clear(); }
    void cleanup() { CProxyAuthenticator::destroy(); }

    void wrongSavedPasswordIsSentOnceForATunnel()
    {
        TestServer origin([](const TestServer::Request &) { return TestServer::page("200 OK"); });
        const QUrl url(QString("https://127.0.0.1:%1/").arg(origin.serverPort()));
        QVERIFY(ProxyAuthUtils::saveProxyCredentials(proxy(), userName, "wrong"));
        const int before = m_squid.refusedUsers().size();
        Person person({});
        QCOMPARE(fetch(url), KOV_ERR_PROXY_AUTHENTICATION_REQUIRED);
        QCOMPARE(fetch(url), KOV_ERR_PROXY_AUTHENTICATION_REQUIRED);
        QTRY_COMPARE(m_squid.refusedUsers().mid(before), QByteArrayList({"-", userName.toUtf8(), "-"}));
        QCOMPARE(person.seen.size(), 2);
        QCOMPARE(origin.connections, 0);
    }

    void tunnelRefusedBeforeItsThreadLooks()
    {
        TestServer origin([](const TestServer::Request &) { return TestServer::page("200 OK"); });
        Person person({});
        LateHttpOperation task(QUrl(QString("https://127.0.0.1:%1/").arg(origin.serverPort())), proxy(),
                               m_squid);
        QCOMPARE(resultOf(task), KOV_ERR_PROXY_AUTHENTICATION_REQUIRED);
        QCOMPARE(person.seen.size(), 1);
    }

    void passwordStandsNowhere()
    {
        KovGui::setLogVerbosity(4);
        KovGui::forwardQtMessages(true);
        const QStringList strangers = filesBelow(QDir::tempPath());
        TestServer origin([](const TestServer::Request &) { return TestServer::page("200 OK"); });
        const QUrl url(QString("http://127.0.0.1:%1/page").arg(origin.serverPort()));
        const QString typed = userName + ':';
        {
            Person person({typed + "wrong", typed + "wronger", typed + secret + '!'});
            QCOMPARE(fetch(url), KOV_SUCCESS);
            QCOMPARE(person.seen.size(), 3);
        }
        QTcpServer closing;
        connect(&closing, &QTcpServer::newConnection, this,
                [&closing] { closing.nextPendingConnection()->close(); });
        closing.listen(QHostAddress::LocalHost);
        QVERIFY(KOV_FAILED(fetch(QUrl(QString("https://127.0.0.1:%1/").arg(closing.serverPort())))));
        // The same password from the preferences, through the task, then a request that fails.
        CProxyAuthenticator::destroy();
        useProxy("127.0.0.1", m_squid.port());
        setPreference("Proxy Http Autorization Enabled", true);
        setPreference("Proxy Http Username", userName);
        QVERIFY(ProxyPreferences::setPassword(false, secret));
        CTaskGetProxyInfo task(new CTaskId_GetProxyInfo(url.toString(), true));
        QCOMPARE(resultOf(task), KOV_SUCCESS);
        QCOMPARE(task.proxy().password(), secret);
        const QNetworkProxy through = task.proxy();
        CTaskHttpOperation failing(QNetworkRequest(QUrl("http://127.0.0.1:1/")),
                                   QNetworkAccessManager::GetOperation, QString(), &through, nullptr,
                                   CTaskHttpOperation::KeepParser, QByteArray());
        QVERIFY(KOV_FAILED(resultOf(failing)));
        QVERIFY(failing.reply());
        KovGui::forwardQtMessages(false);
        KovGui::setLogVerbosity(1);

        QVERIFY(!origin.requests.isEmpty());
        QByteArray texts = origin.requests.join() + processTexts() + failing.reply()->errorString().toUtf8();
        QSettings settings;
        settings.sync();
        for (const QString &key : settings.allKeys())
            texts += settings.value(key).toByteArray();
        int settingsFiles = 0;
        for (const QString &path : filesBelow(QDir::tempPath())) {
            if (strangers.contains(path)
                && !path.startsWith(QFileInfo(QString::fromUtf8(qgetenv("XDG_CONFIG_HOME"))).path()))
                continue;
            settingsFiles += path.endsWith(".conf") && fileContent(path).contains("Passwords");
            texts += fileContent(path);
        }
        // What was looked through is what was written.
        QCOMPARE(settingsFiles, settings.fileName().endsWith(".conf") ? 1 : 0);
        QVERIFY(settings.allKeys().join('\n').contains("Passwords"));
        QVERIFY(texts.contains("Set user defined proxy host"));
        QVERIFY(texts.contains("overriding active cache entry"));
        QVERIFY(!texts.contains("Proxy-Authorization"));
        for (const QString &password : {secret, QString("wronger")}) {
            for (const QByteArray &form : forms(password))
                QVERIFY2(!texts.contains(form), form.constData());
        }
        // Qt's own messages do not tell the user either.
        QVERIFY(!texts.contains("//" + userName.toUtf8() + '@'));
    }

private:
    QNetworkProxy proxy() const { return {QNetworkProxy::HttpProxy, "127.0.0.1", m_squid.port()}; }
    KOV_RESULT fetch(const QUrl &url) const
    {
        const QNetworkProxy through = proxy();
        CTaskHttpOperation task(QNetworkRequest(url), QNetworkAccessManager::GetOperation, QString(),
                                &through, nullptr, CTaskHttpOperation::KeepParser, QByteArray());
        return resultOf(task);
    }

    SquidServer m_squid;
};

KOV_TEST_MAIN(QApplication, tst_ProxySquid)
#include "tst_proxy_squid.moc"
