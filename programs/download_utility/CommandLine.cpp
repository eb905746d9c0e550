#include "programs/download_utility/CommandLine.h"

#include "programs/download_utility/Text.h"

#include <functional>
#include <map>
#include <set>

namespace {

/// Takes an argument's value; false: the value is not usable.
using Setter = std::function<bool(const std::string &)>;

Setter text(std::string &target)
{
    return [&target](const std::string &value) {
        target = value;
        return !value.empty();
    };
}

Setter number(unsigned &target, unsigned least, unsigned most)
{
    return [&target, least, most](const std::string &value) {
        const auto parsed = Text::toNumber(value, most);
        target = static_cast<unsigned>(parsed.value_or(0));
        return parsed && *parsed >= least;
    };
}

Setter digest(std::string &target, std::size_t digits)
{
    return [&target, digits](const std::string &value) {
        target = Text::lowerCase(value);
        return value.size() == digits && target.find_first_not_of("0123456789abcdef") == std::string::npos;
    };
}

bool isPlainHost(const std::string &host)
{
    // Anything else would be read as a part of an address: a user, a scheme, a path.
    const bool hasForbidden = host.find_first_of("/@\\?#%[] \t\r\n") != std::string::npos;
    return !host.empty() && !hasForbidden;
}

Result usageError(const std::string &text)
{
    return Result(ExitCode::BadUsage, text + " (--help explains the arguments)");
}

Result checkTogether(const Options &options, const std::set<std::string> &given)
{
    if (options.showHelp || options.showVersion)
        return Result();
    for (const char *wanted : {"download", "-f", "-p"}) {
        if (given.count(wanted) == 0)
            return usageError(std::string(wanted) + " is missing");
    }
    if (options.proxyHost.empty() != (options.proxyPort == 0))
        return usageError("--proxy-server and --proxy-port need each other");
    if (options.proxyUser && options.proxyHost.empty())
        return usageError("-pu needs --proxy-server");
    return Result();
}

} // namespace

Result parseCommandLine(const std::vector<std::string> &arguments, Options &options)
{
    std::string kind;
    unsigned proxyTries = 0;
    const std::map<std::string, bool *> flags = {
        {"--help", &options.showHelp}, {"--version", &options.showVersion}, {"-ui", &options.reportsProgress},
        {"-fo", &options.overwrites},  {"-bd", &options.isBackground},
    };
    const std::map<std::string, Setter> settings = {
        {"-u", [](const std::string &value) { return value == "file"; }},
        {"-f", text(options.url)},
        {"-p", text(options.folder)},
        {"--proxy-server",
         [&options](const std::string &value) {
             options.proxyHost = value;
             return isPlainHost(value);
         }},
        {"--proxy-port", number(options.proxyPort, 1, 65535)},
        {"--proxy-kind",
         [&options](const std::string &value) {
             options.isSocksProxy = value == "socks5";
             return options.isSocksProxy || value == "http";
         }},
        {"-pu",
         [&options](const std::string &value) {
             options.proxyUser = value;
             return !value.empty();
         }},
        {"--proxy-try-count", number(proxyTries, 1, 100)},
        {"--stall-limit", number(options.stallLimit, 1, 3600)},
        {"--connect-timeout", number(options.connectTimeout, 1, 3600)},
        {"--retries", number(options.retries, 0, 1000)},
        {"--retry-delay", number(options.retryDelay, 0, 60)},
        {"--md5", digest(options.md5, 32)},
        {"--sha256", digest(options.sha256, 64)},
        {"--ca-file", text(options.caFile)},
    };

    std::set<std::string> given;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string &name = arguments[i];
        const auto flag = flags.find(name);
        const auto setting = settings.find(name);
        const bool isCommand = i == 0 && name == "download";
        if (!isCommand && flag == flags.end() && setting == settings.end())
            return usageError("argument " + std::to_string(i + 1) + " is not known");
        if (!given.insert(name).second)
            return usageError(name + " stands twice");
        if (flag != flags.end())
            *flag->second = true;
        if (setting == settings.end())
            continue;
        if (++i == arguments.size())
            return usageError(name + " needs a value");
        if (!setting->second(arguments[i]))
            return usageError("the value of " + name + " is not usable");
    }
    return checkTogether(options, given);
}

std::string helpText()
{
    return R"(usage: download_utility download -u file -f URL -p FOLDER [arguments]

Downloads one file over HTTP or HTTPS. What an earlier run left is continued when it is certain to belong to
the same file; the file appears under its name only when it is complete.

  -u file                what to download: a file
  -f URL                 its address; the last part of the path is the file's name
  -p FOLDER              an existing folder that receives it
  -ui                    report the progress on standard output
  -fo                    replace a file of that name
  -bd                    background: give way to other programs
  --proxy-server HOST    use this HTTP proxy, and nothing else
  --proxy-port PORT
  --proxy-kind KIND      http (as without it) or socks5
  -pu USER               the proxy's user; its password is read as one line from standard input
  --proxy-try-count N    accepted; a refused password is never sent a second time

  --md5 DIGITS           expected digest of the whole file, computed while it arrives
  --sha256 DIGITS
  --stall-limit S        reconnect after so many seconds without a byte (30)
  --connect-timeout S    give up connecting after so many seconds (30)
  --retries N            reconnects within this run (5)
  --retry-delay S        wait before the second fruitless reconnect, doubled each time (1)
  --ca-file FILE         trust these certificates instead of the system's
  --help, --version

exit codes: 0 the file is there and complete; 25 no connection and 31 interrupted: try again later;
2 usage; 10 address, 11 file name, 12 folder, 13 file exists, 14 link or foreign file in the way, 15 another
run is at work on it, 16 disk full, 17 file error; 20 proxy refuses, 21 login required, 22 access denied,
23 not found, 24 server error, 26 certificate, 27 redirect, 28 unusable answer, 29 keeps changing, 30 digest
differs; 32 stopped by a signal, 33 no password on standard input; 1 internal error.
)";
}

std::string versionText()
{
    return std::string("download_utility ") + KOV_PROGRAM_VERSION + "\n";
}
