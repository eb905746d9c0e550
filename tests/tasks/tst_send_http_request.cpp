#include "gui/tasks/http/CHttpResponseParser.h"
#include "gui/tasks/http/CTaskSendHttpRequest.h"
#include "tests/support/KovTest.h"
#include "tests/tasks/HttpFixture.h"

#include <QNetworkReply>

/// A task that knows nothing of proxies.
class OtherTask : public CAbstractTask
{
    Q_OBJECT

public:
    Q_INVOKABLE explicit OtherTask(CTaskGenericId *id)
        : CAbstractTask({}, id)
    { }
};

Q_DECLARE_METATYPE(const QMetaObject *)

class tst_SendHttpRequest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { KovGui::init(KAM_CONSOLE); }
    void init()
    {
        ChosenProxy::install();
        ChosenProxy::chosen = QNetworkProxy();
        ChosenProxy::result = KOV_SUCCESS;
    }

    void proxyTask_data()
    {
        QTest::addColumn<const QMetaObject *>("task");
        QTest::addColumn<bool>("hasProxy");
        QTest::addColumn<unsigned>("found");
        QTest::addColumn<unsigned>("result");
        QTest::addColumn<QString>("receiver");
        const QMetaObject *host = &ChosenProxy::staticMetaObject;
        const QMetaObject *none = nullptr;
        const unsigned refused = unsigned(KOV_ERR_PROXY_AUTHENTICATION_REQUIRED);
        QTest::newRow("proxy") << host << true << 0u << 0u << s("proxy");
        QTest::newRow("proxy, and more to say") << host << true << 15354u << 0u << s("proxy");
        QTest::newRow("no proxy") << host << false << 0u << 0u << s("server");
        QTest::newRow("proxy refuses") << host << true << refused << refused << QString();
        QTest::newRow("no class") << none << true << 0u << unsigned(KOV_ERR_FAILURE) << QString();
        QTest::newRow("another class") << &OtherTask::staticMetaObject << true << 0u << 0u << s("server");
    }

    void proxyTask()
    {
        QFETCH(const QMetaObject *, task);
        QFETCH(bool, hasProxy);
        QFETCH(unsigned, found);
        QFETCH(unsigned, result);
        QFETCH(QString, receiver);
        const QByteArray answer("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
        TestServer server(answer);
        TestServer proxy(answer);
        ChosenProxy::install(task);
        ChosenProxy::result = KOV_RESULT(found);
        if (hasProxy)
            ChosenProxy::chosen = {QNetworkProxy::HttpProxy, s("127.0.0.1"), proxy.serverPort()};
        const LogCapture log(3);
        CTaskSendHttpRequest request(urlOf(server, "/page"), {}, nullptr, QNetworkAccessManager::GetOperation,
                                     QByteArray());
        QCOMPARE(unsigned(resultOf(request)), result);
        QCOMPARE(proxy.received.startsWith("GET " + server.url("/page")), receiver == s("proxy"));
        QCOMPARE(server.connections, receiver == s("server") ? 1 : 0);
        QCOMPARE(request.reply() != nullptr, !receiver.isEmpty());
        QCOMPARE(log.text().contains("[TASK_HTTP_REQUEST]")
                     && log.text().contains("(!)Error: failed to get proxy info."),
                 task != &ChosenProxy::staticMetaObject || result != 0);
    }

    void answerIsParsedAndStays()
    {
        TestServer server("HTTP/1.1 200 OK\r\nContent-Length: 25\r\n\r\n<r><Result>1</Result></r>");
        CHttpResponseParser parser;
        QNetworkRequest post(
            WebUtils::withQueryItems(QUrl(urlOf(server, "/?a=1")), {{s("k&"), s("x=y&z+%41 é")}}));
        post.setHeader(QNetworkRequest::ContentTypeHeader, s("text/plain"));
        auto request = std::make_unique<CTaskSendHttpRequest>(post, QNetworkAccessManager::PostOperation,
                                                              &parser, "the body");
        QCOMPARE(resultOf(*request), KOV_SUCCESS);
        QCOMPARE(parser.data(), QVariant(1));
        QVERIFY(server.received.startsWith("POST /?a=1&k%26=x%3Dy%26z%2B%2541%20%C3%A9 HTTP"));
        QVERIFY(server.received.contains("Content-Type: text/plain\r\n")
                && server.received.endsWith("\r\n\r\nthe body"));
        const QPointer<QNetworkReply> reply = request->reply();
        QTest::qWait(0);
        QVERIFY(reply && QFile::exists(parser.filePath()));
        request.reset();
        QVERIFY(!QFile::exists(parser.filePath()));
        QTRY_VERIFY(!reply);
    }

    void endReachesTheTransfer()
    {
        TestServer silent("");
        const auto start = [&silent] {
            auto request
                = std::make_unique<CTaskSendHttpRequest>(urlOf(silent), WebUtils::QueryItems(), nullptr,
                                                         QNetworkAccessManager::GetOperation, QByteArray());
            silent.received.clear();
            request->execute();
            return request;
        };
        auto terminated = start();
        QTRY_VERIFY(!silent.received.isEmpty());
        terminated->terminate(KOV_ERR_CANCELLED);
        QCOMPARE(terminated->getResult(), KOV_ERR_CANCELLED);
        QTRY_COMPARE(silent.disconnections, 1);
        auto deleted = start();
        QTRY_VERIFY(!silent.received.isEmpty());
        deleted.reset();
        QTRY_COMPARE(silent.disconnections, 2);
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_SendHttpRequest)
#include "tst_send_http_request.moc"
