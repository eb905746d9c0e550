#pragma once

#include "gui/tasks/download/CDownloadProgressDialog.h"
#include "gui/tasks/download/CMd5Calculator.h"
#include "gui/tasks/download/CTaskDownloadFile.h"
#include "gui/tasks/download/CTaskInteractiveDownload.h"
#include "gui/tasks/http/CTaskSendHttpRequest.h"

#include <QPointer>
#include <QTemporaryDir>
#include <QUuid>
#include <QVariant>

/// Answered by "Try Again" or anything else.
struct CTaskInteractiveDownload::Question
{
    KOV_RESULT code;
    const char *slot;
    QStringList params;
    QVariant slotParam = {};
    QString longText = {}; ///< instead of the catalogue's
};

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

    QPointer<CDownloadProgressDialog> dialog;
    QPointer<CMd5Calculator> calculator;
    QPointer<CTaskSendHttpRequest> request;
    QPointer<CTaskDownloadFile> transfer;
    /// Not wanted any more, but its utility may still run.
    QPointer<CTaskDownloadFile> leaving;
    bool isWaitingForUtility = false;
    std::unique_ptr<QTemporaryDir> checksumFolder;

    /// Of this task alone: its questions neither wait for others nor hold them up.
    const QString issuer = QUuid::createUuid().toString();
    /// The one that is open; 0: none.
    KOV_RESULT question = KOV_SUCCESS;

    bool isEnding = false;
    bool isDying = false;
    KOV_RESULT result = KOV_SUCCESS;
};
