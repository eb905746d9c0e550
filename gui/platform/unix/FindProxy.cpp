/*
 * kovgui-find-proxy: asks libproxy for the proxy for a URL.
 *
 * Standard input: the address of an auto-configuration script (an empty line for the system's settings), then
 * the URL. Standard output: "proxy <address>", "socks <address>" or "direct", after any number of lines "note
 * <text>" and "error <text>".
 */
#include "gui/platform/ProxyList.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <curl/curl.h>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <netdb.h>
#include <poll.h>
#include <proxy.h>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

using KovGui::Platform::ProxyAddress;

namespace {

// Whoever asked has given up long before.
constexpr unsigned lifeLimitSeconds = 30;
constexpr int connectLimitMilliseconds = 1500;
constexpr long fetchLimitSeconds = 8;
constexpr std::size_t maxScript = 1024 * 1024;
constexpr long maxMemory = 512L * 1024 * 1024;
/// The first entry of every list that a script gave: without it there is only the answer of a failure,
/// "direct".
constexpr char marker[] = "http://kovgui-script-ran.invalid:1";
/// Where nothing that is named can be used: connections shall fail rather than go without a proxy.
constexpr char nowhere[] = "unsupported-proxy.invalid:1";

struct Candidate
{
    enum Kind { Direct, Http, Socks } kind = Direct;
    ProxyAddress address = {};
};

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
        connected = poll(&waiting, 1, connectLimitMilliseconds) == 1
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

std::size_t append(char *data, std::size_t, std::size_t size, void *script)
{
    auto &text = *static_cast<std::string *>(script);
    if (text.size() + size > maxScript)
        return 0;
    text.append(data, size);
    return size;
}

/// The script, or nothing, which is reported. Fetched here, because libproxy tells no failure from "direct".
std::string fetch(const std::string &url)
{
    std::string script;
    CURL *curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https,file");
    curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 5L);
    curl_easy_setopt(curl, CURLOPT_FAILONERROR, 1L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, fetchLimitSeconds);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &append);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &script);
    const CURLcode code = curl_easy_perform(curl);
    curl_easy_cleanup(curl);
    if (code == CURLE_OK && !script.empty())
        return script;
    std::cout << "error the auto-configuration script cannot be had: "
              << (code == CURLE_OK ? "it is empty" : curl_easy_strerror(code)) << '\n';
    return {};
}

/// @return false when there is no script to ask
bool useScript(const std::string &url)
{
    const std::string script = fetch(url);
    const std::string wrapper
        = std::string("\n;FindProxyForURL = (function(script) { return function(url, host) {\n"
                      "var list = script(url, host);\n"
                      "list = list ? String(list).replace(/\\bHTTPS\\s/gi, 'PROXY ') : 'DIRECT';\n"
                      "return 'PROXY ")
          + (marker + sizeof("http://") - 1) + "; ' + list; }; })(FindProxyForURL);\n";
    const std::string whole = script + wrapper;
    const int file = memfd_create("proxy.pac", 0);
    if (script.empty() || file < 0 || write(file, whole.data(), whole.size()) != ssize_t(whole.size()))
        return false;
    // The environment is libproxy's way to be told of a script; a desktop's settings would go before it.
    const std::string setting = "pac+file:///proc/self/fd/" + std::to_string(file);
    for (const char *name : {"http_proxy", "https_proxy", "HTTP_PROXY", "HTTPS_PROXY"})
        setenv(name, setting.c_str(), 1);
    for (const char *name :
         {"KDE_FULL_SESSION", "KDE_SESSION_VERSION", "GNOME_DESKTOP_SESSION_ID", "MATE_DESKTOP_SESSION_ID",
          "DESKTOP_SESSION", "XDG_CURRENT_DESKTOP", "XDG_SESSION_DESKTOP"})
        unsetenv(name);
    // Exceptions are the script's business.
    unsetenv("no_proxy");
    unsetenv("NO_PROXY");
    return true;
}

/// Nothing but a limit on the memory in use ends a script that collects it; the engine reserves far more than
/// it uses.
void watchMemory()
{
    for (;;) {
        long pages = 0;
        long resident = 0;
        std::ifstream("/proc/self/statm") >> pages >> resident;
        if (resident * sysconf(_SC_PAGESIZE) > maxMemory) {
            constexpr char answer[] = "\nerror the auto-configuration script takes too much memory\ndirect\n";
            if (write(STDOUT_FILENO, answer, sizeof answer - 1) > 0)
                std::_Exit(0);
            std::_Exit(1);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

bool startsWith(const std::string &text, const char *beginning)
{
    return text.rfind(beginning, 0) == 0;
}

/// In the order of preference; what cannot be used comes last.
std::vector<Candidate> candidates(const std::string &url, bool isScript)
{
    std::vector<Candidate> result;
    std::vector<Candidate> unusable;
    pxProxyFactory *factory = px_proxy_factory_new();
    char **entries = factory ? px_proxy_factory_get_proxies(factory, url.c_str()) : nullptr;
    if (isScript && !(entries && *entries && std::string(*entries) == marker)) {
        std::cout << "error the auto-configuration script is broken\n";
        return result;
    }
    for (char **entry = isScript ? entries + 1 : entries; entry && *entry; ++entry) {
        const std::string proxy = *entry;
        Candidate candidate;
        const bool isSocks = startsWith(proxy, "socks://") || startsWith(proxy, "socks5://");
        const bool isUsable = isSocks || startsWith(proxy, "http://");
        candidate.kind = startsWith(proxy, "socks") ? Candidate::Socks : Candidate::Http;
        if (proxy == "direct://")
            result.emplace_back();
        else if (!parseProxyAddress(proxy, candidate.address) || !isUsable)
            std::cout << "note a proxy of a kind that is not supported: " << proxy.substr(0, proxy.find(':'))
                      << '\n';
        if (!candidate.address.host.empty())
            (isUsable ? result : unusable).push_back(candidate);
    }
    if (result.empty() && entries && *entries) {
        std::cout << "error no proxy that is named is of a supported kind; there will be no connection\n";
        if (unusable.empty()) {
            unusable.push_back({Candidate::Http});
            parseProxyAddress(nowhere, unusable.back().address);
        }
    }
    result.insert(result.end(), unusable.begin(), unusable.end());
    return result;
}

const Candidate *choose(const std::vector<Candidate> &list)
{
    if (list.size() <= 1)
        return list.empty() ? nullptr : &list.front();
    for (const Candidate &candidate : list) {
        if (candidate.kind == Candidate::Direct || answers(candidate.address))
            return &candidate;
        std::cout << "note the proxy " << text(candidate.address) << " does not answer\n";
    }
    return &list.front();
}

} // namespace

int main()
{
    alarm(lifeLimitSeconds);
    std::string script;
    std::string url;
    std::getline(std::cin, script);
    if (!std::getline(std::cin, url) || url.empty()) {
        std::cerr
            << "kovgui-find-proxy: reads a script's address or an empty line, then a URL, from its input\n";
        return 2;
    }
    std::thread(watchMemory).detach();
    std::vector<Candidate> list;
    if (script.empty() || useScript(script))
        list = candidates(url, !script.empty());
    const Candidate *chosen = choose(list);
    if (chosen && chosen->kind != Candidate::Direct)
        std::cout << (chosen->kind == Candidate::Socks ? "socks " : "proxy ") << text(chosen->address)
                  << std::endl;
    else
        std::cout << "direct" << std::endl;
    // The script engine's threads may still run: no destructor shall meet them.
    std::_Exit(0);
}
