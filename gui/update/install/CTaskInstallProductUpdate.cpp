#include "gui/frame/Application.h"
#include "gui/frame/GUI.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/messages/CSearchParentHelper.h"
#include "gui/tasks/TaskIds.h"
#include "gui/update/dialogs/CConfirmUpdateInstallationDialog.h"
#include "gui/update/dialogs/CUpdateDialog.h"
#include "gui/update/dialogs/UpdateDialogLook_p.h"
#include "gui/update/install/CTaskInstallProductUpdate_p.h"

#include <utility>

namespace {

const char logTag[] = "[APP_UPDATE]";

void raise(QWidget *window)
{
    window->raise();
    window->activateWindow();
}

} // namespace

void CTaskInstallProductUpdate::Private::open(CBaseDialog *window,
                                              void (CTaskInstallProductUpdate::*answered)(int))
{
    dialog = window;
    QObject::connect(window, &QDialog::finished, q, answered);
    // Whoever takes it away has closed it.
    const auto onGone = [this, answered] {
        if (!dialog && q->isRunning())
            (q->*answered)(QDialog::Rejected);
    };
    QObject::connect(window, &QObject::destroyed, q, onGone, Qt::QueuedConnection);
    q->setWaitForSubTaskCompletion();
    CSearchParentHelper::makeTransient(window, UpgradeUtils::messageIssuer());
    window->setAskedFor(params.askedFor);
    window->open();
    if (params.askedFor)
        window->present();
}

void CTaskInstallProductUpdate::Private::present(CBaseDialog *window)
{
    window->setAskedFor(true);
    window->present();
}

void CTaskInstallProductUpdate::Private::takeOffer(int answer)
{
    KOV_LOG_TAG(logTag, 2, "Install Update Answer: [%d]", answer);
    closeDialog();
    if (answer == CUpdateDialog::InstallNow) {
        choice = InstallNow;
        q->subTaskCompleted(KOV_SUCCESS);
    } else if (params.smartInstall) {
        confirmCancelSmartInstall();
    } else {
        choice = answer == CUpdateDialog::Skip ? Skip : Postpone;
        q->subTaskCompleted(KOV_ERR_CANCELLED);
    }
}

void CTaskInstallProductUpdate::Private::ask(KOV_RESULT code, const QStringList &parameters,
                                             void (CTaskInstallProductUpdate::*answered)(KOV_RESULT,
                                                                                         Messaging::ButtonID))
{
    MessageParams message(code);
    message.setLongMsgParams(parameters).setAskedFor(params.askedFor || choice == InstallNow);
    if (code == KOV_ERR_UPDATE_INSTALLATION_FAILED && !mayRetry)
        message.addButton(Messaging::Button1, {CTaskInstallProductUpdate::tr("OK"), QMessageBox::AcceptRole});
    question.ask(message, [this, answered](KOV_RESULT shown, Messaging::ButtonID answer) {
        (q->*answered)(shown, answer);
    });
}

void CTaskInstallProductUpdate::Private::confirmCancelSmartInstall()
{
    ask(KOV_QUESTION_CANCEL_SMART_INSTALL, QStringList(),
        &CTaskInstallProductUpdate::onConfirmCancelSmartInstallAnswered);
}

void CTaskInstallProductUpdate::Private::repeat(const QList<int> &before)
{
    q->prependSubTask(q->getCurrentSubTask());
    for (const int step : before)
        q->prependSubTask(step);
    q->subTaskCompleted(KOV_SUCCESS);
}

void CTaskInstallProductUpdate::Private::failInstallation(KOV_RESULT result, const QString &reason,
                                                          bool retry)
{
    resultAfterMessage = result;
    mayRetry = retry;
    const bool updaterMissing = result == KOV_ERR_UPDATER_MISSING;
    ask(updaterMissing ? result : KOV_ERR_UPDATE_INSTALLATION_FAILED, {reason},
        &CTaskInstallProductUpdate::onInstallationErrorClosed);
}

void CTaskInstallProductUpdate::Private::failUnverifiable()
{
    failInstallation(KOV_ERR_FAILURE,
                     CTaskInstallProductUpdate::tr(
                         "The update server does not tell how to verify that the update is complete. "
                         "Look for updates again later."),
                     false);
}

void CTaskInstallProductUpdate::Private::launchUpdater(const QString &updaterPath)
{
    CTaskLaunchUpdater *launcher = updater.create(updaterPath, path(), q);
    if (!params.onAppStart)
        updater.showProgress();
    UpgradeUtils::setUpdateHandedOver(info);
    (void)q->runChild(launcher, &CTaskInstallProductUpdate::onUpdateInstallationFinished);
}

void CTaskInstallProductUpdate::Private::closeDialog()
{
    if (!dialog)
        return;
    // It may be in the middle of telling that it was closed.
    dialog->disconnect(q);
    dialog->hide();
    dialog->deleteLater();
    dialog.clear();
}

void CTaskInstallProductUpdate::Private::release()
{
    closeDialog();
    updater.letGo();
    packageCheck.cancel();
    if (download)
        download->disconnect(q);
    question.close();
}

CTaskInstallProductUpdate::CTaskInstallProductUpdate(const CProductUpdateInfo &info, const TaskParams &params)
    : CAbstractTask(new CTaskId_InstallProductUpdate)
    , d(new Private(this))
{
    d->info = info;
    d->params = params;
    d->downloadsInBackground = params.downloadInBackground;
    connect(&d->packageCheck, &PackageCheck::finished, this, &CTaskInstallProductUpdate::onPackageChecked);
    if (info.download.destinationDirectory.isEmpty())
        d->info.download.chooseDirectory(UpgradeUtils::updatesFolder());
}

CTaskInstallProductUpdate::~CTaskInstallProductUpdate()
{
    endBeforeDestruction();
}

unsigned CTaskInstallProductUpdate::type() const
{
    return GUI::TaskInstallProductUpdate;
}

CProductUpdateInfo CTaskInstallProductUpdate::updateInfo() const
{
    return d->info;
}

CTaskInstallProductUpdate::TaskParams CTaskInstallProductUpdate::params() const
{
    return d->params;
}

CTaskInstallProductUpdate::UserChoice CTaskInstallProductUpdate::userChoice() const
{
    return d->choice;
}

bool CTaskInstallProductUpdate::isSmartInstallMode() const
{
    return d->params.smartInstall;
}

bool CTaskInstallProductUpdate::isInBackgroundDownload() const
{
    return isRunning() && d->downloadsInBackground && d->download;
}

bool CTaskInstallProductUpdate::isSilent() const
{
    return isRunning() && d->downloadsInBackground && !d->downloaded;
}

bool CTaskInstallProductUpdate::isOffering() const
{
    return d->dialog;
}

bool CTaskInstallProductUpdate::isInstalling() const
{
    return d->updater.isUnderWay();
}

bool CTaskInstallProductUpdate::isInstalled() const
{
    return d->installed;
}

void CTaskInstallProductUpdate::setConfirmInstall(bool confirm)
{
    d->confirmsInstall = confirm;
}

QString CTaskInstallProductUpdate::getInstallationPath() const
{
    return d->path();
}

void CTaskInstallProductUpdate::terminate(int result)
{
    d->terminating = true;
    CAbstractTask::terminate(result);
}

void CTaskInstallProductUpdate::bringToFront()
{
    if (d->question.isOpen())
        d->question.raise();
    else if (d->dialog)
        d->present(d->dialog);
    else if (d->updater.window())
        raise(d->updater.window());
    else
        CAbstractTask::bringToFront();
}

QStringList CTaskInstallProductUpdate::criticalApps() const
{
    return QStringList();
}

void CTaskInstallProductUpdate::setDescription(CConfirmUpdateInstallationDialog *dialog)
{
    const QString version = UpdateDialogLook::versionOf(d->info);
    if (!version.isEmpty())
        dialog->setDescription(
            tr("Version %2 of %1 is ready to be installed.").arg(KovGui::getAppGuiName(), version));
}

QList<int> CTaskInstallProductUpdate::getDefaultSubTaskList() const
{
    const bool absent = !d->hasPackage();
    QList<int> steps{RemoveOldUpdates};
    if (d->params.smartInstall)
        steps << ConfirmUpdateDownload;
    else if (!d->params.onAppStart && absent && d->params.confirmDownload)
        steps << ConfirmUpdateDownload;
    if (absent && (d->params.smartInstall || !d->params.onAppStart))
        steps << DownloadUpdate;
    if (!d->params.smartInstall && (d->confirmsInstall || !d->params.onAppStart))
        steps << ConfirmUpdateInstall;
    if (!criticalApps().isEmpty())
        steps << CheckRunningApps;
    return steps << InstallUpdate;
}

QList<int> CTaskInstallProductUpdate::getNonTerminatableSubTasks() const
{
    // The questions of that step may be cut.
    return d->updater.isUnderWay() ? QList<int>{InstallUpdate} : QList<int>();
}

void CTaskInstallProductUpdate::finish(int result)
{
    d->release();
    CAbstractTask::finish(result);
}
