#include "programs/download_utility/CommandLine.h"
#include "programs/download_utility/Download.h"
#include "programs/download_utility/Process.h"

#include <curl/curl.h>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

Result download(const Options &options)
{
    Process::prepare();
    if (options.isBackground)
        Process::lowerPriority();
    std::string proxyPassword;
    if (options.proxyUser) {
        const Result result = Process::readLine(proxyPassword);
        if (!result.ok())
            return result;
    }
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK)
        return Result(ExitCode::InternalError, "libcurl does not start");
    return Download(options, proxyPassword).run();
}

int run(const std::vector<std::string> &arguments)
{
    Options options;
    Result result = parseCommandLine(arguments, options);
    if (result.ok() && (options.showHelp || options.showVersion)) {
        std::fputs((options.showHelp ? helpText() : versionText()).c_str(), stdout);
        return 0;
    }
    if (result.ok())
        result = download(options);
    if (!result.ok())
        std::fprintf(stderr, "download_utility: error: %s\n", result.text.c_str());
    return static_cast<int>(result.code);
}

} // namespace

int main(int argc, char *argv[])
{
    try {
        return run(Process::start(argc, argv));
    } catch (const std::exception &) {
        std::fputs("download_utility: error: out of memory\n", stderr);
        return static_cast<int>(ExitCode::InternalError);
    }
}
