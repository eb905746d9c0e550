// The system's proxy and the secret key on Windows, without Qt: windows_proxy_test SCRIPT_URL
// SCRIPT_URL serves a script that names script.example:3128.

#include "gui/platform/KnownFolders.h"
#include "gui/platform/SecretKey.h"
#include "gui/platform/SystemProxy.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <windows.h>

using namespace KovGui::Platform;

static int s_failures = 0;
static std::string s_reports;

#define CHECK(condition)                                                                                     \
    if (!(condition)) {                                                                                      \
        std::printf("FAILED line %d: %s\n%s", __LINE__, #condition, s_reports.c_str());                      \
        ++s_failures;                                                                                        \
    }

static void report(unsigned level, const char *text)
{
    s_reports += std::to_string(level) + ' ' + text + '\n';
}

static std::string ask(const char *url, const char *script = "")
{
    s_reports.clear();
    ProxyAddress result;
    SystemProxyQuery query(report);
    return query.find(url, script, 2000, result) ? result.host + ' ' + std::to_string(result.port) : "none";
}

/// As the system's dialog stores it: flags, then texts with their lengths. Flags: 2 list, 4 script, 8
/// automatic.
static void setSettings(DWORD flags, const std::string &list, const std::string &script)
{
    std::string value;
    const auto append
        = [&value](DWORD number) { value.append(reinterpret_cast<const char *>(&number), sizeof number); };
    for (const DWORD number : {DWORD(0x46), DWORD(0), DWORD(1 | flags)})
        append(number);
    for (const std::string &text : {list, std::string(), script}) {
        append(DWORD(text.size()));
        value += text;
    }
    value.append(32, '\0');
    HKEY key;
    CHECK(RegCreateKeyA(HKEY_CURRENT_USER,
                        "Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings\\Connections", &key)
          == 0);
    CHECK(RegSetValueExA(key, "DefaultConnectionSettings", 0, REG_BINARY,
                         reinterpret_cast<const BYTE *>(value.data()), DWORD(value.size()))
          == 0);
    RegCloseKey(key);
}

static void readsSettings(const std::string &script)
{
    const std::string list = "http=a.example:80;https=b.example:443";
    setSettings(0, {}, {});
    CHECK(ask("http://origin.example/") == "none");
    setSettings(2, list, {});
    CHECK(ask("http://origin.example/") == "a.example 80");
    CHECK(ask("https://origin.example/") == "b.example 443");
    CHECK(s_reports.empty());
    setSettings(2 | 4, list, script);
    CHECK(ask("https://origin.example/") == "script.example 3128");
    // A script that cannot be had leaves the list.
    setSettings(2 | 4, list, script + ".missing");
    CHECK(ask("https://origin.example/") == "b.example 443");
    setSettings(0, {}, {});
}

static void asksScripts(const char *scriptUrl)
{
    CHECK(ask("http://origin.example/", scriptUrl) == "script.example 3128");
    CHECK(ask("http://origin.example/", (std::string(scriptUrl) + ".missing").c_str()) == "none");
    CHECK(s_reports.find("0 WinHttpGetProxyForUrl returns error ") != std::string::npos);
}

static void keepsTheKey()
{
    SecretKey first{}, second{};
    CHECK(secretKey(first, report) && secretKey(second, report) && first == second && first != SecretKey{});
    const std::string path = std::string(localDataFolder()) + "\\tessarine\\passwords.key";
    std::string sealed;
    {
        std::ifstream file(path, std::ios::binary);
        sealed.assign(std::istreambuf_iterator<char>(file), {});
    }
    CHECK(sealed.size() > first.size());
    CHECK(sealed.find(std::string(reinterpret_cast<const char *>(first.data()), first.size()))
          == std::string::npos);
    std::ofstream(path, std::ios::binary | std::ios::trunc) << sealed.substr(0, sealed.size() / 2);
    CHECK(!secretKey(second, report) && second == SecretKey{});
}

int main(int argc, char *argv[])
{
    if (argc != 2)
        return 2;
    CHECK(SystemProxyQuery::isAvailable(report));
    CHECK(s_reports == "2 WINHTTP functions was loaded!\n");
    readsSettings(argv[1]);
    asksScripts(argv[1]);
    keepsTheKey();
    std::printf("%d checks failed\n", s_failures);
    std::fflush(stdout);
    return s_failures ? 1 : 0;
}
