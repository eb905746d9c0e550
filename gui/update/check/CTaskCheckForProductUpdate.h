#pragma once

#include "abstract_task/CAbstractTask.h"
#include "abstract_task/CSlotInfo.h"
#include "gui/KovGuiGlobal.h"
#include "gui/messages/record/Messaging.h"
#include "gui/update/record/CProductUpdateInfo.h"

#include <memory>

/**
 * Asks the updater program whether a newer build exists.
 *
 * Ends with KOV_SUCCESS and getUpdateInfo() when there is one, KOV_NO_UPDATE_AVAILABLE (which is no failure)
 * when there is none, KOV_ERR_CANCELLED when the user cancelled, KOV_ERR_UPDATER_MISSING,
 * KOV_ERR_UPDATE_SERVER_NOT_REACHABLE (no connection) or KOV_ERR_UPDATER_FAILED (a crash, any other exit
 * code, an update without a package, an address of a catalogue that no updater may be given).
 *
 * A check in the foreground shows a progress window from its start and a message for every outcome but a
 * found update; it ends when the user has closed the message. A check in the background shows nothing. Every
 * window goes with the task, whichever way that ends.
 *
 * At most one check runs at a time: use start(). The class is replaceable: start() creates what is registered
 * under "CTaskCheckForProductUpdate", which needs Q_OBJECT and an invokable constructor that takes
 * CTaskCheckForProductUpdate::Options, written with the class's name.
 */
class KOVGUI_EXPORT CTaskCheckForProductUpdate : public CAbstractTask
{
    Q_OBJECT

public:
    enum Option {
        /// Means nothing by itself; a check in the foreground is asked for with it or with an empty set.
        NoOptions = 1,
        /// No progress window, no message.
        CheckInBackground = 2,
        /// Part of an unattended installation: the progress window has no Cancel button, only a missing
        /// connection is
        /// shown, as a question whether to try again.
        SmartInstall = 4,
        /// Do not tell that there is no update.
        DoNotShowUpToDate = 8,
    };
    Q_DECLARE_FLAGS(Options, Option)
    Q_FLAG(Options)

    enum TaskStep { ShowProgress = 1, CheckForUpdates = 3 };
    Q_ENUM(TaskStep)

    /**
     * Starts a check, or joins the one that runs: a request for a foreground check turns a running background
     * check into a foreground one, and brings what a foreground check shows to the front.
     *
     * @param onFinished  called once, when the check has ended, with (KOV_RESULT, CAbstractTask*); may be
     * empty
     * @return the check. It deletes itself after its end, once control is back in the event loop; a caller
     * that wants to keep it switches the option DeleteWhenFinished off and owns it then. Null, and
     * (KOV_ERR_FAILURE, null) from the event loop, where updates are restricted and when the registered class
     * cannot be created.
     */
    static CTaskCheckForProductUpdate *start(CTaskCheckForProductUpdate::Options options,
                                             const CSlotInfo &onFinished = CSlotInfo());

    /// The caller owns the task and executes it; start() does both.
    Q_INVOKABLE explicit CTaskCheckForProductUpdate(CTaskCheckForProductUpdate::Options options);
    ~CTaskCheckForProductUpdate() override;

    unsigned type() const override;

    bool isCheckInBackground() const;
    bool isSmartInstallMode() const;
    /// Only the change to false does anything: from then on the check is one in the foreground, and while it
    /// runs it shows its progress window at once.
    void setCheckInBackground(bool inBackground);

    /// What was found; null unless an update was. Valid as long as the task lives. This class finds minor
    /// updates only; a host's check that knows of major upgrades overrides it.
    virtual const CProductUpdateInfo *getUpdateInfo() const;

    /// The catalogue to ask instead of the product's own; left empty for the product's own. A failure ends
    /// the check. The address is checked before it is used.
    virtual KOV_RESULT getCustomUpdateServerUrl(QString &url);

public Q_SLOTS:
    /// Raises the open message, else the progress window.
    void bringToFront() override;
    /// Opens the page that tells about new versions in the browser.
    void onLearnMoreClicked();

protected:
    QList<int> getDefaultSubTaskList() const override;
    void finish(int result) override;

private Q_SLOTS:
    void onCheckForUpdatesCanceled();
    void onCheckForUpdateFinished(KOV_RESULT result);
    void onNoConnectionQuestionClosed(KOV_RESULT code, Messaging::ButtonID answer);

private:
    Q_INVOKABLE KOV_RESULT showProgress();
    Q_INVOKABLE KOV_RESULT checkForUpdates();

    bool isInteractive() const;
    KOV_RESULT catalogueUrl(QString &url);
    void launch();
    void takeUpdate(const QByteArray &output);
    void handleNoConnection();
    void completeWith(KOV_RESULT result, bool withMessage, const QString &reason = QString());

    class Private;
    const std::unique_ptr<Private> d;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(CTaskCheckForProductUpdate::Options)
Q_DECLARE_METATYPE(CTaskCheckForProductUpdate::Options)
