#pragma once

#include "gui/KovGuiGlobal.h"

#include <QByteArray>
#include <QString>

/// Addresses of update servers: they come from settings and policies, and end up as an argument and in the
/// log.
namespace UpdateUrl {

/**
 * The address in the form in which it may be handed to the updater, or empty when it may not.
 *
 * Accepted is a strict address that is WebUtils::isOpenAddress(), without blanks, quotes and control
 * characters.
 */
KOVGUI_EXPORT QString checked(const QString &address);

/// Text for the log: escaped, and the addresses in it masked (WebUtils::withMaskedUrls()).
KOVGUI_EXPORT QByteArray forLog(const QString &text);

} // namespace UpdateUrl
