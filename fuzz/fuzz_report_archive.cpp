// The archive of a report, either any bytes or one that is put together as the bytes tell: what is unpacked
// are regular files in the folder and nothing else, and after a refusal the folder is empty.
#include "fuzz/FuzzArchive.h"
#include "fuzz/FuzzTarget.h"
#include "gui/problem_report/archive/ReportArchive_p.h"

#include <QBuffer>
#include <QDir>
#include <QTemporaryDir>

namespace {

std::string archiveFrom(FuzzedDataProvider &provider)
{
    const auto setFormat
        = provider.ConsumeBool() ? archive_write_set_format_pax : archive_write_set_format_gnutar;
    std::vector<FuzzEntry> entries;
    for (int i = provider.ConsumeIntegralInRange(0, 6); i > 0; --i)
        entries.push_back(FuzzEntry::from(provider, 20));
    return packed(entries, setFormat);
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
