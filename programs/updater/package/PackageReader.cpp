#include "programs/updater/package/PackageReader.h"

#include <QCryptographicHash>
#include <archive.h>
#include <archive_entry.h>
#include <cerrno>
#include <memory>

namespace {

constexpr int bufferSize = 64 * 1024;

InstallResult broken(const QString &fault)
{
    return {ExitCode::PackageBroken, QStringLiteral("the package is not valid: %1").arg(fault)};
}

class Reading
{
public:
    Reading(PackageSource &source, PackageTarget &target)
        : m_source(source)
        , m_target(target)
        , m_archive(archive_read_new(), archive_read_free)
    { }

    InstallResult run()
    {
        // Formats and filters that no package needs stay unreachable.
        if (!m_archive || archive_read_support_filter_gzip(m_archive.get()) != ARCHIVE_OK
            || archive_read_support_format_tar(m_archive.get()) != ARCHIVE_OK)
            return {ExitCode::InternalError, QStringLiteral("libarchive could not be started")};
        if (archive_read_open(m_archive.get(), this, nullptr, &Reading::onRead, nullptr) != ARCHIVE_OK)
            return archiveFault();
        InstallResult result = readManifest();
        for (int i = 0; result.ok() && i < m_manifest.files.size(); ++i)
            result = readFile(m_manifest.files.at(i));
        if (!result.ok())
            return result;
        archive_entry *entry = nullptr;
        const int status = archive_read_next_header(m_archive.get(), &entry);
        if (status == ARCHIVE_OK)
            return broken(QStringLiteral("\"%1\" is not listed in its manifest").arg(pathOf(entry)));
        return status == ARCHIVE_EOF ? m_target.end() : archiveFault();
    }

private:
    static la_ssize_t onRead(archive *archive, void *self, const void **buffer)
    {
        auto *const reading = static_cast<Reading *>(self);
        *buffer = reading->m_input;
        const qint64 count = reading->m_source.read(reading->m_input, sizeof(reading->m_input));
        if (count < 0)
            archive_set_error(archive, EIO, "it cannot be read");
        reading->m_isUnreadable = count < 0;
        return la_ssize_t(count);
    }

    InstallResult archiveFault() const
    {
        if (m_isUnreadable)
            return {ExitCode::InstallFailed, QStringLiteral("the package cannot be read")};
        const char *const reason = archive_error_string(m_archive.get());
        return broken(QString::fromLocal8Bit(reason ? reason : "it is no archive"));
    }

    static QString pathOf(archive_entry *entry)
    {
        return QString::fromLocal8Bit(archive_entry_pathname(entry));
    }

    /// Moves to the next entry, which must be a regular file with this path, size and mode.
    InstallResult expect(const QByteArray &path, qint64 size, int mode)
    {
        archive_entry *entry = nullptr;
        const int status = archive_read_next_header(m_archive.get(), &entry);
        if (status == ARCHIVE_EOF)
            return broken(QStringLiteral("\"%1\" is missing").arg(QLatin1String(path)));
        if (status != ARCHIVE_OK)
            return archiveFault();
        const QString shown = pathOf(entry);
        if (archive_entry_hardlink(entry) || archive_entry_symlink(entry))
            return broken(QStringLiteral("\"%1\" is a link").arg(shown));
        if (archive_entry_filetype(entry) != AE_IFREG)
            return broken(QStringLiteral("\"%1\" is no regular file").arg(shown));
        if (path != archive_entry_pathname(entry))
            return broken(QStringLiteral("\"%1\" stands where its manifest lists \"%2\"")
                              .arg(shown, QLatin1String(path)));
        m_size = archive_entry_size_is_set(entry) ? archive_entry_size(entry) : -1;
        if (m_size < 0 || (size >= 0 && m_size != size))
            return broken(QStringLiteral("\"%1\" has another size than listed").arg(shown));
        if (int(archive_entry_perm(entry)) != mode)
            return broken(QStringLiteral("\"%1\" has another mode than listed").arg(shown));
        return InstallResult();
    }

    InstallResult readManifest()
    {
        const InstallResult result = expect(PackageManifest::fileName, -1, 0644);
        if (!result.ok())
            return result;
        if (m_size > PackageManifest::maximumTextSize)
            return broken(QStringLiteral("its manifest is larger than allowed"));
        QByteArray text(int(m_size), '\0');
        if (archive_read_data(m_archive.get(), text.data(), size_t(m_size)) != la_ssize_t(m_size))
            return archiveFault();
        const QString fault = PackageManifest::parse(text, &m_manifest);
        if (!fault.isEmpty())
            return broken(QStringLiteral("its manifest is refused: %1").arg(fault));
        return m_target.begin(m_manifest, text);
    }

    InstallResult readFile(const PackageEntry &entry)
    {
        InstallResult result = expect(entry.path, entry.size, entry.isExecutable ? 0755 : 0644);
        if (result.ok())
            result = m_target.beginFile(entry);
        QCryptographicHash digest(QCryptographicHash::Sha256);
        qint64 missing = entry.size;
        while (result.ok()) {
            // The archive's own word about a size is not taken: one byte more than listed is asked for.
            const qint64 wanted = qMin<qint64>(missing + 1, sizeof(m_output));
            const qint64 count = archive_read_data(m_archive.get(), m_output, size_t(wanted));
            if (count < 0)
                return archiveFault();
            if (count == 0)
                break;
            missing -= count;
            if (missing < 0)
                return broken(sizeFault(entry));
            digest.addData(m_output, int(count));
            result = m_target.write(m_output, count);
        }
        if (!result.ok())
            return result;
        if (missing > 0)
            return broken(sizeFault(entry));
        if (digest.result() != entry.digest)
            return broken(
                QStringLiteral("\"%1\" has another digest than listed").arg(QLatin1String(entry.path)));
        return m_target.endFile();
    }

    static QString sizeFault(const PackageEntry &entry)
    {
        return QStringLiteral("\"%1\" has another size than listed").arg(QLatin1String(entry.path));
    }

    PackageSource &m_source;
    PackageTarget &m_target;
    const std::unique_ptr<archive, decltype(&archive_read_free)> m_archive;
    PackageManifest m_manifest;
    qint64 m_size = 0;
    bool m_isUnreadable = false;
    char m_input[bufferSize];
    char m_output[bufferSize];
};

} // namespace

InstallResult readPackage(PackageSource &source, PackageTarget &target)
{
    // Too large for the stack of a thread.
    return std::make_unique<Reading>(source, target)->run();
}
