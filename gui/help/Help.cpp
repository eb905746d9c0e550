#include "gui/help/Help.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"

#include <QDesktopServices>
#include <QDir>
#include <QLocale>

namespace {

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

QUrl topicUrlFrom(QString address, int topic)
{
    address.replace(QLatin1String("@TOPIC@"), QString::number(topic));
    return Help::localizedUrl(address);
}

bool openUrl(const QUrl &url)
{
    const bool opened = state().opener ? state().opener(url) : QDesktopServices::openUrl(url);
    if (!opened)
        KOV_LOG(0, "(!)Error: can't open %s", loggable(url).constData());
    return opened;
}

/// The number of a "kovhelp" link; NoTopic when it is none.
Help::HelpTopic topicOfLink(const QUrl &link)
{
    if (link.scheme() != QLatin1String("kovhelp") || link.hasQuery() || link.hasFragment())
        return Help::NoTopic;
    QString number = link.path();
    if (link.host() == QLatin1String("topic") && number.startsWith(QLatin1Char('/')))
        number.remove(0, 1);
    else if (!link.authority().isEmpty())
        return Help::NoTopic;
    for (const QChar digit : number) {
        if (digit < QLatin1Char('0') || digit > QLatin1Char('9'))
            return Help::NoTopic;
    }
    return Help::HelpTopic(number.toInt());
}

} // namespace

namespace Help {

QUrl localizedUrl(QString address)
{
    return QUrl(address.replace(QLatin1String("@LOCALE@"), uiLocaleName()), QUrl::StrictMode);
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
    return topicUrlFrom(state().baseAddress, topic);
}

bool setBaseAddress(const QString &address)
{
    const QUrl sample = topicUrlFrom(address, MessagesTopic);
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
