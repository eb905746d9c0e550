// Any bytes as the updater's configuration: read, written, read again, and turned into a request.
#include "fuzz/FuzzTarget.h"
#include "programs/updater/check/CheckRequest.h"

KOV_FUZZ_TARGET(document)
{
    CUpdaterConfig configuration;
    if (!configuration.read(document))
        return;
    const QByteArray written = configuration.write();
    CUpdaterConfig copy;
    require(copy.read(written) && copy.write() == written);
    const CheckRequestResult made = makeCheckRequest(CommandLine(), &copy);
    const QString scheme = made.request.fetch.url.scheme();
    require(made.code != ExitCode::UpdateFound || scheme == QLatin1String("http")
            || scheme == QLatin1String("https"));
}
