#pragma once

#include "gui/KovGuiGlobal.h"

#include <QStringList>

/// Which packages of former updates lie in a download folder for nothing. Pure.
namespace StalePackages {

/**
 * Those of the names that are the current package's but for the four numbers of its version, and what a
 * download leaves beside such a package. "Setup-3.1.4.31302.run" finds "Setup-3.1.3.30000.run" and
 * "Setup-3.1.3.30000.run.kovupd-part", nothing that is only similar, and never itself or its own download.
 *
 * Empty when the current name tells no version between a "-" and the suffix.
 */
KOVGUI_EXPORT QStringList among(const QStringList &names, const QString &currentName);

} // namespace StalePackages
