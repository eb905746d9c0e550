#pragma once

#include "programs/download_utility/Result.h"

#include <optional>
#include <string>
#include <vector>

/// What the user asked for. Passwords are no part of it: they come on standard input.
struct Options
{
    bool showHelp = false;
    bool showVersion = false;

    std::string url;
    std::string folder;
    bool reportsProgress = false; ///< -ui
    bool overwrites = false; ///< -fo
    bool isBackground = false; ///< -bd

    std::string proxyHost; ///< empty: a direct connection, whatever the environment says
    unsigned proxyPort = 0;
    bool isSocksProxy = false; ///< SOCKS 5, which resolves the names as well; else HTTP
    std::optional<std::string> proxyUser;

    unsigned stallLimit = 30; ///< seconds without a byte, 1 to 3600
    unsigned connectTimeout = 30; ///< seconds, 1 to 3600
    unsigned retries = 5; ///< reconnects within this run, 0 to 1000
    unsigned retryDelay
        = 1; ///< seconds before the second reconnect that brought nothing, doubled each time; 0 to 60
    std::string md5; ///< expected digest, 32 lower-case digits; empty: not checked
    std::string sha256; ///< the same with 64 digits
    std::string caFile; ///< certificates trusted instead of the system's
};

/**
 * Reads the arguments (without the program's name) into @p options. The order of the arguments is free, each
 * may stand once. Fails with ExitCode::BadUsage and the reason; the reason repeats no value that can hold a
 * secret.
 */
Result parseCommandLine(const std::vector<std::string> &arguments, Options &options);

std::string helpText();
std::string versionText();
