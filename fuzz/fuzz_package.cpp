// A package, either any bytes or an archive that is put together as the bytes tell: the reader tells its
// target of files that the manifest lists, in its order, each with its size and digest, or refuses.
#include "fuzz/FuzzTarget.h"
#include "programs/updater/package/PackageReader.h"

#include <QCryptographicHash>
#include <archive.h>
#include <archive_entry.h>
#include <cstring>
#include <fuzzer/FuzzedDataProvider.h>

namespace {

class Bytes : public PackageSource
{
public:
    explicit Bytes(const std::string &bytes)
        : m_bytes(bytes)
    { }

    qint64 read(char *data, qint64 size) override
    {
        const size_t count = std::min(size_t(size), m_bytes.size() - m_position);
        std::memcpy(data, m_bytes.data() + m_position, count);
        m_position += count;
        return qint64(count);
    }

private:
    const std::string &m_bytes;
    size_t m_position = 0;
};

class Witness : public PackageTarget
{
public:
    InstallResult begin(const PackageManifest &manifest, const QByteArray &text) override
    {
        require(!m_hasBegun && PackageManifest::parse(text, &m_manifest).isEmpty());
        require(manifest.text() == m_manifest.text());
        m_hasBegun = true;
        return InstallResult();
    }
    InstallResult beginFile(const PackageEntry &entry) override
    {
        require(m_hasBegun && m_next < m_manifest.files.size()
                && entry.path == m_manifest.files[m_next].path);
        m_content.clear();
        return InstallResult();
    }
    InstallResult write(const char *data, qint64 size) override
    {
        m_content.append(data, int(size));
        require(m_content.size() <= m_manifest.files[m_next].size);
        return InstallResult();
    }
    InstallResult endFile() override
    {
        const PackageEntry &entry = m_manifest.files[m_next++];
        require(m_content.size() == entry.size
                && QCryptographicHash::hash(m_content, QCryptographicHash::Sha256) == entry.digest);
        return InstallResult();
    }
    InstallResult end() override
    {
        require(m_hasBegun && m_next == m_manifest.files.size());
        m_hasEnded = true;
        return InstallResult();
    }

    bool hasEnded() const { return m_hasEnded; }

private:
    PackageManifest m_manifest;
    QByteArray m_content;
    int m_next = 0;
    bool m_hasBegun = false;
    bool m_hasEnded = false;
};

struct Entry
{
    std::string path;
    std::string content;
    uint8_t oddity = 0;
};

void addEntry(archive *target, const Entry &entry)
{
    archive_entry *const header = archive_entry_new();
    archive_entry_set_pathname(header, entry.path.c_str());
    archive_entry_set_filetype(header, entry.oddity == 1   ? AE_IFDIR
                                       : entry.oddity == 2 ? AE_IFIFO
                                                           : AE_IFREG);
    archive_entry_set_perm(header, entry.oddity == 3 ? 04755 : 0644);
    archive_entry_set_size(header, la_int64_t(entry.content.size()));
    if (entry.oddity == 4)
        archive_entry_set_symlink(header, "/");
    if (entry.oddity == 5)
        archive_entry_set_hardlink(header, "/etc/passwd");
    if (archive_write_header(target, header) == ARCHIVE_OK)
        archive_write_data(target, entry.content.data(), entry.content.size());
    archive_entry_free(header);
}

la_ssize_t appendTo(archive *, void *text, const void *data, size_t size)
{
    static_cast<std::string *>(text)->append(static_cast<const char *>(data), size);
    return la_ssize_t(size);
}

std::string archiveFrom(FuzzedDataProvider &provider)
{
    PackageManifest manifest;
    manifest.product = QStringLiteral("P");
    std::vector<Entry> entries;
    for (int i = provider.ConsumeIntegralInRange(0, 6); i > 0; --i) {
        entries.push_back({provider.ConsumeRandomLengthString(12), provider.ConsumeRandomLengthString(40),
                           provider.ConsumeIntegralInRange<uint8_t>(0, 20)});
        if (provider.ConsumeIntegralInRange(0, 10) == 0)
            continue;
        const QByteArray content = QByteArray::fromStdString(entries.back().content);
        manifest.files.append({QByteArray::fromStdString(entries.back().path),
                               content.size() + provider.ConsumeIntegralInRange(0, 10) / 10, false,
                               QCryptographicHash::hash(content, QCryptographicHash::Sha256)});
    }
    entries.insert(entries.begin(), {PackageManifest::fileName, manifest.text().toStdString(), 0});
    std::string bytes;
    archive *const target = archive_write_new();
    archive_write_set_format_ustar(target);
    archive_write_add_filter_gzip(target);
    archive_write_open(target, &bytes, nullptr, appendTo, nullptr);
    for (const Entry &entry : entries)
        addEntry(target, entry);
    archive_write_free(target);
    return bytes;
}

} // namespace

KOV_FUZZ_TARGET(input)
{
    FuzzedDataProvider provider(reinterpret_cast<const uint8_t *>(input.constData()), size_t(input.size()));
    const std::string bytes
        = provider.ConsumeBool() ? archiveFrom(provider) : provider.ConsumeRemainingBytesAsString();
    Bytes source(bytes);
    Witness witness;
    require(readPackage(source, witness).ok() == witness.hasEnded());
}
