#pragma once

#include "gui/tasks/download/CDownloadProgressDialog.h"
#include "gui/tasks/download/CMd5Calculator.h"
#include "gui/tasks/download/CTaskDownloadFile.h"
#include "gui/tasks/download/CTaskInteractiveDownload.h"
#include "gui/tasks/http/CTaskSendHttpRequest.h"

#include <QPointer>
#include <QTemporaryDir>

class CTaskInteractiveDownload::Private
{
public:
    void reportProgress(const DownloadProgressData &data);
    DownloadProgressData progressByFar() const;
    QString statusText(int step) const;
    bool isUsable() const;
    bool isFolderReady() const;
    CTaskDownloadFile *startTransfer(CTaskInteractiveDownload *q, const QString &url, const QString &folder,
                                     CTaskDownloadFile::DownloadOptions options);
    /// In any form, a dangling link included.
    bool isThere() const;
    void removeFile() const;

    FileDownloadInfo info;
    bool isInBackground = false;
    bool mayAskUser = false;
    bool isDigestGiven = false;
    bool isProgressKnown = false;
    bool wasWatched = false;

    QPointer<CDownloadProgressDialog> dialog;
    QPointer<CMd5Calculator> calculator;
    QPointer<CTaskSendHttpRequest> request;
    QPointer<CTaskDownloadFile> transfer;
    /// Not wanted any more, but its utility may still run.
    QPointer<CTaskDownloadFile> leaving;
    bool isWaitingForUtility = false;
    std::unique_ptr<QTemporaryDir> checksumFolder;

    /// Of an issuer of its own: its messages neither wait for others nor hold them up.
    CTaskQuestion question;

    bool isEnding = false;
    bool isDying = false;
    KOV_RESULT result = KOV_SUCCESS;
};
