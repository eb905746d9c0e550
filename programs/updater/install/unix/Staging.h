#pragma once

#include "programs/updater/base/unix/Files.h"
#include "programs/updater/package/PackageReader.h"

#include <QSet>

/// The folder in which a new version is put together. Every folder on the way to a file is opened one by one
/// below it, so that no path leads out of it.
class Staging : public PackageTarget
{
public:
    static constexpr char name[] = "staging";

    /// Makes it anew, empty, in this folder, which is nobody else's to write to.
    InstallResult make(int parent);

    InstallResult begin(const PackageManifest &manifest, const QByteArray &manifestText) override;
    InstallResult beginFile(const PackageEntry &entry) override;
    InstallResult write(const char *data, qint64 size) override;
    InstallResult endFile() override;
    InstallResult end() override;

private:
    InstallResult enter(const QByteArray &folderPath);
    InstallResult createFile(int folder, const QByteArray &name, bool isExecutable);

    Descriptor m_root;
    /// The folder of the present file, and its path.
    Descriptor m_folder;
    QByteArray m_folderPath;
    Descriptor m_file;
    QSet<QByteArray> m_folderPaths;
};
