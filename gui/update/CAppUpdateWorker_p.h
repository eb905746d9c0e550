#pragma once

#include "gui/messages/CTaskQuestion.h"
#include "gui/update/CAppUpdateWorker.h"
#include "gui/update/CheckSchedule_p.h"
#include "gui/update/DownloadRetry_p.h"
#include "gui/update/InstallationSlot_p.h"
#include "gui/update/PendingUpdate_p.h"
#include "gui/update/check/CTaskCheckForProductUpdate.h"
#include "gui/update/record/UpgradeUtils.h"

#include <QPointer>

class CAppUpdateLogic;

class CAppUpdateWorker::Private
{
public:
    CAppUpdateLogic *logic = nullptr;
    bool onAppStart = false;
    PendingUpdate pending;
    InstallationSlot *installation = nullptr;
    DownloadRetry *retry = nullptr;
    QTimer *reminderTimer = nullptr;
    QTimer *checkTimer = nullptr;
    QTimer *startUpTimer = nullptr;

    QPointer<CTaskCheckForProductUpdate> check;
    CheckSchedule schedule;
    CProductUpdateInfo offeredMajor;
    CTaskQuestion majorOffer{UpgradeUtils::messageIssuer()};
    bool isQuitting = false;
    QString applicationPath;

    void recordCheck(KOV_RESULT result)
    {
        schedule.checkEnded(result);
        if (KOV_FAILED(result))
            return;
        // What was interrupted is asked for anew; a download that follows sets it again.
        if (!installation->task() && UpgradeUtils::isDownloadingUpdateInBackground())
            UpgradeUtils::setDownloadingUpdateInBackground(false);
    }

    void leaveForNextStart()
    {
        schedule.takeBack();
        if (retry->isActive())
            UpgradeUtils::setDownloadingUpdateInBackground(true);
        const CTaskInstallProductUpdate *task = installation->task();
        if (!task || task->isSmartInstallMode())
            return;
        // A download that was watched; the next start finds the update again, and goes on from the partial
        // file.
        if (task->updateInfo().download.isCutOff() && !task->isInBackgroundDownload())
            UpgradeUtils::setNeedToCheckUpdateOnAppStart(true);
        if (!PendingUpdate::isOnDisk(task->getInstallationPath()))
            return;
        UpgradeUtils::setDownloadingUpdateInBackground(false);
        if (isSuperseded(task->updateInfo()))
            UpgradeUtils::setNeedToCheckUpdateOnAppStart(true);
        else
            UpgradeUtils::setNeedToInstallUpdateOnAppStart(true, task->updateInfo().updateType, true);
    }

    /// Another update has become the pending one since this one's installation began.
    bool isSuperseded(const CProductUpdateInfo &info) const
    {
        return pending.info() && !pending.info()->isSameUpdate(info);
    }

    /// Whether an installation for what is pending takes the place of the one that runs. One that is watched
    /// goes on; what is pending then is offered after it.
    bool isToBeSuperseded(const CTaskInstallProductUpdate &running, bool inBackground) const
    {
        if (running.isInstalling())
            return false;
        if (!isSuperseded(running.updateInfo()))
            return running.isSilent() && !inBackground;
        return running.isSilent() || running.isOffering()
               || running.updateInfo().updateType != pending.info()->updateType;
    }
};
