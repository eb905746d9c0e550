#include "programs/updater/base/CommandLine.h"

#include "programs/updater/base/Address.h"

#include <QSet>
#include <algorithm>
#include <functional>

namespace {

/// One option. A value that the function refuses ends the parsing.
struct Option
{
    const char *name;
    /// Empty for an option without a value.
    const char *valueName;
    const char *help;
    std::function<bool(CommandLine *, const QString &value)> apply;
};

std::function<bool(CommandLine *, const QString &)> accepted()
{
    return [](CommandLine *, const QString &) { return true; };
}

std::function<bool(CommandLine *, const QString &)> action(CommandLine::Action action)
{
    return [action](CommandLine *line, const QString &) {
        line->action = action;
        return true;
    };
}

std::function<bool(CommandLine *, const QString &)> flag(bool CommandLine::*member, bool value)
{
    return [member, value](CommandLine *line, const QString &) {
        line->*member = value;
        return true;
    };
}

std::function<bool(CommandLine *, const QString &)> text(QString CommandLine::*member)
{
    return [member](CommandLine *line, const QString &value) {
        line->*member = value;
        return !value.isEmpty();
    };
}

std::function<bool(CommandLine *, const QString &)> number(int CommandLine::*member, int maximum)
{
    return [member, maximum](CommandLine *line, const QString &value) {
        bool ok = false;
        line->*member = value.toInt(&ok);
        return ok && line->*member >= 1 && line->*member <= maximum;
    };
}

bool applyAction(CommandLine *line, const QString &value)
{
    line->action
        = value == QLatin1String("install") ? CommandLine::Action::Install : CommandLine::Action::Check;
    return value == QLatin1String("install") || value == QLatin1String("check");
}

bool applyMode(CommandLine *line, const QString &value)
{
    line->reportsNoUpdate = false;
    return value == QLatin1String("silent");
}

bool applyCurrentVersion(CommandLine *line, const QString &value)
{
    return parseVersion(value, &line->currentVersion.emplace());
}

bool applyProxyServer(CommandLine *line, const QString &value)
{
    line->proxyServer = value;
    return Address::isHost(value);
}

bool applyProxyKind(CommandLine *line, const QString &value)
{
    line->isSocksProxy = value == QLatin1String("socks5");
    return line->isSocksProxy || value == QLatin1String("http");
}

const QVector<Option> &options()
{
    static const QVector<Option> all = {
        {"--update", "check|install", "What to do; needed", applyAction},
        {"--url", "URL", "Address of the update catalogue, instead of the configured one",
         text(&CommandLine::url)},
        {"--config", "FILE", "Configuration instead of updater.xml beside the program",
         text(&CommandLine::configurationFile)},
        {"--product", "NAME", "Look for an update of this product", text(&CommandLine::product)},
        {"--line", "LINE", "Line of the catalogue, such as console/v3", text(&CommandLine::line)},
        {"--current-version", "A.B.C.D", "The version that is installed", applyCurrentVersion},
        {"--locale", "NAME", "Locale of the installation, such as de_DE", text(&CommandLine::locale)},
        {"--os", "NAME", "Operating system: windows, linux, macos", text(&CommandLine::os)},
        {"--proxy-server", "HOST", "Connect through this proxy", applyProxyServer},
        {"--proxy-port", "PORT", "Port of the proxy", number(&CommandLine::proxyPort, 65535)},
        {"--proxy-kind", "http|socks5", "What the proxy speaks (http)", applyProxyKind},
        {"--proxy-user", "NAME", "User of the proxy; the password is one line on standard input",
         text(&CommandLine::proxyUser)},
        {"--proxy-try-count", "N", "Times to try the proxy, 1 to 10",
         number(&CommandLine::proxyTryCount, CommandLine::maximumProxyTryCount)},
        {"--ca-file", "FILE", "Trust these certificate authorities (PEM) instead of the system's",
         text(&CommandLine::certificateFile)},
        {"--timeout", "SECONDS", "Give up after this time, 1 to 600 (60)",
         number(&CommandLine::timeout, CommandLine::maximumTimeout)},
        {"--mode", "silent", "Print nothing but an update that was found", applyMode},
        {"--hide-no-updates-message", "", "Print nothing if there is no update",
         flag(&CommandLine::reportsNoUpdate, false)},
        {"-nr", "", "The same", flag(&CommandLine::reportsNoUpdate, false)},
        {"-i", "", "Print what is known about the update (always done)", accepted()},
        {"-ud", "", "Print its description as well (always done)", accepted()},
        {"--started-by-gui", "", "Told by applications; changes nothing", accepted()},
        {"--background-download", "", "Told by applications; changes nothing", accepted()},
        {"--file", "FILE", "The package to install", text(&CommandLine::packageFile)},
        {"--root", "DIR", "The installation, instead of the one that this program lies in",
         text(&CommandLine::root)},
        {"--not-check-postinstall", "", "Do not verify the installation afterwards", accepted()},
        {"--verbose", "", "Print warnings about the files that were read",
         flag(&CommandLine::isVerbose, true)},
        {"--help", "", "Print this text", action(CommandLine::Action::ShowHelp)},
        {"--version", "", "Print the version", action(CommandLine::Action::ShowVersion)},
    };
    return all;
}

const Option *findOption(const QString &name)
{
    const auto found = std::find_if(options().begin(), options().end(), [&name](const Option &option) {
        return name == QLatin1String(option.name);
    });
    return found == options().end() ? nullptr : &*found;
}

QString contradiction(const CommandLine &line, const QSet<QString> &given)
{
    if (line.action == CommandLine::Action::Check && !given.contains(QStringLiteral("--update")))
        return QStringLiteral("--update check is missing");
    if (line.action == CommandLine::Action::Install && line.packageFile.isEmpty())
        return QStringLiteral("--update install needs --file");
    if (line.proxyServer.isEmpty() != (line.proxyPort == 0))
        return QStringLiteral("--proxy-server and --proxy-port need each other");
    if (!line.proxyUser.isEmpty() && line.proxyServer.isEmpty())
        return QStringLiteral("--proxy-user needs --proxy-server");
    return QString();
}

} // namespace

QString parseCommandLine(const QStringList &arguments, CommandLine *commandLine)
{
    QSet<QString> given;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString &name = arguments.at(i);
        if (name.isEmpty())
            continue;
        const Option *const option = findOption(name);
        // The argument is not quoted: it may be a misplaced address with a password.
        if (!option)
            return QStringLiteral("argument %1 is not an option").arg(i + 1);
        const bool takesValue = *option->valueName != '\0';
        if (takesValue && given.contains(name))
            return QStringLiteral("%1 is given twice").arg(name);
        given.insert(name);
        if (takesValue && i + 1 == arguments.size())
            return QStringLiteral("%1 needs a value").arg(name);
        if (!option->apply(commandLine, takesValue ? arguments.at(++i) : QString()))
            return QStringLiteral("the value of %1 is not valid").arg(name);
        if (commandLine->action == CommandLine::Action::ShowHelp
            || commandLine->action == CommandLine::Action::ShowVersion)
            return QString();
    }
    return contradiction(*commandLine, given);
}

QString helpText()
{
    QString text = QStringLiteral("Usage: updater --update check [options]\n"
                                  "       updater --update install --file FILE [options]\n\n"
                                  "Asks an update server whether a newer version of a product exists, or\n"
                                  "installs one that was downloaded.\n"
                                  "Exit codes: 0 an update was found or installed, 4 there is none, 25 no\n"
                                  "connection, any other: an error, described on standard error.\n\n");
    for (const Option &option : options()) {
        const QString syntax
            = QStringLiteral("%1 %2").arg(QLatin1String(option.name), QLatin1String(option.valueName));
        text += QStringLiteral("  %1 %2\n").arg(syntax, -26).arg(QLatin1String(option.help));
    }
    return text;
}
