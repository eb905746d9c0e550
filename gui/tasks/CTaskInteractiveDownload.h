#pragma once

#include "abstract_task/CAbstractTask.h"
#include "gui/KovGuiGlobal.h"
#include "gui/messages/Messaging.h"
#include "gui/tasks/FileDownloadInfo.h"

#include <memory>

/**
 * Downloads one file for a person: reuses what is there when its digest is right, learns digest and length, sees that
 * the disk has room, shows a window with pause, resume and cancel, and checks the finished file against its digest.
 * The bytes are fetched by CTaskDownloadFile.
 *
 * In the background there is no window. A task that may not ask fails where the others ask.
 *
 * Ends with KOV_SUCCESS and a file whose digest is the expected one; KOV_ERR_CANCELLED when the user cancelled;
 * KOV_ERR_FAILURE when a check failed and the user did not want another try, or may not be asked.
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

    /// @param expectedDigest  MD5, hexadecimal; empty: it is fetched from the address with ".md5" appended
    /// @param inBackground    no window, and the transfer gives way to other programs
    /// @param mayAskUser      failures become questions; false: they end the task
    CTaskInteractiveDownload(const FileDownloadInfo &info, const QString &expectedDigest, bool inBackground,
                             bool mayAskUser);
    ~CTaskInteractiveDownload() override;

    unsigned type() const override;
    FileDownloadInfo fileDownloadInfo() const;
    void bringToFront() override;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
