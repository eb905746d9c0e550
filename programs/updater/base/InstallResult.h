#pragma once

#include "programs/updater/base/ExitCode.h"

#include <QString>

/// How a step of packing or installing ended.
struct InstallResult
{
    /// UpdateFound stands for success.
    ExitCode code = ExitCode::UpdateFound;
    /// One sentence for a person, without a full stop; empty on success.
    QString fault;

    bool ok() const { return code == ExitCode::UpdateFound; }
};
