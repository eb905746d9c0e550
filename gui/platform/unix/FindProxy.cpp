/*
 * kovgui-find-proxy: asks libproxy for the proxy for a URL.
 *
 * Standard input: the address of an auto-configuration script (an empty line for the system's settings), then
 * the URL. Standard output: "proxy <address>" or "direct", after any number of lines "note <text>".
 */
#include "gui/platform/ProxyList.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <netdb.h>
#include <poll.h>
#include <proxy.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

using KovGui::Platform::ProxyAddress;

namespace {

// Whoever asked has given up long before.
constexpr unsigned LifeLimitSeconds = 30;
constexpr int ConnectLimitMilliseconds = 1500;

bool connects(const addrinfo &address)
{
    const int descriptor = socket(address.ai_family, address.ai_socktype, address.ai_protocol);
    if (descriptor < 0)
        return false;
    fcntl(descriptor, F_SETFL, O_NONBLOCK);
    bool connected = connect(descriptor, address.ai_addr, address.ai_addrlen) == 0;
    if (!connected && errno == EINPROGRESS) {
        pollfd waiting{descriptor, POLLOUT, 0};
        int error = ETIMEDOUT;
        socklen_t size = sizeof error;
        connected = poll(&waiting, 1, ConnectLimitMilliseconds) == 1
                    && getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
    }
    close(descriptor);
    return connected;
}

bool answers(const ProxyAddress &proxy)
{
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *addresses = nullptr;
    if (getaddrinfo(proxy.host.c_str(), std::to_string(proxy.port).c_str(), &hints, &addresses) != 0)
        return false;
    bool connected = false;
    for (const addrinfo *address = addresses; address && !connected; address = address->ai_next)
        connected = connects(*address);
    freeaddrinfo(addresses);
    return connected;
}

std::string text(const ProxyAddress &proxy)
{
    const bool isIpv6 = proxy.host.find(':') != std::string::npos;
    return (isIpv6 ? '[' + proxy.host + ']' : proxy.host) + ':' + std::to_string(proxy.port);
}

void useScript(const std::string &script)
{
    // The environment is libproxy's way to be told of a script. Exceptions are the script's business.
    for (const char *name : {"http_proxy", "https_proxy", "HTTP_PROXY", "HTTPS_PROXY"})
        setenv(name, ("pac+" + script).c_str(), 1);
    unsetenv("no_proxy");
    unsetenv("NO_PROXY");
}

/// In the order of preference; an empty host stands for a direct connection.
std::vector<ProxyAddress> candidates(const std::string &url)
{
    std::vector<ProxyAddress> result;
    pxProxyFactory *factory = px_proxy_factory_new();
    char **entries = factory ? px_proxy_factory_get_proxies(factory, url.c_str()) : nullptr;
    for (char **entry = entries; entry && *entry; ++entry) {
        const std::string proxy = *entry;
        ProxyAddress address;
        if (proxy == "direct://")
            result.emplace_back();
        else if (proxy.rfind("http://", 0) == 0 && parseProxyAddress(proxy, address))
            result.push_back(address);
        else
            std::cout << "note an entry of another kind than http is passed over: "
                      << proxy.substr(0, proxy.find(':')) << '\n';
    }
    return result;
}

const ProxyAddress *choose(const std::vector<ProxyAddress> &list)
{
    if (list.size() <= 1)
        return list.empty() ? nullptr : &list.front();
    for (const ProxyAddress &candidate : list) {
        if (candidate.host.empty() || answers(candidate))
            return &candidate;
        std::cout << "note the proxy " << text(candidate) << " does not answer\n";
    }
    return &list.front();
}

} // namespace

int main()
{
    alarm(LifeLimitSeconds);
    std::string script;
    std::string url;
    std::getline(std::cin, script);
    if (!std::getline(std::cin, url) || url.empty()) {
        std::cerr
            << "kovgui-find-proxy: reads the address of a script, or an empty line, and a URL from standard "
               "input\n";
        return 2;
    }
    if (!script.empty())
        useScript(script);
    const std::vector<ProxyAddress> list = candidates(url);
    const ProxyAddress *chosen = choose(list);
    if (chosen && !chosen->host.empty())
        std::cout << "proxy " << text(*chosen) << std::endl;
    else
        std::cout << "direct" << std::endl;
    // The script engine's threads may still run: no destructor shall meet them.
    std::_Exit(0);
}
