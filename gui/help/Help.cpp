#include "gui/help/Help.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"

#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QLocale>

namespace {

const QLatin1String localePlaceholder("@LOCALE@");

struct HelpState
{
    QString baseAddress;
    Help::UrlOpener opener;
};

HelpState &state()
{
    static HelpState instance;
    return instance;
}

QString uiLocaleName()
{
    const QLocale locale;
    return locale.language() == QLocale::C ? QStringLiteral("en_US") : locale.name();
}

QByteArray loggable(const QUrl &url)
{
    return KovGui::logText(url.toDisplayString(QUrl::RemoveUserInfo));
}

// A file address with a host is a network path: opening it would send the user's credentials to that host.
bool isOwnFile(const QUrl &url)
{
    return url.isValid() && url.isLocalFile() && url.host().isEmpty()
           && QDir::isAbsolutePath(url.toLocalFile());
}

QUrl topicUrlFrom(QString address, int topic, const QString &locale)
{
    address.replace(QLatin1String("@TOPIC@"), QString::number(topic));
    return QUrl(address.replace(localePlaceholder, locale), QUrl::StrictMode);
}

bool openUrl(const QUrl &url)
{
    const bool opened = state().opener ? state().opener(url) : QDesktopServices::openUrl(url);
    if (!opened)
        KOV_LOG(0, "(!)Error: can't open %s", loggable(url).constData());
    return opened;
}

} // namespace

namespace Help {

HelpTopic topicOfLink(const QUrl &link)
{
    if (link.scheme() != QLatin1String("kovhelp") || link.hasQuery() || link.hasFragment())
        return NoTopic;
    QString number = link.path();
    if (link.host() == QLatin1String("topic") && number.startsWith(QLatin1Char('/')))
        number.remove(0, 1);
    else if (!link.authority().isEmpty())
        return NoTopic;
    for (const QChar digit : number) {
        if (digit < QLatin1Char('0') || digit > QLatin1Char('9'))
            return NoTopic;
    }
    return HelpTopic(number.toInt());
}

QUrl localizedUrl(QString address)
{
    return QUrl(address.replace(localePlaceholder, uiLocaleName()), QUrl::StrictMode);
}

bool isWebAddress(const QUrl &url)
{
    const bool web = url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    return web && url.isValid() && !url.host().isEmpty() && url.userInfo().isEmpty();
}

QUrl topicUrl(HelpTopic topic)
{
    if (topic == NoTopic || state().baseAddress.isEmpty())
        return QUrl();
    const QString locale = uiLocaleName();
    const QUrl url = topicUrlFrom(state().baseAddress, topic, locale);
    if (!url.isLocalFile())
        return url;
    for (const QString &name : {locale, locale.section(QLatin1Char('_'), 0, 0), QStringLiteral("en")}) {
        const QUrl candidate = topicUrlFrom(state().baseAddress, topic, name);
        if (QFileInfo(candidate.toLocalFile()).isFile())
            return candidate;
    }
    return QUrl();
}

bool setBaseAddress(const QString &address)
{
    const QUrl sample = topicUrlFrom(address, MessagesTopic, uiLocaleName());
    if (!address.isEmpty() && !isWebAddress(sample) && !isOwnFile(sample)) {
        KOV_LOG(0, "(!)Error: %s can't be the base address of the help", loggable(sample).constData());
        return false;
    }
    state().baseAddress = address;
    return true;
}

bool openTopic(HelpTopic topic)
{
    const QUrl url = topicUrl(topic);
    if (url.isEmpty()) {
        KOV_LOG(0, "(!)Error: no address for help topic %d", int(topic));
        return false;
    }
    return openUrl(url);
}

bool openLink(const QUrl &link)
{
    const HelpTopic topic = topicOfLink(link);
    if (topic == NoTopic) {
        KOV_LOG(0, "(!)Error: %s names no help topic", loggable(link).constData());
        return false;
    }
    return openTopic(topic);
}

bool openWebPage(const QUrl &url)
{
    if (!isWebAddress(url)) {
        KOV_LOG(0, "(!)Error: %s is no web address", loggable(url).constData());
        return false;
    }
    return openUrl(url);
}

void setUrlOpener(const UrlOpener &opener)
{
    state().opener = opener;
}

} // namespace Help
