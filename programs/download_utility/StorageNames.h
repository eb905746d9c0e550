#pragma once

#include "gui/tasks/download/FileName.h"
#include "programs/download_utility/Result.h"

#include <string>

/// The names that a download has in its folder, and what is said of them on every system.
struct StorageNames
{
    StorageNames() = default;
    explicit StorageNames(const std::string &name)
        : file(name)
        , part(name + FileName::partSuffix)
        , sidecar(name + FileName::sidecarSuffix)
        , draft(name + FileName::sidecarDraftSuffix)
    { }

    static Result foreign(const std::string &name)
    {
        return Result(ExitCode::ForeignFile, "a link or a foreign file is in the way: " + name);
    }
    Result exists() const { return Result(ExitCode::FileExists, "the file exists already: " + file); }
    static Result writtenByAnother()
    {
        return Result(ExitCode::AlreadyRunning, "another download writes this file");
    }
    static Result diskFull() { return Result(ExitCode::DiskFull, "the disk is full"); }

    std::string file;
    std::string part;
    std::string sidecar; ///< what the part file is a part of
    std::string draft; ///< the next sidecar, while it is being written
};
