#pragma once

#include "programs/updater/base/Files.h"
#include "programs/updater/package/PackageReader.h"

/// An open file: a package, its signature, or the updater's private copy of a package. What its name refers
/// to after the opening does not matter.
class PackageFile : public PackageSource
{
public:
    /// Opens a regular file for reading; a symbolic link is refused. ExitCode::PackageNotTrusted when it
    /// cannot be opened, with a fault that names the path.
    InstallResult open(const QString &path);
    /// Takes over an open file.
    void adopt(const Files::Handle &file);

    /// When it was opened.
    qint64 size() const { return m_size; }
    qint64 read(char *data, qint64 size) override;
    InstallResult append(const char *data, qint64 size);
    /// The next read begins at the first byte.
    InstallResult rewind();

private:
    Files::Handle m_file;
    qint64 m_size = 0;
};
