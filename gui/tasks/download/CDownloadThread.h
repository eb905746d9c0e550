#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/tasks/download/CDownloadProcessor.h"

#include <QThread>

#include <memory>

/**
 * Runs the download utility on a thread of its own, once for each start(); start it anew only after its
 * finished().
 *
 * The destructor and the application's end (aboutToQuit) cancel and wait, about a tenth of a second, so
 * neither a running thread nor the utility is left behind. Lives on the GUI thread; the signals come from the
 * thread that it runs.
 */
class KOVGUI_EXPORT CDownloadThread : public QThread
{
    Q_OBJECT

public:
    explicit CDownloadThread(const CDownloadProcessor::Request &request, QObject *parent = nullptr);
    ~CDownloadThread() override;

    /// For good: a later start() reports a canceled download. From any thread; returns at once,
    /// downloadFinished() follows when the utility is gone.
    void cancel();
    bool isCanceled() const;

Q_SIGNALS:
    // See CDownloadProcessor.
    void sendProgress(uint percent);
    void sendDownloadProgressData(DownloadProgressData data);
    void downloadFinished(QString path, int errorCode, int canceled);

protected:
    void run() override;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
