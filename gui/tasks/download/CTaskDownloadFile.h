#pragma once

#include "abstract_task/CAbstractTask.h"
#include "gui/KovGuiGlobal.h"
#include "gui/tasks/download/DownloadProgressData.h"

#include <QFlags>

#include <memory>

/**
 * Downloads a file with the download utility, through the proxy that CTaskGetProxyInfo finds, and on demand
 * tries again later when there is no connection. The bytes never pass through this process; what is fetched
 * so far stays in the part file (FileDownloadInfo), and a later task goes on from there.
 *
 * The utility is the program of the mode key "ctl" (KovGui::setUpdaterFilePathAndUpdateMode()).
 *
 * The result is KOV_SUCCESS; KOV_ERR_FAILURE when the download failed or was canceled; that of the search for
 * a proxy when it failed; or what the task was terminated with. Every task that was executed emits
 * downloadFinished() once, before taskFinished(): with an empty path, 0 and 1 when it ended before the
 * download began or was terminated. The file's content is not verified, see CMd5Calculator.
 *
 * Owned by its creator. It may be deleted at any time; the utility is gone soon after, at the latest when the
 * application object goes. GUI thread only.
 */
class KOVGUI_EXPORT CTaskDownloadFile : public CAbstractTask
{
    Q_OBJECT

public:
    enum TaskStep { GetProxyInfo = 0, Download = 1 };
    Q_ENUM(TaskStep)

    enum DownloadOption {
        /// After a failure that waiting may cure (no connection, interrupted), try again after 5, 30 and 60
        /// seconds, then every 5 minutes, eleven times in all. The timer is the child "reconnectTimer". A
        /// crash of the utility is no such failure.
        Reconnect = 1,
        /// Give way to other programs.
        BackgroundDownload = 2,
    };
    Q_DECLARE_FLAGS(DownloadOptions, DownloadOption)
    Q_FLAG(DownloadOptions)

    enum State {
        NotStarted = 0, ///< stays when the task ends without having started the utility
        Downloading = 1,
        Finished = 2,
        WaitingForReconnect = 3,
    };
    Q_ENUM(State)

    /// @param url          one that is not WebUtils::isOpenAddress() is refused
    /// @param destination  an existing folder
    CTaskDownloadFile(const QString &url, const QString &destination, DownloadOptions options);
    ~CTaskDownloadFile() override;

    /// Ends the download with KOV_ERR_FAILURE, whatever the state: at once, or when the utility is gone.
    /// Before execute(): the task ends at its first step. After the end it does nothing.
    void cancel();
    /// True after a cancel() that came before the end.
    bool isCanceled() const;
    State state() const;
    unsigned type() const override;

Q_SIGNALS:
    /// Only on a change.
    void stateChanged(State state);
    /// @param path       of the finished file
    /// @param errorCode  the utility's exit code, or -1 when it gave none: not started, crashed, killed
    /// @param canceled   1 when the task was canceled, else 0
    void downloadFinished(QString path, int errorCode, int canceled);
    void sendProgress(uint percent);
    void sendDownloadProgressData(DownloadProgressData data);

protected:
    KOV_RESULT validateSubTask() override;
    void finish(int result) override;

private Q_SLOTS:
    void onDownloadFinished(const QString &path, int errorCode, int canceled);
    void onProxyDetectionFinished(KOV_RESULT result, CAbstractTask *task);
    void onReconnectTimeout();

private:
    Q_INVOKABLE KOV_RESULT getProxyInfo();
    Q_INVOKABLE KOV_RESULT download();
    void startDownload();
    void createDownloadThread();
    void onThreadFinished();
    void waitForReconnect();
    void complete(const QString &path, int errorCode, int canceled);
    void reportFinished(const QString &path, int errorCode, int canceled);
    void releaseThread();
    void setState(State state);

    class Private;
    const std::unique_ptr<Private> d;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(CTaskDownloadFile::DownloadOptions)
