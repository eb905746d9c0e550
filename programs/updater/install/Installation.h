#pragma once

#include "programs/updater/base/InstallResult.h"
#include "programs/updater/package/PackageFile.h"
#include "programs/updater/package/PackageManifest.h"

#include <functional>
#include <memory>
#include <optional>

/**
 * The folder of an installed product, opened by one updater at a time:
 *
 *     current/    the version in use, with its manifest.json
 *     previous/   the version before, if there was one
 *     .updater/   private: lock, journal, counter, and what an installation under way writes
 *
 * Whatever ends the program, at whatever moment, the next open() or recover() finds or makes `current` a complete
 * version, the old one or the new one. docs/reference/update-package.md describes the journal.
 *
 * Implemented once per operating system. One thread.
 */
class Installation
{
public:
    /// For tests.
    struct Hooks
    {
        /// False: as on a file system that cannot exchange two names in one step.
        bool canExchange = true;
        /// Called before every rename.
        std::function<void()> beforeMove;
    };

    /// The installation that a program in this folder belongs to; empty when there is none.
    static QString find(const QString &programFolder);
    /// What is installed below the folder; nothing when there is no readable manifest.
    static std::optional<PackageManifest> installedManifest(const QString &root);
    /// Clears up after an updater that was killed. Does nothing while another one runs, or when the folder is not this
    /// user's to change.
    static InstallResult recover(const QString &root);

    Installation();
    explicit Installation(const Hooks &hooks);
    /// Removes what an unfinished installation wrote, and gives the lock back.
    ~Installation();

    /// Locks the installation, recovers from an interrupted run, and reads what is installed. Nothing else may be
    /// called before it succeeded. ExitCode::NoInstallation, ExitCode::InstallBusy.
    InstallResult open(const QString &root);

    /// Of `current`.
    const PackageManifest &manifest() const;
    /// The counter of the installed package; 0 when it was not installed by an updater.
    quint64 counter() const;

    /// ExitCode::NotEnoughSpace when there is less room than this, in bytes.
    InstallResult checkSpace(qint64 needed) const;
    /// An empty file without a name, which nobody but this process reaches.
    InstallResult makePrivateFile(PackageFile *file);
    /// Makes the empty folder that becomes the new version.
    InstallResult makeStaging();
    /// Writes into the folder that makeStaging() made; end() returns when everything is on the medium. Valid as
    /// long as this object.
    PackageTarget &staging();
    /// Puts the staging, complete, in the place of `current`, which becomes `previous`. Returns when that is on the
    /// medium; if it fails, what was `current` is so still.
    /// @param counter  of the new package
    InstallResult commit(quint64 counter);

private:
    class Private;
    const std::unique_ptr<Private> d;
};
