#include "gui/update/check/UpdaterOutputUtils.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// The output of an updater, and what its values are used for at once: versions and a file name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray output(reinterpret_cast<const char *>(data), int(size));
    CProductUpdateInfo info = UpdaterOutputUtils::parse(output);
    info.getVersion();
    info.updateType = CProductUpdateInfo::MajorUpgrade;
    info.getMajorVersion();
    const QString name = info.download.destinationFileName();
    if (info.download.size < 0 || name.contains(QLatin1Char('/')) || name == QLatin1String(".."))
        std::abort();
    return 0;
}
