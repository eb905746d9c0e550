#include "gui/update/install/CTaskInstallProductUpdate.h"

#include "gui/frame/Application.h"
#include "gui/frame/GUI.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/messages/CTaskQuestion.h"
#include "gui/tasks/TaskIds.h"
#include "gui/tasks/download/CMd5Calculator.h"
#include "gui/tasks/download/CTaskInteractiveDownload.h"
#include "gui/update/dialogs/CConfirmUpdateInstallationDialog.h"
#include "gui/update/dialogs/CUpdateDialog.h"
#include "gui/update/dialogs/UpdateDialogLook_p.h"
#include "gui/update/install/StalePackages_p.h"
#include "gui/update/launch/CTaskLaunchUpdater.h"
#include "gui/update/launch/UpdateCommand_p.h"
#include "gui/update/launch/UpdaterFault_p.h"
#include "gui/update/record/UpdateUrl_p.h"
#include "gui/update/record/UpgradeUtils.h"
#include "gui/window/CProgressDialog.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QIcon>
#include <QPointer>
#include <QRegularExpression>

#include <utility>

namespace {

const char logTag[] = "[APP_UPDATE]";

bool isDigest(const QString &text)
{
    static const QRegularExpression pattern(QStringLiteral("\\A[0-9A-Fa-f]{32}\\z"));
    return pattern.match(text).hasMatch();
}

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
    void showProgress();

    void closeWindow(QPointer<CBaseDialog> &window);
    void releaseLauncher();
    void release();

    CTaskInstallProductUpdate *const q;
    CProductUpdateInfo info;
    TaskParams params;
    UserChoice choice = NotAsked;
    QPointer<CBaseDialog> dialog;
    QPointer<CBaseDialog> progress;
    QPointer<CTaskInteractiveDownload> download;
    QPointer<CMd5Calculator> calculator;
    QPointer<CTaskLaunchUpdater> launcher;
    bool downloadsInBackground = false;
    bool downloaded = false;
    bool userSawDownload = false;
    bool terminating = false;

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
    closeWindow(dialog);
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
    CTaskLaunchUpdater::TaskParams launch;
    launch.commandLine = UpdateCommand::install(updaterPath, QFileInfo(path()).absoluteFilePath());
    KOV_LOG_TAG(logTag, 2, "Update install command: %s", UpdateUrl::forLog(launch.commandLine).constData());
    launcher = new CTaskLaunchUpdater(launch);
    launcher->setParent(q);
    if (!params.onAppStart)
        showProgress();
    QObject::connect(launcher, SIGNAL(taskFinished(KOV_RESULT)), q,
                     SLOT(onUpdateInstallationFinished(KOV_RESULT)));
    q->attachChildTask(launcher);
    launcher->execute();
}

void CTaskInstallProductUpdate::Private::showProgress()
{
    const QString appName = KovGui::getAppGuiName();
    auto *window = new CProgressDialog;
    window->setObjectName(QStringLiteral("UpdateInstallProgress"));
    window->setWindowTitle(appName);
    window->setWindowIcon(QApplication::windowIcon());
    window->setLabelText(CTaskInstallProductUpdate::tr("Installing the update of @@PRODUCT_NAME...")
                             .replace(QLatin1String("@@PRODUCT_NAME"), appName));
    window->setRange(0, 100);
    window->setValue(0);
    window->setCancelButtonVisible(false);
    QObject::connect(launcher, SIGNAL(progress(int)), window, SLOT(setValue(int)));
    progress = window;
    window->show();
}

void CTaskInstallProductUpdate::Private::closeWindow(QPointer<CBaseDialog> &window)
{
    if (!window)
        return;
    // It may be in the middle of telling that it was closed.
    window->disconnect(q);
    window->hide();
    window->deleteLater();
    window.clear();
}

void CTaskInstallProductUpdate::Private::releaseLauncher()
{
    if (!launcher)
        return;
    launcher->disconnect(q);
    launcher->deleteLater();
    launcher.clear();
}

void CTaskInstallProductUpdate::Private::release()
{
    closeWindow(dialog);
    closeWindow(progress);
    if (calculator) {
        calculator->disconnect(q);
        calculator->cancel();
    }
    if (download)
        download->disconnect(q);
    if (launcher)
        launcher->disconnect(q);
    question.close();
}

CTaskInstallProductUpdate::CTaskInstallProductUpdate(const CProductUpdateInfo &info, const TaskParams &params)
    : CAbstractTask(new CTaskId_InstallProductUpdate)
    , d(new Private(this))
{
    d->info = info;
    d->params = params;
    d->downloadsInBackground = params.downloadInBackground;
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
    else if (d->progress)
        raise(d->progress);
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
    if (!d->params.smartInstall)
        steps << ConfirmUpdateInstall;
    if (!criticalApps().isEmpty())
        steps << CheckRunningApps;
    return steps << InstallUpdate;
}

QList<int> CTaskInstallProductUpdate::getNonTerminatableSubTasks() const
{
    // The questions of that step may be cut.
    return d->launcher ? QList<int>{InstallUpdate} : QList<int>();
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
    if (!isDigest(d->info.download.md5)) {
        KOV_LOG_TAG(logTag, 0, "(!)Error: the update has no digest, so its package cannot be verified.");
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
    connect(d->download, SIGNAL(taskFinished(KOV_RESULT)), this, SLOT(onUpdateDownloadFinished(KOV_RESULT)));
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
    if (!isDigest(d->info.download.md5)) {
        KOV_LOG_TAG(logTag, 0, "(!)Error: the update has no digest, so its package cannot be verified.");
        d->failUnverifiable();
        return KOV_SUCCESS;
    }
    if (!d->hasPackage() && !d->downloaded) {
        d->downloadsInBackground = false;
        d->repeat({DownloadUpdate});
        return KOV_SUCCESS;
    }
    d->calculator = new CMd5Calculator(d->path(), this);
    connect(d->calculator, SIGNAL(finished(bool, QString)), this,
            SLOT(onPackageDigestCalculated(bool, QString)));
    d->calculator->start();
    return KOV_SUCCESS;
}

void CTaskInstallProductUpdate::onPackageDigestCalculated(bool ok, const QString &digest)
{
    if (!isRunning())
        return;
    if (!ok || digest.compare(d->info.download.md5, Qt::CaseInsensitive) != 0) {
        KOV_LOG_TAG(logTag, 0, "(!)Error: the package [%s] is damaged: its digest is [%s] instead of [%s].",
                    KovGui::logText(d->path()).constData(), qPrintable(digest),
                    qPrintable(d->info.download.md5));
        QFile::remove(d->path());
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
    const int exitCode = d->launcher->exitCode();
    const QProcess::ExitStatus exitStatus = d->launcher->exitStatus();
    KOV_LOG_TAG(logTag, 2,
                "Updater execution has finished with result [%d] exit code [%d] and exit status [%d]", result,
                exitCode, int(exitStatus));
    d->closeWindow(d->progress);
    d->releaseLauncher();
    // The exit code of a crash is the number of a signal.
    if (KOV_SUCCEEDED(result) && exitStatus == QProcess::NormalExit && exitCode == 0)
        subTaskCompleted(KOV_SUCCESS);
    else if (d->terminating)
        subTaskCompleted(KOV_ERR_UPDATE_INSTALLATION_FAILED);
    else
        d->failInstallation(KOV_ERR_UPDATE_INSTALLATION_FAILED,
                            UpdaterFault::explanation(result, exitCode, exitStatus), true);
}

void CTaskInstallProductUpdate::onInstallationErrorClosed(KOV_RESULT, Messaging::ButtonID answer)
{
    if (d->mayRetry && answer == Messaging::Button1)
        d->repeat();
    else
        subTaskCompleted(d->resultAfterMessage);
}
