#include "gui/platform/ProxyList.h"
#include "tests/support/KovTest.h"

using namespace KovGui::Platform;

class tst_ProxyList : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void find_data();
    void find();
};

void tst_ProxyList::find_data()
{
    QTest::addColumn<QByteArray>("list");
    QTest::addColumn<QByteArray>("scheme");
    QTest::addColumn<QByteArray>("proxy"); // "host port"; empty for a failure

    const auto row = [](const char *name, const char *list, const char *scheme, const char *proxy) {
        QTest::newRow(name) << QByteArray(list) << QByteArray(scheme) << QByteArray(proxy);
    };
    row("by scheme", "http=a:80;https=b:443", "https", "b 443");
    row("the first for the scheme", "https=a:1;https=b:2", "https", "a 1");
    row("for every scheme", "c:8080", "https", "c 8080");
    row("for every scheme, before a better one", "c:8080;https=b:443", "https", "c 8080");
    row("empty entries and blanks", ";; http=a:80 ;\thttps=b:443\r\n", "https", "b 443");
    row("the scheme exactly", "HTTPS=a:1;httpsx=b:2", "https", "");
    row("none for the scheme", "http=a:80", "https", "");
    row("empty", "", "http", "");
    row("only separators", ";;;", "http", "");
    row("no colon stops", "https=b;https=c:443", "https", "");
    row("no colon stops for others too", "http=a;https=c:443", "https", "");
    row("no colon behind the match", "a:1;b", "http", "a 1");
    row("a URL", "http=http://a:80/", "http", "a 80");
    row("user information is dropped", "http://user:secret@a:80", "http", "a 80");
    row("IPv6", "[::1]:8080", "http", "::1 8080");
    row("IPv6 without brackets", "::1:8080", "http", "");
    row("no host", ":80", "http", "");
    row("no port", "a:", "http", "");
    row("port 0", "a:0", "http", "");
    row("port 65535", "a:65535", "http", "a 65535");
    row("port 65536", "a:65536", "http", "");
    row("a port that wraps", "a:4294967376", "http", "");
    row("a negative port", "a:-1", "http", "");
    row("text behind the port", "a:80x", "http", "");
    row("a line break in the host", "a\nb:80", "http", "");
    row("a path in the host", "a/../b:80", "http", "");
}

void tst_ProxyList::find()
{
    QFETCH(QByteArray, list);
    QFETCH(QByteArray, scheme);
    ProxyAddress address{"untouched", 1};
    const bool isFound = parseProxyList(list.toStdString(), scheme.toStdString(), address);
    const QByteArray text = QByteArray::fromStdString(address.host) + ' ' + QByteArray::number(address.port);
    QTEST(isFound ? text : QByteArray(), "proxy");
    if (!isFound)
        QCOMPARE(text, QByteArray("untouched 1"));
}

KOV_TEST_MAIN(QCoreApplication, tst_ProxyList)
#include "tst_proxy_list.moc"
