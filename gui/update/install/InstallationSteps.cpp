#include "gui/frame/Application.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/update/dialogs/CConfirmUpdateInstallationDialog.h"
#include "gui/update/dialogs/CUpdateDialog.h"
#include "gui/update/install/CTaskInstallProductUpdate_p.h"
#include "gui/update/install/StalePackages_p.h"
#include "gui/update/record/UpdateUrl_p.h"

#include <QDir>

// The steps of CTaskInstallProductUpdate, in their order.

namespace {

const char logTag[] = "[APP_UPDATE]";

} // namespace

KOV_RESULT CTaskInstallProductUpdate::removeOldUpdates()
{
    const QFileInfo package(d->path());
    if (d->path().isEmpty())
        return KOV_SUCCESS;
    QDir folder(package.absolutePath());
    const QStringList names = folder.entryList(QDir::Files | QDir::Hidden | QDir::NoSymLinks);
    for (const QString &name : StalePackages::among(names, package.fileName())) {
        const bool removed = folder.remove(name);
        KOV_LOG_TAG(logTag, 2, "Remove unneeded update [%s]: %s",
                    KovGui::logText(folder.filePath(name)).constData(), removed ? "OK" : "FAILED");
    }
    return KOV_SUCCESS;
}

KOV_RESULT CTaskInstallProductUpdate::confirmUpdateDownload()
{
    auto *window = new CUpdateDialog(d->params.smartInstall ? CUpdateDialog::DownloadAndInstall
                                                            : CUpdateDialog::Download);
    window->setNotificationFor(d->info);
    d->open(window, &CTaskInstallProductUpdate::onConfirmUpdateDownloadAnswered);
    return KOV_SUCCESS;
}

void CTaskInstallProductUpdate::onConfirmUpdateDownloadAnswered(int answer)
{
    d->takeOffer(answer);
}

KOV_RESULT CTaskInstallProductUpdate::downloadUpdate()
{
    if (d->path().isEmpty()) {
        KOV_LOG_TAG(logTag, 0, "(!)Error: the update [%s] names no package that can be downloaded.",
                    UpdateUrl::forLog(d->info.download.url).constData());
        return KOV_ERR_FAILURE;
    }
    const bool background = d->downloadsInBackground;
    if (!PackageCheck::isPossible(d->info.download)) {
        if (background)
            return KOV_ERR_FAILURE;
        setWaitForSubTaskCompletion();
        d->failUnverifiable();
        return KOV_SUCCESS;
    }
    UpgradeUtils::setDownloadingUpdateInBackground(background);
    d->download
        = new CTaskInteractiveDownload(d->info.download, d->info.download.md5, background, !background);
    return runChild(d->download, &CTaskInstallProductUpdate::onUpdateDownloadFinished);
}

void CTaskInstallProductUpdate::onUpdateDownloadFinished(KOV_RESULT result)
{
    // Whoever turned to something else meanwhile goes on with that.
    if (!d->downloadsInBackground)
        d->params.askedFor = d->download->isWatched();
    d->download->disconnect(this);
    d->download->deleteLater();
    d->download.clear();
    // Cut off by the application's end it goes on at the next start.
    if (d->terminating)
        return;
    if (d->downloadsInBackground)
        UpgradeUtils::setDownloadingUpdateInBackground(false);
    if (result == KOV_ERR_CANCELLED) {
        d->choice = Cancel;
        if (d->params.smartInstall) {
            d->confirmCancelSmartInstall();
            return;
        }
    }
    d->downloaded = KOV_SUCCEEDED(result);
    d->userSawDownload = !d->downloadsInBackground;
    subTaskCompleted(KOV_SUCCEEDED(result) ? KOV_SUCCESS : result);
}

void CTaskInstallProductUpdate::onConfirmCancelSmartInstallAnswered(KOV_RESULT, Messaging::ButtonID answer)
{
    if (answer == Messaging::Button1) {
        d->choice = Cancel;
        subTaskCompleted(KOV_ERR_CANCELLED);
    } else {
        d->repeat();
    }
}

KOV_RESULT CTaskInstallProductUpdate::confirmUpdateInstall()
{
    // Nothing is there to be offered; the installation sees to that.
    if (!d->hasPackage())
        return KOV_SUCCESS;
    if (d->userSawDownload) {
        auto *window = new CConfirmUpdateInstallationDialog;
        setDescription(window);
        d->open(window, &CTaskInstallProductUpdate::onConfirmUpdateInstallSimpleAnswered);
        return KOV_SUCCESS;
    }
    auto *window = new CUpdateDialog(CUpdateDialog::Install);
    window->setNotificationFor(d->info);
    d->open(window, &CTaskInstallProductUpdate::onConfirmUpdateInstallAnswered);
    return KOV_SUCCESS;
}

void CTaskInstallProductUpdate::onConfirmUpdateInstallAnswered(int answer)
{
    d->takeOffer(answer);
}

void CTaskInstallProductUpdate::onConfirmUpdateInstallSimpleAnswered(int answer)
{
    d->takeOffer(answer);
}

KOV_RESULT CTaskInstallProductUpdate::checkRunningApps()
{
    const QStringList apps = criticalApps();
    if (apps.isEmpty())
        return KOV_SUCCESS;
    setWaitForSubTaskCompletion();
    d->ask(KOV_QUESTION_CLOSE_APPLICATIONS, {apps.join(QLatin1Char('\n'))},
           &CTaskInstallProductUpdate::onCheckRunningAppsAnswered);
    return KOV_SUCCESS;
}

void CTaskInstallProductUpdate::onCheckRunningAppsAnswered(KOV_RESULT, Messaging::ButtonID answer)
{
    onCheckRunningAppsFinished(answer);
}

void CTaskInstallProductUpdate::onCheckRunningAppsFinished(int answer)
{
    if (answer == Messaging::Button1) {
        d->repeat();
        return;
    }
    d->choice = Cancel;
    subTaskCompleted(KOV_ERR_CANCELLED);
}

KOV_RESULT CTaskInstallProductUpdate::installUpdate()
{
    if (!criticalApps().isEmpty()) {
        prependSubTask(InstallUpdate);
        prependSubTask(CheckRunningApps);
        return KOV_SUCCESS;
    }
    setWaitForSubTaskCompletion();
    if (!PackageCheck::isPossible(d->info.download)) {
        d->failUnverifiable();
        return KOV_SUCCESS;
    }
    if (!d->hasPackage() && !d->downloaded) {
        d->downloadsInBackground = false;
        d->repeat({DownloadUpdate});
        return KOV_SUCCESS;
    }
    d->packageCheck.start(d->info.download);
    return KOV_SUCCESS;
}

void CTaskInstallProductUpdate::onPackageChecked(bool isIntact)
{
    if (!isIntact) {
        d->ask(d->downloaded ? KOV_QUESTION_DOWNLOAD_DAMAGED : KOV_QUESTION_EXISTING_FILE_DAMAGED,
               {d->info.download.destinationFileName()}, &CTaskInstallProductUpdate::onDownloadRetryAnswered);
        return;
    }
    QString updateMode;
    const QString updaterPath = KovGui::getUpdaterFilePathAndUpdateMode(updateMode, QStringLiteral("ctl"));
    if (!QFileInfo(updaterPath).isFile()) {
        KOV_LOG_TAG(logTag, 0, "An updater file %s is not found.", KovGui::logText(updaterPath).constData());
        d->failInstallation(KOV_ERR_UPDATER_MISSING, QString(), false);
        return;
    }
    d->launchUpdater(updaterPath);
}

void CTaskInstallProductUpdate::onDownloadRetryAnswered(KOV_RESULT, Messaging::ButtonID answer)
{
    if (answer != Messaging::Button1) {
        subTaskCompleted(KOV_ERR_FAILURE);
        return;
    }
    d->downloadsInBackground = false;
    d->repeat({DownloadUpdate});
}

void CTaskInstallProductUpdate::onUpdateInstallationFinished(KOV_RESULT result)
{
    const UpdaterRun::Outcome outcome = d->updater.take(result);
    d->installed = outcome.isInstalled;
    if (d->installed)
        subTaskCompleted(KOV_SUCCESS);
    else if (d->terminating)
        subTaskCompleted(KOV_ERR_UPDATE_INSTALLATION_FAILED);
    else
        d->failInstallation(KOV_ERR_UPDATE_INSTALLATION_FAILED, outcome.reason, true);
}

void CTaskInstallProductUpdate::onInstallationErrorClosed(KOV_RESULT, Messaging::ButtonID answer)
{
    if (d->mayRetry && answer == Messaging::Button1)
        d->repeat();
    else
        subTaskCompleted(d->resultAfterMessage);
}
