#include "kov_sdk/CatalogueMarkup_p.h"
#include "kov_sdk/CatalogueReader_p.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// A host's message catalogue. What is accepted must keep its promises: sizes, and bare texts without tags.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    CatalogueReader reader;
    const QByteArray file(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const bool isAccepted = reader.read(file);
    if (isAccepted != reader.complaint().isEmpty() || (!isAccepted && !reader.entries().isEmpty()))
        std::abort();
    for (const CatalogueEntry &entry : reader.entries()) {
        if (entry.brief.toUtf8().size() >= CatalogueReader::maximumBriefSize
            || entry.full.toUtf8().size() >= CatalogueReader::maximumFullSize)
            std::abort();
        const QString bare = CatalogueMarkup::plain(entry.full);
        if (bare.size() > entry.full.size()
            || !CatalogueMarkup::complaint(CatalogueMarkup::escaped(bare)).isEmpty())
            std::abort();
        CatalogueMarkup::withArguments(entry.full, {bare, QString()});
    }
    return 0;
}
