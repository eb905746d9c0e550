#include "gui/platform/SystemProxy.h"

#include <algorithm>
#include <string_view>
#include <thread>
#include <vector>

#include <winsock2.h>
#include <ws2tcpip.h>

#include <windows.h>

#include "gui/platform/windows/WideText.h"

#include <winhttp.h>

namespace KovGui::Platform {

namespace {

constexpr long connectLimitSeconds = 2;

/// A text that WinHTTP allocated.
std::string take(wchar_t *text)
{
    if (!text)
        return {};
    const std::string result = toUtf8(text);
    GlobalFree(text);
    return result;
}

template <typename Function>
bool resolve(HMODULE library, const char *name, Function &function)
{
    function = reinterpret_cast<Function>(reinterpret_cast<void *>(GetProcAddress(library, name)));
    return function != nullptr;
}

template <typename Function>
bool resolveOrReport(HMODULE library, const char *name, Function &function, Report report)
{
    if (resolve(library, name, function))
        return true;
    report(0, (std::string("cannot get procedure address ") + name + " !").c_str());
    return false;
}

struct WinHttp
{
    decltype(&WinHttpGetIEProxyConfigForCurrentUser) getSettings = nullptr;
    decltype(&WinHttpOpen) open = nullptr;
    decltype(&WinHttpGetProxyForUrl) getProxyForUrl = nullptr;
    decltype(&WinHttpSetTimeouts) setTimeouts = nullptr; ///< may be missing
    decltype(&WinHttpCloseHandle) close = nullptr; ///< may be missing
    bool isLoaded = false;

    explicit WinHttp(Report report)
    {
        const HMODULE library = LoadLibraryW(L"Winhttp.dll");
        if (!library) {
            report(0, "cannot load library Winhttp.dll! this system is not supported it!");
            return;
        }
        isLoaded = resolveOrReport(library, "WinHttpGetIEProxyConfigForCurrentUser", getSettings, report)
                   && resolveOrReport(library, "WinHttpOpen", open, report)
                   && resolveOrReport(library, "WinHttpGetProxyForUrl", getProxyForUrl, report);
        if (!isLoaded)
            return;
        resolve(library, "WinHttpSetTimeouts", setTimeouts);
        resolve(library, "WinHttpCloseHandle", close);
        report(2, "WINHTTP functions was loaded!");
    }
};

const WinHttp &winHttp(Report report)
{
    static const WinHttp functions(report);
    return functions;
}

class Event
{
public:
    Event()
        : m_handle(CreateEventW(nullptr, TRUE, FALSE, nullptr))
    { }
    ~Event()
    {
        if (m_handle)
            CloseHandle(m_handle);
    }
    Event(const Event &) = delete;
    Event &operator=(const Event &) = delete;

    HANDLE get() const { return m_handle; }
    void set() const { SetEvent(m_handle); }

private:
    const HANDLE m_handle;
};

/// What WinHTTP is asked, and its answer. Nothing ends the question while a script's server is silent, so
/// whoever waits goes away instead, and the last of the two frees it.
struct Question
{
    std::wstring address;
    std::wstring script;
    int limit = 0;
    std::string list;
    DWORD accessType = 0;
    DWORD error = 0;
    Event isAnswered;
};

void ask(const WinHttp &http, Question &question)
{
    const HINTERNET session = http.open(L"get auto proxy", WINHTTP_ACCESS_TYPE_NO_PROXY,
                                        WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0);
    if (session && http.setTimeouts) // not all versions heed it here
        http.setTimeouts(session, question.limit, question.limit, question.limit, question.limit);
    WINHTTP_AUTOPROXY_OPTIONS options{};
    if (question.script.empty()) {
        options.dwFlags = WINHTTP_AUTOPROXY_AUTO_DETECT;
        options.dwAutoDetectFlags = WINHTTP_AUTO_DETECT_TYPE_DHCP | WINHTTP_AUTO_DETECT_TYPE_DNS_A;
    } else {
        options.dwFlags = WINHTTP_AUTOPROXY_CONFIG_URL;
        options.lpszAutoConfigUrl = question.script.c_str();
    }
    WINHTTP_PROXY_INFO info{};
    BOOL isFound = http.getProxyForUrl(session, question.address.c_str(), &options, &info);
    question.error = isFound ? 0 : GetLastError();
    if (question.error == ERROR_WINHTTP_LOGIN_FAILURE) {
        options.fAutoLogonIfChallenged = TRUE;
        isFound = http.getProxyForUrl(session, question.address.c_str(), &options, &info);
        question.error = isFound ? 0 : GetLastError();
    }
    if (session && http.close)
        http.close(session);
    question.list = take(info.lpszProxy);
    take(info.lpszProxyBypass);
    question.accessType = info.dwAccessType;
}

bool connects(const addrinfo &address)
{
    const SOCKET socket = ::socket(address.ai_family, address.ai_socktype, address.ai_protocol);
    if (socket == INVALID_SOCKET)
        return false;
    u_long isNonBlocking = 1;
    ioctlsocket(socket, FIONBIO, &isNonBlocking);
    bool connected = connect(socket, address.ai_addr, int(address.ai_addrlen)) == 0;
    if (!connected && WSAGetLastError() == WSAEWOULDBLOCK) {
        fd_set writable;
        fd_set failed;
        FD_ZERO(&writable);
        FD_ZERO(&failed);
        FD_SET(socket, &writable);
        FD_SET(socket, &failed);
        timeval limit{connectLimitSeconds, 0};
        connected = select(0, nullptr, &writable, &failed, &limit) == 1 && FD_ISSET(socket, &writable);
    }
    closesocket(socket);
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

/// The first of several that can be connected to.
bool findAlive(const std::string &list, const char *scheme, ProxyAddress &result)
{
    std::vector<ProxyAddress> proxies;
    for (std::size_t start = 0; start < list.size();) {
        const std::size_t end = std::min(list.find(';', start), list.size());
        ProxyAddress proxy;
        if (parseProxyList(std::string_view(list).substr(start, end - start), scheme, proxy))
            proxies.push_back(proxy);
        start = end + 1;
    }
    WSADATA unused;
    if (proxies.size() < 2 || WSAStartup(MAKEWORD(2, 2), &unused) != 0)
        return false;
    const auto alive = std::find_if(proxies.begin(), proxies.end(), answers);
    WSACleanup();
    if (alive != proxies.end())
        result = *alive;
    return alive != proxies.end();
}

void reportError(Report report, const char *what, DWORD error)
{
    report(0, (what + std::to_string(int(error))).c_str());
}

} // namespace

class SystemProxyQuery::Private
{
public:
    bool parse(const std::string &list, const char *scheme, ProxyAddress &result) const;
    bool fromScript(const std::string &url, const std::string &scriptUrl, ProxyAddress &result) const;
    bool fromSettings(const std::string &url, bool isHttps, ProxyAddress &result) const;

    Report report = nullptr;
    int limit = 0;
    Event isCancelled;
};

bool SystemProxyQuery::Private::parse(const std::string &list, const char *scheme, ProxyAddress &result) const
{
    if (list.empty())
        report(0, " Error, cannot parse proxy host list!!");
    return findAlive(list, scheme, result) || parseProxyList(list, scheme, result);
}

bool SystemProxyQuery::Private::fromScript(const std::string &url, const std::string &scriptUrl,
                                           ProxyAddress &result) const
{
    const auto question = std::make_shared<Question>();
    question->address = toWide(url).value_or(std::wstring());
    question->script = toWide(scriptUrl).value_or(std::wstring());
    question->limit = limit;
    std::thread([question, &http = winHttp(report)] {
        ask(http, *question);
        question->isAnswered.set();
    }).detach();
    const HANDLE events[] = {isCancelled.get(), question->isAnswered.get()};
    const DWORD happened = WaitForMultipleObjects(2, events, FALSE, DWORD(limit));
    if (happened == WAIT_TIMEOUT)
        report(0, "(!)Error: the system did not say in time which proxy to use.");
    if (happened != WAIT_OBJECT_0 + 1)
        return false;
    if (question->error != 0) {
        reportError(report, "WinHttpGetProxyForUrl returns error ", question->error);
        return false;
    }
    // A script that says "direct" gives no list.
    if (question->accessType == WINHTTP_ACCESS_TYPE_NO_PROXY && question->list.empty())
        return false;
    return parse(question->list, url.rfind("https", 0) == 0 ? "https" : "http", result);
}

bool SystemProxyQuery::Private::fromSettings(const std::string &url, bool isHttps, ProxyAddress &result) const
{
    WINHTTP_CURRENT_USER_IE_PROXY_CONFIG config{};
    if (!winHttp(report).getSettings(&config)) {
        reportError(report, "can not get IE settings by reason error ", GetLastError());
        return false;
    }
    const std::string script = take(config.lpszAutoConfigUrl);
    const std::string list = take(config.lpszProxy);
    take(config.lpszProxyBypass);
    return (config.fAutoDetect && fromScript(url, {}, result))
           || (!script.empty() && fromScript(url, script, result))
           || (!list.empty() && parse(list, isHttps ? "https" : "http", result));
}

SystemProxyQuery::SystemProxyQuery(Report report)
    : d(new Private)
{
    d->report = report;
}

SystemProxyQuery::~SystemProxyQuery() = default;

bool SystemProxyQuery::isAvailable(Report report)
{
    return winHttp(report).isLoaded;
}

bool SystemProxyQuery::find(const std::string &url, const std::string &scriptUrl, int limit,
                            ProxyAddress &result)
{
    if (!isAvailable(d->report))
        return false;
    d->limit = limit;
    return scriptUrl.empty() ? d->fromSettings(url, url.rfind("https", 0) == 0, result)
                             : d->fromScript(url, scriptUrl, result);
}

void SystemProxyQuery::cancel() noexcept
{
    d->isCancelled.set();
}

} // namespace KovGui::Platform
