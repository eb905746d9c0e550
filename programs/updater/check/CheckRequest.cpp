#include "programs/updater/check/CheckRequest.h"

#include "gui/KovVersion.h"
#include "programs/updater/base/Address.h"

#include <QLocale>
#include <QRegularExpression>
#include <QSysInfo>

namespace {

QString systemName()
{
    const QString kernel = QSysInfo::kernelType();
    if (kernel == QLatin1String("winnt"))
        return QStringLiteral("windows");
    return kernel == QLatin1String("darwin") ? QStringLiteral("macos") : kernel;
}

const CUpdProduct *installedProduct(const CUpdaterConfig *configuration, const QString &name)
{
    if (!configuration || !configuration->installed)
        return nullptr;
    for (const CUpdProduct &product : configuration->installed->products) {
        if (name.isEmpty() || product.productName == name)
            return &product;
    }
    return nullptr;
}

/// @param installed  null unless it is of the product that is asked for
VersionNumber installedVersion(const CommandLine &commandLine, const CUpdProduct *product,
                               const PackageManifest *installed)
{
    if (commandLine.currentVersion)
        return *commandLine.currentVersion;
    if (product && !product->versions.isEmpty()) {
        const CUpdProductVersion &version = product->versions.first();
        return {version.major, version.minor, version.subMinor, version.subSubMinor};
    }
    if (installed)
        return installed->version;
    return {KOV_VERSION_MAJOR, KOV_VERSION_MINOR, KOV_VERSION_PATCH, KOV_VERSION_BUILD};
}

QString lineOf(const QUrl &catalogue)
{
    static const QRegularExpression form(
        QStringLiteral("/([^/]+/v[^/]+)/tessarine/tessarine_updates\\.xml\\z"));
    const QRegularExpressionMatch match = form.match(catalogue.path(QUrl::FullyDecoded));
    return match.hasMatch() ? match.captured(1) : QStringLiteral(KOV_UPDATE_LINE);
}

QString firstGiven(const QString &first, const QString &second)
{
    return first.isEmpty() ? second : first;
}

} // namespace

CheckRequestResult makeCheckRequest(const CommandLine &commandLine, const CUpdaterConfig *configuration,
                                    const PackageManifest *installed)
{
    CheckRequestResult result;
    FetchRequest &fetch = result.request.fetch;
    const bool isOwnUrl = !commandLine.url.isEmpty();
    const QString url = isOwnUrl || !configuration ? commandLine.url : configuration->updateUrl;
    // Other users can read the arguments of a process; a password has no place there.
    const Address::UserInfo userInfo = isOwnUrl ? Address::UserInfo::Refused : Address::UserInfo::Allowed;
    const QString fault = Address::parseServer(url, userInfo, &fetch.url);
    if (!fault.isEmpty()) {
        result.code = isOwnUrl ? ExitCode::UsageError : ExitCode::ConfigurationError;
        result.fault = QStringLiteral("the address of the update catalogue is not valid: %1").arg(fault);
        return result;
    }
    result.request.line = commandLine.line.isEmpty() ? lineOf(fetch.url) : commandLine.line;
    fetch.certificateFile = commandLine.certificateFile;
    fetch.proxyServer = commandLine.proxyServer;
    fetch.proxyPort = commandLine.proxyPort;
    fetch.isSocksProxy = commandLine.isSocksProxy;
    fetch.proxyTryCount = commandLine.proxyTryCount;
    fetch.proxyUser = commandLine.proxyUser;
    fetch.timeoutSeconds = commandLine.timeout;

    const CUpdProduct *const product = installedProduct(configuration, commandLine.product);
    const QString builtFor = QStringLiteral(KOV_UPDATER_PRODUCT);
    const QString installedName = installed ? installed->product : builtFor;
    const QString productName = product ? product->productName : installedName;
    UpdateCriteria &criteria = result.request.criteria;
    criteria.product = firstGiven(commandLine.product, productName);
    criteria.currentVersion
        = installedVersion(commandLine, product, criteria.product == installedName ? installed : nullptr);
    criteria.locale = firstGiven(commandLine.locale, QLocale::system().name());
    criteria.os = firstGiven(commandLine.os, systemName());
    result.request.isEnabled = !product || product->updateEnabled;
    return result;
}
