// Any bytes as the updater's configuration: read, written, read again, and turned into a request.
#include "programs/updater/check/CheckRequest.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    CUpdaterConfig configuration;
    if (!configuration.read(QByteArray(reinterpret_cast<const char *>(data), int(size))))
        return 0;
    const QByteArray written = configuration.write();
    CUpdaterConfig copy;
    if (!copy.read(written) || copy.write() != written)
        std::abort();
    const CheckRequestResult made = makeCheckRequest(CommandLine(), &copy);
    const QString scheme = made.request.fetch.url.scheme();
    if (made.code == ExitCode::UpdateFound && scheme != QLatin1String("http")
        && scheme != QLatin1String("https"))
        std::abort();
    return 0;
}
