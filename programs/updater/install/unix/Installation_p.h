#pragma once

#include "programs/updater/install/Installation.h"
#include "programs/updater/install/Journal.h"
#include "programs/updater/install/unix/Staging.h"

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

} // namespace InstallationNames

class Installation::Private
{
public:
    /// The manifest of a version; nothing when there is none.
    static std::optional<QByteArray> manifestIn(int parent, const char *version);
    static std::optional<PackageManifest> parsedManifestIn(int parent, const char *version);
    /// Of a manifest, as the journal holds it; empty when there is no such version.
    static QByteArray identityOf(int parent, const char *version);
    static bool isOwnAndPrivate(int folder);

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
    bool move(int fromFolder, const char *from, int toFolder, const char *to);
    bool exchange(int folder, const char *name, int otherFolder, const char *otherName);
    void clear();

    Hooks hooks;
    QString rootPath;
    Descriptor root;
    Descriptor own;
    Descriptor lock;
    bool isLocked = false;
    PackageManifest manifest;
    Staging staging;
};
