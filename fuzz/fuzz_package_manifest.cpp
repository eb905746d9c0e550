// Any bytes as the manifest of a package: what is accepted keeps every rule, and reads the same when it is written.
#include "programs/updater/package/PackageManifest.h"

#include <QSet>
#include <cstdint>
#include <cstdlib>

/// Qt's reader of JSON loses some bytes of a document that breaks off inside an object.
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libQt5Core";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    PackageManifest manifest;
    if (!PackageManifest::parse(QByteArray(reinterpret_cast<const char *>(data), int(size)), &manifest)
             .isEmpty())
        return 0;
    QSet<QByteArray> paths;
    for (const PackageEntry &entry : manifest.files) {
        const QByteArray framed = '/' + entry.path + '/';
        if (framed.contains("//") || framed.contains("/../") || framed.contains("/./")
            || paths.contains(entry.path))
            std::abort();
        paths.insert(entry.path);
    }
    PackageManifest copy;
    if (!PackageManifest::parse(manifest.text(), &copy).isEmpty() || copy.text() != manifest.text())
        std::abort();
    return 0;
}
