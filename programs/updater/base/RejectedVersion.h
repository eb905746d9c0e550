#pragma once

#include "programs/updater/base/VersionNumber.h"

/// A version of an installation that was gone back from.
struct RejectedVersion
{
    VersionNumber version{};
    /// One line, for a person.
    QString reason;
};
