#pragma once

#include "gui/tasks/download/DownloadExitCode.h"

#include <string>
#include <utility>

using DownloadUtility::ExitCode;

/// Success, or the exit code of a failure with one sentence for the user. The text holds no secret (Text.h,
/// Url.h).
struct Result
{
    Result() = default;
    Result(ExitCode code, std::string text)
        : code(code)
        , text(std::move(text))
    { }

    bool ok() const { return code == ExitCode::Success; }

    ExitCode code = ExitCode::Success;
    std::string text;
};
