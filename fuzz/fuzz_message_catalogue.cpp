// A host's message catalogue. What is accepted must keep its promises: sizes, and bare texts without tags.
#include "fuzz/FuzzTarget.h"
#include "kov_sdk/CatalogueMarkup_p.h"
#include "kov_sdk/CatalogueReader_p.h"

KOV_FUZZ_TARGET(file)
{
    CatalogueReader reader;
    const bool isAccepted = reader.read(file);
    require(isAccepted == reader.complaint().isEmpty() && (isAccepted || reader.entries().isEmpty()));
    for (const CatalogueEntry &entry : reader.entries()) {
        require(entry.brief.toUtf8().size() < CatalogueReader::maximumBriefSize
                && entry.full.toUtf8().size() < CatalogueReader::maximumFullSize);
        const QString bare = CatalogueMarkup::plain(entry.full);
        require(bare.size() <= entry.full.size()
                && CatalogueMarkup::complaint(CatalogueMarkup::escaped(bare)).isEmpty());
        CatalogueMarkup::withArguments(entry.full, {bare, QString()});
    }
}
