#include "gui/KovGui.h"
#include "gui/tasks/TaskIds.h"
#include "gui/tasks/download/CTaskDownloadFile.h"
#include "gui/tasks/http/CTaskHttpOperation.h"
#include "gui/tasks/proxy/CTaskGetProxyInfo.h"
#include "gui/tasks/sign_in/CProxyAuthenticator.h"
#include "gui/tasks/sign_in/ProxyAuthUtils.h"
#include "tests/support/KovTest.h"
#include "tests/support/OffscreenPlatform.h"
#include "tests/support/SocksServer.h"
#include "tests/tasks/ProxyFixture.h"

#include <QAuthenticator>
#include <QNetworkReply>

namespace {

const QUrl origin("http://origin.invalid/page");

std::unique_ptr<CTaskHttpOperation> request(const QNetworkProxy &proxy, const QUrl &url = origin)
{
    return std::make_unique<CTaskHttpOperation>(QNetworkRequest(url), QNetworkAccessManager::GetOperation,
                                                QString(), &proxy, nullptr, CTaskHttpOperation::KeepParser,
                                                QByteArray());
}

QStringList list(const QString &text)
{
    return text.split('|', Qt::SkipEmptyParts);
}

/// A manager of a host: it counts its challenges before they are answered.
class Client : public QNetworkAccessManager
{
public:
    Client(const QNetworkProxy &proxy, int &challenges)
    {
        setProxy(proxy);
        connect(this, &QNetworkAccessManager::proxyAuthenticationRequired, this,
                [&challenges] { ++challenges; });
        CProxyAuthenticator::instance()->addRequestor(this);
    }
    void get() { reply = QNetworkAccessManager::get(QNetworkRequest(origin)); }
    QNetworkReply *reply = nullptr;
};

} // namespace

class tst_ProxyChallenge : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ignoreOffscreenWarnings();
        ignoreReplacedAnswers();
    }
    void init() { QSettings().clear(); }
    void cleanup()
    {
        CProxyAuthenticator::destroy();
        QVERIFY(!QApplication::activeModalWidget());
    }

    void escalation_data()
    {
        // preset: sent unasked, as from the preferences; attempts: after the first, which has none
        Table<QString, QString, QString, QString, QString, bool> row;
        row("typed", "", "", "u:good", "u:good", "ask", true);
        row("empty password, then right", "", "", "u:|u:good", "u:|u:good", "ask|retry", true);
        row("typed wrong twice", "", "", "u:a|u:b|u:good", "u:a|u:b|u:good", "ask|retry|retry", true);
        row("the same wrong one again is sent again", "", "", "u:a|u:a|cancel", "u:a|u:a", "ask|retry|retry",
            false);
        row("cancelled", "", "", "cancel", "", "ask", false);
        row("saved", "", "u:good", "", "u:good", "", true);
        row("saved wrong is sent once", "", "u:old", "u:good", "u:old|u:good", "ask", true);
        row("saved wrong, cancelled", "", "u:old", "cancel", "u:old", "ask", false);
        row("preset wrong, saved right", "u:old", "u:good", "", "u:good", "", true);
        row("preset wrong, saved the same", "u:old", "u:old", "u:good", "u:good", "ask", true);
        row("typed, not in ASCII", "", "", "ü:wörd€", "ü:wörd€", "ask", true);
        row("saved, not in ASCII, wrong", "", "ü:wört€", "u:good", "ü:wört€|u:good", "ask", true);
        row("preset, not in ASCII", "ü:wörd€", "", "", "", "", true);
        row("preset right", "u:good", "", "", "", "", true);
    }

    void escalation()
    {
        const auto [preset, saved, answers, attempts, dialogs, succeeds]
            = cells<QString, QString, QString, QString, QString, bool>();
        TestServer server(asksFor({"u:good", "ü:wörd€"}));
        QNetworkProxy proxy = asProxy(server);
        if (!saved.isEmpty())
            QVERIFY(
                ProxyAuthUtils::saveProxyCredentials(proxy, saved.section(':', 0, 0), saved.section(':', 1)));
        if (!preset.isEmpty()) {
            proxy.setUser(preset.section(':', 0, 0));
            proxy.setPassword(preset.section(':', 1));
        }
        Person person(list(answers));
        const auto task = request(proxy);
        QCOMPARE(resultOf(*task), succeeds ? KOV_SUCCESS : KOV_ERR_PROXY_AUTHENTICATION_REQUIRED);
        QStringList made = ::attempts(server);
        QCOMPARE(made.takeFirst(), "");
        QVERIFY(preset.isEmpty() || made.takeFirst() == preset);
        QCOMPARE(made.join('|'), attempts);
        QCOMPARE(person.seen.join('|'), dialogs);
    }

    void socks()
    {
        const TestServer web([](const TestServer::Request &) { return TestServer::page("200 OK"); });
        const SocksServer server("ü:wörd€");
        const QNetworkProxy proxy(QNetworkProxy::Socks5Proxy, "127.0.0.1", server.serverPort());
        Person person({"ü:wört€", "ü:wörd€!"});
        const QUrl url(QString("http://origin.invalid:%1/").arg(web.serverPort()));
        QCOMPARE(resultOf(*request(proxy, url)), KOV_SUCCESS);
        QCOMPARE(person.seen.join('|'), "ask|retry");
        QCOMPARE(server.logins, (QByteArrayList{"ü:wört€", "ü:wörd€"}));
        if (QDir::listSeparator() != ':')
            QSKIP("The system's settings are not in the environment here.");
        // Saved, for the next start, and for the programs that get it from here.
        CProxyAuthenticator::destroy();
        qputenv("http_proxy", QString("socks5://127.0.0.1:%1").arg(server.serverPort()).toUtf8());
        CTaskGetProxyInfo detection(new CTaskId_GetProxyInfo(url.toString(), true));
        QCOMPARE(resultOf(detection), KOV_SUCCESS);
        qunsetenv("http_proxy");
        QCOMPARE(detection.proxy().user() + ':' + detection.proxy().password(), "ü:wörd€");
        QCOMPARE(person.seen.size(), 2);
        QVERIFY(!logFile().contains("wörd"));
    }

    void laterRequestsUseWhatProvedRight()
    {
        TestServer server(asksFor({"u:good"}));
        QSignalSpy valid(CProxyAuthenticator::instance(), &CProxyAuthenticator::validCredentialsEntered);
        Person person({"u:good"});
        QCOMPARE(resultOf(*request(asProxy(server))), KOV_SUCCESS);
        QCOMPARE(valid.size(), 1);
        QCOMPARE(valid.first().first().toUrl(), origin);
        QCOMPARE(CProxyAuthenticator::instance()->user(asProxy(server)), "u");
        QCOMPARE(resultOf(*request(asProxy(server))), KOV_SUCCESS);
        QCOMPARE(person.seen.size(), 1);
        // The same host with another port, and another type, is another proxy.
        QNetworkProxy other = asProxy(server);
        other.setPort(1);
        QVERIFY(CProxyAuthenticator::instance()->user(other).isEmpty());
        // Not remembered: the box was not checked.
        QString user, password;
        QVERIFY(!ProxyAuthUtils::getProxyCredentials(asProxy(server), user, password));
    }

    void parallelRequestsAskOnce_data()
    {
        Table<QString, QString, QNetworkReply::NetworkError> row;
        const auto refused = QNetworkReply::ProxyAuthenticationRequiredError;
        row("right", "u:good", "ask", QNetworkReply::NoError);
        row("wrong, then right", "u:bad|u:good", "ask|retry", QNetworkReply::NoError);
        row("wrong twice", "u:bad|u:bad|u:good", "ask|retry|retry", QNetworkReply::NoError);
        row("cancelled", "cancel", "ask", refused);
        row("wrong, then cancelled", "u:bad|cancel", "ask|retry", refused);
    }

    void parallelRequestsAskOnce()
    {
        const auto [answers, dialogs, error] = cells<QString, QString, QNetworkReply::NetworkError>();
        TestServer server(asksFor({"u:good"}));
        int challenges = 0;
        std::vector<std::unique_ptr<Client>> clients;
        for (int i = 0; i < 3; ++i)
            clients.push_back(std::make_unique<Client>(asProxy(server), challenges));
        Person person(list(answers), [&challenges] { return challenges >= 3; });
        for (const auto &client : clients)
            client->get();
        for (const auto &client : clients) {
            QTRY_VERIFY(client->reply->isFinished());
            QCOMPARE(client->reply->error(), error);
        }
        QCOMPARE(person.seen.join('|'), dialogs);
        // One of them finds out for all.
        QCOMPARE(attempts(server).count("u:bad"), answers.count("u:bad"));
    }

    void trialThatIsGivenUp()
    {
        // The one that carries the answer gets no word back; the others do not wait for it for ever.
        TestServer server([](const TestServer::Request &request) {
            return request.number == 4 ? TestServer::Reply{{}, {}, TestServer::End::Stay}
                                       : asksFor({"u:good"})(request);
        });
        int challenges = 0;
        std::vector<std::unique_ptr<Client>> clients;
        for (int i = 0; i < 3; ++i)
            clients.push_back(std::make_unique<Client>(asProxy(server), challenges));
        // It comes while the answer is tried, and waits as the others do.
        Client late(asProxy(server), challenges);
        Person person({"u:good"}, [&challenges] { return challenges >= 3; });
        // From outside, because the waiting ones are inside each other's event loops.
        QTimer poll;
        connect(&poll, &QTimer::timeout, this, [&] {
            const auto *authenticator = CProxyAuthenticator::instance();
            if (server.requests.size() == 4 && !late.reply)
                return late.get();
            for (auto &client : clients) {
                const bool isTrial = client && !authenticator->isChallenged(client.get());
                if (authenticator->isChallenged(&late) && isTrial)
                    return poll.stop(), client.reset();
            }
        });
        poll.start(5);
        for (const auto &client : clients)
            client->get();
        QTRY_VERIFY(server.requests.size() == 8);
        for (const auto &client : clients)
            QTRY_VERIFY(!client || (client->reply->isFinished() && !client->reply->error()));
        QTRY_VERIFY(late.reply->isFinished() && !late.reply->error());
        QCOMPARE(person.seen.size(), 1);
    }

    void challengesWithoutEnd()
    {
        TestServer server([](const TestServer::Request &) {
            return TestServer::page("407 Who are you", "Proxy-Authenticate: NTLM\r\n");
        });
        Person person({"u:x"});
        const auto task = request(asProxy(server));
        task->execute();
        QTRY_VERIFY(server.requests.size() > 20);
        auto *timer = task->findChild<QTimer *>("handshakeTimer");
        QVERIFY(timer && timer->isActive() && timer->isSingleShot());
        timer->start(0);
        QTRY_VERIFY(task->isFinished());
        QVERIFY(KOV_FAILED(task->getResult()));
        QVERIFY(logFile().contains("(!)Error: the proxy 127.0.0.1 wants a login of a kind"));
    }

    void cancelledDownloadTakesItsQuestionAlong()
    {
        KovGui::init(KAM_CONSOLE);
        TestServer server(asksFor({"u:good"}));
        useProxy("127.0.0.1", server.serverPort());
        CTaskDownloadFile task(origin.toString(), QDir::tempPath(), {});
        Person person({"cancel"}, [&task] {
            task.cancel();
            return false;
        });
        QCOMPARE(resultOf(task), KOV_ERR_FAILURE);
        QTRY_VERIFY(!QApplication::activeModalWidget());
        QCOMPARE(server.requests.size(), 1);
    }

    void differentProxiesGetTheirOwnTurn()
    {
        TestServer one(asksFor({"u:one"}));
        TestServer two(asksFor({"u:two"}));
        int challenges = 0;
        Client first(asProxy(one), challenges);
        Client second(asProxy(two), challenges);
        Person person({"u:one", "u:two"}, [&] {
            if (!second.reply)
                second.get();
            return challenges == 2;
        });
        first.get();
        QTRY_VERIFY(second.reply && first.reply->isFinished() && second.reply->isFinished());
        QCOMPARE(first.reply->error(), QNetworkReply::NoError);
        QCOMPARE(second.reply->error(), QNetworkReply::NoError);
        // Neither proxy saw what was meant for the other.
        QCOMPARE(attempts(one), QStringList({QString(), "u:one"}));
        QCOMPARE(attempts(two), QStringList({QString(), "u:two"}));
    }

    void aRefusedAnswerIsNotSentAgain()
    {
        TestServer server(asksFor({"u:good"}));
        QVERIFY(ProxyAuthUtils::saveProxyCredentials(asProxy(server), "u", "old"));
        Person person({});
        int challenges = 0;
        Client client(asProxy(server), challenges);
        for (int i = 0; i < 3; ++i) {
            client.get();
            QTRY_VERIFY(client.reply->isFinished());
            QCOMPARE(client.reply->error(), QNetworkReply::ProxyAuthenticationRequiredError);
        }
        QCOMPARE(resultOf(*request(asProxy(server))), KOV_ERR_PROXY_AUTHENTICATION_REQUIRED);
        QCOMPARE(attempts(server).count("u:old"), 1);
        QCOMPARE(person.seen.size(), 4);
    }

    void endsWhileTheQuestionIsOpen_data()
    {
        using Request = CTaskHttpOperation;
        Table<std::function<void(Request *, QWidget *)>> row;
        row("terminated", [](Request *task, QWidget *) { task->terminate(KOV_ERR_CANCELLED); });
        row("deleted", [](Request *task, QWidget *) { delete task; });
        row("dialog destroyed", [](Request *, QWidget *dialog) { delete dialog; });
        row("authenticator destroyed", [](Request *, QWidget *) { CProxyAuthenticator::destroy(); });
    }

    void endsWhileTheQuestionIsOpen()
    {
        const auto [end] = cells<std::function<void(CTaskHttpOperation *, QWidget *)>>();
        TestServer server(asksFor({"u:good"}));
        const QPointer<CTaskHttpOperation> task = request(asProxy(server)).release();
        const QPointer<QNetworkAccessManager> manager = task->findChild<QNetworkAccessManager *>();
        QElapsedTimer elapsed;
        QTimer poll;
        connect(&poll, &QTimer::timeout, this, [&] {
            QWidget *dialog = QApplication::activeModalWidget();
            if (!dialog)
                return;
            poll.stop();
            elapsed.start();
            end(task, dialog);
        });
        poll.start(5);
        task->execute();
        QTRY_VERIFY(!task || task->isFinished());
        if (task)
            QVERIFY(KOV_FAILED(task->getResult()));
        delete task;
        // The manager goes, and its thread is not waited for.
        QTRY_VERIFY(!manager);
        QVERIFY2(elapsed.elapsed() < 5000, qPrintable(QString::number(elapsed.elapsed())));
        QCOMPARE(attempts(server), QStringList{QString()});
    }

    void timeStandsStillWhileTheUserTypes()
    {
        bool goesOn = false;
        const QTimer *timer = nullptr;
        TestServer server([&](const TestServer::Request &sent) {
            goesOn = timer->isActive() && timer->remainingTime() > 50000;
            return asksFor({"u:good"})(sent);
        });
        const auto task = request(asProxy(server));
        timer = task->findChild<QTimer *>("operationTimeout");
        bool stoodStill = false;
        Person person({"u:good"}, [&] { return stoodStill = !timer->isActive(); });
        QCOMPARE(resultOf(*task), KOV_SUCCESS);
        QVERIFY(stoodStill && goesOn && !timer->isActive());
    }

    void probeStopsAtTheHeaders()
    {
        // A package without end: only its headers may be fetched.
        TestServer server([](const TestServer::Request &request) {
            return request.head.contains("Proxy-Authorization")
                       ? TestServer::Reply{"200 OK\r\nContent-Length: 1000000000\r\n",
                                           {},
                                           TestServer::End::Stay}
                       : asksFor({""})(request);
        });
        useProxy("127.0.0.1", server.serverPort());
        Person person({"u:good"});
        CTaskGetProxyInfo task(new CTaskId_GetProxyInfo(origin.toString(), true));
        QCOMPARE(resultOf(task), KOV_SUCCESS);
        QCOMPARE(task.proxy().user(), "u");
        QCOMPARE(task.proxy().password(), "good");
        // A second one takes them from the cache and asks nobody.
        CTaskGetProxyInfo again(new CTaskId_GetProxyInfo(origin.toString(), true));
        QCOMPARE(resultOf(again), KOV_SUCCESS);
        QCOMPARE(again.proxy().password(), "good");
        QCOMPARE(server.requests.size(), 2);
    }

    void probeResults_data()
    {
        Table<TestServer::Reply, KOV_RESULT> row;
        row("refused by the proxy",
            TestServer::page("407 Who are you", "Proxy-Authenticate: Basic realm=\"t\"\r\n"),
            KOV_ERR_PROXY_AUTHENTICATION_REQUIRED);
        row("refused by the server",
            TestServer::page("401 Who are you", "WWW-Authenticate: Basic realm=\"t\"\r\n"),
            KOV_ERR_SERVER_AUTHENTICATION_REQUIRED);
        row("missing", TestServer::page("404 Not found"), KOV_SUCCESS);
    }

    void probeResults()
    {
        const auto [answer, result] = cells<TestServer::Reply, KOV_RESULT>();
        TestServer server([answer](const TestServer::Request &) { return answer; });
        useProxy("127.0.0.1", server.serverPort());
        Person person({});
        CTaskGetProxyInfo task(new CTaskId_GetProxyInfo(origin.toString(), true));
        QCOMPARE(resultOf(task), result);
        QCOMPARE(task.proxy().port(), server.serverPort());
    }

    void foreignHostIsShownAsItStands()
    {
        const std::unique_ptr<CUserAuthDialog> dialog(
            CProxyAuthenticator::createAuthDialog("<b>%2</b>", 8080, false));
        const auto *title = dialog->findChild<QLabel *>("m_lblTitle");
        QCOMPARE(title->text(), "Authentication required to log in to the proxy server <b>%2</b>:8080.");
        QCOMPARE(title->textFormat(), Qt::PlainText);
    }
};

KOV_TEST_MAIN(QApplication, tst_ProxyChallenge)
#include "tst_proxy_challenge.moc"
