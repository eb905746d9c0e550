#pragma once

#include "programs/updater/install/Installation.h"
#include "programs/updater/install/Journal.h"
#include "programs/updater/install/Staging.h"

namespace InstallationNames {

constexpr char current[] = "current";
constexpr char previous[] = "previous";
constexpr char own[] = ".updater";
// Inside the private folder.
constexpr char lock[] = "lock";
constexpr char journal[] = "journal";
constexpr char counter[] = "counter-";
constexpr char rejected[] = "rejected";
constexpr char trial[] = "trial";
constexpr char draft[] = "draft";
constexpr char package[] = "package";
constexpr char obsolete[] = "obsolete";
// Of a version whose files move one by one: from where to where, and its manifest.
constexpr char moving[] = "moving";
constexpr char movingManifest[] = "moving-manifest";

} // namespace InstallationNames

class Installation::Private
{
public:
    /// The manifest of a version; nothing when there is none.
    static std::optional<QByteArray> manifestIn(const Files::Handle &parent, const char *version);
    static std::optional<PackageManifest> parsedManifestIn(const Files::Handle &parent, const char *version);
    /// Of a manifest, as the journal holds it; empty when there is no such version.
    static QByteArray identityOf(const Files::Handle &parent, const char *version);
    static bool isOwnAndPrivate(const Files::Handle &folder);

    InstallResult openPrivateFolder();
    InstallResult takeLock();
    InstallResult readInstalled(const QString &rootPath);

    // The change of versions, and what is left of an interrupted one (Recovery.cpp).
    InstallResult recover();
    /// @param swap  returns when the versions have changed places on the medium
    InstallResult change(const Journal &journal, InstallResult (Private::*swap)());
    InstallResult swapIn();
    InstallResult swapBack();
    InstallResult finish(const Journal &journal);
    InstallResult keepRecords(const Journal &journal);
    void keepOldVersion();
    InstallResult restoreOld(const Journal &journal);
    InstallResult forgetJournal();
    InstallResult reject(const VersionNumber &version, const QString &reason);
    InstallResult replaceRecord(const QByteArray &name, const QByteArray &text);
    InstallResult moveFault(const QString &what) const;
    InstallResult moved(bool ok) const;
    InstallResult sync() const;
    /// A version with all its files; `to` may be a folder without files.
    bool move(const char *from, const char *to);
    bool moveOneByOne(const char *from, const char *to);
    /// Moves what is left there; neither place is a version before its manifest has arrived.
    bool continueMove(const char *from, const char *to);
    /// Goes on with a move that was interrupted, or takes it back.
    InstallResult endMove();
    const Files::Handle &folderOf(const char *version) const;
    bool exchange(const char *version, const char *other);
    void clear();

    Hooks hooks;
    QString rootPath;
    Files::Handle root;
    Files::Handle own;
    Files::Handle lock;
    bool isLocked = false;
    PackageManifest manifest;
    Staging staging;
};
