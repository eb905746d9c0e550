#include "gui/update/install/CTaskInstallProductUpdate.h"

#include "gui/frame/Application.h"
#include "gui/frame/GUI.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/messages/CTaskQuestion.h"
#include "gui/tasks/TaskIds.h"
#include "gui/tasks/download/CTaskInteractiveDownload.h"
#include "gui/update/dialogs/CConfirmUpdateInstallationDialog.h"
#include "gui/update/dialogs/CUpdateDialog.h"
#include "gui/update/dialogs/UpdateDialogLook_p.h"
#include "gui/update/install/PackageCheck_p.h"
#include "gui/update/install/StalePackages_p.h"
#include "gui/update/install/UpdaterRun_p.h"
#include "gui/update/record/UpdateUrl_p.h"
#include "gui/update/record/UpgradeUtils.h"
#include "gui/window/CBaseDialog.h"

#include <QDir>
#include <QFileInfo>
#include <QPointer>

#include <utility>

namespace {

const char logTag[] = "[APP_UPDATE]";

void raise(QWidget *window)
{
    window->raise();
    window->activateWindow();
}

} // namespace

class CTaskInstallProductUpdate::Private
{
public:
    explicit Private(CTaskInstallProductUpdate *owner)
        : q(owner)
    { }

    QString path() const { return info.download.destinationFilePath(); }
    bool hasPackage() const { return QFileInfo(path()).isFile(); }

    void open(CBaseDialog *window, const char *answerSlot);
    void takeOffer(int answer);
    void ask(KOV_RESULT code, const QStringList &parameters,
             void (CTaskInstallProductUpdate::*answered)(KOV_RESULT, Messaging::ButtonID));
    void confirmCancelSmartInstall();
    /// Runs the step under way again, with others before it.
    void repeat(const QList<int> &before = QList<int>());
    void failInstallation(KOV_RESULT result, const QString &reason, bool mayRetry);
    void failUnverifiable();
    void launchUpdater(const QString &updaterPath);

    void closeDialog();
    void release();

    CTaskInstallProductUpdate *const q;
    CProductUpdateInfo info;
    TaskParams params;
    UserChoice choice = NotAsked;
    QPointer<CBaseDialog> dialog;
    QPointer<CTaskInteractiveDownload> download;
    PackageCheck packageCheck{nullptr};
    UpdaterRun updater;
    bool downloadsInBackground = false;
    bool downloaded = false;
    bool userSawDownload = false;
    bool terminating = false;
    bool confirmsInstall = true;
    bool installed = false;

    CTaskQuestion question{UpgradeUtils::messageIssuer()};
    /// What the task ends with after the message about a failure.
    KOV_RESULT resultAfterMessage = KOV_SUCCESS;
    bool mayRetry = false;
};

void CTaskInstallProductUpdate::Private::open(CBaseDialog *window, const char *answerSlot)
{
    dialog = window;
    QObject::connect(window, SIGNAL(finished(int)), q, answerSlot);
    q->setWaitForSubTaskCompletion();
    window->open();
    raise(window);
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
    message.setLongMsgParams(parameters);
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
    failInstallation(
        KOV_ERR_FAILURE,
        CTaskInstallProductUpdate::tr("The update server does not tell how to verify that the update is "
                                      "complete. Look for updates again later."),
        false);
}

void CTaskInstallProductUpdate::Private::launchUpdater(const QString &updaterPath)
{
    CTaskLaunchUpdater *launcher = updater.create(updaterPath, path(), q);
    if (!params.onAppStart)
        updater.showProgress();
    QObject::connect(launcher, &CAbstractTask::taskFinished, q,
                     &CTaskInstallProductUpdate::onUpdateInstallationFinished);
    q->attachChildTask(launcher);
    UpgradeUtils::setUpdateHandedOver(info);
    launcher->execute();
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
        raise(d->dialog);
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

KOV_RESULT CTaskInstallProductUpdate::removeOldUpdates()
{
    const QFileInfo package(d->path());
    if (d->path().isEmpty())
        return KOV_SUCCESS;
    QDir folder(package.absolutePath());
    const QStringList names = folder.entryList(QDir::Files | QDir::Hidden | QDir::NoSymLinks);
    for (const QString &name : StalePackages::among(names, package.fileName())) {
        const bool removed = folder.remove(name);
        KOV_LOG_TAG(logTag, 2, "Remove unneeded update [%s]: %s",
                    KovGui::logText(folder.filePath(name)).constData(), removed ? "OK" : "FAILED");
    }
    return KOV_SUCCESS;
}

KOV_RESULT CTaskInstallProductUpdate::confirmUpdateDownload()
{
    auto *window = new CUpdateDialog(d->params.smartInstall ? CUpdateDialog::DownloadAndInstall
                                                            : CUpdateDialog::Download);
    window->setNotificationFor(d->info);
    d->open(window, SLOT(onConfirmUpdateDownloadAnswered(int)));
    return KOV_SUCCESS;
}

void CTaskInstallProductUpdate::onConfirmUpdateDownloadAnswered(int answer)
{
    d->takeOffer(answer);
}

KOV_RESULT CTaskInstallProductUpdate::downloadUpdate()
{
    if (d->path().isEmpty()) {
        KOV_LOG_TAG(logTag, 0, "(!)Error: the update [%s] names no package that can be downloaded.",
                    UpdateUrl::forLog(d->info.download.url).constData());
        return KOV_ERR_FAILURE;
    }
    const bool background = d->downloadsInBackground;
    if (!PackageCheck::isPossible(d->info.download)) {
        if (background)
            return KOV_ERR_FAILURE;
        setWaitForSubTaskCompletion();
        d->failUnverifiable();
        return KOV_SUCCESS;
    }
    setWaitForSubTaskCompletion();
    UpgradeUtils::setDownloadingUpdateInBackground(background);
    d->download
        = new CTaskInteractiveDownload(d->info.download, d->info.download.md5, background, !background);
    d->download->setParent(this);
    connect(d->download, &CAbstractTask::taskFinished, this,
            &CTaskInstallProductUpdate::onUpdateDownloadFinished);
    attachChildTask(d->download);
    d->download->execute();
    return KOV_SUCCESS;
}

void CTaskInstallProductUpdate::onUpdateDownloadFinished(KOV_RESULT result)
{
    d->download->disconnect(this);
    d->download->deleteLater();
    d->download.clear();
    // Cut off by the application's end it goes on at the next start.
    if (d->terminating)
        return;
    if (d->downloadsInBackground)
        UpgradeUtils::setDownloadingUpdateInBackground(false);
    if (result == KOV_ERR_CANCELLED) {
        d->choice = Cancel;
        if (d->params.smartInstall) {
            d->confirmCancelSmartInstall();
            return;
        }
    }
    d->downloaded = KOV_SUCCEEDED(result);
    d->userSawDownload = !d->downloadsInBackground;
    subTaskCompleted(KOV_SUCCEEDED(result) ? KOV_SUCCESS : result);
}

void CTaskInstallProductUpdate::onConfirmCancelSmartInstallAnswered(KOV_RESULT, Messaging::ButtonID answer)
{
    if (answer == Messaging::Button1) {
        d->choice = Cancel;
        subTaskCompleted(KOV_ERR_CANCELLED);
    } else {
        d->repeat();
    }
}

KOV_RESULT CTaskInstallProductUpdate::confirmUpdateInstall()
{
    // Nothing is there to be offered; the installation sees to that.
    if (!d->hasPackage())
        return KOV_SUCCESS;
    if (d->userSawDownload) {
        auto *window = new CConfirmUpdateInstallationDialog;
        setDescription(window);
        d->open(window, SLOT(onConfirmUpdateInstallSimpleAnswered(int)));
        return KOV_SUCCESS;
    }
    auto *window = new CUpdateDialog(CUpdateDialog::Install);
    window->setNotificationFor(d->info);
    d->open(window, SLOT(onConfirmUpdateInstallAnswered(int)));
    return KOV_SUCCESS;
}

void CTaskInstallProductUpdate::onConfirmUpdateInstallAnswered(int answer)
{
    d->takeOffer(answer);
}

void CTaskInstallProductUpdate::onConfirmUpdateInstallSimpleAnswered(int answer)
{
    d->takeOffer(answer);
}

KOV_RESULT CTaskInstallProductUpdate::checkRunningApps()
{
    const QStringList apps = criticalApps();
    if (apps.isEmpty())
        return KOV_SUCCESS;
    setWaitForSubTaskCompletion();
    d->ask(KOV_QUESTION_CLOSE_APPLICATIONS, {apps.join(QLatin1Char('\n'))},
           &CTaskInstallProductUpdate::onCheckRunningAppsAnswered);
    return KOV_SUCCESS;
}

void CTaskInstallProductUpdate::onCheckRunningAppsAnswered(KOV_RESULT, Messaging::ButtonID answer)
{
    onCheckRunningAppsFinished(answer);
}

void CTaskInstallProductUpdate::onCheckRunningAppsFinished(int answer)
{
    if (answer == Messaging::Button1) {
        d->repeat();
        return;
    }
    d->choice = Cancel;
    subTaskCompleted(KOV_ERR_CANCELLED);
}

KOV_RESULT CTaskInstallProductUpdate::installUpdate()
{
    if (!criticalApps().isEmpty()) {
        prependSubTask(InstallUpdate);
        prependSubTask(CheckRunningApps);
        return KOV_SUCCESS;
    }
    setWaitForSubTaskCompletion();
    if (!PackageCheck::isPossible(d->info.download)) {
        d->failUnverifiable();
        return KOV_SUCCESS;
    }
    if (!d->hasPackage() && !d->downloaded) {
        d->downloadsInBackground = false;
        d->repeat({DownloadUpdate});
        return KOV_SUCCESS;
    }
    d->packageCheck.start(d->info.download);
    return KOV_SUCCESS;
}

void CTaskInstallProductUpdate::onPackageChecked(bool isIntact)
{
    if (!isIntact) {
        d->ask(d->downloaded ? KOV_QUESTION_DOWNLOAD_DAMAGED : KOV_QUESTION_EXISTING_FILE_DAMAGED,
               {d->info.download.destinationFileName()}, &CTaskInstallProductUpdate::onDownloadRetryAnswered);
        return;
    }
    QString updateMode;
    const QString updaterPath = KovGui::getUpdaterFilePathAndUpdateMode(updateMode, QStringLiteral("ctl"));
    if (!QFileInfo(updaterPath).isFile()) {
        KOV_LOG_TAG(logTag, 0, "An updater file %s is not found.", KovGui::logText(updaterPath).constData());
        d->failInstallation(KOV_ERR_UPDATER_MISSING, QString(), false);
        return;
    }
    d->launchUpdater(updaterPath);
}

void CTaskInstallProductUpdate::onDownloadRetryAnswered(KOV_RESULT, Messaging::ButtonID answer)
{
    if (answer != Messaging::Button1) {
        subTaskCompleted(KOV_ERR_FAILURE);
        return;
    }
    d->downloadsInBackground = false;
    d->repeat({DownloadUpdate});
}

void CTaskInstallProductUpdate::onUpdateInstallationFinished(KOV_RESULT result)
{
    const UpdaterRun::Outcome outcome = d->updater.take(result);
    d->installed = outcome.isInstalled;
    if (d->installed)
        subTaskCompleted(KOV_SUCCESS);
    else if (d->terminating)
        subTaskCompleted(KOV_ERR_UPDATE_INSTALLATION_FAILED);
    else
        d->failInstallation(KOV_ERR_UPDATE_INSTALLATION_FAILED, outcome.reason, true);
}

void CTaskInstallProductUpdate::onInstallationErrorClosed(KOV_RESULT, Messaging::ButtonID answer)
{
    if (d->mayRetry && answer == Messaging::Button1)
        d->repeat();
    else
        subTaskCompleted(d->resultAfterMessage);
}
