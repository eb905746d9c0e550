#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/messages/CSearchParentHelper.h"
#include "gui/tasks/download/CTaskInteractiveDownload_p.h"
#include "gui/tasks/download/DownloadChecks_p.h"
#include "gui/tasks/download/DownloadExitCode.h"
#include "gui/tasks/progress/FormatUtils.h"

#include <QDir>
#include <QNetworkReply>
#include <QStorageInfo>
#include <QUrl>

using KovGui::logText;

// The steps of the task, each with what follows it.

namespace {

const char tag[] = "[INTERACTIVE_DOWNLOAD]";

bool isTransferGood(int exitCode, int exitStatus)
{
    return exitCode == 0 && exitStatus == 0;
}

} // namespace

KOV_RESULT CTaskInteractiveDownload::waitForResume()
{
    if (d->leaving) {
        d->isWaitingForUtility = true;
        setWaitForSubTaskCompletion();
    }
    return KOV_SUCCESS;
}

KOV_RESULT CTaskInteractiveDownload::showProgressDialog()
{
    if (d->isInBackground) {
        KOV_LOG_TAG(tag, 2, "Download in background. Skip progress dialog appearance.");
        return KOV_SUCCESS;
    }
    CSearchParentHelper *helper = CSearchParentHelper::instance();
    d->dialog = new CDownloadProgressDialog(
        d->progressByFar(),
        helper ? helper->getParentForMessage(d->question.issuer(), true, nullptr) : nullptr);
    d->dialog->setFileName(d->info.destinationFileName());
    d->dialog->setStatusText(tr("Preparing..."));
    d->dialog->setOperation(this);
    connect(d->dialog, &QDialog::rejected, this, &CTaskInteractiveDownload::onDownloadCancelClicked);
    connect(d->dialog, &QObject::destroyed, this, [this] {
        // Only a plain widget is left of it.
        d->dialog.clear();
        onDownloadCancelClicked();
    });
    connect(d->dialog, &CDownloadProgressDialog::pauseResumeClicked, this,
            &CTaskInteractiveDownload::onDownloadPauseResumeClicked);
    // Nothing may be active for the moment between two windows.
    if (!d->dialog->parentWidget())
        CSearchParentHelper::makeTransient(d->dialog, d->question.issuer());
    d->dialog->show();
    return KOV_SUCCESS;
}

KOV_RESULT CTaskInteractiveDownload::prepareDownload()
{
    if (!d->isUsable())
        return KOV_ERR_FAILURE;
    if (d->isFolderReady())
        return KOV_SUCCESS;
    setWaitForSubTaskCompletion();
    ask(MessageParams(KOV_QUESTION_DOWNLOAD_FAILED)
            .setLongMsg(tr("The folder <b>%1</b> cannot be written to.")
                            .arg(d->info.destinationDirectory.toHtmlEscaped())),
        retryStep());
    return KOV_SUCCESS;
}

KOV_RESULT CTaskInteractiveDownload::queryDownloadContentChecksum()
{
    if (d->isDigestGiven) {
        KOV_LOG_TAG(tag, 2, "Expected content checksum is [%s]. Skipping checksum query.",
                    logText(d->info.md5).constData());
        return KOV_SUCCESS;
    }
    // A folder of its own: a file of that name in the destination may be the user's.
    d->checksumFolder = std::make_unique<QTemporaryDir>();
    if (!d->checksumFolder->isValid()) {
        KOV_LOG_TAG(tag, 0, "(!)Error: no temporary folder: %s",
                    logText(d->checksumFolder->errorString()).constData());
        return KOV_ERR_FAILURE;
    }
    setWaitForSubTaskCompletion();
    CTaskDownloadFile *transfer
        = d->startTransfer(this, DownloadChecks::checksumUrl(d->info.url), d->checksumFolder->path(), {});
    connect(transfer, &CTaskDownloadFile::downloadFinished, this,
            &CTaskInteractiveDownload::onQueryDownloadContentChecksumFinished);
    connect(transfer, &CTaskDownloadFile::sendDownloadProgressData, transfer,
            [transfer](const DownloadProgressData &data) {
                if (qMax(data.fileSize, data.downloadedBytes) > DownloadChecks::maximumChecksumFileSize)
                    transfer->cancel();
            });
    return KOV_SUCCESS;
}

void CTaskInteractiveDownload::onQueryDownloadContentChecksumFinished(QString qsFilePath, int nExitCode,
                                                                      int nExitStatus)
{
    d->transfer = nullptr;
    if (isTransferGood(nExitCode, nExitStatus))
        d->info.md5 = DownloadChecks::digestFromFile(qsFilePath);
    else
        KOV_LOG_TAG(tag, 0, "(!)Error: failed to fetch the checksum. Exit code = [%d]", nExitCode);
    d->checksumFolder.reset();
    if (!d->info.md5.isEmpty()) {
        subTaskCompleted(KOV_SUCCESS);
        return;
    }
    ask(MessageParams(KOV_QUESTION_DOWNLOAD_FAILED)
            .setLongMsg(
                tr("The checksum of <b>%1</b> could not be fetched, so the file could not be verified. "
                   "Check your Internet connection, and try again.")
                    .arg(d->info.destinationFileName().toHtmlEscaped())),
        retryStep());
}

KOV_RESULT CTaskInteractiveDownload::validateExistingFile()
{
    if (d->isThere())
        startCalculation(&CTaskInteractiveDownload::onExistingFileMd5CalculationFinished);
    return KOV_SUCCESS;
}

void CTaskInteractiveDownload::onExistingFileMd5CalculationFinished(bool result, QString md5)
{
    if (d->isEnding)
        return;
    if (result && md5 == d->info.md5) {
        KOV_LOG_TAG(tag, 2, "The file exists and is right, nothing is downloaded.");
        clearSubTaskList();
        subTaskCompleted(KOV_SUCCESS);
        return;
    }
    KOV_LOG_TAG(tag, 1, "The existing file [%s] has another checksum [%s] than expected [%s]",
                logText(d->info.destinationFilePath()).constData(), logText(md5).constData(),
                logText(d->info.md5).constData());
    if (d->mayAskUser) {
        ask(MessageParams(KOV_QUESTION_EXISTING_FILE_DAMAGED)
                .setLongMsgParams({d->info.destinationFileName()}),
            [this](KOV_RESULT code, Messaging::ButtonID rc) {
                onRetryDownloadExistingFileAnswered(code, rc);
            });
        return;
    }
    const bool isAway = DownloadChecks::removeOrPutAside(d->info.destinationFilePath());
    if (!isAway)
        KOV_LOG_TAG(tag, 0, "(!)Error: the existing file can be neither removed nor renamed.");
    subTaskCompleted(isAway ? KOV_SUCCESS : KOV_ERR_FAILURE);
}

void CTaskInteractiveDownload::onRetryDownloadExistingFileAnswered(KOV_RESULT, Messaging::ButtonID rc)
{
    if (rc == Messaging::Button1)
        d->removeFile();
    const bool isAway = !d->isThere();
    subTaskCompleted(rc == Messaging::Button1 && isAway ? KOV_SUCCESS : KOV_ERR_FAILURE);
}

KOV_RESULT CTaskInteractiveDownload::queryDownloadContentLength()
{
    QNetworkRequest request{QUrl(d->info.url)};
    request.setRawHeader("range", "bytes=0-");
    // A null one would remove the header.
    request.setRawHeader("If-Range", QByteArray(""));
    // The download utility follows them as well.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    d->request
        = new CTaskSendHttpRequest(request, QNetworkAccessManager::HeadOperation, nullptr, QByteArray());
    d->request->setParent(this);
    d->request->setOption(DeleteWhenFinished, true);
    connect(d->request, &CAbstractTask::taskFinished, this,
            &CTaskInteractiveDownload::onQueryDownloadContentLengthFinished);
    setWaitForSubTaskCompletion();
    d->request->execute();
    return KOV_SUCCESS;
}

void CTaskInteractiveDownload::onQueryDownloadContentLengthFinished(KOV_RESULT rc)
{
    const QNetworkReply *reply = d->request ? d->request->reply() : nullptr;
    d->request = nullptr;
    if (KOV_FAILED(rc) && !(reply && DownloadChecks::isHeadUnsupported(*reply))) {
        ask(MessageParams(KOV_QUESTION_DOWNLOAD_FAILED).setLongMsgParams({d->info.destinationFileName()}),
            retryStep());
        return;
    }
    const qint64 length = KOV_SUCCEEDED(rc) && reply ? DownloadChecks::contentLength(*reply) : -1;
    KOV_LOG_TAG(tag, 2, "Content length of the download content is %lld", length);
    if (length > 0)
        d->info.size = length;
    d->reportProgress(d->progressByFar());
    subTaskCompleted(KOV_SUCCESS);
}

KOV_RESULT CTaskInteractiveDownload::checkFreeSpace()
{
    const QStorageInfo storage(d->info.destinationDirectory);
    const qint64 free = storage.bytesAvailable();
    const qint64 byFar = d->info.downloadedByFar();
    KOV_LOG_TAG(
        tag, 2,
        "Calculating free disk space in [%s]. Available: %lld, Total expected: %lld, Downloaded by far: %lld",
        logText(d->info.destinationDirectory).constData(), free, d->info.size, byFar);
    if (!storage.isValid() || DownloadChecks::isSpaceEnough(free, d->info.size, byFar))
        return KOV_SUCCESS;
    KOV_LOG_TAG(tag, 0, "(!)Error: Not enough free disk space!");
    setWaitForSubTaskCompletion();
    askForSpace(retryStep(), d->info.size - byFar, free);
    return KOV_SUCCESS;
}

void CTaskInteractiveDownload::askForSpace(const CTaskQuestion::Answered &answered, qint64 needed,
                                           qint64 free)
{
    ask(MessageParams(KOV_QUESTION_NOT_ENOUGH_DISK_SPACE)
            .setLongMsgParams({QDir::toNativeSeparators(d->info.destinationDirectory),
                               FormatUtils::dataSize(needed), FormatUtils::dataSize(free)}),
        answered);
}

KOV_RESULT CTaskInteractiveDownload::downloadFile()
{
    // A pause may have come between the end of the transfer and the news of it.
    if (d->isThere())
        return KOV_SUCCESS;
    setWaitForSubTaskCompletion();
    CTaskDownloadFile::DownloadOptions options = CTaskDownloadFile::Reconnect;
    options.setFlag(CTaskDownloadFile::BackgroundDownload, d->isInBackground);
    CTaskDownloadFile *transfer = d->startTransfer(this, d->info.url, d->info.destinationDirectory, options);
    connect(transfer, &CTaskDownloadFile::sendDownloadProgressData, this,
            [this](const DownloadProgressData &data) { d->reportProgress(data); });
    connect(transfer, &CTaskDownloadFile::stateChanged, this,
            &CTaskInteractiveDownload::updateProgressDialog);
    connect(transfer, &CTaskDownloadFile::downloadFinished, this,
            &CTaskInteractiveDownload::onDownloadFinished);
    return KOV_SUCCESS;
}

void CTaskInteractiveDownload::onDownloadFinished(QString path, int exitCode, int exitStatus)
{
    KOV_LOG_TAG(tag, 2, "Downloaded file path = [%s]", logText(path).constData());
    KOV_LOG_TAG(tag, 2, "Process exit code = [%d]. Process exit status = [%d]", exitCode, exitStatus);
    if (isPaused()) {
        KOV_LOG_TAG(tag, 2, "Waiting for download to resume, skip download finish processing");
        return;
    }
    d->transfer = nullptr;
    if (isTransferGood(exitCode, exitStatus)) {
        subTaskCompleted(KOV_SUCCESS);
        return;
    }
    // Not by this task, which would not hear of it: the application ends, and there is nobody to ask.
    if (exitStatus != 0 && !path.isEmpty()) {
        subTaskCompleted(KOV_ERR_CANCELLED);
        return;
    }
    if (exitCode == int(DownloadUtility::ExitCode::DiskFull)) {
        const qint64 free = QStorageInfo(d->info.destinationDirectory).bytesAvailable();
        askForSpace(retryDownload(false), qMax(qint64(0), d->info.size - d->info.downloadedByFar()), free);
        return;
    }
    ask(MessageParams(KOV_QUESTION_DOWNLOAD_FAILED).setLongMsgParams({d->info.destinationFileName()}),
        retryDownload(false));
}

KOV_RESULT CTaskInteractiveDownload::validateDownloadedFile()
{
    startCalculation(&CTaskInteractiveDownload::onDownloadedFileMd5CalculationFinished);
    return KOV_SUCCESS;
}

void CTaskInteractiveDownload::onDownloadedFileMd5CalculationFinished(bool result, QString md5)
{
    if (d->isEnding)
        return;
    if (result && md5 == d->info.md5) {
        KOV_LOG_TAG(tag, 2, "Checksum [%s] validation completed successfully.", logText(md5).constData());
        subTaskCompleted(KOV_SUCCESS);
        return;
    }
    if (!result)
        KOV_LOG_TAG(tag, 0, "(!)Error: Failed to calculate MD5 checksum");
    else
        KOV_LOG_TAG(tag, 0, "(!)Error: MD5 checksum [%s] doesn't match to expected one [%s]",
                    logText(md5).constData(), logText(d->info.md5).constData());
    if (!d->mayAskUser && !isPaused())
        d->removeFile();
    ask(MessageParams(KOV_QUESTION_DOWNLOAD_DAMAGED).setLongMsgParams({d->info.destinationFileName()}),
        retryDownload(true));
}

CTaskQuestion::Answered CTaskInteractiveDownload::retryDownload(bool removeBrokenFile)
{
    return [this, removeBrokenFile](KOV_RESULT code, Messaging::ButtonID rc) {
        onRetryDownloadAnswered(code, rc, removeBrokenFile);
    };
}

void CTaskInteractiveDownload::onRetryDownloadAnswered(KOV_RESULT, Messaging::ButtonID rc,
                                                       bool removeBrokenFile)
{
    if (removeBrokenFile)
        d->removeFile();
    if (rc != Messaging::Button1) {
        subTaskCompleted(KOV_ERR_FAILURE);
        return;
    }
    if (getCurrentSubTask() == ValidateDownloadedFile) {
        insertAfterSubTask(ValidateDownloadedFile, ValidateDownloadedFile);
        insertAfterSubTask(ValidateDownloadedFile, DownloadFile);
        // The server may have a new file, with a new digest.
        if (!d->isDigestGiven) {
            d->info.md5.clear();
            insertAfterSubTask(ValidateDownloadedFile, QueryDownloadContentChecksum);
        }
        subTaskCompleted(KOV_SUCCESS);
        return;
    }
    repeatCurrentStep();
}

CTaskQuestion::Answered CTaskInteractiveDownload::retryStep()
{
    return [this](KOV_RESULT code, Messaging::ButtonID rc) { onRetryCurrentSubtaskAnswered(code, rc); };
}

void CTaskInteractiveDownload::onRetryCurrentSubtaskAnswered(KOV_RESULT, Messaging::ButtonID rc)
{
    if (rc == Messaging::Button1)
        repeatCurrentStep();
    else
        subTaskCompleted(KOV_ERR_FAILURE);
}
