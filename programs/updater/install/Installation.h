#pragma once

#include "programs/updater/base/InstallResult.h"
#include "programs/updater/base/RejectedVersion.h"
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
 *     .updater/   private: lock, journal, counters, and what an installation under way writes
 *
 * Whatever ends the program, at whatever moment, the next open() or recover() finds or makes `current` a
 * complete version, the old one or the new one. docs/reference/update-package.md describes the journal.
 *
 * What is no longer needed and cannot be removed never fails anything: it is set aside, reported on standard
 * error once, and tried again by every later run.
 *
 * Windows moves no folder in which a program runs. There the files of a version move one by one; meanwhile
 * its manifest is in `.updater/`, so that neither place is taken for a version.
 *
 * One thread.
 */
class Installation
{
public:
    /// For tests.
    struct Hooks
    {
        /// False: as on a file system that cannot exchange two names in one step.
        bool canExchange = true;
        /// False: as where a program runs in every version, so that its files move one by one.
        bool canMoveFolders = true;
        /// False: as a disk that does not take what was written.
        std::function<bool()> canSync = nullptr;
    };

    /// How often in a row a new version may fail to come up before the next start goes back.
    static constexpr int mostFailedStarts = 2;

    /// The installation that a program in this folder belongs to; empty when there is none.
    static QString find(const QString &programFolder);
    /// What is installed below the folder; nothing when there is no readable manifest.
    static std::optional<PackageManifest> installedManifest(const QString &root);
    /// Versions of the installation that must not be offered, because they were gone back from; newest last.
    static QVector<RejectedVersion> rejectedVersions(const QString &root);
    /// The version in use came up. Needs no lock, so that an application that starts holds up no
    /// installation.
    static InstallResult confirmVersion(const QString &root);
    /// Clears up after an updater that was killed. Does nothing while another one runs, or when the folder is
    /// not this user's to change.
    static InstallResult recover(const QString &root);

    Installation();
    explicit Installation(const Hooks &hooks);
    /// Removes what an unfinished installation wrote, and gives the lock back.
    ~Installation();

    /// Locks the installation, recovers from an interrupted run, and reads what is installed. Nothing else
    /// may be called before it succeeded. ExitCode::NoInstallation, ExitCode::InstallBusy.
    InstallResult open(const QString &root);

    /// Of `current`.
    const PackageManifest &manifest() const;
    /// The highest counter of an installed package that was signed with this key (Signature::Statement::key);
    /// 0 without one. A record that cannot be read is ExitCode::InstallFailed.
    InstallResult readCounter(const QByteArray &key, quint64 *counter) const;

    /// ExitCode::NotEnoughSpace when there is less room than this, in bytes.
    InstallResult checkSpace(qint64 needed) const;
    /// An empty file without a name, which nobody but this process reaches.
    InstallResult makePrivateFile(PackageFile *file);
    /// Makes the empty folder that becomes the new version.
    InstallResult makeStaging();
    /// Writes into the folder that makeStaging() made; end() returns when everything is on the medium. Valid
    /// as long as this object.
    PackageTarget &staging();
    /// Puts the staging, complete, in the place of `current`, which becomes `previous`, and puts the new
    /// version on trial (countStart()). Returns when that is on the medium; if it fails, what was `current`
    /// is so still.
    /// @param key, counter  of the new package
    InstallResult commit(const QByteArray &key, quint64 counter);

    /// `previous` and `current` change places, and the version that was in use is rejected until a newer one
    /// is installed. ExitCode::NothingBefore when `previous` is no older version of the product.
    /// @param reason  for a person; cut to one line of 200 characters
    InstallResult stepBack(const QString &reason);

    /// To be called before a program of `current` takes this process's place. A new version is on trial until
    /// confirmVersion(): its starts are counted, but for those while one that was counted still runs. After
    /// too many it is stepped back from.
    /// @return true when that happened
    bool countStart();

private:
    class Private;
    const std::unique_ptr<Private> d;
};
