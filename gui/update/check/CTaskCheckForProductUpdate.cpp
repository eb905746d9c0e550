#include "gui/update/check/CTaskCheckForProductUpdate.h"

#include "abstract_task/CTaskManager.h"
#include "gui/frame/Application.h"
#include "gui/frame/GUI.h"
#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/frame/LibraryVersion.h"
#include "gui/help/Help.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/messages/CSearchParentHelper.h"
#include "gui/messages/CTaskQuestion.h"
#include "gui/tasks/TaskIds.h"
#include "gui/update/check/UpdaterOutputUtils.h"
#include "gui/update/launch/CTaskLaunchUpdater.h"
#include "gui/update/launch/UpdateCommand_p.h"
#include "gui/update/launch/UpdaterExitCode.h"
#include "gui/update/launch/UpdaterFault_p.h"
#include "gui/update/record/CustomUpdateServerInfo.h"
#include "gui/update/record/UpdateUrl_p.h"
#include "gui/update/record/UpgradeUtils.h"
#include "gui/window/CProgressDialog.h"

#include <QApplication>
#include <QFileInfo>
#include <QIcon>
#include <QPointer>
#include <QTimer>
#include <QUrl>

#include <utility>

namespace {

const char logTag[] = "[APP_UPDATE]";
const char registryKey[] = "CTaskCheckForProductUpdate";

using Updater::ExitCode;

bool saysExitCode(int exitCode, ExitCode expected)
{
    return exitCode == int(expected);
}

CTaskCheckForProductUpdate *createRegistered(CTaskCheckForProductUpdate::Options options)
{
    return static_cast<CTaskCheckForProductUpdate *>(
        KovGui::createRegistered(registryKey, CTaskCheckForProductUpdate::staticMetaObject,
                                 Q_ARG(CTaskCheckForProductUpdate::Options, options)));
}

CTaskCheckForProductUpdate *runningCheck()
{
    return qobject_cast<CTaskCheckForProductUpdate *>(
        CTaskManager::instance()->getTaskById(CTaskId_CheckForProductUpdate()));
}

void callWhenFinished(CAbstractTask *task, const CSlotInfo &onFinished)
{
    if (onFinished.isEmpty())
        return;
    QObject::connect(task, &CAbstractTask::taskFinished, task,
                     [task, onFinished](KOV_RESULT result) { onFinished.invoke(result, task); });
}

void refuse(const CSlotInfo &onFinished)
{
    if (onFinished.isEmpty())
        return;
    QTimer::singleShot(
        0, qApp, [onFinished] { onFinished.invoke(KOV_ERR_FAILURE, static_cast<CAbstractTask *>(nullptr)); });
}

} // namespace

class CTaskCheckForProductUpdate::Private
{
public:
    explicit Private(CTaskCheckForProductUpdate *owner)
        : q(owner)
    { }

    CTaskCheckForProductUpdate *const q;
    std::unique_ptr<CProductUpdateInfo> updateInfo;
    QPointer<CProgressDialog> progress;
    Options options;
    QPointer<CTaskLaunchUpdater> launcher;
    QString catalogueUrl;
    QString commandLine;
    CTaskQuestion question{UpgradeUtils::messageIssuer()};

    void hideProgress()
    {
        if (!progress)
            return;
        // The window may be in the middle of telling that it was cancelled.
        progress->disconnect(q);
        progress->hide();
        progress->deleteLater();
        progress.clear();
    }

    void releaseLauncher()
    {
        if (!launcher)
            return;
        launcher->disconnect(q);
        if (launcher->isRunning())
            launcher->terminate(KOV_ERR_CANCELLED);
        launcher->deleteLater();
        launcher.clear();
    }

    void release()
    {
        releaseLauncher();
        hideProgress();
        question.close();
    }
};

CTaskCheckForProductUpdate *CTaskCheckForProductUpdate::start(Options options, const CSlotInfo &onFinished)
{
    if (UpgradeUtils::isUpdatesRestricted()) {
        KOV_LOG_TAG(logTag, 2, "In current application mode check for updates not available.");
        refuse(onFinished);
        return nullptr;
    }
    if (CTaskCheckForProductUpdate *running = runningCheck()) {
        KOV_LOG_TAG(logTag, 2, "A task to check for product updates is already running. Skip another check.");
        callWhenFinished(running, onFinished);
        if (!options.testFlag(CheckInBackground)) {
            running->setCheckInBackground(false);
            running->bringToFront();
        }
        return running;
    }
    CTaskCheckForProductUpdate *task = createRegistered(options);
    if (!task) {
        refuse(onFinished);
        return nullptr;
    }
    task->setOption(DeleteWhenFinished, true);
    callWhenFinished(task, onFinished);
    task->execute();
    return task;
}

CTaskCheckForProductUpdate::CTaskCheckForProductUpdate(Options options)
    : CAbstractTask(new CTaskId_CheckForProductUpdate)
    , d(new Private(this))
{
    d->options = options;
    KOV_LOG_TAG(logTag, 3, "CTaskCheckForProductUpdate %p created.", static_cast<void *>(this));
}

CTaskCheckForProductUpdate::~CTaskCheckForProductUpdate()
{
    endBeforeDestruction();
    KOV_LOG_TAG(logTag, 3, "CTaskCheckForProductUpdate %p destroyed.", static_cast<void *>(this));
}

unsigned CTaskCheckForProductUpdate::type() const
{
    return GUI::TaskCheckForProductUpdate;
}

bool CTaskCheckForProductUpdate::isCheckInBackground() const
{
    return d->options.testFlag(CheckInBackground);
}

bool CTaskCheckForProductUpdate::isSmartInstallMode() const
{
    return d->options.testFlag(SmartInstall);
}

bool CTaskCheckForProductUpdate::isInteractive() const
{
    return !isCheckInBackground() && !isSmartInstallMode();
}

void CTaskCheckForProductUpdate::setCheckInBackground(bool inBackground)
{
    if (inBackground || !isCheckInBackground())
        return;
    d->options.setFlag(CheckInBackground, false);
    if (isRunning() && !d->question.isOpen())
        showProgress();
}

const CProductUpdateInfo *CTaskCheckForProductUpdate::getUpdateInfo() const
{
    return d->updateInfo.get();
}

KOV_RESULT CTaskCheckForProductUpdate::getCustomUpdateServerUrl(QString &url)
{
    // Empty unless the policy names a server.
    url = CustomUpdateServerInfo::url();
    return KOV_SUCCESS;
}

void CTaskCheckForProductUpdate::bringToFront()
{
    if (d->question.isOpen()) {
        d->question.raise();
    } else if (d->progress) {
        d->progress->raise();
        d->progress->activateWindow();
    }
}

void CTaskCheckForProductUpdate::onLearnMoreClicked()
{
    Help::openWebPage(Help::localizedUrl(QStringLiteral(KOV_LEARN_MORE_URL)));
}

QList<int> CTaskCheckForProductUpdate::getDefaultSubTaskList() const
{
    return isCheckInBackground() ? QList<int>{CheckForUpdates} : QList<int>{ShowProgress, CheckForUpdates};
}

void CTaskCheckForProductUpdate::finish(int result)
{
    d->release();
    CAbstractTask::finish(result);
}

KOV_RESULT CTaskCheckForProductUpdate::showProgress()
{
    if (d->progress)
        return KOV_SUCCESS;
    auto *progress = new CProgressDialog;
    progress->setObjectName(QStringLiteral("UpdateCheckProgress"));
    progress->setWindowTitle(tr("%1 Update").arg(KovGui::getAppGuiName()));
    progress->setWindowIcon(QApplication::windowIcon());
    progress->setLabelText(tr("Checking for updates..."));
    progress->setModal(false);
    progress->setRange(0, 0);
    progress->setValue(0);
    progress->setCancelButtonVisible(!isSmartInstallMode());
    connect(progress, &CProgressDialog::canceled, this,
            &CTaskCheckForProductUpdate::onCheckForUpdatesCanceled);
    d->progress = progress;
    CSearchParentHelper::makeTransient(progress, d->question.issuer());
    progress->show();
    return KOV_SUCCESS;
}

KOV_RESULT CTaskCheckForProductUpdate::checkForUpdates()
{
    const bool appMode = UpgradeUtils::runUpdaterInAppMode();
    QString updateMode;
    const QString updaterPath = KovGui::getUpdaterFilePathAndUpdateMode(
        updateMode, appMode ? QStringLiteral("app") : QStringLiteral("ctl"));

    setWaitForSubTaskCompletion();
    if (!QFileInfo(updaterPath).isFile()) {
        KOV_LOG_TAG(logTag, 0, "An updater file %s is not found.", KovGui::logText(updaterPath).constData());
        completeWith(KOV_ERR_UPDATER_MISSING, isInteractive());
        return KOV_SUCCESS;
    }
    QString url;
    const KOV_RESULT urlResult = catalogueUrl(url);
    if (KOV_FAILED(urlResult))
        return urlResult;
    if (!url.isEmpty() && UpdateUrl::checked(url).isEmpty()) {
        KOV_LOG_TAG(logTag, 0, "(!)Error: the update catalogue's address [%s] cannot be used.",
                    UpdateUrl::forLog(url).constData());
        completeWith(KOV_ERR_UPDATER_FAILED, isInteractive(),
                     tr("The address of the update server, %1, cannot be used. Correct it in the settings.")
                         .arg(QString::fromUtf8(UpdateUrl::forLog(url))));
        return KOV_SUCCESS;
    }
    url = UpdateUrl::checked(url);
    d->catalogueUrl = url;
    d->commandLine = appMode ? UpdateCommand::checkInAppMode(updaterPath, url, isCheckInBackground())
                             : UpdateCommand::checkInControlMode(updaterPath, url);
    launch();
    return KOV_SUCCESS;
}

KOV_RESULT CTaskCheckForProductUpdate::catalogueUrl(QString &url)
{
    if (!isSmartInstallMode()) {
        const KOV_RESULT result = getCustomUpdateServerUrl(url);
        if (KOV_FAILED(result))
            return result;
    }
    if (url.isEmpty()) {
        url = UpgradeUtils::defaultCatalogueUrl(KovGui::applicationMode());
        KOV_LOG_TAG(logTag, 2, "Updater url = %s", UpdateUrl::forLog(url).constData());
    }
    return KOV_SUCCESS;
}

void CTaskCheckForProductUpdate::launch()
{
    KOV_LOG_TAG(logTag, 2, "Update command : %s", UpdateUrl::forLog(d->commandLine).constData());
    CTaskLaunchUpdater::TaskParams params;
    params.commandLine = d->commandLine;
    // A build without the class that finds proxies would only report, at every check, that there is none.
    if (KovGui::staticMetaObjectHash().contains(QStringLiteral("CTaskGetProxyInfo")))
        params.proxyUrl = d->catalogueUrl;
    params.mayAskForPassword = !isCheckInBackground();
    d->launcher = new CTaskLaunchUpdater(params);
    connect(d->launcher, &CAbstractTask::taskFinished, this,
            &CTaskCheckForProductUpdate::onCheckForUpdateFinished);
    d->launcher->execute();
}

void CTaskCheckForProductUpdate::onCheckForUpdateFinished(KOV_RESULT result)
{
    d->hideProgress();
    const int exitCode = d->launcher->exitCode();
    const QProcess::ExitStatus exitStatus = d->launcher->exitStatus();
    const QByteArray output = d->launcher->output();
    KOV_LOG_TAG(logTag, 2,
                "Updater execution has finished with result [%d] exit code [%d] and exit status [%d]", result,
                exitCode, int(exitStatus));
    d->releaseLauncher();

    // The exit code of a crash is the number of a signal.
    const bool ranToItsEnd = KOV_SUCCEEDED(result) && exitStatus == QProcess::NormalExit;
    if (ranToItsEnd && saysExitCode(exitCode, ExitCode::UpdateFound))
        takeUpdate(output);
    else if (ranToItsEnd && saysExitCode(exitCode, ExitCode::NoUpdate))
        completeWith(KOV_NO_UPDATE_AVAILABLE, isInteractive() && !d->options.testFlag(DoNotShowUpToDate),
                     QString::fromLatin1(LibraryVersion::text()));
    else if (ranToItsEnd && saysExitCode(exitCode, ExitCode::NoConnection))
        handleNoConnection();
    else
        completeWith(KOV_ERR_UPDATER_FAILED, isInteractive(),
                     UpdaterFault::explanation(result, exitCode, exitStatus));
}

void CTaskCheckForProductUpdate::takeUpdate(const QByteArray &output)
{
    KOV_LOG_TAG(logTag, 2, "UPDATE OUTPUT='%s'", UpdateUrl::forLog(QString::fromUtf8(output)).constData());
    auto info = std::make_unique<CProductUpdateInfo>(UpdaterOutputUtils::parse(output));
    if (info->download.url.isEmpty()) {
        KOV_LOG_TAG(logTag, 0, "(!)Error: the updater reported an update without telling its package.");
        completeWith(KOV_ERR_UPDATER_FAILED, isInteractive(),
                     UpdaterFault::explanation(int(ExitCode::BadCatalogue)));
        return;
    }
    d->updateInfo = std::move(info);
    subTaskCompleted(KOV_SUCCESS);
}

void CTaskCheckForProductUpdate::handleNoConnection()
{
    if (isSmartInstallMode()) {
        d->question.ask(MessageParams(KOV_QUESTION_NO_CONNECTION),
                        [this](KOV_RESULT code, Messaging::ButtonID answer) {
                            onNoConnectionQuestionClosed(code, answer);
                        });
        return;
    }
    const QString server = QUrl(d->catalogueUrl).host();
    completeWith(KOV_ERR_UPDATE_SERVER_NOT_REACHABLE, isInteractive(),
                 server.isEmpty() ? tr("The update server") : server);
}

void CTaskCheckForProductUpdate::completeWith(KOV_RESULT result, bool withMessage, const QString &reason)
{
    if (!withMessage) {
        subTaskCompleted(result);
        return;
    }
    d->hideProgress();
    MessageParams message(result);
    if (!reason.isEmpty())
        message.setLongMsgParams({reason});
    d->question.ask(message, [this, result](KOV_RESULT, Messaging::ButtonID) { subTaskCompleted(result); });
}

void CTaskCheckForProductUpdate::onNoConnectionQuestionClosed(KOV_RESULT, Messaging::ButtonID answer)
{
    if (answer != Messaging::Button1) {
        subTaskCompleted(KOV_ERR_UPDATE_SERVER_NOT_REACHABLE);
        return;
    }
    if (!isCheckInBackground())
        showProgress();
    launch();
}

void CTaskCheckForProductUpdate::onCheckForUpdatesCanceled()
{
    terminate(KOV_ERR_CANCELLED);
}
