#include "programs/updater/publish/PackTool.h"

#include "programs/updater/base/ErrorLine.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QMap>
#include <QSaveFile>
#include <algorithm>
#include <archive.h>
#include <archive_entry.h>
#include <cerrno>
#include <memory>

namespace {

constexpr QLatin1String packCommand("pack");
constexpr int blockSize = 64 * 1024;

InstallResult unusable(const QString &fault)
{
    return {ExitCode::PackageBroken, fault};
}

InstallResult readEntry(const QFileInfo &info, PackageEntry *entry)
{
    QFile file(info.filePath());
    QCryptographicHash digest(QCryptographicHash::Sha256);
    if (!file.open(QIODevice::ReadOnly) || !digest.addData(&file))
        return unusable(QStringLiteral("%1 cannot be read: %2").arg(info.filePath(), file.errorString()));
    entry->size = file.size();
    entry->isExecutable = info.permission(QFileDevice::ExeOwner);
    entry->digest = digest.result();
    return InstallResult();
}

/// A version that is installed holds the manifest of its package, which is made anew.
bool isOldManifest(const QDir &folder, const QString &path)
{
    QFile file(folder.filePath(path));
    PackageManifest manifest;
    return path == QLatin1String(PackageManifest::fileName) && file.open(QIODevice::ReadOnly)
           && PackageManifest::parse(file.read(PackageManifest::maximumTextSize + 1), &manifest).isEmpty();
}

InstallResult listFiles(const QDir &folder, PackageManifest *manifest)
{
    QDirIterator iterator(folder.path(),
                          QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                          QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        iterator.next();
        const QFileInfo info = iterator.fileInfo();
        const QString path = folder.relativeFilePath(info.filePath());
        if (info.isSymLink() || (!info.isFile() && !info.isDir()))
            return unusable(QStringLiteral("%1 is a link or a special file").arg(info.filePath()));
        if (info.isDir() || isOldManifest(folder, path))
            continue;
        PackageEntry entry;
        entry.path = path.toUtf8();
        const InstallResult result = readEntry(info, &entry);
        if (!result.ok())
            return result;
        manifest->files.append(entry);
    }
    std::sort(manifest->files.begin(), manifest->files.end(),
              [](const PackageEntry &one, const PackageEntry &other) { return one.path < other.path; });
    const QString fault = manifest->fault();
    return fault.isEmpty() ? InstallResult()
                           : unusable(QStringLiteral("%1 cannot be packed: %2").arg(folder.path(), fault));
}

class Writing
{
public:
    explicit Writing(QIODevice &output)
        : m_output(output)
        , m_archive(archive_write_new(), archive_write_free)
    { }

    bool begin()
    {
        archive *const target = m_archive.get();
        return target && archive_write_set_format_pax_restricted(target) == ARCHIVE_OK
               && archive_write_add_filter_gzip(target) == ARCHIVE_OK
               && archive_write_set_filter_option(target, "gzip", "timestamp", nullptr) == ARCHIVE_OK
               && archive_write_open(target, this, nullptr, &Writing::onWrite, nullptr) == ARCHIVE_OK;
    }

    bool addHeader(const QByteArray &path, qint64 size, bool isExecutable)
    {
        const std::unique_ptr<archive_entry, decltype(&archive_entry_free)> entry(archive_entry_new(),
                                                                                  archive_entry_free);
        archive_entry_set_pathname(entry.get(), path.constData());
        archive_entry_set_filetype(entry.get(), AE_IFREG);
        archive_entry_set_perm(entry.get(), isExecutable ? 0755 : 0644);
        archive_entry_set_size(entry.get(), size);
        archive_entry_set_mtime(entry.get(), 0, 0);
        return archive_write_header(m_archive.get(), entry.get()) == ARCHIVE_OK;
    }

    bool addData(const char *data, qint64 size)
    {
        return archive_write_data(m_archive.get(), data, size_t(size)) == la_ssize_t(size);
    }

    bool end() { return archive_write_close(m_archive.get()) == ARCHIVE_OK; }

private:
    static la_ssize_t onWrite(archive *archive, void *self, const void *data, size_t size)
    {
        const qint64 written
            = static_cast<Writing *>(self)->m_output.write(static_cast<const char *>(data), qint64(size));
        if (written != qint64(size))
            archive_set_error(archive, EIO, "the package cannot be written");
        return written == qint64(size) ? la_ssize_t(size) : -1;
    }

    QIODevice &m_output;
    const std::unique_ptr<archive, decltype(&archive_write_free)> m_archive;
};

/// False when it cannot be written, or is no longer what the manifest says.
bool addFile(const QDir &folder, const PackageEntry &entry, Writing *writing)
{
    QFile file(folder.filePath(QString::fromUtf8(entry.path)));
    if (!file.open(QIODevice::ReadOnly) || !writing->addHeader(entry.path, entry.size, entry.isExecutable))
        return false;
    QCryptographicHash digest(QCryptographicHash::Sha256);
    QByteArray block(blockSize, '\0');
    qint64 count = 0;
    while ((count = file.read(block.data(), block.size())) > 0) {
        digest.addData(block.constData(), int(count));
        if (!writing->addData(block.constData(), count))
            return false;
    }
    return count == 0 && digest.result() == entry.digest;
}

InstallResult writePackage(const QDir &folder, const PackageManifest &manifest, const QString &output)
{
    QSaveFile file(output);
    if (!file.open(QIODevice::WriteOnly))
        return {ExitCode::OutputError,
                QStringLiteral("%1 cannot be written: %2").arg(output, file.errorString())};
    Writing writing(file);
    const QByteArray text = manifest.text();
    bool ok = writing.begin() && writing.addHeader(PackageManifest::fileName, text.size(), false)
              && writing.addData(text.constData(), text.size());
    for (const PackageEntry &entry : manifest.files) {
        if (ok && !addFile(folder, entry, &writing))
            return unusable(QStringLiteral("%1 changed or cannot be packed")
                                .arg(folder.filePath(QString::fromUtf8(entry.path))));
    }
    if (ok && writing.end() && file.commit())
        return InstallResult();
    return {ExitCode::OutputError,
            QStringLiteral("%1 cannot be written: %2").arg(output, file.errorString())};
}

/// The folder stands under an empty name. @return empty, or what is wrong
QString collect(const QStringList &arguments, QMap<QString, QString> *values)
{
    const QStringList names{QStringLiteral("--product"), QStringLiteral("--version"),
                            QStringLiteral("--output")};
    for (int i = 0; i < arguments.size(); ++i) {
        const bool isOption = arguments.at(i).startsWith(QLatin1String("--"));
        const QString name = isOption ? arguments.at(i) : QString();
        if (isOption && (!names.contains(name) || i + 1 == arguments.size()))
            return QStringLiteral("argument %1 is not an option, or lacks its value").arg(i + 1);
        if (values->contains(name))
            return QStringLiteral("the folder or an option is given twice");
        values->insert(name, isOption ? arguments.at(++i) : arguments.at(i));
    }
    return values->size() == names.size() + 1 ? QString()
                                              : QStringLiteral("the folder or an option is missing");
}

} // namespace

InstallResult packFolder(const QString &folder, const QString &product, const VersionNumber &version,
                         const QString &output)
{
    const QDir directory(QDir(folder).canonicalPath());
    if (!QFileInfo(folder).isDir())
        return unusable(QStringLiteral("there is no folder %1").arg(folder));
    PackageManifest manifest;
    manifest.product = product;
    manifest.version = version;
    const InstallResult result = listFiles(directory, &manifest);
    return result.ok() ? writePackage(directory, manifest, output) : result;
}

bool isPackToolCommand(const QString &name)
{
    return name == packCommand;
}

ExitCode runPackTool(const QStringList &arguments)
{
    QMap<QString, QString> values;
    VersionNumber version{};
    QString fault = collect(arguments.mid(1), &values);
    if (fault.isEmpty() && !parseVersion(values.value(QStringLiteral("--version")), &version))
        fault = QStringLiteral("--version is not four numbers");
    if (!fault.isEmpty())
        return fail(ExitCode::UsageError,
                    QStringLiteral("%1 (usage: updater pack FOLDER --product NAME --version A.B.C.D "
                                   "--output FILE.tar.gz)")
                        .arg(fault));
    const InstallResult result
        = packFolder(values.value(QString()), values.value(QStringLiteral("--product")), version,
                     values.value(QStringLiteral("--output")));
    return result.ok() ? ExitCode(0) : fail(result.code, result.fault);
}
