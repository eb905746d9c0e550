#pragma once

#include "programs/updater/base/InstallResult.h"
#include "programs/updater/package/PackageManifest.h"

/// Where the bytes of a package come from.
class PackageSource
{
public:
    virtual ~PackageSource() = default;
    /// Reads up to @p size bytes; returns how many, 0 at the end, less than 0 on an error.
    virtual qint64 read(char *data, qint64 size) = 0;
};

/// Where the files of a package go. A result that is not ok ends the reading.
class PackageTarget
{
public:
    virtual ~PackageTarget() = default;
    /// Once, first.
    virtual InstallResult begin(const PackageManifest &manifest, const QByteArray &manifestText) = 0;
    virtual InstallResult beginFile(const PackageEntry &entry) = 0;
    /// Together never more than the entry's size.
    virtual InstallResult write(const char *data, qint64 size) = 0;
    /// The file is complete, and its digest is the manifest's.
    virtual InstallResult endFile() = 0;
    /// Once, last: every file of the manifest has arrived.
    virtual InstallResult end() = 0;
};

/**
 * Reads a package from its beginning to its end: a gzipped tar archive of the manifest and then exactly the
 * regular files that it lists, in its order. The archive is only a stream here: nothing in it names a place
 * to write to, and neither links nor folders nor special files are taken. Reading stops at the first byte
 * more than listed.
 *
 * @return ExitCode::PackageBroken for a package that breaks a rule, else what the target answered
 */
InstallResult readPackage(PackageSource &source, PackageTarget &target);
