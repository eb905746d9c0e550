#include "programs/updater/package/PackageFile.h"

InstallResult PackageFile::open(const QString &path)
{
    QString fault;
    m_file = Files::openFile(path, &m_size, &fault);
    if (m_file.isOpen())
        return InstallResult();
    return {ExitCode::PackageNotTrusted, QStringLiteral("%1 cannot be opened: %2").arg(path, fault)};
}

void PackageFile::adopt(const Files::Handle &file)
{
    m_file = file;
    m_size = 0;
}

qint64 PackageFile::read(char *data, qint64 size)
{
    return Files::read(m_file, data, size);
}

InstallResult PackageFile::append(const char *data, qint64 size)
{
    return Files::write(m_file, data, size);
}

InstallResult PackageFile::rewind()
{
    return Files::rewind(m_file)
               ? InstallResult()
               : Files::systemFault(QStringLiteral("the copy of the package cannot be read"));
}
