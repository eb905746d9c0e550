#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/messages/record/Messaging.h"
#include "gui/update/record/CProductUpdateInfo.h"
#include "kov_sdk/KovTypes.h"

#include <QObject>
#include <QStringList>

#include <memory>

class CAppUpdateLogic;
class CTaskCheckForProductUpdate;
class CTaskInstallProductUpdate;
struct InstallRequest;

/**
 * The behaviour behind CAppUpdateLogic: the timers of the checks, what is done with a found update, the
 * installation and the reminder of a postponed one.
 *
 * An application replaces it to change the policy: it registers a subclass under "CAppUpdateWorker" before
 * the first CAppUpdateLogic::instance(). The subclass needs Q_OBJECT and an invokable constructor that takes
 * a CAppUpdateLogic*. The base's constructor calls no virtual; initialize() is called when the whole object
 * exists.
 *
 * **Checks.** The first comes three seconds after start when a background download was interrupted or a check
 * at start was asked for, else after five minutes; then the check timer asks every hour or more often whether
 * a check is due. A check that answered stores its time. One that failed or was cancelled leaves things as if
 * it had not been made, so the next timeout tries again.
 *
 * **A found update.** A check in the background ignores a version that the user skipped; one in the
 * foreground offers it again. A major upgrade is offered by a message of its own
 * (KOV_QUESTION_INSTALL_MAJOR_UPGRADE) where isInstallMajorUpdateAvailable(). Any other becomes the pending
 * update and is installed: after a question when the user asked for the check; else with a download in the
 * background, or, where the user does not want that, after a question.
 *
 * **A newer update while an older one is under way.** An open offer is replaced by the newer one, a download
 * in the background is given up for it. A download that the user watches and an installation go on; the newer
 * update stays pending and is offered ten minutes after their end, whatever the user decided about the older
 * one. After an installation the version that starts next looks for it anew.
 *
 * **The end of an installation.** Installed: nothing is pending. Postponed: offered again by the reminder,
 * and at the next start when the package is on disk. Skipped: nothing is pending, and background checks
 * ignore the version. Cancelled: it stays pending. Failed: it stays pending, but not for the next start; at
 * start-up it is forgotten and the application quits. An installation that runs when the application quits is
 * offered at the next start if its package is on disk, unless the updater program, which goes on, has
 * completed it by then; an interrupted download in the background goes on after the check that follows the
 * next start. An application that calls exec() again after aboutToQuit() goes on as before.
 *
 * A download in the background that failed is tried again after ten minutes, then with pauses that double, to
 * four hours.
 *
 * Timers are children: "startUpCheckTimer", "checkForUpdatesTimer", "installReminderTimer",
 * "downloadRetryTimer". GUI thread only.
 */
class KOVGUI_EXPORT CAppUpdateWorker : public QObject
{
    Q_OBJECT

public:
    /// Loads what is pending, unless updates are restricted. The logic outlives the worker.
    Q_INVOKABLE explicit CAppUpdateWorker(CAppUpdateLogic *logic);
    /// Ends what runs without telling anyone.
    ~CAppUpdateWorker() override;

    /// Schedules the first check. May be called again: the first check is scheduled anew.
    /// @param checkSoon  as if a background download had been interrupted: a check is due, in three seconds
    virtual void initialize(bool checkSoon);
    /// Whether installMajorUpdate() does something, so that major upgrades are offered. Base: false.
    virtual bool isInstallMajorUpdateAvailable() const;
    /// What holds as long as the user did not choose (docs/reference/update-settings.md). Base: true.
    virtual bool isDownloadInBackgroundByDefault() const;
    /// 0 never, 1 daily, 2 weekly, 3 monthly: what holds as long as the user did not choose. Base: 1.
    virtual int defaultUpdatePeriod() const;
    /// Whether the host shows commands and preferences for updates. Base: true.
    virtual bool isUpdatesAvailableInUI() const;
    /// Offers the pending update again in ten minutes.
    virtual void startInstallReminder();
    virtual void stopInstallReminder();
    /// False: no periodic checks, only one after start where the user wants it. Base: true.
    virtual bool useCheckForUpdateTimer() const;
    /// Base: QCoreApplication::quit().
    virtual void processQuit();
    /// Quits and starts a program detached; failing to is an error in the log.
    /// @param path           empty: the application itself, by its path when the worker was created
    /// @param withArguments  start it with the arguments of this process
    virtual void processRestart(const QString &path, bool withArguments);
    /// Quits and starts the application itself through the updater program ("updater run"), as its menu entry
    /// does: what was installed is gone back from when it does not come up twice in a row. As
    /// processRestart() where there is no updater that can be started.
    void restartOnTrial(bool withArguments);
    /// The user accepted a major upgrade, which is pendingUpdateInfo() now and stored. Base: nothing.
    virtual void installMajorUpdate();
    /// More parameters for a message of the worker, behind its own (%1 the application's name, %2 the
    /// version).
    /// @param code      the message
    /// @param longText  for its second text, else for its first
    virtual QStringList messageParameters(int code, bool longText) const;

    /**
     * Starts a check, or joins the one that runs; a foreground request turns a background check into a
     * foreground one. CAppUpdateLogic::updateCheckFinished tells its end.
     *
     * @param smartInstall       part of an unattended installation; so is the installation of what it finds
     * @param doNotShowUpToDate  says nothing without an update; for a plain foreground check only
     * @return KOV_SUCCESS when a check runs now, KOV_ERR_FAILURE when it was refused (updates are restricted,
     * no check can be created)
     */
    KOV_RESULT checkForUpdates(bool inBackground, bool smartInstall, bool doNotShowUpToDate);
    /// Makes the update the pending one, stores it and calls installPendingUpdate(). One without a
    /// destination folder gets UpgradeUtils::updatesFolder().
    KOV_RESULT installUpdate(const CProductUpdateInfo &info, bool forceDownload, bool confirm);
    /**
     * Starts the installation of the pending update. A running download in the background is superseded when
     * this call is for an installation in the foreground, and so is an installation of the other update type,
     * but none that the updater program has begun; the new one starts when the old one has ended. At start-up
     * (isOnAppStart()) only a package on disk is installed; without one the request for it is forgotten.
     *
     * @param forceDownload  download at once, with a window, without asking
     * @param confirm        ask before downloading; wins over forceDownload
     * @return KOV_ERR_IN_PROGRESS when an installation was started or runs already; KOV_SUCCESS when nothing
     * is pending; KOV_ERR_FAILURE when it was refused (updates are restricted, no package at start-up, no
     * installation can be created)
     */
    KOV_RESULT installPendingUpdate(bool forceDownload = false, bool confirm = false);
    /// Null when nothing is pending. Valid until the event loop runs.
    const CProductUpdateInfo *pendingUpdateInfo() const;

    /**
     * Whether a periodic check is due, by local wall time: a day, seven days or a calendar month after the
     * last one. Where there was none, and where its time cannot be read or lies more than a day ahead (the
     * clock was set back), a check is due and the present time is stored; a check that then fails removes it
     * again.
     */
    bool isTimeToCheckForUpdates();

    /// The application starts up. Initially false; the host sets it before it installs what is pending at
    /// start, and takes it back when its windows are open.
    bool isOnAppStart() const;
    void setOnAppStart(bool onAppStart);
    /// UpgradeUtils::runUpdaterInAppMode().
    bool runUpdaterInAppMode() const;

public Q_SLOTS:
    /// Starts the check timer if it is used and does not run, and a check in the background if one is due or
    /// was asked for at start.
    void onCheckForUpdatesTimerTimeout();

private Q_SLOTS:
    void onInstallReminderTimeout();
    void onTaskCheckForUpdatesFinished(KOV_RESULT result);
    void onTaskInstallUpdateFinished(KOV_RESULT result);
    void onAboutToQuit();

private:
    void onInstallMajorUpdateAnswered(KOV_RESULT code, Messaging::ButtonID answer);
    void handOn(const CTaskCheckForProductUpdate &check);
    void offerMajorUpgrade(const CProductUpdateInfo &info, bool inBackground);
    bool isDownloadInBackgroundWanted() const;
    KOV_RESULT install(InstallRequest request);
    KOV_RESULT startInstallation(bool inBackground, const InstallRequest &request);
    void followChoice(const CTaskInstallProductUpdate &task);
    void offerNewerLater(const CTaskInstallProductUpdate &task);
    void failInstallation(const CTaskInstallProductUpdate &task);

    class Private;
    const std::unique_ptr<Private> d;
};
