#include "programs/updater/Updater.h"

#include "gui/KovVersion.h"
#include "programs/updater/Commands.h"
#include "programs/updater/base/Address.h"
#include "programs/updater/base/ErrorLine.h"
#include "programs/updater/base/Files.h"
#include "programs/updater/base/StopRequest.h"
#include "programs/updater/check/CheckOutput.h"
#include "programs/updater/check/CheckRequest.h"
#include "programs/updater/check/TrustedFetch.h"
#include "programs/updater/install/Installer.h"
#include "programs/updater/trust/OfferStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>
#include <cstdio>

namespace {

constexpr qint64 maximumConfigurationSize = 1024 * 1024;

QString firstOf(const QStringList &errors)
{
    const int others = errors.size() - 1;
    return others > 0 ? QStringLiteral("%1 (and %2 more)").arg(errors.first()).arg(others) : errors.first();
}

void printWarnings(const XmlReport &report, const CommandLine &commandLine)
{
    if (!commandLine.isVerbose)
        return;
    for (const QString &warning : report.warnings)
        printError(warning);
}

/// Empty, or why the file is not usable.
QString readConfiguration(const QString &path, const CommandLine &commandLine, CUpdaterConfig *configuration)
{
    QFile file(path);
    // Opening anything but a file could wait for ever.
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly))
        return QStringLiteral("it cannot be opened");
    const QByteArray document = file.read(maximumConfigurationSize + 1);
    if (document.size() > maximumConfigurationSize)
        return QStringLiteral("it is larger than %1 bytes").arg(maximumConfigurationSize);
    XmlReport report;
    const bool ok = configuration->read(document, &report);
    printWarnings(report, commandLine);
    return ok ? QString() : firstOf(report.errors);
}

ExitCode report(const CheckRequest &request, const CommandLine &commandLine, TrustedFetch *fetch)
{
    const FetchResult fetched = fetch->fetchCatalogue();
    if (fetched.code != ExitCode::UpdateFound)
        return fail(fetched.code, fetched.fault);
    const QString source = Address::shown(fetched.url);
    CUpdates catalogue;
    XmlReport xmlReport;
    const bool ok = catalogue.read(fetched.body, &xmlReport);
    printWarnings(xmlReport, commandLine);
    if (!ok)
        return fail(ExitCode::BadCatalogue, QStringLiteral("the update catalogue %1 is not valid: %2")
                                                .arg(source, firstOf(xmlReport.errors)));
    const std::optional<ChosenUpdate> chosen = chooseUpdate(catalogue, request.criteria);
    if (!chosen)
        return ExitCode::NoUpdate;
    QUrl package;
    QString fault = Address::resolvePackage(fetched.url, chosen->update.filePath, &package);
    if (!fault.isEmpty())
        return fail(ExitCode::BadCatalogue,
                    QStringLiteral("the update catalogue %1 is not valid: FilePath is refused: %2")
                        .arg(source, fault));
    QByteArray output;
    fault = composeCheckOutput(*chosen, package, &output);
    if (!fault.isEmpty())
        return fail(ExitCode::BadCatalogue,
                    QStringLiteral("the update catalogue %1 is not valid: %2 is refused").arg(source, fault));
    const FetchResult signature = fetch->fetchPackageSignature(package, *chosen);
    return signature.code == ExitCode::UpdateFound
               ? printText(QString::fromUtf8(output), ExitCode::UpdateFound)
               : fail(signature.code, signature.fault);
}

ExitCode sayNoUpdate(const CheckRequest &request, const CommandLine &commandLine)
{
    if (!commandLine.reportsNoUpdate)
        return ExitCode::NoUpdate;
    const UpdateCriteria &criteria = request.criteria;
    QString text = QStringLiteral("There is no update for %1 %2.\n")
                       .arg(criteria.product, versionText(criteria.currentVersion));
    for (const RejectedVersion &rejected : request.rejected) {
        if (rejected.version > criteria.currentVersion)
            text += QStringLiteral("Version %1 is not offered: %2\n")
                        .arg(versionText(rejected.version), rejected.reason);
    }
    return printText(text, ExitCode::NoUpdate);
}

/// Other users could read the password in it.
void warnOfOpenPassword(const QString &path, const CUpdaterConfig &configuration)
{
    const bool isOpen = Files::rightsAt(path).everybodyMayRead;
    if (isOpen && !QUrl(configuration.updateUrl).password().isEmpty())
        printError(QStringLiteral("warning: %1 holds a password and can be read by every user").arg(path));
}

/// One line, of which nothing is kept.
bool readPassword(QByteArray *password)
{
    constexpr int longestPassword = 4096;
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return false;
    *password = input.readLine(longestPassword + 2);
    if (password->endsWith('\n'))
        password->chop(1);
    return password->size() <= longestPassword && !password->isEmpty() && !password->contains('\0');
}

ExitCode check(const CommandLine &commandLine, const QString &programDirectory, const QString &root)
{
    const bool isOwnConfiguration = !commandLine.configurationFile.isEmpty();
    const QString path = isOwnConfiguration ? commandLine.configurationFile
                                            : QDir(programDirectory).filePath(QStringLiteral("updater.xml"));
    CUpdaterConfig configuration;
    const bool hasConfiguration = isOwnConfiguration || QFileInfo::exists(path);
    if (hasConfiguration) {
        const QString fault = readConfiguration(path, commandLine, &configuration);
        if (!fault.isEmpty())
            return fail(ExitCode::ConfigurationError,
                        QStringLiteral("the configuration file %1 is not usable: %2").arg(path, fault));
        warnOfOpenPassword(path, configuration);
    } else if (commandLine.url.isEmpty()) {
        return fail(ExitCode::ConfigurationError,
                    QStringLiteral("no address of an update catalogue: give --url, or write %1").arg(path));
    }
    const std::optional<PackageManifest> installed
        = root.isEmpty() ? std::nullopt : Installation::installedManifest(root);
    CheckRequestResult made = makeCheckRequest(commandLine, hasConfiguration ? &configuration : nullptr,
                                               installed ? &*installed : nullptr);
    if (made.code != ExitCode::UpdateFound)
        return fail(made.code, made.fault);
    if (installed && installed->product == made.request.criteria.product)
        made.request.rejected = Installation::rejectedVersions(root);
    for (const RejectedVersion &rejected : qAsConst(made.request.rejected))
        made.request.criteria.rejected.append(rejected.version);
    if (!made.request.isEnabled)
        return sayNoUpdate(made.request, commandLine);
    if (!commandLine.proxyUser.isEmpty() && !readPassword(&made.request.fetch.proxyPassword))
        return fail(ExitCode::UsageError,
                    QStringLiteral("there is no password of the proxy on standard input that can be used"));
    const TrustCriteria criteria{Signature::builtInKeys(), made.request.criteria.product, made.request.line,
                                 QDateTime::currentDateTimeUtc()};
    if (criteria.keys.isEmpty())
        return fail(ExitCode::CatalogueNotTrusted,
                    QStringLiteral("this build has no key to tell genuine updates by, so it trusts none"));
    OfferStore store;
    TrustedFetch fetch(made.request, criteria, &store);
    const ExitCode code = report(made.request, commandLine, &fetch);
    return code == ExitCode::NoUpdate ? sayNoUpdate(made.request, commandLine) : code;
}

/// Whoever watches may have gone; the installation goes on.
void printProgress(int percent)
{
    std::printf("installer:%%%d\n", percent);
    std::fflush(stdout);
}

ExitCode install(const CommandLine &commandLine, const QString &programDirectory, const QString &root)
{
    if (root.isEmpty())
        return fail(ExitCode::NoInstallation,
                    QStringLiteral("no installation could be updated: no folder \"current\" leads to %1")
                        .arg(programDirectory));
    const OfferStore offers;
    InstallRequest request;
    request.root = root;
    request.packageFile = commandLine.packageFile;
    request.keys = Signature::builtInKeys();
    request.now = QDateTime::currentDateTimeUtc();
    request.offers = &offers;
    request.onProgress = printProgress;
    request.shouldStop = StopRequest::isPending;
    StopRequest::watch();
    const InstallResult result = installPackage(request);
    return result.ok() ? result.code : fail(result.code, result.fault);
}

ExitCode recoverAndCheck(const CommandLine &commandLine, const QString &programDirectory, const QString &root)
{
    // What cannot be cleared up must not keep its cure from being found: the next installation tells it as
    // its fault.
    const InstallResult recovered = root.isEmpty() ? InstallResult() : Installation::recover(root);
    if (!recovered.ok())
        printError(recovered.fault);
    return check(commandLine, programDirectory, root);
}

QString versionAndKeys()
{
    QString text = QStringLiteral("updater " KOV_VERSION_TEXT "\n");
    for (const Signature::PublicKey &key : Signature::builtInKeys())
        text += QStringLiteral("trusts the key %1\n").arg(QLatin1String(Signature::fingerprint(key)));
    return Signature::builtInKeys().isEmpty() ? text + QStringLiteral("trusts no key\n") : text;
}

} // namespace

ExitCode runUpdater(const QStringList &arguments, const QString &programDirectory)
{
    CommandLine commandLine;
    const QString fault = parseCommandLine(arguments, &commandLine);
    if (!fault.isEmpty())
        return fail(ExitCode::UsageError, QStringLiteral("%1 (see updater --help)").arg(fault));
    const QString root = commandLine.root.isEmpty() ? Installation::find(programDirectory) : commandLine.root;
    switch (commandLine.action) {
    case CommandLine::Action::ShowHelp:
        return printText(helpText() + commandList(), ExitCode(0));
    case CommandLine::Action::ShowVersion:
        return printText(versionAndKeys(), ExitCode(0));
    case CommandLine::Action::Install:
        return install(commandLine, programDirectory, root);
    case CommandLine::Action::Check:
        break;
    }
    return recoverAndCheck(commandLine, programDirectory, root);
}
