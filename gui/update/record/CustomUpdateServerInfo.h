#pragma once

#include "gui/KovGuiGlobal.h"

#include <QString>

/// Which update server the application's preferences ask for.
namespace CustomUpdateServerInfo {

enum Policy {
    NoServer = 0,
    TessarineServer = 1,
    /// url() says which.
    CustomServer = 2,
};

/// "None" and "Tessarine" in the settings, compared exactly; nothing there is TessarineServer, any other text
/// names a server.
KOVGUI_EXPORT Policy policy();
/// The server's catalogue address as the settings have it, unchecked; empty unless the policy is
/// CustomServer.
KOVGUI_EXPORT QString url();
/// Asks the catalogue at this address from now on; empty: the product's own server.
/// @return false, with a logged error and nothing changed, for an address that no updater may be given
KOVGUI_EXPORT bool setUrl(const QString &address);

} // namespace CustomUpdateServerInfo
