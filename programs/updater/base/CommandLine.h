#pragma once

#include "programs/updater/base/VersionNumber.h"

#include <QStringList>
#include <optional>

/// What the program was asked to do. docs/reference/updater.md describes every option.
struct CommandLine
{
    enum class Action { Check, Install, ShowHelp, ShowVersion };

    /// Most tries and longest time that the options take.
    static constexpr int maximumProxyTryCount = 10;
    static constexpr int maximumTimeout = 600;

    Action action = Action::Check;
    bool reportsNoUpdate = true;
    bool isVerbose = false;
    QString url;
    QString configurationFile;
    QString product;
    /// Of the catalogue; empty for the one that its address tells.
    QString line;
    std::optional<VersionNumber> currentVersion;
    QString locale;
    QString os;
    QString certificateFile;
    QString packageFile;
    /// Empty for the installation that the program lies in.
    QString root;
    /// Empty for a direct connection.
    QString proxyServer;
    int proxyPort = 0;
    /// SOCKS 5, which resolves the names as well; else HTTP.
    bool isSocksProxy = false;
    /// Empty for a proxy that asks for none. Its password comes on standard input.
    QString proxyUser;
    int proxyTryCount = 1;
    /// Seconds that the whole transfer may take.
    int timeout = 60;
};

/// @param arguments  without the program's name; empty ones are skipped, as command lines put together from
/// optional
///                   pieces hold them
/// @return empty, or what is wrong as one sentence without a full stop; the command line is not usable then
QString parseCommandLine(const QStringList &arguments, CommandLine *commandLine);

/// The text of --help, without the commands, ending with a line feed.
QString helpText();
