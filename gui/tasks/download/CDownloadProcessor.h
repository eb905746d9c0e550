#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/tasks/download/DownloadProgressData.h"

#include <QNetworkProxy>
#include <QObject>
#include <QProcess>
#include <QString>

#include <atomic>
#include <memory>

/**
 * One run of the download utility (docs/reference/download-utility.md) as a child process: starts it, hands
 * it the proxy's password on standard input, turns what it prints into signals.
 *
 * Belongs to the thread that made it, and blocks it in run(); its signals come from within run().
 */
class KOVGUI_EXPORT CDownloadProcessor : public QObject
{
    Q_OBJECT

public:
    struct Request
    {
        QString url; ///< one that is not WebUtils::isOpenAddress() is refused
        QString destination; ///< an existing folder
        QString utilityPath;
        bool isBackground = false;
        /// Without a host: no proxy. User and password count only together with a host; a password with a
        /// line feed in it is refused.
        QNetworkProxy proxy;
    };

    /// What downloadFinished() tells in place of an exit code when the utility did not end by itself: it
    /// could not be started, it crashed, or it was killed.
    static const int noExitCode = -1;

    /// @param isCanceled  may be set by any thread at any time; outlives this object
    CDownloadProcessor(const Request &request, const std::atomic<bool> &isCanceled,
                       QObject *parent = nullptr);
    ~CDownloadProcessor() override;

    /// Downloads; returns after downloadFinished(), when the process is gone. Notices a cancel within a tenth
    /// of a second, whatever the utility does.
    void run();

Q_SIGNALS:
    void sendProgress(uint percent);
    /// At most fifty times a second, so that no utility floods the receiver's event queue; the last report
    /// comes in any case.
    void sendDownloadProgressData(DownloadProgressData data);
    /**
     * Once for each run().
     * @param path       of the finished file; empty when the address names no safe file
     * @param errorCode  the utility's exit code, 0 is success; or noExitCode
     * @param canceled   1 when it was canceled, else 0
     */
    void downloadFinished(QString path, int errorCode, int canceled);

private Q_SLOTS:
    void onReadyReadStandardOutput();
    void onReadyReadStandardError();
    void onFinished(int exitCode, QProcess::ExitStatus exitStatus);

private:
    bool isUsable() const;
    QStringList arguments() const;
    QByteArray commandForLog() const;
    bool waitForStarted();
    void writePassword();
    void killIfCanceled();
    void sendPendingProgress();
    void reportFinished(int errorCode);

    class Private;
    const std::unique_ptr<Private> d;
};
