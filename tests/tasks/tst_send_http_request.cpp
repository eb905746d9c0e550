#include "abstract_task/CTaskManager.h"
#include "gui/KovGui.h"
#include "gui/tasks/CHttpResponseParser.h"
#include "gui/tasks/CTaskHttpOperation.h"
#include "gui/tasks/CTaskSendHttpRequest.h"
#include "gui/tasks/ProxyResult.h"
#include "tests/support/KovTest.h"
#include "tests/tasks/HttpFixture.h"

#include <QNetworkReply>

namespace {

QString s(const char *text)
{
    return QString::fromUtf8(text);
}

/// What the host's proxy task finds.
quint16 proxyPort = 0;
KOV_RESULT proxyResult = KOV_SUCCESS;

} // namespace

/// A host's own way to a proxy; answers later, as real ones do.
class HostProxyTask : public CAbstractTask, public ProxyResult
{
    Q_OBJECT
    Q_INTERFACES(ProxyResult)

public:
    enum TaskStep { Find };
    Q_ENUM(TaskStep)
    Q_INVOKABLE explicit HostProxyTask(CTaskGenericId *id)
        : CAbstractTask(id)
    { }
    QNetworkProxy proxy() const override
    {
        return proxyPort ? QNetworkProxy(QNetworkProxy::HttpProxy, s("127.0.0.1"), proxyPort)
                         : QNetworkProxy();
    }

private:
    Q_INVOKABLE KOV_RESULT find()
    {
        setWaitForSubTaskCompletion();
        QTimer::singleShot(0, this, [this] { subTaskCompleted(proxyResult); });
        return KOV_SUCCESS;
    }
};

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
    void initTestCase();
    void init();
    void proxyTask_data();
    void proxyTask();
    void answerIsParsedAndStays();
    void terminationReachesTheTransfer();
};

void tst_SendHttpRequest::initTestCase()
{
    KovGui::init(KAM_CONSOLE);
}

void tst_SendHttpRequest::init()
{
    KovGui::staticMetaObjectHash()[s("CTaskGetProxyInfo")] = &HostProxyTask::staticMetaObject;
    proxyPort = 0;
    proxyResult = KOV_SUCCESS;
}

void tst_SendHttpRequest::proxyTask_data()
{
    QTest::addColumn<const QMetaObject *>("task");
    QTest::addColumn<bool>("hasProxy");
    QTest::addColumn<unsigned>("found");
    QTest::addColumn<unsigned>("result");
    QTest::addColumn<QString>("receiver");
    const QMetaObject *host = &HostProxyTask::staticMetaObject;
    const QMetaObject *none = nullptr;
    const unsigned refused = unsigned(KOV_ERR_PROXY_AUTHENTICATION_REQUIRED);
    QTest::newRow("proxy") << host << true << 0u << 0u << s("proxy");
    QTest::newRow("proxy, nothing to say about credentials") << host << true << 15354u << 0u << s("proxy");
    QTest::newRow("no proxy") << host << false << 0u << 0u << s("server");
    QTest::newRow("proxy refuses") << host << true << refused << refused << QString();
    QTest::newRow("no class") << none << true << 0u << unsigned(KOV_ERR_FAILURE) << QString();
    QTest::newRow("another class") << &OtherTask::staticMetaObject << true << 0u << 0u << s("server");
}

void tst_SendHttpRequest::proxyTask()
{
    QFETCH(const QMetaObject *, task);
    QFETCH(bool, hasProxy);
    QFETCH(unsigned, found);
    QFETCH(unsigned, result);
    QFETCH(QString, receiver);
    KovGui::staticMetaObjectHash()[s("CTaskGetProxyInfo")] = task;
    RawServer server("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
    RawServer proxy("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
    proxyPort = hasProxy ? proxy.serverPort() : 0;
    proxyResult = KOV_RESULT(found);

    RecordedLog log;
    CTaskSendHttpRequest request(QNetworkRequest(QUrl(server.url(s("page")))),
                                 QNetworkAccessManager::GetOperation, nullptr, QByteArray());
    QCOMPARE(unsigned(resultOf(request)), result);
    QCOMPARE(proxy.received.startsWith("GET " + server.url(s("page")).toUtf8()), receiver == s("proxy"));
    QCOMPARE(server.connections, receiver == s("server") ? 1 : 0);
    QCOMPARE(request.reply() != nullptr, !receiver.isEmpty());
    QCOMPARE(log.text().contains("/[TASK_HTTP_REQUEST]:KovGui")
                 || log.text().contains("(!)Error: failed to get proxy info."),
             task != &HostProxyTask::staticMetaObject || result != 0);
}

void tst_SendHttpRequest::answerIsParsedAndStays()
{
    RawServer server("HTTP/1.1 200 OK\r\nContent-Length: 28\r\n\r\n<r><Result>1</Result></r>   ");
    CHttpResponseParser parser;
    QPointer<QNetworkReply> reply;
    {
        CTaskSendHttpRequest request(server.url(s("?a=1")), {{s("key"), s("a b")}}, &parser,
                                     QNetworkAccessManager::PostOperation, "body");
        QTest::ignoreMessage(
            QtWarningMsg,
            "content-type missing in HTTP POST, defaulting to application/x-www-form-urlencoded. "
            "Use QNetworkRequest::setHeader() to fix this problem.");
        QCOMPARE(resultOf(request), KOV_SUCCESS);
        QCOMPARE(parser.data(), QVariant(1));
        QVERIFY(server.received.startsWith("POST /?a=1&key=a%20b HTTP"));
        QVERIFY(server.received.endsWith("\r\n\r\nbody"));
        reply = request.reply();
        QTest::qWait(0);
        QCOMPARE(reply->error(), QNetworkReply::NoError);
        QVERIFY(QFile::exists(parser.filePath()));
    }
    QVERIFY(!QFile::exists(parser.filePath()));
    QTRY_VERIFY(!reply);
}

void tst_SendHttpRequest::terminationReachesTheTransfer()
{
    RawServer silent;
    CTaskSendHttpRequest request(silent.url(), {}, nullptr, QNetworkAccessManager::GetOperation,
                                 QByteArray());
    request.execute();
    QTRY_VERIFY(!silent.received.isEmpty());
    request.terminate(KOV_ERR_CANCELLED);
    QCOMPARE(request.getResult(), KOV_ERR_CANCELLED);
    QTRY_COMPARE(silent.disconnections, 1);

    auto deleted = std::make_unique<CTaskSendHttpRequest>(silent.url(), WebUtils::QueryItems(), nullptr,
                                                          QNetworkAccessManager::GetOperation, QByteArray());
    silent.received.clear();
    deleted->execute();
    QTRY_VERIFY(!silent.received.isEmpty());
    deleted.reset();
    QTRY_COMPARE(silent.disconnections, 2);
}

KOV_TEST_MAIN(QCoreApplication, tst_SendHttpRequest)
#include "tst_send_http_request.moc"
