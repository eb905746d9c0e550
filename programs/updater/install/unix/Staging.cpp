#include "programs/updater/install/unix/Staging.h"

#include <cerrno>
#include <sys/stat.h>

namespace {

/// The caller's mask does not count: others are to run what is installed.
constexpr mode_t folderMode = 0755;

InstallResult openNewFolder(int parent, const char *name, Descriptor *folder)
{
    Files::changing();
    if (mkdirat(parent, name, folderMode) != 0 && errno != EEXIST)
        return Files::systemFault(QStringLiteral("a folder cannot be made"));
    *folder = Files::openFolder(parent, name);
    if (!folder->isOpen() || fchmod(folder->number(), folderMode) != 0)
        return Files::systemFault(QStringLiteral("a folder cannot be made"));
    return InstallResult();
}

} // namespace

InstallResult Staging::make(int parent)
{
    const InstallResult result = Files::discard(parent, name);
    return result.ok() ? openNewFolder(parent, name, &m_root) : result;
}

InstallResult Staging::begin(const PackageManifest &, const QByteArray &manifestText)
{
    InstallResult result = createFile(m_root.number(), PackageManifest::fileName, false);
    if (result.ok())
        result = write(manifestText.constData(), manifestText.size());
    return result.ok() ? endFile() : result;
}

InstallResult Staging::enter(const QByteArray &folderPath)
{
    if (m_folder.isOpen() && folderPath == m_folderPath)
        return InstallResult();
    Descriptor folder(dup(m_root.number()));
    m_folderPath.clear();
    for (int begin = 0; begin < folderPath.size();) {
        const int slash = folderPath.indexOf('/', begin);
        const int end = slash < 0 ? folderPath.size() : slash;
        Descriptor next;
        const InstallResult result
            = openNewFolder(folder.number(), folderPath.mid(begin, end - begin).constData(), &next);
        if (!result.ok())
            return result;
        folder = std::move(next);
        m_folderPaths.insert(folderPath.left(end));
        begin = end + 1;
    }
    m_folder = std::move(folder);
    m_folderPath = folderPath;
    return InstallResult();
}

InstallResult Staging::createFile(int folder, const QByteArray &name, bool isExecutable)
{
    Files::changing();
    m_file = Descriptor(
        openat(folder, name.constData(), O_WRONLY | O_CREAT | O_EXCL | Files::safely, mode_t(0600)));
    if (!m_file.isOpen() || fchmod(m_file.number(), isExecutable ? 0755 : 0644) != 0)
        return Files::systemFault(QStringLiteral("\"%1\" cannot be created").arg(QLatin1String(name)));
    return InstallResult();
}

InstallResult Staging::beginFile(const PackageEntry &entry)
{
    // Asked again here, where a wrong answer of the reader would do harm.
    if (!PackageManifest::isSafePath(entry.path))
        return {ExitCode::PackageBroken, QStringLiteral("the package holds an unsafe path")};
    const int slash = entry.path.lastIndexOf('/');
    const InstallResult result = enter(entry.path.left(qMax(0, slash)));
    return result.ok() ? createFile(m_folder.number(), entry.path.mid(slash + 1), entry.isExecutable)
                       : result;
}

InstallResult Staging::write(const char *data, qint64 size)
{
    return Files::writeAll(m_file.number(), data, size);
}

InstallResult Staging::endFile()
{
    const InstallResult result = Files::sync(m_file.number());
    m_file = Descriptor();
    return result;
}

InstallResult Staging::end()
{
    for (const QByteArray &path : std::as_const(m_folderPaths)) {
        InstallResult result = enter(path);
        if (result.ok())
            result = Files::sync(m_folder.number());
        if (!result.ok())
            return result;
    }
    return Files::sync(m_root.number());
}
