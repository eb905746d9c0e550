#include "gui/tasks/http/CHttpResponseParser.h"
#include "gui/tasks/http/CTaskSendHttpRequest.h"
#include "gui/tasks/http/WebUtils.h"
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
        Table<const QMetaObject *, bool, unsigned, unsigned, QString> row;
        const QMetaObject *host = &ChosenProxy::staticMetaObject;
        const QMetaObject *none = nullptr;
        const unsigned refused = unsigned(KOV_ERR_PROXY_AUTHENTICATION_REQUIRED);
        row("proxy", host, true, 0u, 0u, "proxy");
        row("proxy, and more to say", host, true, 15354u, 0u, "proxy");
        row("no proxy", host, false, 0u, 0u, "server");
        row("proxy refuses", host, true, refused, refused, "");
        row("no class", none, true, 0u, unsigned(KOV_ERR_FAILURE), "");
        row("another class", &OtherTask::staticMetaObject, true, 0u, 0u, "server");
    }

    void proxyTask()
    {
        const auto [task, hasProxy, found, result, receiver]
            = cells<const QMetaObject *, bool, unsigned, unsigned, QString>();
        const QByteArray answer("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
        TestServer server(answer);
        TestServer proxy(answer);
        ChosenProxy::install(task);
        ChosenProxy::result = KOV_RESULT(found);
        if (hasProxy)
            ChosenProxy::chosen = {QNetworkProxy::HttpProxy, "127.0.0.1", proxy.serverPort()};
        const LogCapture log(3);
        CTaskSendHttpRequest request(urlOf(server, "/page"), {}, nullptr, QNetworkAccessManager::GetOperation,
                                     QByteArray());
        QCOMPARE(unsigned(resultOf(request)), result);
        QCOMPARE(proxy.received.startsWith("GET " + server.url("/page")), receiver == "proxy");
        QCOMPARE(server.connections, receiver == "server" ? 1 : 0);
        QCOMPARE(request.reply() != nullptr, !receiver.isEmpty());
        QCOMPARE(log.text().contains("[TASK_HTTP_REQUEST]")
                     && log.text().contains("(!)Error: failed to get proxy info."),
                 task != &ChosenProxy::staticMetaObject || result != 0);
    }

    void answerIsParsedAndStays()
    {
        TestServer server("HTTP/1.1 200 OK\r\nContent-Length: 25\r\n\r\n<r><Result>1</Result></r>");
        CHttpResponseParser parser;
        QNetworkRequest post(WebUtils::withQueryItems(QUrl(urlOf(server, "/?a=1")), {{"k&", "x=y&z+%41 é"}}));
        post.setHeader(QNetworkRequest::ContentTypeHeader, "text/plain");
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
        CTaskSendHttpRequest request(urlOf(silent), {}, nullptr, QNetworkAccessManager::GetOperation, "");
        request.execute();
        QTRY_VERIFY(!silent.received.isEmpty());
        request.terminate(KOV_ERR_CANCELLED);
        QCOMPARE(request.getResult(), KOV_ERR_CANCELLED);
        QTRY_COMPARE(silent.disconnections, 1);
    }

    void response_data()
    {
        Table<QByteArray, int, QVariant, QString> row;
        row("all", "<r Version='2'><Result>0</Result><Url>x</Url></r>", 0, 0, "Result=0|Url=x|Version=2");
        row("negative, with blanks", "<r><Result> -3\n</Result></r>", 0, -3, "Result= -3\n|Version=Unknown");
        row("no number", "<r><Result>yes</Result></r>", 0, QVariant(), "Result=yes|Version=Unknown");
        row("number too large", "<r><Result>4294967296</Result></r>", 0, QVariant(),
            "Result=4294967296|Version=Unknown");
        row("later element wins, nested and escaped text counts",
            "<r><Result/><a>1</a><a>x<b>&lt;y</b> <![CDATA[<z>]]></a></r>", 0, QVariant(),
            "Result=|Version=Unknown|a=x<y<z>");
        row("only a nested result", "<r><a><Result>0</Result></a></r>", 4, QVariant(), "Version=Unknown|a=0");
        row("empty file", "", 4, QVariant(), "");
        row("other root", "<html Version='5'><Result>0</Result></html>", 5, QVariant(), "Version=5");
        row("prefix belongs to the name", "<p:r><Result>0</Result></p:r>", 5, QVariant(), "Version=Unknown");
        row("cut", "<r><Result>0</Result>", 3, QVariant(), "");
        row("external entity",
            "<!DOCTYPE r [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><r><Result>&e;</Result></r>", 0,
            QVariant(), "Result=|Version=Unknown");
        QByteArray laughs("<!DOCTYPE r [<!ENTITY e0 'ha'>");
        for (char c = '1'; c <= '9'; ++c)
            laughs += QByteArray("<!ENTITY eX '").replace('X', c)
                      + QByteArray("&eX;").replace('X', char(c - 1)).repeated(10) + "'>";
        row("entities that explode", laughs + "]><r><Result>&e9;</Result></r>", 3, QVariant(), "");
        row("deep",
            "<r><Result>1</Result>" + QByteArray("<a>").repeated(200000) + QByteArray("</a>").repeated(200000)
                + "</r>",
            0, 1, "Result=1|Version=Unknown|a=");
    }

    void response()
    {
        const auto [document, error, data, values] = cells<QByteArray, int, QVariant, QString>();
        const LogCapture log(3);
        CHttpResponseParser parser(write(document));
        parser.setRootTagName("r");
        QCOMPARE(parser.parse(), data);
        QCOMPARE(parser.errCode(), error);
        QCOMPARE(valuesOf(parser), values);
        QCOMPARE(log.text().contains("Invalid tag: <"), parser.errCode() == 5);
    }

    void parserThatIsUsedTwice()
    {
        const LogCapture log(3);
        CHttpResponseParser parser(m_folder.filePath("missing"));
        QCOMPARE(parser.parse(), QVariant());
        QCOMPARE(parser.errCode(), 1);
        parser.setFilePath(write("<any><Result>5</Result></any>"));
        QCOMPARE(parser.parse(), QVariant(5));
        write("<any><New/></any>");
        QCOMPARE(parser.parse(), QVariant());
        QCOMPARE(valuesOf(parser), "New=|Version=Unknown");
    }

    void maskedUrl_data()
    {
        Table<QString> row;
        row("http://user:pw@h:8080/p?a=1&b=#f", "http://h:8080/p?a=xxx&b=#f");
        row("http://h/?a=1&Password=pw&NEWPASSWORD=pw&z", "http://h/?a=xxx&Password=xxx&NEWPASSWORD=xxx&z");
        row("http://h/?P%61ssword=pw&password=", "http://h/?Password=xxx&password=xxx");
        row("http://h/?name=J%20D&E-Mail=j%40h.example&email=x@y",
            "http://h/?name=J***&E-Mail=j***@h.example&email=x***@y");
        row("http://h/?Email=a@b%26x&OldPassword=old", "http://h/?Email=a***@b%26x&OldPassword=xxx");
        row("https://token@h/f", "https://h/f");
        row("http://user:pw/word@h/", "");
        row("http:/user:pw@h/f", "");
    }

    void maskedUrl()
    {
        const auto [masked] = cells<QString>();
        QCOMPARE(WebUtils::maskedUrl(QUrl(QTest::currentDataTag())), masked);
    }

    void maskedText_data()
    {
        Table<QString> row;
        row("No http://u-name:p-word@h/a%20b?Password=s%C3%A9same - replied",
            "No http://h/a b?Password=xxx - replied");
        row("No http://u-name@h/a b?Password=sésame - replied", "No http://h/a b?Password=xxx - replied");
        row("<a href=\"https://x:y@other/?NewPassword=1\">p-word</a>",
            "<a href=\"https://other/?NewPassword=xxx\">xxx</a>");
        row("get http:/joe:pw@h/f \'http://u:p\'x\"y@h/?t=1&amp;u=2\'>",
            "get http://*** \'http://h/?t=xxx&amp;u=xxx\'>");
        row("/a?Password=sésame, s%C3%A9same, u-name", "/a?Password=xxx, xxx, ***");
    }

    void maskedText()
    {
        const auto [masked] = cells<QString>();
        const QUrl url("http://u-name:p-word@h/a b?Password=sésame");
        QCOMPARE(WebUtils::withMaskedUrls(QTest::currentDataTag(), url), masked);
    }

private:
    QString write(const QByteArray &document)
    {
        const QString path = m_folder.filePath("document");
        return writeFile(path, document) ? path : QString();
    }
    static QString valuesOf(const CHttpResponseParser &parser)
    {
        QStringList texts;
        const auto values = parser.getValues();
        for (auto it = values.cbegin(); it != values.cend(); ++it)
            texts << it.key() + "=" + it.value().toString();
        return texts.join("|");
    }

    QTemporaryDir m_folder;
};

KOV_TEST_MAIN(QCoreApplication, tst_SendHttpRequest)
#include "tst_send_http_request.moc"
