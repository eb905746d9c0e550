#pragma once

#include "gui/KovGuiGlobal.h"

#include <QString>

#include <optional>

/**
 * Seals passwords that are kept in the settings. The key is this user's own (gui/platform/SecretKey.h) and is
 * not in the settings; what is sealed is encrypted, and opens only unchanged and in the place that it was
 * sealed for.
 *
 * GUI thread only; the first use may run an event loop, without user input, while the desktop's key store is
 * asked.
 */
namespace PasswordStore {

/// @param place  where the sealed text will stand, such as its settings key
/// @return printable ASCII, never empty; the null text when there is no key (logged)
KOVGUI_EXPORT QString seal(const QString &password, const QString &place);

/// Nothing when the text was changed, sealed by another user or for another place, or is no sealed text at
/// all, and when there is no key (logged, without the text).
KOVGUI_EXPORT std::optional<QString> open(const QString &sealed, const QString &place);

} // namespace PasswordStore
