// The archive of a report, either any bytes or one that is put together as the bytes tell: what is unpacked
// are regular files in the folder and nothing else, and after a refusal the folder is empty.
#include "fuzz/FuzzTarget.h"
#include "gui/problem_report/archive/ReportArchive_p.h"

#include <QBuffer>
#include <QDir>
#include <QTemporaryDir>
#include <archive.h>
#include <archive_entry.h>
#include <fuzzer/FuzzedDataProvider.h>

namespace {

la_ssize_t appendTo(archive *, void *text, const void *data, size_t size)
{
    static_cast<std::string *>(text)->append(static_cast<const char *>(data), size);
    return la_ssize_t(size);
}

std::string archiveFrom(FuzzedDataProvider &provider)
{
    std::string bytes;
    archive *const target = archive_write_new();
    if (provider.ConsumeBool())
        archive_write_set_format_pax(target);
    else
        archive_write_set_format_gnutar(target);
    archive_write_add_filter_gzip(target);
    archive_write_open(target, &bytes, nullptr, appendTo, nullptr);
    for (int i = provider.ConsumeIntegralInRange(0, 6); i > 0; --i) {
        const std::string name = provider.ConsumeRandomLengthString(20);
        const std::string content = provider.ConsumeRandomLengthString(40);
        archive_entry *const entry = archive_entry_new();
        archive_entry_set_pathname(entry, name.c_str());
        const int kind = provider.ConsumeIntegralInRange(0, 20);
        archive_entry_set_filetype(entry, kind == 1 ? AE_IFDIR : kind == 2 ? AE_IFIFO : AE_IFREG);
        archive_entry_set_perm(entry, 0644);
        archive_entry_set_size(entry, la_int64_t(content.size()));
        if (kind == 3)
            archive_entry_set_symlink(entry, "/tmp");
        if (kind == 4)
            archive_entry_set_hardlink(entry, "/etc/passwd");
        if (archive_write_header(target, entry) == ARCHIVE_OK)
            archive_write_data(target, content.data(), content.size());
        archive_entry_free(entry);
    }
    archive_write_free(target);
    return bytes;
}

} // namespace

KOV_FUZZ_TARGET(input)
{
    FuzzedDataProvider provider(reinterpret_cast<const uint8_t *>(input.constData()), size_t(input.size()));
    const std::string bytes
        = provider.ConsumeBool() ? archiveFrom(provider) : provider.ConsumeRemainingBytesAsString();
    QByteArray data = QByteArray::fromStdString(bytes);
    QBuffer buffer(&data);
    buffer.open(QIODevice::ReadOnly);
    const QTemporaryDir outer;
    QDir(outer.path()).mkdir(QStringLiteral("in"));
    const QDir folder(outer.filePath(QStringLiteral("in")));
    QStringList names;
    const auto result = ReportArchive::unpack(
        buffer, folder.path(), [](qint64) { return true; }, &names);
    require((result.outcome == ReportArchive::Outcome::Done) == result.reason.isEmpty());
    require((result.outcome == ReportArchive::Outcome::Done) == !names.isEmpty());
    const auto found
        = folder.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    require(found.size() == names.size());
    for (const QFileInfo &file : found)
        require(file.isFile() && !file.isSymLink() && names.contains(file.fileName()));
    require(QDir(outer.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size() == 1);
}
