#include "gui/tasks/download/CTaskDownloadFile.h"

#include "abstract_task/CSlotInfo.h"
#include "abstract_task/CTaskManager.h"
#include "gui/frame/Application.h"
#include "gui/frame/GUI.h"
#include "gui/log/Log.h"
#include "gui/tasks/TaskIds.h"
#include "gui/tasks/download/CDownloadThread.h"
#include "gui/tasks/download/DownloadExitCode.h"
#include "gui/tasks/http/ProxyResult.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTimer>

namespace {

const int mostReconnects = 11;

int reconnectDelay(int reconnectCount)
{
    switch (reconnectCount) {
    case 1:
        return 5000;
    case 2:
        return 30000;
    case 3:
        return 60000;
    default:
        return 300000;
    }
}

/// The thread goes when it has ended; the GUI thread does not wait for the utility's death.
void abandon(CDownloadThread *thread)
{
    if (!QCoreApplication::instance()) {
        delete thread;
        return;
    }
    thread->disconnect();
    thread->setParent(QCoreApplication::instance());
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    thread->cancel();
    // It may have ended before the connection stood.
    if (!thread->isRunning())
        thread->deleteLater();
}

} // namespace

class CTaskDownloadFile::Private
{
public:
    Private(const QString &url, const QString &destination, DownloadOptions options)
        : url(url)
        , destination(destination)
        , options(options)
    { }

    const QString url;
    const QString destination;
    const DownloadOptions options;
    QPointer<CDownloadThread> thread;
    QNetworkProxy proxy;
    State state = NotStarted;
    int reconnectCount = 0;
    QTimer *reconnectTimer = nullptr;
    /// Of the last run that failed.
    QString lastPath;
    int lastError = 0;
    bool isCanceled = false;
    bool isReported = false;
    /// The time for a reconnect has come, but the thread is still on its way out.
    bool startsWhenThreadEnds = false;
};

CTaskDownloadFile::CTaskDownloadFile(const QString &url, const QString &destination, DownloadOptions options)
    : CAbstractTask(new CTaskId_DownloadFile(url, destination))
    , d(new Private(url, destination, options))
{
    qRegisterMetaType<DownloadProgressData>("DownloadProgressData");
    d->reconnectTimer = new QTimer(this);
    d->reconnectTimer->setObjectName(QStringLiteral("reconnectTimer"));
    d->reconnectTimer->setSingleShot(true);
    connect(d->reconnectTimer, &QTimer::timeout, this, &CTaskDownloadFile::onReconnectTimeout);
}

CTaskDownloadFile::~CTaskDownloadFile()
{
    endBeforeDestruction();
    releaseThread();
}

bool CTaskDownloadFile::isCanceled() const
{
    return d->isCanceled;
}

CTaskDownloadFile::State CTaskDownloadFile::state() const
{
    return d->state;
}

unsigned CTaskDownloadFile::type() const
{
    return GUI::TaskDownloadFile;
}

void CTaskDownloadFile::cancel()
{
    if (isFinished() || d->isCanceled)
        return;
    d->isCanceled = true;
    if (d->state == WaitingForReconnect)
        complete(d->lastPath, d->lastError, 1);
    else if (d->state == Downloading)
        d->thread->cancel();
    else if (getCurrentSubTask() == GetProxyInfo)
        subTaskCompleted(KOV_ERR_FAILURE);
}

KOV_RESULT CTaskDownloadFile::validateSubTask()
{
    return d->isCanceled ? KOV_ERR_FAILURE : CAbstractTask::validateSubTask();
}

void CTaskDownloadFile::finish(int result)
{
    const QPointer<CTaskDownloadFile> guard(this);
    d->reconnectTimer->stop();
    releaseThread();
    if (d->state != NotStarted)
        setState(Finished);
    if (guard)
        reportFinished(QString(), 0, 1);
    if (guard)
        CAbstractTask::finish(result);
}

KOV_RESULT CTaskDownloadFile::getProxyInfo()
{
    setWaitForSubTaskCompletion();
    const CSlotInfo whenFinished(this, &CTaskDownloadFile::onProxyDetectionFinished);
    // Not shared: it may ask for a password, and its question goes with the download.
    CAbstractTask *search
        = CTaskManager::instance()->runTask(new CTaskId_GetProxyInfo(d->url, true), whenFinished, false);
    if (search && !search->isFinished())
        attachChildTask(search);
    return KOV_SUCCESS;
}

void CTaskDownloadFile::onProxyDetectionFinished(KOV_RESULT result, CAbstractTask *task)
{
    // A cancel may have ended the task meanwhile.
    if (isFinished() || d->isCanceled)
        return;
    if (KOV_FAILED(result)) {
        KOV_LOG(0, "(!)Error: no proxy could be looked for [0x%08X], nothing is downloaded.",
                unsigned(result));
        const QPointer<CTaskDownloadFile> guard(this);
        reportFinished(QString(), 0, 1);
        if (guard)
            subTaskCompleted(result);
        return;
    }
    if (const auto *found = qobject_cast<ProxyResult *>(task))
        d->proxy = found->proxy();
    // That nobody had to be asked for credentials is no news of the download.
    subTaskCompleted(KOV_SUCCESS);
}

KOV_RESULT CTaskDownloadFile::download()
{
    setWaitForSubTaskCompletion();
    startDownload();
    return KOV_SUCCESS;
}

void CTaskDownloadFile::startDownload()
{
    if (!d->thread)
        createDownloadThread();
    d->thread->start(QThread::InheritPriority);
    setState(Downloading);
}

void CTaskDownloadFile::createDownloadThread()
{
    QString updateMode;
    const QString utility = KovGui::getUpdaterFilePathAndUpdateMode(updateMode, QStringLiteral("ctl"));
    d->thread = new CDownloadThread(
        {d->url, d->destination, utility, d->options.testFlag(BackgroundDownload), d->proxy}, this);
    connect(d->thread, &CDownloadThread::sendDownloadProgressData, this,
            &CTaskDownloadFile::sendDownloadProgressData);
    connect(d->thread, &CDownloadThread::downloadFinished, this, &CTaskDownloadFile::onDownloadFinished);
    connect(d->thread, &CDownloadThread::sendProgress, this, &CTaskDownloadFile::sendProgress);
    connect(d->thread, &QThread::finished, this, &CTaskDownloadFile::onThreadFinished);
}

void CTaskDownloadFile::onDownloadFinished(const QString &path, int errorCode, int canceled)
{
    if (d->state != Downloading)
        return;
    const bool isCanceled = canceled != 0 || d->isCanceled;
    if (!isCanceled && DownloadUtility::isWorthAnotherTry(DownloadUtility::ExitCode(errorCode))
        && d->options.testFlag(Reconnect) && d->reconnectCount < mostReconnects) {
        d->lastPath = path;
        d->lastError = errorCode;
        waitForReconnect();
        return;
    }
    complete(path, errorCode, isCanceled ? 1 : 0);
}

void CTaskDownloadFile::waitForReconnect()
{
    ++d->reconnectCount;
    d->reconnectTimer->start(reconnectDelay(d->reconnectCount));
    setState(WaitingForReconnect);
}

void CTaskDownloadFile::onReconnectTimeout()
{
    if (getCurrentSubTask() != Download || d->state != WaitingForReconnect)
        return;
    d->startsWhenThreadEnds = d->thread && d->thread->isRunning();
    if (!d->startsWhenThreadEnds)
        startDownload();
}

void CTaskDownloadFile::onThreadFinished()
{
    if (!d->startsWhenThreadEnds || d->state != WaitingForReconnect)
        return;
    d->startsWhenThreadEnds = false;
    startDownload();
}

void CTaskDownloadFile::complete(const QString &path, int errorCode, int canceled)
{
    const QPointer<CTaskDownloadFile> guard(this);
    setState(Finished);
    if (guard)
        reportFinished(path, errorCode, canceled);
    if (guard)
        subTaskCompleted(errorCode == 0 && canceled == 0 ? KOV_SUCCESS : KOV_ERR_FAILURE);
}

void CTaskDownloadFile::reportFinished(const QString &path, int errorCode, int canceled)
{
    if (d->isReported)
        return;
    d->isReported = true;
    Q_EMIT downloadFinished(path, errorCode, canceled);
}

void CTaskDownloadFile::releaseThread()
{
    if (d->thread)
        abandon(d->thread);
    d->thread = nullptr;
}

void CTaskDownloadFile::setState(State state)
{
    if (state == d->state)
        return;
    d->state = state;
    Q_EMIT stateChanged(state);
}
