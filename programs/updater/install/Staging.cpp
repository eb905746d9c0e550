#include "programs/updater/install/Staging.h"

InstallResult Staging::make(const Files::Handle &parent, const Files::Handle &place)
{
    const InstallResult result = Files::discard(parent, name);
    return result.ok() ? Files::makeFolder(parent, name, &m_root, place) : result;
}

void Staging::close()
{
    m_root = m_folder = m_file = Files::Handle();
    m_folderPath.clear();
    m_folderPaths.clear();
}

InstallResult Staging::begin(const PackageManifest &, const QByteArray &manifestText)
{
    InstallResult result = createFile(m_root, PackageManifest::fileName, Files::Kind::ForAll);
    if (result.ok())
        result = write(manifestText.constData(), manifestText.size());
    return result.ok() ? endFile() : result;
}

InstallResult Staging::enter(const QByteArray &folderPath)
{
    if (m_folder.isOpen() && folderPath == m_folderPath)
        return InstallResult();
    Files::Handle folder = m_root;
    m_folderPath.clear();
    for (int begin = 0; begin < folderPath.size();) {
        const int slash = folderPath.indexOf('/', begin);
        const int end = slash < 0 ? folderPath.size() : slash;
        Files::Handle next;
        const InstallResult result = Files::makeFolder(folder, folderPath.mid(begin, end - begin), &next);
        if (!result.ok())
            return result;
        folder = next;
        m_folderPaths.insert(folderPath.left(end));
        begin = end + 1;
    }
    m_folder = folder;
    m_folderPath = folderPath;
    return InstallResult();
}

InstallResult Staging::createFile(const Files::Handle &folder, const QByteArray &name, Files::Kind kind)
{
    m_file = Files::createFile(folder, name, kind);
    return m_file.isOpen()
               ? InstallResult()
               : Files::systemFault(QStringLiteral("\"%1\" cannot be created").arg(QLatin1String(name)));
}

InstallResult Staging::beginFile(const PackageEntry &entry)
{
    // Asked again here, where a wrong answer of the reader would do harm.
    if (!PackageManifest::isSafePath(entry.path))
        return {ExitCode::PackageBroken, QStringLiteral("the package holds an unsafe path")};
    const int slash = entry.path.lastIndexOf('/');
    const InstallResult result = enter(entry.path.left(qMax(0, slash)));
    return result.ok() ? createFile(m_folder, entry.path.mid(slash + 1),
                                    entry.isExecutable ? Files::Kind::Program : Files::Kind::ForAll)
                       : result;
}

InstallResult Staging::write(const char *data, qint64 size)
{
    return Files::write(m_file, data, size);
}

InstallResult Staging::endFile()
{
    const InstallResult result = Files::sync(m_file);
    m_file = Files::Handle();
    return result;
}

InstallResult Staging::end()
{
    const QSet<QByteArray> paths = m_folderPaths;
    for (const QByteArray &path : paths) {
        InstallResult result = enter(path);
        if (result.ok())
            result = Files::sync(m_folder);
        if (!result.ok())
            return result;
    }
    const InstallResult result = Files::sync(m_root);
    close();
    return result;
}
