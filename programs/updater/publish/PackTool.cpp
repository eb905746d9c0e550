#include "programs/updater/publish/PackTool.h"

#include "programs/updater/base/Arguments.h"
#include "programs/updater/base/ErrorLine.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <algorithm>
#include <archive.h>
#include <archive_entry.h>
#include <cerrno>
#include <filesystem>
#include <memory>

namespace {

constexpr int blockSize = 64 * 1024;

InstallResult unusable(const QString &fault)
{
    return {ExitCode::PackageBroken, fault};
}

QString shown(const std::filesystem::path &path)
{
    return QString::fromStdString(path.u8string());
}

// A path is bytes on Unix, wide characters on Windows.
[[maybe_unused]] QString decoded(const char *path)
{
    return QFile::decodeName(path);
}

[[maybe_unused]] QString decoded(const wchar_t *path)
{
    return QDir::fromNativeSeparators(QString::fromWCharArray(path));
}

InstallResult readEntry(const std::filesystem::path &path, PackageEntry *entry)
{
    QFile file(decoded(path.c_str()));
    QCryptographicHash digest(QCryptographicHash::Sha256);
    if (!file.open(QIODevice::ReadOnly) || !digest.addData(&file))
        return unusable(QStringLiteral("%1 cannot be read: %2").arg(shown(path), file.errorString()));
    entry->size = file.size();
    entry->isExecutable = file.permissions().testFlag(QFileDevice::ExeOwner);
    entry->digest = digest.result();
    return InstallResult();
}

/// A version that is installed holds the manifest of its package, which is made anew.
bool isOldManifest(const std::filesystem::path &path)
{
    QFile file(decoded(path.c_str()));
    PackageManifest manifest;
    return file.open(QIODevice::ReadOnly)
           && PackageManifest::parse(file.read(PackageManifest::maximumTextSize + 1), &manifest).isEmpty();
}

/// @param left  files beside those to be packed: what this command and the signing write
InstallResult listFiles(const std::filesystem::path &folder, const QStringList &left,
                        PackageManifest *manifest)
{
    namespace fs = std::filesystem;
    std::error_code error;
    // Names as bytes, and an error for a folder that cannot be read: what is not in the package would be
    // missed later.
    for (fs::recursive_directory_iterator i(folder, error), end; !error && i != end; i.increment(error)) {
        const fs::file_status status = i->symlink_status();
        const std::string path = i->path().lexically_relative(folder).generic_string();
        if (status.type() == fs::file_type::directory || left.contains(decoded(i->path().c_str())))
            continue;
        if (status.type() != fs::file_type::regular)
            return unusable(QStringLiteral("%1 is a link or a special file").arg(shown(i->path())));
        if (path == PackageManifest::fileName && isOldManifest(i->path()))
            continue;
        PackageEntry entry;
        entry.path = QByteArray::fromStdString(path);
        if (!PackageManifest::isSafePath(entry.path))
            return unusable(QStringLiteral("%1 has a name that a package cannot hold").arg(shown(i->path())));
        const InstallResult result = readEntry(i->path(), &entry);
        if (!result.ok())
            return result;
        manifest->files.append(entry);
    }
    if (error)
        return unusable(QStringLiteral("%1 cannot be read completely: %2")
                            .arg(shown(folder), QString::fromStdString(error.message())));
    std::sort(manifest->files.begin(), manifest->files.end(),
              [](const PackageEntry &one, const PackageEntry &other) { return one.path < other.path; });
    const QString fault = manifest->fault();
    return fault.isEmpty() ? InstallResult()
                           : unusable(QStringLiteral("%1 cannot be packed: %2").arg(shown(folder), fault));
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
    const QFileInfo info(output);
    const QString target = QDir(info.dir().canonicalPath()).filePath(info.fileName());
    const std::filesystem::path path(directory.path().toStdU16String());
    const InstallResult result = listFiles(path, {target, target + QStringLiteral(".sig")}, &manifest);
    return result.ok() ? writePackage(directory, manifest, output) : result;
}

ExitCode runPackTool(const QStringList &arguments, const QString &)
{
    const QStringList options{QStringLiteral("--product"), QStringLiteral("--version"),
                              QStringLiteral("--output")};
    Values values;
    VersionNumber version{};
    QString fault = parseArguments(arguments, options, &values);
    if (fault.isEmpty() && values.size() != options.size() + 1)
        fault = QStringLiteral("the folder or an option is missing");
    if (fault.isEmpty() && !parseVersion(values.value(QStringLiteral("--version")), &version))
        fault = QStringLiteral("--version is not four numbers");
    if (!fault.isEmpty())
        return fail(ExitCode::UsageError, QStringLiteral("%1 (see updater pack --help)").arg(fault));
    const InstallResult result
        = packFolder(values.value(QString()), values.value(QStringLiteral("--product")), version,
                     values.value(QStringLiteral("--output")));
    return result.ok() ? ExitCode(0) : fail(result.code, result.fault);
}
