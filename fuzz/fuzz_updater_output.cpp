// The output of an updater, and what its values are used for at once: versions and a file name.
#include "fuzz/FuzzTarget.h"
#include "gui/update/check/UpdaterOutputUtils.h"

KOV_FUZZ_TARGET(output)
{
    CProductUpdateInfo info = UpdaterOutputUtils::parse(output);
    info.getVersion();
    info.updateType = CProductUpdateInfo::MajorUpgrade;
    info.getMajorVersion();
    const QString name = info.download.destinationFileName();
    require(info.download.size >= 0 && !name.contains(QLatin1Char('/')) && name != QLatin1String(".."));
}
