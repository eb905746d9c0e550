#include "gui/platform/ProxyList.h"
#include "gui/tasks/proxy/ProxyPreferences.h"
#include "gui/tasks/sign_in/PasswordStore.h"
#include "gui/tasks/sign_in/ProxyAuthUtils.h"
#include "tests/support/KovTest.h"
#include "tests/tasks/ProxyFixture.h"

using namespace KovGui::Platform;

namespace {

using Preferences = QList<QPair<const char *, const char *>>;

const QNetworkProxy proxy(QNetworkProxy::HttpProxy, "Proxy.LAN", 8080);

QString savedEntry()
{
    return "Passwords/3:proxy.lan:8080";
}

} // namespace

class tst_ProxySettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QSettings().clear(); }

    void userProxy_data()
    {
        Table<Preferences, QString, QString> row;
        // Each row changes these.
        const Preferences both{{"Proxy Enabled", "true"},
                               {"Proxy Http Host", "h"},
                               {"Proxy Http Port", "80"},
                               {"Proxy Https Host", "s"},
                               {"Proxy Https Port", "443"}};
        const Preferences own{{"Proxy Do Not Use Common Server", "true"}};
        const Preferences user{{"Proxy Http Autorization Enabled", "true"}, {"Proxy Http Username", "u"}};
        row("nothing stored", Preferences(), "", "");
        row("off", both + Preferences{{"Proxy Enabled", "false"}}, "", "");
        row("common server", both, "h:80", "h:80");
        row("own server for HTTPS", both + own, "h:80", "s:443");
        row("own server for HTTPS without a host", both + own + Preferences{{"Proxy Https Host", ""}}, "h:80",
            "");
        row("empty host", both + Preferences{{"Proxy Http Host", " "}}, "", "");
        for (const char *port : {"-1", "0", "65536", "80x", ""})
            row(port, both + Preferences{{"Proxy Http Port", port}}, "", "");
        row("user without authorisation", both + Preferences{{"Proxy Http Username", "u"}}, "h:80", "h:80");
        row("user without a password", both + user, "u@h:80", "u@h:80");
        row("a password that was not sealed", both + user + Preferences{{"Proxy Http Password", "secret"}},
            "h:80", "h:80");
    }

    void userProxy()
    {
        const auto [preferences, http, https] = cells<Preferences, QString, QString>();
        for (const auto &preference : preferences)
            setPreference(preference.first, QString::fromLatin1(preference.second));
        const auto read = [](const char *url) {
            const auto found = ProxyPreferences::userProxy(QUrl(QLatin1String(url)));
            if (!found)
                return QString();
            const QString user = found->user().isEmpty() ? QString() : found->user() + '@';
            return user + found->hostName() + ':' + QString::number(found->port());
        };
        QCOMPARE(read("http://a/"), http);
        QCOMPARE(read("https://a/"), https);
    }

    void preferencesPasswordIsSealed()
    {
        setPreference("Proxy Enabled", true);
        setPreference("Proxy Do Not Use Common Server", true);
        for (const char *scheme : {"Http", "Https"}) {
            const QByteArray prefix = QByteArray("Proxy ") + scheme;
            setPreference(prefix + " Host", "h");
            setPreference(prefix + " Port", "80");
            setPreference(prefix + " Username", "u");
            setPreference(prefix + " Autorization Enabled", true);
        }
        const auto password = [](const char *url) {
            return ProxyPreferences::userProxy(QUrl(QLatin1String(url)))->password();
        };
        QVERIFY(ProxyPreferences::setPassword(false, "eins"));
        QVERIFY(ProxyPreferences::setPassword(true, QString::fromUtf8("zwei ä")));
        QCOMPARE(password("http://a/"), "eins");
        QCOMPARE(password("https://a/"), QString::fromUtf8("zwei ä"));
    }

    void savedCredentials()
    {
        QString user, password;
        QVERIFY(!ProxyAuthUtils::getProxyCredentials(proxy, user, password));
        QVERIFY(ProxyAuthUtils::saveProxyCredentials(proxy, "u", "p1"));
        QVERIFY(ProxyAuthUtils::saveProxyCredentials(proxy, "u", QString::fromUtf8("p:2 ä")));
        QVERIFY(QSettings().contains(savedEntry()));
        QVERIFY(ProxyAuthUtils::getProxyCredentials(proxy, user, password));
        QCOMPARE(user, "u");
        QCOMPARE(password, QString::fromUtf8("p:2 ä"));
        // A host name from a foreign list stays inside the group.
        const QNetworkProxy planted(QNetworkProxy::HttpProxy, "a/../../User Preferences/x", 1);
        QVERIFY(ProxyAuthUtils::saveProxyCredentials(planted, "u", "p"));
        QCOMPARE(QSettings().childGroups(), QStringList{"Passwords"});
    }

    void changedCredentialsAreNone()
    {
        const auto save = [](const QNetworkProxy &to) {
            QVERIFY(ProxyAuthUtils::saveProxyCredentials(to, "u", "secret"));
        };
        QNetworkProxy other = proxy;
        other.setPort(1);
        save(proxy);
        save(other);
        const QStringList saved = QSettings().value(savedEntry()).toStringList();
        const QString sealed = saved.value(1);
        QByteArray flipped = QByteArray::fromBase64(sealed.mid(3).toLatin1());
        flipped[flipped.size() - 20] = char(flipped[flipped.size() - 20] ^ 1);
        const QStringList entries[] = {
            {"v", sealed}, // another user
            {"u", sealed.left(3) + QString::fromLatin1(flipped.toBase64())},
            {"u", sealed.left(20)},
            {"u", "secret"},
            {"u", QString()},
            {"u"},
            {QString(), sealed},
            QSettings().value("Passwords/3:proxy.lan:1").toStringList(),
        };
        for (const QStringList &entry : entries) {
            QSettings().setValue(savedEntry(), entry);
            const int before = logFile().count("(!)Error:");
            QString user = "untouched";
            QString password = user;
            QVERIFY2(!ProxyAuthUtils::getProxyCredentials(proxy, user, password),
                     qPrintable(entry.join(' ')));
            QCOMPARE(user + password, "untoucheduntouched");
            QCOMPARE(logFile().count("(!)Error:"), before + 1);
        }
        QVERIFY(!logFile().contains("secret"));
    }

    void find_data()
    {
        // proxy: "host port"; empty for a failure
        Table<QByteArray, QByteArray, QByteArray> row;

        row("by scheme", "http=a:80;https=b:443", "https", "b 443");
        row("the first for the scheme", "https=a:1;https=b:2", "https", "a 1");
        row("for every scheme", "c:8080", "https", "c 8080");
        row("for every scheme, before a better one", "c:8080;https=b:443", "https", "c 8080");
        row("empty entries and blanks", ";; http=a:80 ;\thttps=b:443\r\n", "https", "b 443");
        row("the scheme exactly", "HTTPS=a:1;httpsx=b:2", "https", "");
        row("empty", "", "http", "");
        row("no colon stops", "https=b;https=c:443", "https", "");
        row("no colon behind the match", "a:1;b", "http", "a 1");
        row("a URL", "http=http://a:80/", "http", "a 80");
        row("user information is dropped", "http://user:secret@a:80", "http", "a 80");
        row("IPv6", "[::1]:8080", "http", "::1 8080");
        row("IPv6 without brackets", "::1:8080", "http", "");
        row("no host", ":80", "http", "");
        row("no port", "a:", "http", "");
        row("port 65536", "a:65536", "http", "");
        row("a port that wraps", "a:4294967376", "http", "");
        row("text behind the port", "a:80x", "http", "");
        row("a line break in the host", "a\nb:80", "http", "");
        row("a path in the host", "a/../b:80", "http", "");
    }

    void find()
    {
        const auto [list, scheme, proxy] = cells<QByteArray, QByteArray, QByteArray>();
        ProxyAddress address{"untouched", 1};
        const bool isFound = parseProxyList(list.toStdString(), scheme.toStdString(), address);
        const QByteArray text
            = QByteArray::fromStdString(address.host) + ' ' + QByteArray::number(address.port);
        QCOMPARE(isFound ? text : QByteArray(), proxy);
        if (!isFound)
            QCOMPARE(text, QByteArray("untouched 1"));
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_ProxySettings)
#include "tst_proxy_settings.moc"
