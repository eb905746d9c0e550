#include "gui/platform/ProxyList.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace KovGui::Platform;

/// The first byte chooses the scheme. What comes out must be usable: a host of a sane length and a port.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::string_view text(reinterpret_cast<const char *>(data) + 1, size - 1);
    ProxyAddress address;
    if (!parseProxyList(text, data[0] & 1 ? "https" : "http", address))
        return 0;
    if (address.host.empty() || address.host.size() > 255 || address.port < 1 || address.port > 65535
        || address.host.find_first_of("@/;= \r\n") != std::string::npos)
        std::abort();
    return 0;
}
