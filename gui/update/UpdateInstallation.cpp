#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/log/Log.h"
#include "gui/update/CAppUpdateLogic.h"
#include "gui/update/CAppUpdateWorker_p.h"
#include "gui/update/record/UpdatePreferences.h"
#include "gui/update/record/UpdateSettings_p.h"

#include <QSettings>

// What becomes of an update that was found: CAppUpdateWorker from the pending update to the end of its
// installation.

namespace {

const char logTag[] = "[APP_UPDATE]";

void recordInstalled(const CProductUpdateInfo &info)
{
    UpgradeUtils::setUpdateHandedOver(info);
    if (info.isMajorUpgrade())
        QSettings().setValue(UpdateSettings::showWelcomeScreen, true);
}

} // namespace

KOV_RESULT CAppUpdateWorker::installUpdate(const CProductUpdateInfo &info, bool forceDownload, bool confirm)
{
    if (!UpgradeUtils::isUpdatesRestricted())
        d->pending.set(info, false, false);
    return installPendingUpdate(forceDownload, confirm);
}

const CProductUpdateInfo *CAppUpdateWorker::pendingUpdateInfo() const
{
    return d->pending.info();
}

void CAppUpdateWorker::onInstallReminderTimeout()
{
    // Put off by the user: a download must not start now as if nobody had been asked.
    install({false, true, false});
}

bool CAppUpdateWorker::isDownloadInBackgroundWanted() const
{
    return UpdatePreferences::isDownloadAutomatic(isDownloadInBackgroundByDefault());
}

KOV_RESULT CAppUpdateWorker::installPendingUpdate(bool forceDownload, bool confirm)
{
    return install({forceDownload, confirm, true});
}

KOV_RESULT CAppUpdateWorker::install(InstallRequest request)
{
    if (UpgradeUtils::isUpdatesRestricted()) {
        KOV_LOG_TAG(logTag, 2, "In current application mode product upgrade not available.");
        return KOV_ERR_FAILURE;
    }
    const CProductUpdateInfo *info = d->pending.info();
    if (!info) {
        KOV_LOG_TAG(logTag, 2, "No application update is currently pending for installation");
        return KOV_SUCCESS;
    }
    CTaskInstallProductUpdate *running = d->installation->task();
    const bool isOnDisk = d->pending.isPackageOnDisk();
    if (d->onAppStart && !isOnDisk && !running) {
        KOV_LOG_TAG(logTag, 0, "(!)Error: the package of the update to install at start is not there.");
        PendingUpdate::forgetInstallRequest();
        d->pending.clear();
        stopInstallReminder();
        return KOV_ERR_FAILURE;
    }
    const bool inBackground = !d->onAppStart && !request.forceDownload && !request.confirm && !isOnDisk
                              && isDownloadInBackgroundWanted();
    if (d->installation->isSuperseding() || (running && d->isToBeSuperseded(*running, inBackground))) {
        // Whoever reads an offer gets another in its place.
        request.confirm |= running && running->isOffering();
        d->installation->supersede(request);
        return KOV_ERR_IN_PROGRESS;
    }
    if (running) {
        KOV_LOG_TAG(logTag, 2, "A task to install product update is already running. Skip another install.");
        if (request.askedFor)
            running->bringToFront();
        return KOV_ERR_IN_PROGRESS;
    }
    return startInstallation(inBackground, request);
}

KOV_RESULT CAppUpdateWorker::startInstallation(bool inBackground, const InstallRequest &request)
{
    CTaskInstallProductUpdate::TaskParams params;
    params.onAppStart = d->onAppStart;
    params.downloadInBackground = inBackground;
    params.confirmDownload
        = request.confirm || (d->pending.wasFoundInBackground() && !inBackground && !request.forceDownload);
    params.smartInstall = d->pending.isSmart();
    // The dialog after a silent download comes long after the question.
    params.askedFor = request.askedFor && !inBackground;
    auto *task = static_cast<CTaskInstallProductUpdate *>(KovGui::createRegistered(
        "CTaskInstallProductUpdate", CTaskInstallProductUpdate::staticMetaObject,
        QArgument<CProductUpdateInfo>("const CProductUpdateInfo&", *d->pending.info()),
        QArgument<CTaskInstallProductUpdate::TaskParams>("const CTaskInstallProductUpdate::TaskParams&",
                                                         params)));
    if (!task) {
        if (d->onAppStart)
            PendingUpdate::forgetInstallRequest();
        return KOV_ERR_FAILURE;
    }
    stopInstallReminder();
    d->retry->stop();
    if (UpgradeUtils::isDownloadingUpdateInBackground() != inBackground)
        UpgradeUtils::setDownloadingUpdateInBackground(inBackground);
    task->setConfirmInstall(UpgradeUtils::isConfirmationNeededOnAppStart());
    d->installation->start(task);
    return task->isFinished() ? task->getResult() : KOV_ERR_IN_PROGRESS;
}

void CAppUpdateWorker::onTaskInstallUpdateFinished(KOV_RESULT result)
{
    const CTaskInstallProductUpdate *task = d->installation->take();
    if (!task)
        return;
    const QPointer<CAppUpdateWorker> guard(this);
    const bool isInstalled = KOV_SUCCEEDED(result) || task->isInstalled();
    const bool isNewerPending = d->isSuperseded(task->updateInfo());
    if (isInstalled) {
        UpgradeUtils::setDownloadingUpdateInBackground(false);
        PendingUpdate::forgetInstallRequest();
        recordInstalled(task->updateInfo());
        // The version that starts next finds out whether the newer one still is.
        if (isNewerPending)
            UpgradeUtils::setNeedToCheckUpdateOnAppStart(true);
        d->pending.clear();
        d->retry->reset();
        stopInstallReminder();
    } else if (!d->isQuitting) {
        UpgradeUtils::setDownloadingUpdateInBackground(false);
        if (isNewerPending)
            offerNewerLater(*task);
        else if (result == KOV_ERR_CANCELLED)
            followChoice(*task);
        else if (result != KOV_ERR_IN_PROGRESS)
            failInstallation(*task);
    }
    if (guard)
        Q_EMIT d->logic->updateInstallFinished(isInstalled ? KOV_SUCCESS : result);
}

void CAppUpdateWorker::followChoice(const CTaskInstallProductUpdate &task)
{
    const CProductUpdateInfo info = task.updateInfo();
    switch (task.userChoice()) {
    case CTaskInstallProductUpdate::Postpone:
        if (PendingUpdate::isOnDisk(task.getInstallationPath()))
            UpgradeUtils::setNeedToInstallUpdateOnAppStart(true, info.updateType, true);
        startInstallReminder();
        break;
    case CTaskInstallProductUpdate::Skip:
        UpgradeUtils::setUpdateSkipped(info.transactionId, true);
        PendingUpdate::forgetInstallRequest();
        d->pending.clear();
        stopInstallReminder();
        break;
    default:
        break;
    }
}

/// What the user decided about the older one does not hold for the newer one.
void CAppUpdateWorker::offerNewerLater(const CTaskInstallProductUpdate &task)
{
    if (task.userChoice() == CTaskInstallProductUpdate::Skip)
        UpgradeUtils::setUpdateSkipped(task.updateInfo().transactionId, true);
    PendingUpdate::forgetInstallRequest();
    d->pending.store();
    startInstallReminder();
}

void CAppUpdateWorker::failInstallation(const CTaskInstallProductUpdate &task)
{
    // Before anything else: a request that is left would fail, and quit the application, at every start.
    PendingUpdate::forgetInstallRequest();
    const bool isUnseen = task.userChoice() == CTaskInstallProductUpdate::NotAsked;
    if (task.params().downloadInBackground && isUnseen)
        d->retry->schedule();
    if (!d->onAppStart)
        return;
    d->pending.clear();
    processQuit();
}
