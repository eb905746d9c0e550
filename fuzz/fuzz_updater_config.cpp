// Any bytes as the updater's configuration, turned into a request.
#include "fuzz/FuzzTarget.h"
#include "programs/updater/check/CheckRequest.h"

KOV_FUZZ_TARGET(document)
{
    CUpdaterConfig configuration;
    if (!configuration.read(document))
        return;
    const CheckRequestResult made = makeCheckRequest(CommandLine(), &configuration);
    const QString scheme = made.request.fetch.url.scheme();
    require(made.code != ExitCode::UpdateFound || scheme == QLatin1String("http")
            || scheme == QLatin1String("https"));
}
