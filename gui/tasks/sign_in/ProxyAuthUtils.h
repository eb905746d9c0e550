#pragma once

#include "gui/KovGuiGlobal.h"

class QNetworkProxy;
class QString;

/// The credentials that the user let the library remember, in the application's settings
/// (docs/reference/proxy-settings.md). GUI thread only.
namespace ProxyAuthUtils {

/// "type:host:port", such as "3:h:8080": what credentials belong to. The host in lower case.
KOVGUI_EXPORT QString proxyKey(const QNetworkProxy &proxy);

/// The text in the form in which the toolkit takes it for Basic and Digest: it sends Latin-1, and proxies,
/// the download utility among their clients, expect UTF-8 (RFC 7617).
KOVGUI_EXPORT QString toToolkit(const QString &text);
/// The other way; a text that is not in that form stays as it is.
KOVGUI_EXPORT QString fromToolkit(const QString &text);
/// A proxy whose credentials are in that form, for a network access manager.
KOVGUI_EXPORT QNetworkProxy toToolkit(const QNetworkProxy &proxy);

/// True when there are saved credentials for the proxy. An entry that was changed or that another user sealed
/// counts as none, which is logged. The texts are untouched then.
KOVGUI_EXPORT bool getProxyCredentials(const QNetworkProxy &proxy, QString &user, QString &password);

/// Replaces what was saved for the proxy. False, and nothing is changed, when the password cannot be sealed
/// or written (logged).
KOVGUI_EXPORT bool saveProxyCredentials(const QNetworkProxy &proxy, const QString &user,
                                        const QString &password);

} // namespace ProxyAuthUtils
