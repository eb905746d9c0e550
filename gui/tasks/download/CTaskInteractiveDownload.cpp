#include "gui/tasks/download/CTaskInteractiveDownload.h"

#include "gui/frame/GUI.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/tasks/TaskIds.h"
#include "gui/tasks/download/CTaskInteractiveDownload_p.h"
#include "gui/tasks/download/DownloadChecks_p.h"
#include "gui/tasks/http/WebUtils.h"

#include <QDir>
#include <QFileInfo>
#include <QUrl>

using KovGui::logText;

namespace {

const char tag[] = "[INTERACTIVE_DOWNLOAD]";

} // namespace

void CTaskInteractiveDownload::Private::reportProgress(const DownloadProgressData &data)
{
    isProgressKnown = true;
    if (dialog)
        dialog->onDownloadProgressDataReceived(data);
}

DownloadProgressData CTaskInteractiveDownload::Private::progressByFar() const
{
    DownloadProgressData data;
    data.fileSize = info.size;
    data.downloadedBytes = info.downloadedByFar();
    if (data.fileSize > 0)
        data.progress = int(qMin(1.0, double(data.downloadedBytes) / double(data.fileSize)) * 100);
    return data;
}

QString CTaskInteractiveDownload::Private::statusText(int step) const
{
    switch (step) {
    case ValidateExistingFile:
    case ValidateDownloadedFile:
        return tr("Validating %1...").arg(info.destinationFileName());
    case DownloadFile:
        return transfer && transfer->state() == CTaskDownloadFile::WaitingForReconnect
                   ? tr("Waiting for the connection...")
                   : QString();
    case WaitForResume:
        if (isProgressKnown)
            return QString();
        break;
    default:
        break;
    }
    return tr("Preparing...");
}

bool CTaskInteractiveDownload::Private::isUsable() const
{
    if (!WebUtils::isOpenAddress(info.url) || info.destinationFileName().isEmpty()) {
        KOV_LOG_TAG(tag, 0, "(!)Error: the address names no file that can be downloaded: %s",
                    logText(WebUtils::maskedUrl(QUrl(info.url))).constData());
        return false;
    }
    if (isDigestGiven && DownloadChecks::digestFrom(info.md5.toLatin1()) != info.md5) {
        KOV_LOG_TAG(tag, 0, "(!)Error: the expected checksum is no MD5 digest: [%s]",
                    logText(info.md5).constData());
        return false;
    }
    return true;
}

bool CTaskInteractiveDownload::Private::isFolderReady() const
{
    const QString folder = info.destinationDirectory;
    // A file that is there may turn out to be the right one: nothing will be written then.
    if (QDir().mkpath(folder) && (QFileInfo(folder).isWritable() || isThere()))
        return true;
    KOV_LOG_TAG(tag, 0, "(!)Error: the folder [%s] cannot be made or written to.",
                logText(folder).constData());
    return false;
}

CTaskDownloadFile *
CTaskInteractiveDownload::Private::startTransfer(CTaskInteractiveDownload *q, const QString &url,
                                                 const QString &folder,
                                                 CTaskDownloadFile::DownloadOptions options)
{
    transfer = new CTaskDownloadFile(url, folder, options);
    transfer->setParent(q);
    transfer->setOption(DeleteWhenFinished, true);
    transfer->execute();
    return transfer;
}

bool CTaskInteractiveDownload::Private::isThere() const
{
    const QFileInfo file(info.destinationFilePath());
    return file.exists() || file.isSymLink();
}

void CTaskInteractiveDownload::Private::removeFile() const
{
    const QString path = info.destinationFilePath();
    if (isThere() && !QFile::remove(path))
        KOV_LOG_TAG(tag, 0, "(!)Error: failed to remove file [%s]", logText(path).constData());
}

CTaskInteractiveDownload::CTaskInteractiveDownload(const FileDownloadInfo &info,
                                                   const QString &expectedDigest, bool inBackground,
                                                   bool mayAskUser)
    : CAbstractTask(new CTaskId_InteractiveDownload(info.url, info.destinationDirectory))
    , d(new Private)
{
    d->info = info;
    d->info.chooseDirectory(QDir::homePath());
    d->info.md5 = (expectedDigest.isEmpty() ? info.md5 : expectedDigest).toLower();
    d->isDigestGiven = !d->info.md5.isEmpty();
    d->isInBackground = inBackground;
    d->mayAskUser = mayAskUser;
    connect(this, &CAbstractTask::subTaskStarted, this, &CTaskInteractiveDownload::updateProgressDialog);
}

CTaskInteractiveDownload::~CTaskInteractiveDownload()
{
    d->isDying = true;
    endBeforeDestruction();
}

unsigned CTaskInteractiveDownload::type() const
{
    return GUI::TaskInteractiveDownload;
}

FileDownloadInfo CTaskInteractiveDownload::fileDownloadInfo() const
{
    return d->info;
}

bool CTaskInteractiveDownload::isWatched() const
{
    return d->dialog ? !d->isProgressKnown || d->dialog->isActiveWindow() : d->wasWatched;
}

void CTaskInteractiveDownload::bringToFront()
{
    if (d->dialog) {
        d->dialog->setWindowState(d->dialog->windowState() & ~Qt::WindowMinimized);
        d->dialog->raise();
        d->dialog->activateWindow();
    }
    d->question.raise();
    CAbstractTask::bringToFront();
}

QList<int> CTaskInteractiveDownload::getDefaultSubTaskList() const
{
    // A file that is there can be judged only when its digest is known.
    return {ShowProgressDialog,
            PrepareDownload,
            QueryDownloadContentChecksum,
            ValidateExistingFile,
            QueryDownloadContentLength,
            CheckFreeSpace,
            DownloadFile,
            ValidateDownloadedFile};
}

void CTaskInteractiveDownload::pauseSubTask()
{
    if (!d->transfer)
        return;
    stopTransfer();
    updateProgressDialog();
    repeatCurrentStep();
}

void CTaskInteractiveDownload::finish(int result)
{
    if (d->isEnding)
        return;
    d->isEnding = true;
    d->question.close();
    closeDialog();
    if (d->calculator) {
        d->calculator->disconnect(this);
        d->calculator->cancel();
    }
    if (d->request) {
        d->request->disconnect(this);
        d->request->terminate(KOV_ERR_CANCELLED);
    }
    stopTransfer();
    if (d->leaving && !d->isDying) {
        d->result = result;
        return;
    }
    CAbstractTask::finish(result);
}

void CTaskInteractiveDownload::ask(const MessageParams &question, const CTaskQuestion::Answered &answered)
{
    if (isPaused()) {
        repeatCurrentStep();
        return;
    }
    if (!d->mayAskUser) {
        subTaskCompleted(KOV_ERR_FAILURE);
        return;
    }
    d->question.ask(MessageParams(question).setParent(d->dialog).setAskedFor(isWatched()), answered);
}

void CTaskInteractiveDownload::repeatCurrentStep()
{
    const int step = getCurrentSubTask();
    insertAfterSubTask(step, step);
    insertAfterSubTask(step, WaitForResume);
    subTaskCompleted(KOV_SUCCESS);
}

void CTaskInteractiveDownload::startCalculation(void (CTaskInteractiveDownload::*whenFinished)(bool, QString))
{
    setWaitForSubTaskCompletion();
    d->calculator = new CMd5Calculator(d->info.destinationFilePath(), this);
    connect(d->calculator, qOverload<bool, QString>(&CMd5Calculator::finished), this, whenFinished);
    d->calculator->start();
}

void CTaskInteractiveDownload::stopTransfer()
{
    if (!d->transfer)
        return;
    d->leaving = std::exchange(d->transfer, nullptr);
    // Its end must not be taken for that of the transfer that follows it.
    d->leaving->disconnect(this);
    connect(d->leaving, &CAbstractTask::taskFinished, this, &CTaskInteractiveDownload::onTransferGone);
    d->leaving->cancel();
}

void CTaskInteractiveDownload::onTransferGone()
{
    d->leaving = nullptr;
    if (d->isEnding && !isFinished() && !d->isDying)
        CAbstractTask::finish(d->result);
    else if (std::exchange(d->isWaitingForUtility, false))
        subTaskCompleted(KOV_SUCCESS);
}

void CTaskInteractiveDownload::closeDialog()
{
    if (!d->dialog)
        return;
    d->wasWatched = isWatched();
    d->dialog->disconnect(this);
    d->dialog->hide();
    d->dialog->deleteLater();
    d->dialog = nullptr;
}

void CTaskInteractiveDownload::onDownloadCancelClicked()
{
    terminate(KOV_ERR_CANCELLED);
}

void CTaskInteractiveDownload::onDownloadPauseResumeClicked()
{
    if (isPaused())
        resume();
    else
        pause();
}

void CTaskInteractiveDownload::updateProgressDialog()
{
    if (d->dialog)
        d->dialog->setStatusText(d->statusText(getCurrentSubTask()), getCurrentSubTask() == DownloadFile);
}
