#include "gui/platform/ProxyList.h"
#include "tests/support/KovTest.h"

using namespace KovGui::Platform;

class tst_ProxyList : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void find_data()
    {
        QTest::addColumn<QByteArray>("list");
        QTest::addColumn<QByteArray>("scheme");
        QTest::addColumn<QByteArray>("proxy"); // "host port"; empty for a failure

        row<QByteArray>("by scheme", "http=a:80;https=b:443", "https", "b 443");
        row<QByteArray>("the first for the scheme", "https=a:1;https=b:2", "https", "a 1");
        row<QByteArray>("for every scheme", "c:8080", "https", "c 8080");
        row<QByteArray>("for every scheme, before a better one", "c:8080;https=b:443", "https", "c 8080");
        row<QByteArray>("empty entries and blanks", ";; http=a:80 ;\thttps=b:443\r\n", "https", "b 443");
        row<QByteArray>("the scheme exactly", "HTTPS=a:1;httpsx=b:2", "https", "");
        row<QByteArray>("empty", "", "http", "");
        row<QByteArray>("no colon stops", "https=b;https=c:443", "https", "");
        row<QByteArray>("no colon behind the match", "a:1;b", "http", "a 1");
        row<QByteArray>("a URL", "http=http://a:80/", "http", "a 80");
        row<QByteArray>("user information is dropped", "http://user:secret@a:80", "http", "a 80");
        row<QByteArray>("IPv6", "[::1]:8080", "http", "::1 8080");
        row<QByteArray>("IPv6 without brackets", "::1:8080", "http", "");
        row<QByteArray>("no host", ":80", "http", "");
        row<QByteArray>("no port", "a:", "http", "");
        row<QByteArray>("port 65536", "a:65536", "http", "");
        row<QByteArray>("a port that wraps", "a:4294967376", "http", "");
        row<QByteArray>("text behind the port", "a:80x", "http", "");
        row<QByteArray>("a line break in the host", "a\nb:80", "http", "");
        row<QByteArray>("a path in the host", "a/../b:80", "http", "");
    }

    void find()
    {
        QFETCH(QByteArray, list);
        QFETCH(QByteArray, scheme);
        ProxyAddress address{"untouched", 1};
        const bool isFound = parseProxyList(list.toStdString(), scheme.toStdString(), address);
        const QByteArray text
            = QByteArray::fromStdString(address.host) + ' ' + QByteArray::number(address.port);
        QTEST(isFound ? text : QByteArray(), "proxy");
        if (!isFound)
            QCOMPARE(text, QByteArray("untouched 1"));
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_ProxyList)
#include "tst_proxy_list.moc"
