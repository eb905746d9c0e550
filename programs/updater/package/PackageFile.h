#pragma once

#include "programs/updater/package/PackageReader.h"

#include <memory>

/// An open file: a package, its signature, or the updater's private copy of a package. What its name refers
/// to after the opening does not matter. Implemented once per operating system.
class PackageFile : public PackageSource
{
public:
    PackageFile();
    ~PackageFile() override;

    /// Opens a regular file for reading; a symbolic link is refused. ExitCode::PackageNotTrusted when it
    /// cannot be opened, with a fault that names the path.
    InstallResult open(const QString &path);
    /// Takes over a file that the system knows under this number, open for reading and writing.
    void adopt(int number);

    /// When it was opened.
    qint64 size() const;
    qint64 read(char *data, qint64 size) override;
    InstallResult append(const char *data, qint64 size);
    /// The next read begins at the first byte.
    InstallResult rewind();

private:
    class Private;
    const std::unique_ptr<Private> d;
};
