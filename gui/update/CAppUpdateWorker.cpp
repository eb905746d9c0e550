#include "gui/update/CAppUpdateWorker.h"

#include "abstract_task/CTaskManager.h"
#include "gui/frame/Application.h"
#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/messages/CMessageManager.h"
#include "gui/update/CAppUpdateLogic.h"
#include "gui/update/CheckSchedule_p.h"
#include "gui/update/check/CTaskCheckForProductUpdate.h"
#include "gui/update/install/CTaskInstallProductUpdate.h"
#include "gui/update/record/UpdateSettings_p.h"
#include "gui/update/record/UpgradeUtils.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QPointer>
#include <QProcess>
#include <QSettings>
#include <QTimer>

#include <utility>

namespace {

const char logTag[] = "[APP_UPDATE]";

const int nothingPending = -1;
const int soonAfterStart = 3000;
const int afterStart = 5 * 60 * 1000;
const int millisecondsPerMinute = 60 * 1000;
const int reminderTimeout = 10 * millisecondsPerMinute;

/// The check's messages have the same: one of either waits for the other.
QString messageIssuer()
{
    return QStringLiteral("ProductUpdate");
}

bool isOnDisk(const QString &packagePath)
{
    return !packagePath.isEmpty() && QFileInfo(packagePath).isFile();
}

void forgetInstallRequest()
{
    UpgradeUtils::setNeedToInstallUpdateOnAppStart(false, nothingPending, true);
}

void recordInstalled(const CProductUpdateInfo &info)
{
    QSettings settings;
    settings.setValue(UpdateSettings::installedUpdateType, int(info.updateType));
    settings.setValue(UpdateSettings::installedUpdateVersion, info.getVersion());
    if (info.isMajorUpgrade())
        settings.setValue(UpdateSettings::showWelcomeScreen, true);
}

} // namespace

class CAppUpdateWorker::Private
{
public:
    CAppUpdateLogic *logic = nullptr;
    bool onAppStart = false;
    CProductUpdateInfo pending;
    int pendingType = nothingPending;
    bool pendingFoundInBackground = false;
    bool pendingIsSmart = false;
    QPointer<CTaskInstallProductUpdate> task;
    QTimer *reminderTimer = nullptr;
    QTimer *checkTimer = nullptr;
    QTimer *startUpTimer = nullptr;

    QPointer<CTaskCheckForProductUpdate> check;
    QPointer<CTaskInstallProductUpdate> superseded;
    bool isWaitingForSuperseded = false;
    bool forceDownloadAfterSuperseded = false;
    bool confirmAfterSuperseded = false;
    CheckSchedule schedule;
    CProductUpdateInfo offeredMajor;
    bool isOfferingMajor = false;
    bool isQuitting = false;
    QString applicationPath;

    bool isPackageOnDisk() const
    {
        return isOnDisk(pending.download.destinationFilePath());
    }

    void load(CProductUpdateInfo::UpdateType type)
    {
        pending = CProductUpdateInfo(type);
        pending.load();
        ensureFolder();
    }

    void setPending(const CProductUpdateInfo &info, bool foundInBackground, bool isSmart)
    {
        pending = info;
        ensureFolder();
        pending.store();
        pendingType = info.updateType;
        pendingFoundInBackground = foundInBackground;
        pendingIsSmart = isSmart;
    }

    void ensureFolder()
    {
        if (pending.download.destinationDirectory.isEmpty() && !pending.download.url.isEmpty())
            pending.download.chooseDirectory(UpgradeUtils::updatesFolder());
    }

    void recordCheck(KOV_RESULT result)
    {
        schedule.checkEnded(result);
        if (KOV_FAILED(result))
            return;
        // What was interrupted is asked for anew; a download that follows sets it again.
        if (!task && UpgradeUtils::isDownloadingUpdateInBackground())
            UpgradeUtils::setDownloadingUpdateInBackground(false);
    }

    void leaveForNextStart()
    {
        isQuitting = true;
        schedule.takeBack();
        if (!task || task->isSmartInstallMode() || !isOnDisk(task->getInstallationPath()))
            return;
        UpgradeUtils::setDownloadingUpdateInBackground(false);
        UpgradeUtils::setNeedToInstallUpdateOnAppStart(true, task->updateInfo().updateType, true);
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
    if (UpgradeUtils::isUpdatesRestricted())
        return;

    d->load(CProductUpdateInfo::MinorUpdate);
    int type = nothingPending;
    if (!UpgradeUtils::isNeedToInstallUpdateOnAppStart(&type))
        return;
    const bool isMajor = type == CProductUpdateInfo::MajorUpgrade;
    KOV_LOG_TAG(logTag, 2, "%s update is pending for installation on app start", isMajor ? "MAJOR" : "MINOR");
    if (isMajor)
        d->load(CProductUpdateInfo::MajorUpgrade);
    d->pendingType = d->pending.updateType;
}

CAppUpdateWorker::~CAppUpdateWorker()
{
    d->leaveForNextStart();
    for (CAbstractTask *task :
         {static_cast<CAbstractTask *>(d->check.data()), static_cast<CAbstractTask *>(d->task.data())}) {
        if (!task)
            continue;
        task->disconnect(this);
        task->terminate(KOV_ERR_CANCELLED);
    }
    if (d->isOfferingMajor)
        CMessageManager::instance()->closeSpecificMessageBox(messageIssuer(),
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
    d->setPending(info, inBackground, isSmart);
    // An unattended installation asks its own question.
    installPendingUpdate(isSmart, !inBackground && !isSmart);
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
            CMessageManager::instance()->raiseSpecificMessageBox(messageIssuer(), code);
        return;
    }
    const QStringList own{KovGui::getAppGuiName(), info.getVersion()};
    MessageParams params(code);
    params.setIssuerId(messageIssuer())
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
    d->setPending(d->offeredMajor, false, false);
    installMajorUpdate();
}

KOV_RESULT CAppUpdateWorker::installUpdate(const CProductUpdateInfo &info, bool forceDownload, bool confirm)
{
    if (!UpgradeUtils::isUpdatesRestricted())
        d->setPending(info, false, false);
    return installPendingUpdate(forceDownload, confirm);
}

const CProductUpdateInfo *CAppUpdateWorker::pendingUpdateInfo() const
{
    return d->pendingType == nothingPending ? nullptr : &d->pending;
}

void CAppUpdateWorker::onInstallReminderTimeout()
{
    // Put off by the user: a download must not start now as if nobody had been asked.
    installPendingUpdate(false, true);
}

bool CAppUpdateWorker::isDownloadInBackgroundWanted() const
{
    return QSettings()
        .value(UpdateSettings::downloadAutomatically, isDownloadInBackgroundByDefault())
        .toBool();
}

KOV_RESULT CAppUpdateWorker::installPendingUpdate(bool forceDownload, bool confirm)
{
    if (UpgradeUtils::isUpdatesRestricted()) {
        KOV_LOG_TAG(logTag, 2, "In current application mode product upgrade not available.");
        return KOV_ERR_FAILURE;
    }
    if (d->pendingType == nothingPending) {
        KOV_LOG_TAG(logTag, 2, "No application update is currently pending for installation");
        return KOV_SUCCESS;
    }
    const bool isOnDisk = d->isPackageOnDisk();
    if (d->onAppStart && !isOnDisk && !d->task) {
        KOV_LOG_TAG(logTag, 0, "(!)Error: the package of the update to install at start is not there.");
        forgetInstallRequest();
        d->pendingType = nothingPending;
        return KOV_ERR_FAILURE;
    }
    const bool inBackground
        = !d->onAppStart && !forceDownload && !confirm && !isOnDisk && isDownloadInBackgroundWanted();
    if (d->isWaitingForSuperseded)
        return supersede(forceDownload, confirm);
    if (d->task) {
        const bool isOtherType = d->task->updateInfo().updateType != d->pending.updateType;
        if (isOtherType || (d->task->isInBackgroundDownload() && !inBackground))
            return supersede(forceDownload, confirm);
        KOV_LOG_TAG(logTag, 2, "A task to install product update is already running. Skip another install.");
        d->task->bringToFront();
        return KOV_ERR_IN_PROGRESS;
    }
    return startInstallation(inBackground, forceDownload, confirm);
}

/// The old utility may still write the file that the new one would continue, so the old task has to end first.
KOV_RESULT CAppUpdateWorker::supersede(bool forceDownload, bool confirm)
{
    d->forceDownloadAfterSuperseded |= forceDownload;
    d->confirmAfterSuperseded |= confirm;
    if (std::exchange(d->isWaitingForSuperseded, true))
        return KOV_ERR_IN_PROGRESS;
    d->superseded = std::exchange(d->task, nullptr);
    d->superseded->disconnect(this);
    connect(d->superseded, &CAbstractTask::taskFinished, this, &CAppUpdateWorker::onSupersededTaskEnded);
    connect(d->superseded, &QObject::destroyed, this, &CAppUpdateWorker::onSupersededTaskEnded);
    d->superseded->terminate(KOV_ERR_CANCELLED);
    return KOV_ERR_IN_PROGRESS;
}

void CAppUpdateWorker::onSupersededTaskEnded()
{
    if (!std::exchange(d->isWaitingForSuperseded, false))
        return;
    if (d->superseded)
        d->superseded->disconnect(this);
    d->superseded.clear();
    const bool forceDownload = std::exchange(d->forceDownloadAfterSuperseded, false);
    const bool confirm = std::exchange(d->confirmAfterSuperseded, false);
    if (!d->isQuitting)
        installPendingUpdate(forceDownload, confirm);
}

KOV_RESULT CAppUpdateWorker::startInstallation(bool inBackground, bool forceDownload, bool confirm)
{
    CTaskInstallProductUpdate::TaskParams params;
    params.onAppStart = d->onAppStart;
    params.downloadInBackground = inBackground;
    params.confirmDownload = confirm || (d->pendingFoundInBackground && !inBackground && !forceDownload);
    params.smartInstall = d->pendingIsSmart;
    auto *task = static_cast<CTaskInstallProductUpdate *>(
        KovGui::createRegistered("CTaskInstallProductUpdate", CTaskInstallProductUpdate::staticMetaObject,
                                 QArgument<CProductUpdateInfo>("const CProductUpdateInfo&", d->pending),
                                 QArgument<CTaskInstallProductUpdate::TaskParams>(
                                     "const CTaskInstallProductUpdate::TaskParams&", params)));
    if (!task) {
        if (d->onAppStart)
            forgetInstallRequest();
        return KOV_ERR_FAILURE;
    }
    stopInstallReminder();
    if (UpgradeUtils::isDownloadingUpdateInBackground() != inBackground)
        UpgradeUtils::setDownloadingUpdateInBackground(inBackground);
    d->task = task;
    task->setOption(CAbstractTask::DeleteWhenFinished, true);
    connect(task, &CAbstractTask::taskFinished, this, &CAppUpdateWorker::onTaskInstallUpdateFinished);
    task->execute();
    return task->isFinished() ? task->getResult() : KOV_ERR_IN_PROGRESS;
}

void CAppUpdateWorker::onTaskInstallUpdateFinished(KOV_RESULT result)
{
    const CTaskInstallProductUpdate *task = std::exchange(d->task, nullptr);
    if (!task)
        return;
    const QPointer<CAppUpdateWorker> guard(this);
    if (KOV_SUCCEEDED(result)) {
        UpgradeUtils::setDownloadingUpdateInBackground(false);
        forgetInstallRequest();
        recordInstalled(task->updateInfo());
        d->pendingType = nothingPending;
        stopInstallReminder();
    } else if (!d->isQuitting) {
        UpgradeUtils::setDownloadingUpdateInBackground(false);
        if (result == KOV_ERR_CANCELLED)
            followChoice(*task);
        else if (result != KOV_ERR_IN_PROGRESS)
            failInstallation();
    }
    if (guard)
        Q_EMIT d->logic->updateInstallFinished(result);
}

void CAppUpdateWorker::followChoice(const CTaskInstallProductUpdate &task)
{
    const CProductUpdateInfo info = task.updateInfo();
    switch (task.userChoice()) {
    case CTaskInstallProductUpdate::Postpone:
        if (isOnDisk(task.getInstallationPath()))
            UpgradeUtils::setNeedToInstallUpdateOnAppStart(true, info.updateType, true);
        startInstallReminder();
        break;
    case CTaskInstallProductUpdate::Skip:
        UpgradeUtils::setUpdateSkipped(info.transactionId, true);
        forgetInstallRequest();
        d->pendingType = nothingPending;
        stopInstallReminder();
        break;
    default:
        break;
    }
}

void CAppUpdateWorker::failInstallation()
{
    // Before anything else: a request that is left would fail, and quit the application, at every start.
    forgetInstallRequest();
    if (!d->onAppStart)
        return;
    d->pendingType = nothingPending;
    processQuit();
}

void CAppUpdateWorker::onAboutToQuit()
{
    d->leaveForNextStart();
}
