// The first byte chooses the scheme. What comes out must be usable: a host of a sane length and a port.
#include "fuzz/FuzzTarget.h"
#include "gui/platform/ProxyList.h"

KOV_FUZZ_TARGET(bytes)
{
    KovGui::Platform::ProxyAddress address;
    const std::string text = bytes.mid(1).toStdString();
    if (bytes.isEmpty() || !parseProxyList(text, bytes.at(0) & 1 ? "https" : "http", address))
        return;
    require(!address.host.empty() && address.host.size() <= 255 && address.port >= 1
            && address.port <= 65535);
    require(address.host.find_first_of("@/;= \r\n") == std::string::npos);
}
