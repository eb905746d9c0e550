#pragma once

#include "abstract_task/CAbstractTask.h"
#include "gui/KovGuiGlobal.h"
#include "gui/messages/CTaskQuestion.h"
#include "gui/tasks/download/FileDownloadInfo.h"

#include <memory>

/**
 * Downloads one file for a person: reuses what is there when its digest is right, learns digest and length,
 * sees that the disk has room, shows a window with pause, resume and cancel, and checks the finished file
 * against its digest. The bytes are fetched by CTaskDownloadFile, which waits for a lost connection and goes
 * on from its part file.
 *
 * In the background there is no window. A task that may not ask fails where the others ask. Questions and the
 * window go with the task; bringToFront() raises both.
 *
 * Ends with KOV_SUCCESS and a file whose digest is the expected one; KOV_ERR_CANCELLED when the user
 * cancelled, by the button or by closing the window; KOV_ERR_FAILURE when a check failed and the user did not
 * want another try, or may not be asked. It ends when the download utility is gone, so another one may start
 * at once; only a task that is deleted leaves it to die by itself. The part file is kept for a later run.
 *
 * The steps, in the order in which they run:
 * - ShowProgressDialog: over the active window. When that one is destroyed, the download is cancelled.
 * - PrepareDownload: the address is an open one (WebUtils::isOpenAddress()) and names a safe file, an
 * expected digest is one; the folder is made, and may be written to unless the file is there already.
 * - QueryDownloadContentChecksum: without an expected digest, the first word of the file at the address with
 * ".md5" appended (in front of its query). Without a digest nothing is downloaded.
 * - ValidateExistingFile: a file of that name and digest ends the task with success. Any other is put to the
 * user: "Try Again" removes it, anything else keeps it and fails. A task that may not ask removes it from a
 * folder inside the application's own data and cache folders; elsewhere it may be the user's, and gets
 * ".damaged" behind its name.
 * - QueryDownloadContentLength: a server that cannot say is no failure, nor is one that knows no HEAD (405,
 * 501).
 * - CheckFreeSpace: for the length, or FileDownloadInfo::size. Neither known: the transfer finds out.
 * - DownloadFile, ValidateDownloadedFile: a file with the wrong digest is removed.
 *
 * **Pause.** pause() ends the transfer under way, resume() runs its step again (and WaitForResume before it,
 * until the old utility is gone). A digest that is being computed and a request that was sent go on; what
 * follows waits. A check that fails in a pause is made again after it.
 *
 * GUI thread only.
 */
class KOVGUI_EXPORT CTaskInteractiveDownload : public CAbstractTask
{
    Q_OBJECT

public:
    enum TaskStep {
        WaitForResume = 0,
        ShowProgressDialog = 1,
        ValidateExistingFile = 2,
        PrepareDownload = 3,
        QueryDownloadContentChecksum = 4,
        QueryDownloadContentLength = 5,
        CheckFreeSpace = 6,
        DownloadFile = 7,
        ValidateDownloadedFile = 8,
    };
    Q_ENUM(TaskStep)

    /// @param expectedDigest  MD5, hexadecimal; empty: FileDownloadInfo::md5, and when that is empty as
    /// well, it is fetched from the address with ".md5" appended
    /// @param inBackground    no window, and the transfer gives way to other programs
    /// @param mayAskUser      failures become questions; false: they end the task
    CTaskInteractiveDownload(const FileDownloadInfo &info, const QString &expectedDigest, bool inBackground,
                             bool mayAskUser);
    ~CTaskInteractiveDownload() override;

    unsigned type() const override;
    /// With the digest and the size once they are known.
    FileDownloadInfo fileDownloadInfo() const;
    /// Whether the user is at the download's window, or was when it ended, so that what follows comes as
    /// asked for. Until the first progress nobody has turned away; in the background nobody watches.
    bool isWatched() const;
    void bringToFront() override;

protected:
    QList<int> getDefaultSubTaskList() const override;
    void pauseSubTask() override;
    void finish(int result) override;

private Q_SLOTS:
    void onDownloadFinished(QString path, int exitCode, int exitStatus);
    void onDownloadCancelClicked();
    void onDownloadPauseResumeClicked();
    void onQueryDownloadContentChecksumFinished(QString qsFilePath, int nExitCode, int nExitStatus);
    void onExistingFileMd5CalculationFinished(bool result, QString md5);
    void onQueryDownloadContentLengthFinished(KOV_RESULT rc);
    void onDownloadedFileMd5CalculationFinished(bool result, QString md5);
    void onRetryDownloadExistingFileAnswered(KOV_RESULT code, Messaging::ButtonID rc);
    void onRetryDownloadAnswered(KOV_RESULT code, Messaging::ButtonID rc, bool removeBrokenFile);
    void onRetryCurrentSubtaskAnswered(KOV_RESULT code, Messaging::ButtonID rc);
    void updateProgressDialog();

private:
    /// What follows an answer: the step again, or the download again with or without what came of it.
    CTaskQuestion::Answered retryStep();
    CTaskQuestion::Answered retryDownload(bool removeBrokenFile);

    Q_INVOKABLE KOV_RESULT waitForResume();
    Q_INVOKABLE KOV_RESULT showProgressDialog();
    Q_INVOKABLE KOV_RESULT validateExistingFile();
    Q_INVOKABLE KOV_RESULT prepareDownload();
    Q_INVOKABLE KOV_RESULT queryDownloadContentChecksum();
    Q_INVOKABLE KOV_RESULT queryDownloadContentLength();
    Q_INVOKABLE KOV_RESULT checkFreeSpace();
    Q_INVOKABLE KOV_RESULT downloadFile();
    Q_INVOKABLE KOV_RESULT validateDownloadedFile();

    /// Asks about the step under way; in a pause, or where nobody may be asked, it answers itself.
    void ask(const MessageParams &question, const CTaskQuestion::Answered &answered);
    void repeatCurrentStep();
    void startCalculation(void (CTaskInteractiveDownload::*whenFinished)(bool, QString));
    void stopTransfer();
    void onTransferGone();
    void askForSpace(const CTaskQuestion::Answered &answered, qint64 needed, qint64 free);
    void closeDialog();

    class Private;
    const std::unique_ptr<Private> d;
};
