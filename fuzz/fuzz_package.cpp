// A package, either any bytes or an archive that is put together as the bytes tell: the reader tells its
// target of files that the manifest lists, in its order, each with its size and digest, or refuses.
#include "fuzz/FuzzArchive.h"
#include "fuzz/FuzzTarget.h"
#include "programs/updater/package/PackageReader.h"

#include <QCryptographicHash>
#include <cstring>

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

std::string archiveFrom(FuzzedDataProvider &provider)
{
    PackageManifest manifest;
    manifest.product = QStringLiteral("P");
    std::vector<FuzzEntry> entries;
    for (int i = provider.ConsumeIntegralInRange(0, 6); i > 0; --i) {
        entries.push_back(FuzzEntry::from(provider, 12));
        if (provider.ConsumeIntegralInRange(0, 10) == 0)
            continue;
        const QByteArray content = QByteArray::fromStdString(entries.back().content);
        manifest.files.append({QByteArray::fromStdString(entries.back().path),
                               content.size() + provider.ConsumeIntegralInRange(0, 10) / 10, false,
                               QCryptographicHash::hash(content, QCryptographicHash::Sha256)});
    }
    entries.insert(entries.begin(), {PackageManifest::fileName, manifest.text().toStdString(), 0});
    return packed(entries, archive_write_set_format_ustar);
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
