#pragma once

#include "programs/updater/base/Files.h"
#include "programs/updater/package/PackageReader.h"

#include <QSet>

/// The folder in which a new version is put together. Every folder on the way to a file is opened one by one
/// below it, so that no path leads out of it.
class Staging : public PackageTarget
{
public:
    static constexpr char name[] = "staging";

    /// Makes it anew, empty, in this folder, which is nobody else's to write to.
    /// @param place  the folder that the version goes to at last, for those who may read it there
    InstallResult make(const Files::Handle &parent, const Files::Handle &place);
    /// Lets go of what is open in it, so that it can be moved or removed.
    void close();

    InstallResult begin(const PackageManifest &manifest, const QByteArray &manifestText) override;
    InstallResult beginFile(const PackageEntry &entry) override;
    InstallResult write(const char *data, qint64 size) override;
    InstallResult endFile() override;
    /// Closes it, too.
    InstallResult end() override;

private:
    InstallResult enter(const QByteArray &folderPath);
    InstallResult createFile(const Files::Handle &folder, const QByteArray &name, Files::Kind kind);

    Files::Handle m_root;
    /// The folder of the present file, and its path.
    Files::Handle m_folder;
    QByteArray m_folderPath;
    Files::Handle m_file;
    QSet<QByteArray> m_folderPaths;
};
