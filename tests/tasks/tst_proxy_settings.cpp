#include "gui/platform/SecretKey.h"
#include "gui/tasks/proxy/ProxyPreferences.h"
#include "gui/tasks/sign_in/PasswordStore.h"
#include "gui/tasks/sign_in/ProxyAuthUtils.h"
#include "tests/support/KovTest.h"
#include "tests/tasks/ProxyFixture.h"

#include <sys/stat.h>
#include <unistd.h>

namespace {

using Preferences = QList<QPair<const char *, const char *>>;

const QNetworkProxy proxy(QNetworkProxy::HttpProxy, QStringLiteral("Proxy.LAN"), 8080);

QString savedEntry()
{
    return QStringLiteral("Passwords/3:proxy.lan:8080");
}

} // namespace

Q_DECLARE_METATYPE(Preferences)
Q_DECLARE_METATYPE(std::function<void(const char *)>)

class tst_ProxySettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QSettings().clear(); }

    void userProxy_data()
    {
        QTest::addColumn<Preferences>("preferences");
        QTest::addColumn<QString>("http");
        QTest::addColumn<QString>("https");
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
        QFETCH(Preferences, preferences);
        for (const auto &preference : preferences)
            setPreference(preference.first, QString::fromLatin1(preference.second));
        const auto read = [](const char *url) {
            const auto found = ProxyPreferences::userProxy(QUrl(QLatin1String(url)));
            if (!found)
                return QString();
            const QString user = found->user().isEmpty() ? QString() : found->user() + QLatin1Char('@');
            return user + found->hostName() + QLatin1Char(':') + QString::number(found->port());
        };
        QTEST(read("http://a/"), "http");
        QTEST(read("https://a/"), "https");
    }

    void preferencesPasswordIsSealed()
    {
        setPreference("Proxy Enabled", true);
        setPreference("Proxy Do Not Use Common Server", true);
        for (const char *scheme : {"Http", "Https"}) {
            const QByteArray prefix = QByteArray("Proxy ") + scheme;
            setPreference(prefix + " Host", QStringLiteral("h"));
            setPreference(prefix + " Port", QStringLiteral("80"));
            setPreference(prefix + " Username", QStringLiteral("u"));
            setPreference(prefix + " Autorization Enabled", true);
        }
        const auto password = [](const char *url) {
            return ProxyPreferences::userProxy(QUrl(QLatin1String(url)))->password();
        };
        QVERIFY(ProxyPreferences::setPassword(false, QStringLiteral("eins")));
        QVERIFY(ProxyPreferences::setPassword(true, QString::fromUtf8("zwei ä")));
        QCOMPARE(password("http://a/"), QStringLiteral("eins"));
        QCOMPARE(password("https://a/"), QString::fromUtf8("zwei ä"));
    }

    void savedCredentials()
    {
        QString user, password;
        QVERIFY(!ProxyAuthUtils::getProxyCredentials(proxy, user, password));
        QVERIFY(ProxyAuthUtils::saveProxyCredentials(proxy, QStringLiteral("u"), QStringLiteral("p1")));
        QVERIFY(ProxyAuthUtils::saveProxyCredentials(proxy, QStringLiteral("u"), QString::fromUtf8("p:2 ä")));
        QVERIFY(QSettings().contains(savedEntry()));
        QVERIFY(ProxyAuthUtils::getProxyCredentials(proxy, user, password));
        QCOMPARE(user, QStringLiteral("u"));
        QCOMPARE(password, QString::fromUtf8("p:2 ä"));
        // A host name from a foreign list stays inside the group.
        const QNetworkProxy planted(QNetworkProxy::HttpProxy, QStringLiteral("a/../../User Preferences/x"),
                                    1);
        QVERIFY(ProxyAuthUtils::saveProxyCredentials(planted, QStringLiteral("u"), QStringLiteral("p")));
        QCOMPARE(QSettings().childGroups(), QStringList{QStringLiteral("Passwords")});
    }

    void changedCredentialsAreNone()
    {
        const auto save = [](const QNetworkProxy &to) {
            QVERIFY(ProxyAuthUtils::saveProxyCredentials(to, QStringLiteral("u"), QStringLiteral("secret")));
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
            {QStringLiteral("v"), sealed}, // another user
            {QStringLiteral("u"), sealed.left(3) + QString::fromLatin1(flipped.toBase64())},
            {QStringLiteral("u"), sealed.left(20)},
            {QStringLiteral("u"), QStringLiteral("secret")},
            {QStringLiteral("u"), QString()},
            {QStringLiteral("u")},
            {QString(), sealed},
            QSettings().value(QStringLiteral("Passwords/3:proxy.lan:1")).toStringList(),
        };
        for (const QStringList &entry : entries) {
            QSettings().setValue(savedEntry(), entry);
            const int before = logFile().count("(!)Error:");
            QString user = QStringLiteral("untouched");
            QString password = user;
            QVERIFY2(!ProxyAuthUtils::getProxyCredentials(proxy, user, password),
                     qPrintable(entry.join(QLatin1Char(' '))));
            QCOMPARE(user + password, QStringLiteral("untoucheduntouched"));
            QCOMPARE(logFile().count("(!)Error:"), before + 1);
        }
        QVERIFY(!logFile().contains("secret"));
    }

    void keyFile_data()
    {
        using Change = std::function<void(const char *path)>;
        QTest::addColumn<Change>("change");
        QTest::addColumn<bool>("isTrusted");
        QTest::newRow("unchanged") << Change([](const char *) {}) << true;
        QTest::newRow("readable by others") << Change([](const char *path) { chmod(path, 0640); }) << false;
        QTest::newRow("cut") << Change([](const char *path) { QVERIFY(truncate(path, 31) == 0); }) << false;
        QTest::newRow("a link") << Change([](const char *path) {
            const QByteArray moved = QByteArray(path) + ".moved";
            QVERIFY(rename(path, moved.constData()) == 0 && symlink(moved.constData(), path) == 0);
        }) << false;
        QTest::newRow("a pipe") << Change([](const char *path) {
            QVERIFY(unlink(path) == 0 && mkfifo(path, 0600) == 0);
        }) << false;
    }

    void keyFile()
    {
        using Change = std::function<void(const char *)>;
        QFETCH(Change, change);
        const QByteArray name = qgetenv("XDG_DATA_HOME") + "/tessarine/passwords.key";
        const char *const path = name.constData();
        unlink(path);
        static int reports = 0;
        reports = 0;
        const auto report = [](unsigned level, const char *) { reports += level == 0; };
        KovGui::Platform::SecretKey first{}, second{};
        QVERIFY(KovGui::Platform::secretKey(first, report));
        QVERIFY(first != second);
        struct stat status;
        QVERIFY(stat(path, &status) == 0);
        QCOMPARE(int(status.st_mode & 07777), 0600);
        change(path);
        QTEST(KovGui::Platform::secretKey(second, report), "isTrusted");
        QFETCH(bool, isTrusted);
        QCOMPARE(first == second, isTrusted);
        QCOMPARE(reports, isTrusted ? 0 : 1);
        unlink(path);
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_ProxySettings)
#include "tst_proxy_settings.moc"
