#pragma once

#include "gui/data_model/documents/CUpdates.h"
#include "programs/updater/base/VersionNumber.h"

#include <optional>

/// The installation that an update is looked for.
struct UpdateCriteria
{
    QString product;
    VersionNumber currentVersion{};
    /// Such as "de_DE" or "de".
    QString locale;
    /// "windows", "linux", "macos", or the name of another system.
    QString os;
    /// Versions that are not offered.
    QVector<VersionNumber> rejected = {};
};

struct ChosenUpdate
{
    VersionNumber version{};
    CUpdate update;
};

/**
 * The newest update that applies, if any.
 *
 * It applies if its product has the name asked for and updates enabled; its version is newer than the current
 * one and not rejected; its status is "released"; it need not be bought; it is for the operating system and
 * for the locale, its language or any; and its ancestry names the current version or a beginning of it, or is
 * empty.
 *
 * Of several, the highest version counts, then the closest locale, then the system by name before any, then
 * the latest date; then the first in the catalogue. A pure function; a value that does not make sense makes
 * an update not apply.
 */
std::optional<ChosenUpdate> chooseUpdate(const CUpdates &catalogue, const UpdateCriteria &criteria);
