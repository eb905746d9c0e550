#pragma once

#include "gui/KovGuiGlobal.h"

#include <QNetworkProxy>
#include <QString>

#include <optional>

class QUrl;

/// The user's proxy preferences, read from the application's settings each time. Keys and defaults are in
/// docs/reference/proxy-settings.md. GUI thread only.
namespace ProxyPreferences {

/// The proxy that the user entered for such URLs; nothing when proxies are off, or the host or the port is
/// missing or makes no sense. Without a password that can be read it has no user either.
/// @param force  read it even when proxies are switched off
KOVGUI_EXPORT std::optional<QNetworkProxy> userProxy(const QUrl &url, bool force = false);

/// Whether the system, or a script that the user named, may be asked for a proxy.
KOVGUI_EXPORT bool allowAutomaticConfiguration();
/// The address of the user's auto-configuration script; empty when it is off or not entered.
KOVGUI_EXPORT QString scriptUrl();

/**
 * Stores the password of a proxy that the user entered, sealed; all other preferences are plain.
 * @param forHttps  the one for HTTPS URLs, used when they have settings of their own
 * @return false, and nothing is changed, when it cannot be sealed or written (logged)
 */
KOVGUI_EXPORT bool setPassword(bool forHttps, const QString &password);

} // namespace ProxyPreferences
