#pragma once

#include "gui/KovGuiGlobal.h"

#include <QString>
#include <QUrl>

#include <functional>

/**
 * Opens help topics, from help buttons and from "kovhelp" links in messages, and web pages.
 *
 * Where the help is, the host says with setBaseAddress(); until then there is nothing to open. GUI thread
 * only.
 */
namespace Help {

/// A topic is a number of the host's help book. These are the ones that this library opens itself.
enum HelpTopic {
    NoTopic = 0,
    /// "About messages": what the help button of a message opens when its host names no other topic.
    MessagesTopic = 132,
};

/// The address of a topic: the base address with @LOCALE@ and @TOPIC@ filled in. Empty for NoTopic and
/// without a base address. Of a help in files it is the first topic that exists for the locale ("de_AT"), its
/// language ("de") and English ("en"); empty when there is none.
KOVGUI_EXPORT QUrl topicUrl(HelpTopic topic);
/**
 * Empty, the initial value, means "no help".
 * @param address  http or https with a host and without user information, or file with an absolute path of
 * this machine; may hold @LOCALE@ and @TOPIC@. Anything else is refused and logged; the old one stays.
 */
KOVGUI_EXPORT bool setBaseAddress(const QString &address);

/// Opens the topic in the system's browser, or through the function that the host set. False and a log line
/// when there is nothing to open or it could not be opened.
KOVGUI_EXPORT bool openTopic(HelpTopic topic);
/// The address with the name of the default locale ("de_DE", "en_US" for the C locale) in place of every
/// @LOCALE@. Not valid when the result is no address.
KOVGUI_EXPORT QUrl localizedUrl(QString address);
/// True for an http or https address with a host and without user information.
KOVGUI_EXPORT bool isWebAddress(const QUrl &url);

/// The topic that "kovhelp:NUMBER" or "kovhelp://topic/NUMBER" names; NoTopic for any other address.
KOVGUI_EXPORT HelpTopic topicOfLink(const QUrl &link);
/// Opens the topic of such a link; any other address is refused and logged.
KOVGUI_EXPORT bool openLink(const QUrl &link);
/// Opens a web address (http or https only) the same way; anything else is refused and logged.
KOVGUI_EXPORT bool openWebPage(const QUrl &url);

/// Replaces the system's browser, for hosts with a viewer of their own and for tests. Null restores it.
using UrlOpener = std::function<bool(const QUrl &)>;
KOVGUI_EXPORT void setUrlOpener(const UrlOpener &opener);

} // namespace Help
