#include "gui/platform/SecretKey.h"
#include "gui/tasks/PasswordStore.h"
#include "gui/tasks/ProxyAuthUtils.h"
#include "gui/tasks/ProxyPreferences.h"
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
Q_DECLARE_METATYPE(std::function<QStringList(QStringList)>)
Q_DECLARE_METATYPE(std::function<void(const char *)>)

class tst_ProxySettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QSettings().clear(); }

    void userProxy_data();
    void userProxy();
    void preferencesPasswordIsSealed();
    void automaticConfiguration_data();
    void automaticConfiguration();
    void savedCredentials();
    void changedCredentialsAreNone_data();
    void changedCredentialsAreNone();
    void keyFile_data();
    void keyFile();
};

void tst_ProxySettings::userProxy_data()
{
    QTest::addColumn<Preferences>("preferences");
    QTest::addColumn<QString>("http");
    QTest::addColumn<QString>("https");

    const Preferences both{{"Proxy Enabled", "true"},
                           {"Proxy Http Host", "h"},
                           {"Proxy Http Port", "80"},
                           {"Proxy Https Host", "s"},
                           {"Proxy Https Port", "443"}};
    const QString h = QStringLiteral("h:80");
    const QString none;
    QTest::newRow("nothing stored") << Preferences() << none << none;
    QTest::newRow("off") << both + Preferences{{"Proxy Enabled", "false"}} << none << none;
    QTest::newRow("common server") << both << h << h;
    QTest::newRow("own server for HTTPS")
        << both + Preferences{{"Proxy Do Not Use Common Server", "true"}} << h << QStringLiteral("s:443");
    QTest::newRow("own server for HTTPS without a host")
        << both + Preferences{{"Proxy Do Not Use Common Server", "true"}, {"Proxy Https Host", ""}} << h
        << none;
    QTest::newRow("empty host") << both + Preferences{{"Proxy Http Host", " "}} << none << none;
    for (const char *port : {"-1", "0", "65536", "80x", ""})
        QTest::newRow(qPrintable(QStringLiteral("port \"%1\"").arg(QLatin1String(port))))
            << both + Preferences{{"Proxy Http Port", port}} << none << none;
    QTest::newRow("user without authorisation") << both + Preferences{{"Proxy Http Username", "u"}} << h << h;
    const Preferences authorised{{"Proxy Http Autorization Enabled", "true"}, {"Proxy Http Username", "u"}};
    QTest::newRow("user without a password")
        << both + authorised << QStringLiteral("u@h:80") << QStringLiteral("u@h:80");
    QTest::newRow("a password that was not sealed")
        << both + authorised + Preferences{{"Proxy Http Password", "secret"}} << h << h;
}

void tst_ProxySettings::userProxy()
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

void tst_ProxySettings::preferencesPasswordIsSealed()
{
    for (const char *name : {"Proxy Enabled", "Proxy Do Not Use Common Server",
                             "Proxy Http Autorization Enabled", "Proxy Https Autorization Enabled"})
        setPreference(name, true);
    for (const char *scheme : {"Http", "Https"}) {
        const auto set = [scheme](const char *name, const char *value) {
            setPreference((QByteArray("Proxy ") + scheme + name).constData(), QString::fromLatin1(value));
        };
        set(" Host", "h");
        set(" Port", "80");
        set(" Username", "u");
    }
    QVERIFY(ProxyPreferences::setPassword(false, QStringLiteral("eins")));
    QVERIFY(ProxyPreferences::setPassword(true, QString::fromUtf8("zwei ä")));
    QCOMPARE(ProxyPreferences::userProxy(QUrl(QStringLiteral("http://a/")))->password(),
             QStringLiteral("eins"));
    QCOMPARE(ProxyPreferences::userProxy(QUrl(QStringLiteral("https://a/")))->password(),
             QString::fromUtf8("zwei ä"));
}

void tst_ProxySettings::automaticConfiguration_data()
{
    QTest::addColumn<Preferences>("preferences");
    QTest::addColumn<bool>("isAllowed");
    QTest::addColumn<QString>("script");
    const char *const script = "http://a/proxy.pac";
    QTest::newRow("default: the system's settings") << Preferences() << true << QString();
    QTest::newRow("nothing") << Preferences{{"Import Settings From IE", "false"}} << false << QString();
    QTest::newRow("script") << Preferences{{"Import Settings From IE", "false"},
                                           {"Automatic Config Url Enabled", "true"},
                                           {"Automatic Config Url", script}}
                            << true << QString::fromLatin1(script);
    QTest::newRow("script that is off")
        << Preferences{{"Import Settings From IE", "false"}, {"Automatic Config Url", script}} << false
        << QString();
}

void tst_ProxySettings::automaticConfiguration()
{
    QFETCH(Preferences, preferences);
    for (const auto &preference : preferences)
        setPreference(preference.first, QString::fromLatin1(preference.second));
    QTEST(ProxyPreferences::allowAutomaticConfiguration(), "isAllowed");
    QTEST(ProxyPreferences::scriptUrl(), "script");
}

void tst_ProxySettings::savedCredentials()
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
    const QNetworkProxy planted(QNetworkProxy::HttpProxy, QStringLiteral("a/../../User Preferences/x"), 1);
    QVERIFY(ProxyAuthUtils::saveProxyCredentials(planted, QStringLiteral("u"), QStringLiteral("p")));
    QCOMPARE(QSettings().childGroups(), QStringList{QStringLiteral("Passwords")});
}

void tst_ProxySettings::changedCredentialsAreNone_data()
{
    using Change = std::function<QStringList(QStringList)>;
    QTest::addColumn<Change>("change");
    QTest::newRow("another user's name") << Change([](QStringList e) {
        return QStringList{QStringLiteral("v"), e[1]};
    });
    QTest::newRow("a bit of the password") << Change([](QStringList e) {
        QByteArray sealed = QByteArray::fromBase64(e[1].mid(3).toLatin1());
        sealed[sealed.size() - 20] = char(sealed[sealed.size() - 20] ^ 1);
        return QStringList{e[0], e[1].left(3) + QString::fromLatin1(sealed.toBase64())};
    });
    QTest::newRow("cut") << Change([](QStringList e) { return QStringList{e[0], e[1].left(40)}; });
    QTest::newRow("plain text") << Change([](QStringList e) {
        return QStringList{e[0], QStringLiteral("secret")};
    });
    QTest::newRow("empty") << Change([](QStringList e) { return QStringList{e[0], QString()}; });
    QTest::newRow("one part") << Change([](QStringList e) { return QStringList{e[0]}; });
    QTest::newRow("no name") << Change([](QStringList e) { return QStringList{QString(), e[1]}; });
    QTest::newRow("another proxy's entry") << Change([](QStringList) {
        QNetworkProxy other = proxy;
        other.setPort(1);
        ProxyAuthUtils::saveProxyCredentials(other, QStringLiteral("u"), QStringLiteral("secret"));
        return QSettings().value(QStringLiteral("Passwords/3:proxy.lan:1")).toStringList();
    });
}

void tst_ProxySettings::changedCredentialsAreNone()
{
    using Change = std::function<QStringList(QStringList)>;
    QFETCH(Change, change);
    QVERIFY(ProxyAuthUtils::saveProxyCredentials(proxy, QStringLiteral("u"), QStringLiteral("secret")));
    QSettings().setValue(savedEntry(), change(QSettings().value(savedEntry()).toStringList()));
    const int before = logFile().count("(!)Error:");
    QString user = QStringLiteral("untouched");
    QString password = user;
    QVERIFY(!ProxyAuthUtils::getProxyCredentials(proxy, user, password));
    QCOMPARE(user + password, QStringLiteral("untoucheduntouched"));
    QCOMPARE(logFile().count("(!)Error:"), before + 1);
    QVERIFY(!logFile().contains("secret"));
}

void tst_ProxySettings::keyFile_data()
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

void tst_ProxySettings::keyFile()
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

KOV_TEST_MAIN(QCoreApplication, tst_ProxySettings)
#include "tst_proxy_settings.moc"
