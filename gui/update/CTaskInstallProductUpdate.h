#pragma once

#include "abstract_task/CAbstractTask.h"
#include "gui/KovGuiGlobal.h"
#include "gui/messages/Messaging.h"
#include "gui/update/CProductUpdateInfo.h"

#include <QStringList>

#include <memory>

class CConfirmUpdateInstallationDialog;

/**
 * Takes an update from pending to installed: clears out stale packages, asks where it should, downloads the package,
 * has critical applications closed, verifies the package and hands it to the updater program.
 *
 * Ends with KOV_SUCCESS when the updater has installed; KOV_ERR_CANCELLED when the user put it off, skipped it or
 * cancelled (userChoice() tells which), or when it was superseded; KOV_ERR_UPDATER_MISSING;
 * KOV_ERR_UPDATE_INSTALLATION_FAILED when the updater failed; KOV_ERR_FAILURE for a failed download and for a package
 * that cannot be verified.
 *
 * At most one installation exists at a time. The class is replaceable: what is registered under
 * "CTaskInstallProductUpdate" is created, which needs Q_OBJECT and an invokable constructor with these parameters.
 */
class KOVGUI_EXPORT CTaskInstallProductUpdate : public CAbstractTask
{
    Q_OBJECT

public:
    enum TaskStep {
        RemoveOldUpdates = 0,
        ConfirmUpdateDownload = 1,
        DownloadUpdate = 2,
        ConfirmUpdateInstall = 4,
        CheckRunningApps = 5,
        InstallUpdate = 6,
    };
    Q_ENUM(TaskStep)

    struct TaskParams
    {
        /// During the application's start-up, with a package that was downloaded before.
        bool onAppStart = false;
        /// The download runs without a window.
        bool downloadInBackground = false;
        /// Ask the user before downloading.
        bool confirmDownload = false;
        /// Unattended.
        bool smartInstall = false;
    };

    /// What the user answered to the latest question about this update.
    enum UserChoice {
        NotAsked = 0,
        InstallNow,
        /// Remind me later; install later.
        Postpone,
        /// Skip this version; don't install.
        Skip,
        /// Cancelled while it ran.
        Cancel,
    };
    Q_ENUM(UserChoice)

    Q_INVOKABLE CTaskInstallProductUpdate(const CProductUpdateInfo &info,
                                          const CTaskInstallProductUpdate::TaskParams &params);
    ~CTaskInstallProductUpdate() override;

    unsigned type() const override;
    CProductUpdateInfo updateInfo() const;
    TaskParams params() const;
    virtual UserChoice userChoice() const;
    bool isSmartInstallMode() const;
    /// True while the download runs and was asked for without a window.
    bool isInBackgroundDownload() const;
    /// The package file; empty when the update names none that is safe.
    QString getInstallationPath() const;

    void terminate(int result) override;
    void bringToFront() override;

protected:
    QList<int> getDefaultSubTaskList() const override;
    void finish(int result) override;

private:
    class Private;
    const std::unique_ptr<Private> d;
};

Q_DECLARE_METATYPE(CTaskInstallProductUpdate::TaskParams)
