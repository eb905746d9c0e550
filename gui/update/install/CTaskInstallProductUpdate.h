#pragma once

#include "abstract_task/CAbstractTask.h"
#include "gui/KovGuiGlobal.h"
#include "gui/messages/record/Messaging.h"
#include "gui/update/record/CProductUpdateInfo.h"

#include <QStringList>

#include <memory>

class CConfirmUpdateInstallationDialog;

/**
 * Takes an update from pending to installed: clears out stale packages, asks where it should, downloads the
 * package, has critical applications closed, verifies the package and hands it to the updater program.
 *
 * Ends with KOV_SUCCESS when the updater has installed; KOV_ERR_CANCELLED when the user put it off, skipped
 * it or cancelled (userChoice() tells which), or when it was superseded; KOV_ERR_UPDATER_MISSING;
 * KOV_ERR_UPDATE_INSTALLATION_FAILED when the updater failed; KOV_ERR_FAILURE for a failed download and for a
 * package that cannot be verified. What ends it in the foreground was told to the user by then.
 *
 * **Questions.** The download is offered by CUpdateDialog. The installation is offered by
 * CConfirmUpdateInstallationDialog when the user has watched the download, else by CUpdateDialog, with the
 * release notes. A dialog that is closed means "later". In a smart install every "no", and a download that
 * the user cancels, is asked about before it counts.
 *
 * **The package** lies in the record's folder; a record without one gets UpgradeUtils::updatesFolder(). It is
 * compared with the record's digest before every installation, wherever it came from; one that is damaged is
 * removed and offered to be downloaded again, one that has gone is downloaded again. A record without a
 * digest is never installed.
 *
 * The settings keep what is handed to the updater (UpgradeUtils::takeInstalledUpdate()). While it runs
 * terminate() waits for it. Destroying the task kills it; it puts back what it was replacing.
 *
 * At most one installation exists at a time. The class is replaceable: what is registered under
 * "CTaskInstallProductUpdate" is created, which needs Q_OBJECT and an invokable constructor with these
 * parameters.
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
        /// The user has just asked for it: its dialogs take the keyboard. False: CBaseDialog::setAskedFor().
        bool askedFor = true;
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
    /// With the download folder filled in.
    CProductUpdateInfo updateInfo() const;
    TaskParams params() const;
    virtual UserChoice userChoice() const;
    bool isSmartInstallMode() const;
    /// True while the download runs and was asked for without a window.
    virtual bool isInBackgroundDownload() const;
    /// Nothing of it can be seen yet: it downloads, or is about to, in the background.
    bool isSilent() const;
    /// Its dialog asks whether to download, or to install.
    bool isOffering() const;
    /// The updater program has the package. Such a task is not to be superseded.
    bool isInstalling() const;
    /// The updater program has installed it, also when the task was told to end meanwhile.
    bool isInstalled() const;
    /// False leaves out the offer of a package that is there already at start-up. Initially true.
    void setConfirmInstall(bool confirm);
    /// The package file; empty when the update names none that is safe, or there is no folder for it.
    QString getInstallationPath() const;

    void terminate(int result) override;
    /// Raises the open question, message or progress window.
    void bringToFront() override;

protected:
    /// The step that offers the installation. An override waits (setWaitForSubTaskCompletion()) and completes
    /// the step with KOV_SUCCESS, or KOV_ERR_CANCELLED.
    Q_INVOKABLE virtual KOV_RESULT confirmUpdateInstall();
    /// The names of running applications that must be closed before the installation. Asked for often: be
    /// quick.
    virtual QStringList criticalApps() const;
    /// The step that verifies the package and runs the updater.
    Q_INVOKABLE virtual KOV_RESULT installUpdate();
    /// Sets the second text of the dialog that offers the installation.
    virtual void setDescription(CConfirmUpdateInstallationDialog *dialog);

    QList<int> getDefaultSubTaskList() const override;
    QList<int> getNonTerminatableSubTasks() const override;
    void finish(int result) override;

private Q_SLOTS:
    void onConfirmUpdateDownloadAnswered(int answer);
    void onUpdateDownloadFinished(KOV_RESULT result);
    void onDownloadRetryAnswered(KOV_RESULT code, Messaging::ButtonID answer);
    void onConfirmUpdateInstallAnswered(int answer);
    void onConfirmUpdateInstallSimpleAnswered(int answer);
    void onCheckRunningAppsAnswered(KOV_RESULT code, Messaging::ButtonID answer);
    void onCheckRunningAppsFinished(int answer);
    void onPackageChecked(bool isIntact);
    void onUpdateInstallationFinished(KOV_RESULT result);
    void onInstallationErrorClosed(KOV_RESULT code = KOV_SUCCESS,
                                   Messaging::ButtonID answer = Messaging::ButtonNone);
    void onConfirmCancelSmartInstallAnswered(KOV_RESULT code, Messaging::ButtonID answer);

private:
    Q_INVOKABLE KOV_RESULT removeOldUpdates();
    Q_INVOKABLE KOV_RESULT confirmUpdateDownload();
    Q_INVOKABLE KOV_RESULT downloadUpdate();
    Q_INVOKABLE KOV_RESULT checkRunningApps();

    class Private;
    const std::unique_ptr<Private> d;
};

Q_DECLARE_METATYPE(CTaskInstallProductUpdate::TaskParams)
