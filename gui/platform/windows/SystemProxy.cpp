#include "gui/platform/SystemProxy.h"

#include <atomic>
#include <string_view>

#include <windows.h>

#include <winhttp.h>

namespace KovGui::Platform {

namespace {

std::wstring wide(const std::string &text)
{
    std::wstring result(text.size() + 1, L'\0');
    const int length = MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, result.data(), int(result.size()));
    result.resize(length > 0 ? std::size_t(length - 1) : 0);
    return result;
}

std::string narrow(const wchar_t *text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string result(size > 0 ? std::size_t(size) : 1, '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr);
    result.pop_back();
    return result;
}

/// A text that WinHTTP allocated.
std::string take(wchar_t *text)
{
    if (!text)
        return {};
    const std::string result = narrow(text);
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
    std::atomic<bool> isCancelled{false};
};

bool SystemProxyQuery::Private::parse(const std::string &list, const char *scheme, ProxyAddress &result) const
{
    if (list.empty())
        report(0, " Error, cannot parse proxy host list!!");
    return parseProxyList(list, scheme, result);
}

bool SystemProxyQuery::Private::fromScript(const std::string &url, const std::string &scriptUrl,
                                           ProxyAddress &result) const
{
    const WinHttp &http = winHttp(report);
    if (isCancelled)
        return false;
    const HINTERNET session = http.open(L"get auto proxy", WINHTTP_ACCESS_TYPE_NO_PROXY,
                                        WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0);
    if (session && http.setTimeouts)
        http.setTimeouts(session, limit, limit, limit, limit); // not all versions heed it here

    const std::wstring address = wide(url);
    const std::wstring script = wide(scriptUrl);
    WINHTTP_AUTOPROXY_OPTIONS options{};
    if (script.empty()) {
        options.dwFlags = WINHTTP_AUTOPROXY_AUTO_DETECT;
        options.dwAutoDetectFlags = WINHTTP_AUTO_DETECT_TYPE_DHCP | WINHTTP_AUTO_DETECT_TYPE_DNS_A;
    } else {
        options.dwFlags = WINHTTP_AUTOPROXY_CONFIG_URL;
        options.lpszAutoConfigUrl = script.c_str();
    }
    WINHTTP_PROXY_INFO info{};
    BOOL isFound = http.getProxyForUrl(session, address.c_str(), &options, &info);
    DWORD error = isFound ? 0 : GetLastError();
    if (error == ERROR_WINHTTP_LOGIN_FAILURE && !isCancelled) {
        options.fAutoLogonIfChallenged = TRUE;
        isFound = http.getProxyForUrl(session, address.c_str(), &options, &info);
        error = isFound ? 0 : GetLastError();
    }
    if (session && http.close)
        http.close(session);
    const std::string list = take(info.lpszProxy);
    take(info.lpszProxyBypass);
    if (!isFound) {
        reportError(report, "WinHttpGetProxyForUrl returns error ", error);
        return false;
    }
    // A script that says "direct" gives no list.
    if (info.dwAccessType == WINHTTP_ACCESS_TYPE_NO_PROXY && list.empty())
        return false;
    return parse(list, url.rfind("https", 0) == 0 ? "https" : "http", result);
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
    d->isCancelled = true;
}

} // namespace KovGui::Platform
