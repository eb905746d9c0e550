#include "gui/update/CAppUpdateWorker.h"

#include "abstract_task/CTaskManager.h"
#include "gui/frame/Application.h"
#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/messages/CMessageManager.h"
#include "gui/update/CAppUpdateLogic.h"
#include "gui/update/CheckSchedule_p.h"
#include "gui/update/InstallationSlot_p.h"
#include "gui/update/PendingUpdate_p.h"
#include "gui/update/check/CTaskCheckForProductUpdate.h"
#include "gui/update/record/UpdatePreferences.h"
#include "gui/update/record/UpdateSettings_p.h"
#include "gui/update/record/UpgradeUtils.h"

#include <QCoreApplication>
#include <QPointer>
#include <QProcess>
#include <QSettings>
#include <QTimer>

#include <utility>

namespace {

const char logTag[] = "[APP_UPDATE]";

constexpr int soonAfterStart = 3000;
constexpr int millisecondsPerMinute = 60 * 1000;
constexpr int afterStart = 5 * millisecondsPerMinute;
constexpr int reminderTimeout = 10 * millisecondsPerMinute;

void recordInstalled(const CProductUpdateInfo &info)
{
    UpgradeUtils::setUpdateHandedOver(info);
    if (info.isMajorUpgrade())
        QSettings().setValue(UpdateSettings::showWelcomeScreen, true);
}

} // namespace

class CAppUpdateWorker::Private
{
public:
    CAppUpdateLogic *logic = nullptr;
    bool onAppStart = false;
    PendingUpdate pending;
    InstallationSlot *installation = nullptr;
    QTimer *reminderTimer = nullptr;
    QTimer *checkTimer = nullptr;
    QTimer *startUpTimer = nullptr;

    QPointer<CTaskCheckForProductUpdate> check;
    CheckSchedule schedule;
    CProductUpdateInfo offeredMajor;
    bool isOfferingMajor = false;
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
        const CTaskInstallProductUpdate *task = installation->task();
        if (!task || task->isSmartInstallMode() || !PendingUpdate::isOnDisk(task->getInstallationPath()))
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

    /// Whether an installation for what is pending takes the place of the one that runs. One that is watched goes on; what
    /// is pending then is offered after it.
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

CAppUpdateWorker::CAppUpdateWorker(CAppUpdateLogic *logic)
    : d(new Private)
{
    d->logic = logic;
    // Asked for now: an update replaces the file, and the path of a replaced file is no longer known.
    d->applicationPath = QCoreApplication::applicationFilePath();
    const auto timer = [this](const char *name, bool singleShot) {
        auto *created = new QTimer(this);
        created->setObjectName(QLatin1String(name));
        created->setSingleShot(singleShot);
        return created;
    };
    d->reminderTimer = timer("installReminderTimer", false);
    d->checkTimer = timer("checkForUpdatesTimer", false);
    d->startUpTimer = timer("startUpCheckTimer", true);
    connect(d->reminderTimer, &QTimer::timeout, this, &CAppUpdateWorker::onInstallReminderTimeout);
    connect(d->checkTimer, &QTimer::timeout, this, &CAppUpdateWorker::onCheckForUpdatesTimerTimeout);
    connect(d->startUpTimer, &QTimer::timeout, this, &CAppUpdateWorker::onCheckForUpdatesTimerTimeout);
    connect(qApp, &QCoreApplication::aboutToQuit, this, &CAppUpdateWorker::onAboutToQuit);
    d->installation = new InstallationSlot(this);
    connect(d->installation, &InstallationSlot::finished, this,
            &CAppUpdateWorker::onTaskInstallUpdateFinished);
    connect(d->installation, &InstallationSlot::vacated, this, [this](const InstallRequest &next) {
        if (!d->isQuitting)
            install(next, true);
    });
    if (!UpgradeUtils::isUpdatesRestricted())
        d->pending.loadAtStart();
}

CAppUpdateWorker::~CAppUpdateWorker()
{
    if (!d->isQuitting)
        d->leaveForNextStart();
    if (d->check) {
        d->check->disconnect(this);
        d->check->terminate(KOV_ERR_CANCELLED);
    }
    // What the updater program has begun it may complete without the application.
    if (d->isQuitting)
        d->installation->leave();
    delete d->installation;
    if (d->isOfferingMajor)
        CMessageManager::instance()->closeSpecificMessageBox(UpgradeUtils::messageIssuer(),
                                                             KOV_QUESTION_INSTALL_MAJOR_UPGRADE);
}

void CAppUpdateWorker::initialize(bool checkSoon)
{
    const bool isSoon = checkSoon || UpgradeUtils::isDownloadingUpdateInBackground();
    if (isSoon)
        QSettings().remove(UpdateSettings::lastCheckedOn);
    d->startUpTimer->start(isSoon || UpgradeUtils::isNeedToCheckUpdateOnAppStart() ? soonAfterStart
                                                                                   : afterStart);
}

bool CAppUpdateWorker::isInstallMajorUpdateAvailable() const
{
    return false;
}

bool CAppUpdateWorker::isDownloadInBackgroundByDefault() const
{
    return true;
}

int CAppUpdateWorker::defaultUpdatePeriod() const
{
    return 1;
}

bool CAppUpdateWorker::isUpdatesAvailableInUI() const
{
    return true;
}

void CAppUpdateWorker::startInstallReminder()
{
    d->reminderTimer->start(reminderTimeout);
}

void CAppUpdateWorker::stopInstallReminder()
{
    d->reminderTimer->stop();
}

bool CAppUpdateWorker::useCheckForUpdateTimer() const
{
    return true;
}

void CAppUpdateWorker::processQuit()
{
    QCoreApplication::quit();
}

void CAppUpdateWorker::processRestart(const QString &path, bool withArguments)
{
    const QString program = path.isEmpty() ? d->applicationPath : path;
    const QStringList arguments = withArguments ? QCoreApplication::arguments().mid(1) : QStringList();
    KOV_LOG_TAG(logTag, 2, "About to restart application [%s]", KovGui::logText(program).constData());
    processQuit();
    if (!QProcess::startDetached(program, arguments))
        KOV_LOG_TAG(logTag, 0, "Failed to restart self");
}

void CAppUpdateWorker::installMajorUpdate() { }

QStringList CAppUpdateWorker::messageParameters(int, bool) const
{
    return QStringList();
}

bool CAppUpdateWorker::isOnAppStart() const
{
    return d->onAppStart;
}

void CAppUpdateWorker::setOnAppStart(bool onAppStart)
{
    d->onAppStart = onAppStart;
}

bool CAppUpdateWorker::runUpdaterInAppMode() const
{
    return UpgradeUtils::runUpdaterInAppMode();
}

void CAppUpdateWorker::onCheckForUpdatesTimerTimeout()
{
    KOV_LOG_TAG(logTag, 2, "Is it time to check for updates?");
    if (useCheckForUpdateTimer() && !d->checkTimer->isActive())
        d->checkTimer->start(CheckSchedule::timerPeriod());
    const bool isAskedFor = UpgradeUtils::isNeedToCheckUpdateOnAppStart();
    if (isAskedFor)
        UpgradeUtils::setNeedToCheckUpdateOnAppStart(false);
    if (!isAskedFor && !isTimeToCheckForUpdates()) {
        KOV_LOG_TAG(logTag, 2, "It's not time to check for updates yet, skipping...");
        return;
    }
    if (KOV_FAILED(checkForUpdates(true, false, false)))
        d->schedule.takeBack();
}

bool CAppUpdateWorker::isTimeToCheckForUpdates()
{
    if (UpgradeUtils::isUpdatesRestricted())
        return false;
    if (!useCheckForUpdateTimer())
        return QSettings().value(UpdateSettings::checkOnApplicationStart, true).toBool();

    return d->schedule.isDue(defaultUpdatePeriod());
}

KOV_RESULT CAppUpdateWorker::checkForUpdates(bool inBackground, bool smartInstall, bool doNotShowUpToDate)
{
    CTaskCheckForProductUpdate::Options options;
    options.setFlag(CTaskCheckForProductUpdate::CheckInBackground, inBackground);
    options.setFlag(CTaskCheckForProductUpdate::SmartInstall, smartInstall);
    options.setFlag(CTaskCheckForProductUpdate::DoNotShowUpToDate,
                    doNotShowUpToDate && !inBackground && !smartInstall);
    CTaskCheckForProductUpdate *check = CTaskCheckForProductUpdate::start(options);
    if (!check)
        return KOV_ERR_FAILURE;
    d->check = check;
    // A joined check is connected already, unless somebody else started it.
    connect(check, &CAbstractTask::taskFinished, this, &CAppUpdateWorker::onTaskCheckForUpdatesFinished,
            Qt::UniqueConnection);
    return KOV_SUCCESS;
}

void CAppUpdateWorker::onTaskCheckForUpdatesFinished(KOV_RESULT result)
{
    const auto *check = qobject_cast<CTaskCheckForProductUpdate *>(sender());
    if (!check)
        return;
    // Whoever was told before may have started the next one.
    if (d->check == check)
        d->check.clear();
    const bool inBackground = check->isCheckInBackground();
    const QPointer<CAppUpdateWorker> guard(this);
    d->recordCheck(result);
    if (KOV_SUCCEEDED(result) && check->getUpdateInfo())
        handOn(*check);
    if (guard)
        Q_EMIT d->logic->updateCheckFinished(result, inBackground);
}

void CAppUpdateWorker::handOn(const CTaskCheckForProductUpdate &check)
{
    const CProductUpdateInfo info = *check.getUpdateInfo();
    const bool inBackground = check.isCheckInBackground();
    if (inBackground && UpgradeUtils::isUpdateSkipped(info.transactionId)) {
        KOV_LOG_TAG(logTag, 2, "New update %s is in skipped list.",
                    KovGui::logText(info.getVersion()).constData());
        return;
    }
    if (info.isMajorUpgrade()) {
        offerMajorUpgrade(info, inBackground);
        return;
    }
    const bool isSmart = check.isSmartInstallMode();
    d->pending.set(info, inBackground, isSmart);
    // An unattended installation asks its own question.
    install({isSmart, !inBackground && !isSmart}, !inBackground);
}

void CAppUpdateWorker::offerMajorUpgrade(const CProductUpdateInfo &info, bool inBackground)
{
    const KOV_RESULT code = KOV_QUESTION_INSTALL_MAJOR_UPGRADE;
    if (!isInstallMajorUpdateAvailable()) {
        KOV_LOG_TAG(logTag, 2, "Major upgrade %s is not offered: this application cannot install it.",
                    KovGui::logText(info.getVersion()).constData());
        return;
    }
    d->offeredMajor = info;
    if (std::exchange(d->isOfferingMajor, true)) {
        if (!inBackground)
            CMessageManager::instance()->raiseSpecificMessageBox(UpgradeUtils::messageIssuer(), code);
        return;
    }
    const QStringList own{KovGui::getAppGuiName(), info.getVersion()};
    MessageParams params(code);
    params.setIssuerId(UpgradeUtils::messageIssuer())
        .setShortMsgParams(own + messageParameters(code, false))
        .setLongMsgParams(own + messageParameters(code, true))
        .setCloseMsgSlot(
            CSlotInfo(this, SLOT(onInstallMajorUpdateAnswered(KOV_RESULT, Messaging::ButtonID))));
    CMessageManager::instance()->showMessageBox(params);
}

void CAppUpdateWorker::onInstallMajorUpdateAnswered(KOV_RESULT, Messaging::ButtonID answer)
{
    d->isOfferingMajor = false;
    if (answer != Messaging::Button1)
        return;
    d->pending.set(d->offeredMajor, false, false);
    installMajorUpdate();
}

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
    installPendingUpdate(false, true);
}

bool CAppUpdateWorker::isDownloadInBackgroundWanted() const
{
    return UpdatePreferences::isDownloadAutomatic(isDownloadInBackgroundByDefault());
}

KOV_RESULT CAppUpdateWorker::installPendingUpdate(bool forceDownload, bool confirm)
{
    return install({forceDownload, confirm}, true);
}

KOV_RESULT CAppUpdateWorker::install(InstallRequest request, bool isAskedFor)
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
        if (isAskedFor)
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
        stopInstallReminder();
    } else if (!d->isQuitting) {
        UpgradeUtils::setDownloadingUpdateInBackground(false);
        if (isNewerPending)
            offerNewerLater(*task);
        else if (result == KOV_ERR_CANCELLED)
            followChoice(*task);
        else if (result != KOV_ERR_IN_PROGRESS)
            failInstallation();
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

void CAppUpdateWorker::failInstallation()
{
    // Before anything else: a request that is left would fail, and quit the application, at every start.
    PendingUpdate::forgetInstallRequest();
    if (!d->onAppStart)
        return;
    d->pending.clear();
    processQuit();
}

void CAppUpdateWorker::onAboutToQuit()
{
    d->isQuitting = true;
    d->leaveForNextStart();
    // Seen only by an application that calls exec() again.
    QMetaObject::invokeMethod(
        this, [this] { d->isQuitting = false; }, Qt::QueuedConnection);
}
