// Any bytes as the manifest of a package: what is accepted keeps every rule, and reads the same when it is
// written.
#include "fuzz/FuzzTarget.h"
#include "programs/updater/package/PackageManifest.h"

#include <QSet>

KOV_FUZZ_TARGET(text)
{
    PackageManifest manifest;
    if (!PackageManifest::parse(text, &manifest).isEmpty())
        return;
    QSet<QByteArray> paths;
    for (const PackageEntry &entry : manifest.files) {
        const QByteArray framed = '/' + entry.path + '/';
        require(!framed.contains("//") && !framed.contains("/../") && !framed.contains("/./")
                && !paths.contains(entry.path));
        paths.insert(entry.path);
    }
    PackageManifest copy;
    require(PackageManifest::parse(manifest.text(), &copy).isEmpty() && copy.text() == manifest.text());
}
