#include "gui/tasks/download/CDownloadThread.h"

#include "gui/log/Log.h"

#include <QCoreApplication>

class CDownloadThread::Private
{
public:
    const CDownloadProcessor::Request request;
    std::atomic<bool> isCanceled{false};
    std::atomic<bool> isReported{false};
};

CDownloadThread::CDownloadThread(const CDownloadProcessor::Request &request, QObject *parent)
    : QThread(parent)
    , d(new Private{request})
{
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, [this] {
        cancel();
        wait();
    });
}

CDownloadThread::~CDownloadThread()
{
    d->isCanceled = true;
    wait();
}

void CDownloadThread::cancel()
{
    if (!d->isCanceled.exchange(true) && !d->isReported)
        KOV_LOG(2, "Download thread was canceled.");
}

bool CDownloadThread::isCanceled() const
{
    return d->isCanceled;
}

void CDownloadThread::run()
{
    qRegisterMetaType<QProcess::ExitStatus>("QProcess::ExitStatus");
    qRegisterMetaType<DownloadProgressData>("DownloadProgressData");
    CDownloadProcessor processor(d->request, d->isCanceled);
    connect(&processor, &CDownloadProcessor::sendProgress, this, &CDownloadThread::sendProgress,
            Qt::DirectConnection);
    connect(&processor, &CDownloadProcessor::sendDownloadProgressData, this,
            &CDownloadThread::sendDownloadProgressData, Qt::DirectConnection);
    connect(&processor, &CDownloadProcessor::downloadFinished, this, &CDownloadThread::downloadFinished,
            Qt::DirectConnection);
    d->isReported = false;
    connect(
        &processor, &CDownloadProcessor::downloadFinished, this, [this] { d->isReported = true; },
        Qt::DirectConnection);
    processor.run();
}
