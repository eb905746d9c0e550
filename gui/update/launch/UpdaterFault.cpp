#include "gui/update/launch/UpdaterFault_p.h"

#include "gui/update/launch/UpdaterExitCode.h"

#include <QCoreApplication>

namespace {

using Updater::ExitCode;

class Text
{
    Q_DECLARE_TR_FUNCTIONS(UpdaterFault)
};

} // namespace

QString UpdaterFault::explanation(int exitCode)
{
    switch (ExitCode(exitCode)) {
    case ExitCode::NoInstallation:
        return Text::tr(
            "This copy of the application was not installed by its installer and cannot be replaced. "
            "Download the new version and install it by hand.");
    case ExitCode::PackageNotTrusted:
        return Text::tr(
            "The update's signature is wrong: "
            "it does not come from the maker of the application, or was altered on its way. "
            "Look for updates again; if this happens again, do not install it, and contact support.");
    case ExitCode::SignatureMissing:
        return Text::tr("There is no signature on this computer that tells where the update comes from. "
                        "Look for updates again; that brings the signature along.");
    case ExitCode::PackageOutdated:
        return Text::tr("The update is no longer offered, or is not newer than what is installed. "
                        "Look for updates again.");
    case ExitCode::PackageBroken:
        return Text::tr("The update holds something that may not be installed. Contact support.");
    case ExitCode::NotEnoughSpace:
        return Text::tr("There is not enough free disk space. "
                        "Empty the trash or remove files that you do not need, and try again.");
    case ExitCode::InstallFailed:
        return Text::tr(
            "The files of the application could not be replaced. "
            "Make sure that you may change them and that no other program uses them, and try again.");
    case ExitCode::InstallBusy:
        return Text::tr("Another update is being installed. Wait until it is done, and try again.");
    case ExitCode::BadCatalogue:
        return Text::tr("The update server sent something that cannot be read. Try again later; "
                        "if the problem persists, contact support.");
    case ExitCode::TooLarge:
    case ExitCode::HttpError:
    case ExitCode::RedirectRefused:
        return Text::tr("The update server did not answer as expected. Try again later.");
    case ExitCode::TlsError:
        return Text::tr("No secure connection to the update server could be made. "
                        "Check the date and time of this computer; "
                        "in a network that inspects connections, ask its administrator.");
    case ExitCode::NoConnection:
        return Text::tr(
            "The update server cannot be reached. Check your Internet connection, and try again.");
    case ExitCode::ProxyError:
        return Text::tr("The proxy server did not let the connection through. "
                        "Check the proxy settings of your system, and try again.");
    case ExitCode::CatalogueNotTrusted:
        return Text::tr(
            "The update server's list of updates is not signed by the application's maker, or was altered. "
            "Try again in another network; if the problem persists, contact support.");
    case ExitCode::CatalogueOutdated:
        return Text::tr("The update server's list of updates is out of date. "
                        "Check the date and time of this computer, and try again later.");
    case ExitCode::ConfigurationError:
        return Text::tr("The settings of the program that updates the application are missing or damaged. "
                        "Install the application again to repair it; your data and settings are kept.");
    case ExitCode::UpdateFound:
    case ExitCode::NoUpdate:
    case ExitCode::UsageError:
    case ExitCode::OutputError:
    case ExitCode::InternalError:
    case ExitCode::NothingBefore:
        break;
    }
    return Text::tr("The program that updates the application reported error %1. Try again later; "
                    "if the problem persists, contact support.")
        .arg(exitCode);
}

QString UpdaterFault::explanation(KOV_RESULT result, int exitCode, QProcess::ExitStatus exitStatus)
{
    if (result == KOV_ERR_PROXY_AUTHENTICATION_REQUIRED)
        return Text::tr("The proxy server lets nothing through without a user name and a password. "
                        "Look for updates again, and enter them.");
    if (KOV_FAILED(result))
        return Text::tr("The program that updates the application could not be run. "
                        "Install the application again to repair it; your data and settings are kept.");
    if (exitStatus != QProcess::NormalExit)
        return Text::tr("The program that updates the application ended unexpectedly. Try again; "
                        "if the problem persists, restart the computer.");
    return explanation(exitCode);
}
