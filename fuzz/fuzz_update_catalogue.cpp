// Any bytes as an update catalogue: chosen from, resolved and reported.
#include "fuzz/FuzzTarget.h"
#include "programs/updater/base/Address.h"
#include "programs/updater/check/CheckOutput.h"

#include <QUrl>

namespace {

void report(const ChosenUpdate &chosen)
{
    QUrl package;
    QByteArray output;
    const QUrl catalogue(QStringLiteral("https://updates.example/a/c.xml"));
    if (!Address::resolvePackage(catalogue, chosen.update.filePath, &package).isEmpty())
        return;
    require(package.scheme() == QLatin1String("https") && package.userInfo().isEmpty());
    if (!composeCheckOutput(chosen, package, &output).isEmpty())
        return;
    const QByteArray lowered = output.toLower();
    const int description = lowered.indexOf("[begin_update_description]");
    for (const char *const marker : {"file_path: ", "uuid: ", "file_size: ", "checksum: "})
        require(lowered.left(description).count(marker) == 1);
    require(output.count("[END_UPDATE_DESCRIPTION]") == 1 && output.endsWith("[END_UPDATE_DESCRIPTION]\n"));
}

} // namespace

KOV_FUZZ_TARGET(document)
{
    CUpdates catalogue;
    if (!catalogue.read(document))
        return;
    for (const CUpdProduct &product : qAsConst(catalogue.products)) {
        const UpdateCriteria criteria{
            product.productName, {}, QStringLiteral("de_DE"), QStringLiteral("linux")};
        if (const std::optional<ChosenUpdate> chosen = chooseUpdate(catalogue, criteria))
            report(*chosen);
        for (const CUpdProductVersion &version : product.versions) {
            for (const CUpdate &update : version.updates)
                report({{3, 1, 5, 31502}, update});
        }
    }
}
