#pragma once

#include "gui/platform/SecretKey.h"

namespace KovGui::Platform {

enum class KeyStoreState { Read, Missing, Unavailable };

/// The desktop's key store: the module "keystore". GUI thread; an event loop runs for at most three seconds a
/// call.
struct KeyStoreFunctions
{
    KeyStoreState (*read)(SecretKey &key);
    bool (*keep)(const SecretKey &key);
};

} // namespace KovGui::Platform
