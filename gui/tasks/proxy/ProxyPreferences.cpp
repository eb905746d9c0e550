#include "gui/tasks/proxy/ProxyPreferences.h"

#include "gui/log/Log.h"
#include "gui/tasks/sign_in/PasswordStore.h"

#include <QSettings>
#include <QUrl>

namespace {

QString key(const char *name)
{
    return QLatin1String("User Preferences/Proxy/") + QLatin1String(name);
}

QString passwordKey(bool forHttps)
{
    return key(forHttps ? "Proxy Https Password" : "Proxy Http Password");
}

bool flag(const char *name, bool byDefault)
{
    return QSettings().value(key(name), byDefault).toBool();
}

QString text(const char *name)
{
    return QSettings().value(key(name)).toString().trimmed();
}

/// 0 when there is none.
quint16 port(const char *name)
{
    const QString value = QSettings().value(key(name), QStringLiteral("-1")).toString().trimmed();
    bool isNumber = false;
    const int number = value.toInt(&isNumber);
    if (isNumber && number >= 1 && number <= 65535)
        return quint16(number);
    if (number != -1 || !isNumber)
        KOV_LOG(1, "(!)Warning: \"%s\" is no port; the proxy is not used.", name);
    return 0;
}

void readCredentials(bool isHttps, QNetworkProxy &proxy)
{
    const QString user = text(isHttps ? "Proxy Https Username" : "Proxy Http Username");
    const QString sealed = QSettings().value(passwordKey(isHttps)).toString();
    if (user.isEmpty())
        return;
    const std::optional<QString> password
        = sealed.isEmpty() ? QString() : PasswordStore::open(sealed, passwordKey(isHttps));
    // Half of the credentials would be refused and count as an attempt: the proxy shall ask instead.
    if (!password)
        return;
    proxy.setUser(user);
    proxy.setPassword(*password);
}

} // namespace

namespace ProxyPreferences {

std::optional<QNetworkProxy> userProxy(const QUrl &url, bool force)
{
    if (!force && !flag("Proxy Enabled", false))
        return std::nullopt;
    const bool isHttps
        = url.scheme() == QLatin1String("https") && flag("Proxy Do Not Use Common Server", false);
    const QString host = text(isHttps ? "Proxy Https Host" : "Proxy Http Host");
    if (host.isEmpty())
        return std::nullopt;
    const quint16 number = port(isHttps ? "Proxy Https Port" : "Proxy Http Port");
    if (number == 0)
        return std::nullopt;
    QNetworkProxy proxy(QNetworkProxy::HttpProxy, host, number);
    if (flag(isHttps ? "Proxy Https Autorization Enabled" : "Proxy Http Autorization Enabled", false))
        readCredentials(isHttps, proxy);
    return proxy;
}

QString scriptUrl()
{
    return flag("Automatic Config Url Enabled", false) ? text("Automatic Config Url") : QString();
}

bool allowAutomaticConfiguration()
{
    return !scriptUrl().isEmpty() || flag("Import Settings From IE", true);
}

bool setPassword(bool forHttps, const QString &password)
{
    const QString sealed = PasswordStore::seal(password, passwordKey(forHttps));
    if (sealed.isNull())
        return false;
    QSettings settings;
    settings.setValue(passwordKey(forHttps), sealed);
    settings.sync();
    if (settings.status() == QSettings::NoError)
        return true;
    KOV_LOG(0, "(!)Error: the settings cannot be written; the proxy's password is not saved.");
    return false;
}

} // namespace ProxyPreferences
