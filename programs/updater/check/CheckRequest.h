#pragma once

#include "gui/data_model/documents/CUpdaterConfig.h"
#include "programs/updater/base/CommandLine.h"
#include "programs/updater/base/RejectedVersion.h"
#include "programs/updater/check/CatalogueFetch.h"
#include "programs/updater/check/UpdateChoice.h"
#include "programs/updater/package/PackageManifest.h"

/// What to ask, and where.
struct CheckRequest
{
    FetchRequest fetch;
    UpdateCriteria criteria;
    /// Which line of versions the catalogue has to be of: of the command line, else "LINE/vN" of an address
    /// ".../LINE/vN/tessarine/tessarine_updates.xml", else the one that the program was built for.
    QString line;
    /// Versions that were gone back from, as told to the user; the criteria hold them as well.
    QVector<RejectedVersion> rejected;
    /// False when the configuration says that the product is not to be updated.
    bool isEnabled = true;
};

struct CheckRequestResult
{
    /// UpdateFound stands for success.
    ExitCode code = ExitCode::UpdateFound;
    QString fault;
    CheckRequest request;
};

/**
 * Puts the request together: the command line counts before the configuration, the configuration before the
 * installation that the program lies in, that one before what the program was built with. The installed
 * product is the configuration's product of the name asked for, or its first one; without one, the
 * installation's.
 *
 * @param installed  the manifest of the installation; null when the program lies in none
 *
 * A pure function but for the defaults of locale and operating system, which the system tells.
 */
CheckRequestResult makeCheckRequest(const CommandLine &commandLine, const CUpdaterConfig *configuration,
                                    const PackageManifest *installed = nullptr);
