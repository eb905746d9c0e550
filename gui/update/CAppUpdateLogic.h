#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/update/record/CProductUpdateInfo.h"
#include "kov_sdk/KovTypes.h"

#include <QObject>

#include <memory>

class CAppUpdateWorker;

/**
 * The application's one entry point for updates: when to check, what becomes of a found update, when a
 * pending one is installed. A thin front: what happens is decided by its worker, a replaceable class
 * (CAppUpdateWorker).
 *
 * A host calls instance() once at start, after KovGui::init(), after it has registered its own worker and
 * told UpgradeUtils what there is to tell; from then on checks are made by themselves. It calls destroy()
 * before the application object goes.
 *
 * In a mode in which updates are not offered (UpgradeUtils::isUpdatesRestricted()) nothing is checked or
 * installed; the worker loads nothing and starts no timer.
 *
 * GUI thread only.
 */
class KOVGUI_EXPORT CAppUpdateLogic : public QObject
{
    Q_OBJECT

public:
    /// Created on first use, with its worker, and after destroy() anew. From inside the worker's construction
    /// it is the object under construction, which refuses everything until the worker exists.
    static CAppUpdateLogic *instance();
    /// Ends the check and the installation that run, silently, and deletes the object. What a quitting
    /// application leaves for its next start is stored before; an updater program that installs is killed,
    /// unless the application quits (QCoreApplication::aboutToQuit()): then it completes its work. Not to be
    /// called from a slot of a signal of this class.
    static void destroy();
    ~CAppUpdateLogic() override;

    /// Never null but inside the worker's construction. Owned by this object.
    CAppUpdateWorker *worker() const;

    /// See CAppUpdateWorker for all of these.
    KOV_RESULT checkForUpdates(bool inBackground, bool smartInstall, bool doNotShowUpToDate);
    KOV_RESULT installPendingUpdate(bool forceDownload = false, bool confirm = false);
    KOV_RESULT installUpdate(const CProductUpdateInfo &info, bool forceDownload, bool confirm);
    const CProductUpdateInfo *pendingUpdateInfo() const;
    bool isTimeToCheckForUpdates();
    int defaultUpdatePeriod() const;
    bool isDownloadInBackgroundByDefault() const;
    /// False also where updates are restricted.
    bool isUpdatesAvailableInUI() const;
    bool isOnAppStart() const;
    void setOnAppStart(bool onAppStart);
    bool runUpdaterInAppMode() const;

Q_SIGNALS:
    /// A check that was asked for here has ended. A found update was handed on already. Not for a refused
    /// check.
    void updateCheckFinished(KOV_RESULT result, bool inBackground);
    /// An installation has ended, with the result of CTaskInstallProductUpdate, and the settings tell what is
    /// to be done about it. Not for one that was refused or superseded.
    void updateInstallFinished(KOV_RESULT result);

private:
    CAppUpdateLogic();
    void createWorker();

    class Private;
    const std::unique_ptr<Private> d;
};
