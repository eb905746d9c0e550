#include "gui/tasks/sign_in/ProxyAuthUtils.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/tasks/sign_in/PasswordStore.h"

#include <QNetworkProxy>
#include <QSettings>
#include <QStringList>
#include <QUrl>

using KovGui::logText;

namespace {

/// A host name comes from foreign lists; it must not lead into another group.
QString settingsKey(const QNetworkProxy &proxy)
{
    return QLatin1String("Passwords/")
           + QString::fromLatin1(QUrl::toPercentEncoding(ProxyAuthUtils::proxyKey(proxy), ":[]"));
}

/// The user name belongs to it: a password never opens for another name.
QString place(const QString &key, const QString &user)
{
    return key + QLatin1Char('\n') + user;
}

} // namespace

namespace ProxyAuthUtils {

QString proxyKey(const QNetworkProxy &proxy)
{
    return QStringLiteral("%1:%2:%3")
        .arg(int(proxy.type()))
        .arg(proxy.hostName().toLower())
        .arg(proxy.port());
}

QString toToolkit(const QString &text)
{
    return QString::fromLatin1(text.toUtf8());
}

QString fromToolkit(const QString &text)
{
    const QByteArray bytes = text.toLatin1();
    const QString plain = QString::fromUtf8(bytes);
    const bool isOfThatForm
        = QString::fromLatin1(bytes) == text && !plain.contains(QChar(QChar::ReplacementCharacter));
    return isOfThatForm ? plain : text;
}

QNetworkProxy toToolkit(const QNetworkProxy &proxy)
{
    QNetworkProxy result = proxy;
    result.setUser(toToolkit(proxy.user()));
    result.setPassword(toToolkit(proxy.password()));
    return result;
}

bool getProxyCredentials(const QNetworkProxy &proxy, QString &user, QString &password)
{
    const QString key = settingsKey(proxy);
    const QVariant stored = QSettings().value(key);
    if (!stored.isValid())
        return false;
    const QStringList entry = stored.toStringList();
    if (entry.size() != 2 || entry.first().isEmpty()) {
        KOV_LOG(0, "(!)Error: the saved credentials \"%s\" are broken.", logText(key).constData());
        return false;
    }
    const std::optional<QString> opened = PasswordStore::open(entry.last(), place(key, entry.first()));
    if (!opened)
        return false;
    user = entry.first();
    password = *opened;
    return true;
}

bool saveProxyCredentials(const QNetworkProxy &proxy, const QString &user, const QString &password)
{
    const QString key = settingsKey(proxy);
    const QString sealed = PasswordStore::seal(password, place(key, user));
    if (user.isEmpty() || sealed.isNull()) {
        KOV_LOG(0, "(!)Error: the credentials for \"%s\" cannot be sealed and are not saved.",
                logText(key).constData());
        return false;
    }
    QSettings settings;
    settings.setValue(key, QStringList{user, sealed});
    settings.sync();
    if (settings.status() == QSettings::NoError)
        return true;
    KOV_LOG(0, "(!)Error: the settings cannot be written; the credentials for \"%s\" are not saved.",
            logText(key).constData());
    return false;
}

} // namespace ProxyAuthUtils
