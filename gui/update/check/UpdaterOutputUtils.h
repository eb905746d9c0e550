#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/update/record/CProductUpdateInfo.h"

#include <QByteArray>

/// What an updater program prints about an available update (docs/reference/wire-updater-output.md).
namespace UpdaterOutputUtils {

/**
 * The update that the output describes; a minor one without purchase address and destination folder.
 *
 * Pure and linear in the length of the output. Values that are missing are empty, a size that is missing,
 * negative or beyond 63 bits is 0. Output that describes nothing gives a record without a download address:
 * the caller decides.
 */
KOVGUI_EXPORT CProductUpdateInfo parse(const QByteArray &output);

} // namespace UpdaterOutputUtils
