#include "abstract_task/CTaskManager.h"
#include "gui/frame/Application.h"
#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/update/CAppUpdateLogic.h"
#include "gui/update/CAppUpdateWorker_p.h"
#include "gui/update/record/UpdatePreferences.h"
#include "gui/update/record/UpdateSettings_p.h"

#include <QCoreApplication>
#include <QFileInfo>
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

QStringList restartArguments(bool withArguments)
{
    return withArguments ? QCoreApplication::arguments().mid(1) : QStringList();
}

} // namespace

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
    d->retry = new DownloadRetry(this);
    connect(d->retry, &QTimer::timeout, this, [this] {
        if (isDownloadInBackgroundWanted())
            install({});
    });
    d->installation = new InstallationSlot(this);
    connect(d->installation, &InstallationSlot::finished, this,
            &CAppUpdateWorker::onTaskInstallUpdateFinished);
    connect(d->installation, &InstallationSlot::vacated, this, [this](const InstallRequest &next) {
        if (!d->isQuitting)
            install(next);
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
    KOV_LOG_TAG(logTag, 2, "About to restart application [%s]", KovGui::logText(program).constData());
    processQuit();
    if (!QProcess::startDetached(program, restartArguments(withArguments)))
        KOV_LOG_TAG(logTag, 0, "Failed to restart self");
}

void CAppUpdateWorker::restartOnTrial(bool withArguments)
{
    QString updateMode;
    const QString updater = KovGui::getUpdaterFilePathAndUpdateMode(updateMode, QStringLiteral("ctl"));
    if (!QFileInfo(updater).isExecutable()) {
        processRestart(QString(), withArguments);
        return;
    }
    KOV_LOG_TAG(logTag, 2, "About to restart application [%s] through [%s]",
                KovGui::logText(d->applicationPath).constData(), KovGui::logText(updater).constData());
    processQuit();
    const QStringList run{QStringLiteral("run"), d->applicationPath};
    if (!QProcess::startDetached(updater, run + restartArguments(withArguments)))
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
    d->retry->reset();
    d->pending.set(info, inBackground, isSmart);
    // An unattended installation asks its own question.
    install({isSmart, !inBackground && !isSmart, !inBackground});
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
    if (d->majorOffer.isOpen()) {
        if (!inBackground)
            d->majorOffer.raise();
        return;
    }
    const QStringList own{KovGui::getAppGuiName(), info.getVersion()};
    MessageParams params(code);
    params.setShortMsgParams(own + messageParameters(code, false))
        .setLongMsgParams(own + messageParameters(code, true))
        .setAskedFor(!inBackground);
    d->majorOffer.ask(params, [this](KOV_RESULT shown, Messaging::ButtonID answer) {
        onInstallMajorUpdateAnswered(shown, answer);
    });
}

void CAppUpdateWorker::onInstallMajorUpdateAnswered(KOV_RESULT, Messaging::ButtonID answer)
{
    if (answer != Messaging::Button1)
        return;
    d->pending.set(d->offeredMajor, false, false);
    installMajorUpdate();
}

void CAppUpdateWorker::onAboutToQuit()
{
    d->isQuitting = true;
    d->leaveForNextStart();
    // Seen only by an application that calls exec() again.
    QMetaObject::invokeMethod(
        this, [this] { d->isQuitting = false; }, Qt::QueuedConnection);
}
