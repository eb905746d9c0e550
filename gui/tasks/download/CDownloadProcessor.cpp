#include "gui/tasks/download/CDownloadProcessor.h"

#include "gui/log/ChildErrorLog.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/tasks/download/DownloadOutput_p.h"
#include "gui/tasks/download/FileDownloadInfo.h"
#include "gui/tasks/http/WebUtils.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QUrl>

namespace {

const int startLimit = 30000;
const int waitSlice = 100;
const int progressInterval = 20;

bool hasLineEnd(const QString &text)
{
    return text.contains(QLatin1Char('\n')) || text.contains(QLatin1Char('\r')) || text.contains(QChar(0));
}

QByteArray forLog(const QByteArray &text, const QString &url)
{
    return KovGui::logText(WebUtils::withMaskedUrls(QString::fromUtf8(text), QUrl(url)));
}

} // namespace

class CDownloadProcessor::Private
{
public:
    Private(const Request &request, const std::atomic<bool> &isCanceled)
        : request(request)
        , isCanceled(isCanceled)
        , errorLog(
              [url = request.url](const QByteArray &line) {
                  KOV_LOG(0, "\nDownloading standard error : \n%s", forLog(line, url).constData());
              },
              [](long long bytes) {
                  KOV_LOG(0, "\nDownloading standard error : \n%lld more bytes were not logged.", bytes);
              })
    { }

    const Request request;
    const std::atomic<bool> &isCanceled;
    QProcess *process = nullptr;
    DownloadOutput output;
    ChildErrorLog errorLog;
    QElapsedTimer lastProgress;
    bool isProgressPending = false;
    bool isKilled = false;
};

CDownloadProcessor::CDownloadProcessor(const Request &request, const std::atomic<bool> &isCanceled,
                                       QObject *parent)
    : QObject(parent)
    , d(new Private(request, isCanceled))
{ }

CDownloadProcessor::~CDownloadProcessor() = default;

void CDownloadProcessor::run()
{
    if (!isUsable() || d->isCanceled) {
        KOV_LOG(2, "Downloading finished.");
        reportFinished(noExitCode);
        return;
    }
    KOV_LOG(2, "Download command = [%s]", commandForLog().constData());

    QProcess process;
    d->process = &process;
    connect(&process, &QProcess::readyReadStandardOutput, this,
            &CDownloadProcessor::onReadyReadStandardOutput, Qt::DirectConnection);
    connect(&process, &QProcess::readyReadStandardError, this, &CDownloadProcessor::onReadyReadStandardError,
            Qt::DirectConnection);
    connect(&process, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this,
            &CDownloadProcessor::onFinished, Qt::DirectConnection);
    process.start(d->request.utilityPath, arguments(), QIODevice::ReadWrite);
    if (!waitForStarted()) {
        process.disconnect(this);
        process.kill();
        KOV_LOG(2, "!Error: failed to start download utility.");
        KOV_LOG(2, "Downloading finished.");
        reportFinished(noExitCode);
    } else {
        KOV_LOG(2, "Start downloading.");
        writePassword();
        // In slices: the cancel flag has to be looked at.
        while (process.state() != QProcess::NotRunning && !process.waitForFinished(waitSlice)) {
            killIfCanceled();
            sendPendingProgress();
        }
    }
    d->process = nullptr;
}

bool CDownloadProcessor::isUsable() const
{
    const Request &request = d->request;
    if (!QFileInfo::exists(request.utilityPath)) {
        KovGui::log("", "cmn_utils", 0, "File [%s] does not exist.",
                    KovGui::logText(request.utilityPath).constData());
        return false;
    }
    if (!WebUtils::isOpenAddress(request.url)) {
        KOV_LOG(0,
                "(!)Error: an address without a host, or with a user or a password, cannot be downloaded: %s",
                KovGui::logText(WebUtils::maskedUrl(QUrl(request.url))).constData());
        return false;
    }
    if (hasLineEnd(request.proxy.password())) {
        KOV_LOG(0, "(!)Error: the proxy's password holds a line end, nothing is downloaded.");
        return false;
    }
    return true;
}

QStringList CDownloadProcessor::arguments() const
{
    const Request &request = d->request;
    QStringList list = {QStringLiteral("download"), QStringLiteral("-u"),  QStringLiteral("file"),
                        QStringLiteral("-f"),       request.url,           QStringLiteral("-p"),
                        request.destination,        QStringLiteral("-ui"), QStringLiteral("-fo")};
    if (request.isBackground)
        list << QStringLiteral("-bd");
    const QNetworkProxy &proxy = request.proxy;
    if (proxy.hostName().isEmpty())
        return list;
    list << QStringLiteral("--proxy-server") << proxy.hostName() << QStringLiteral("--proxy-port")
         << QString::number(proxy.port());
    if (proxy.type() == QNetworkProxy::Socks5Proxy)
        list << QStringLiteral("--proxy-kind") << QStringLiteral("socks5");
    if (!proxy.user().isEmpty())
        list << QStringLiteral("-pu") << proxy.user() << QStringLiteral("--proxy-try-count")
             << QStringLiteral("1");
    return list;
}

QByteArray CDownloadProcessor::commandForLog() const
{
    QStringList words = QStringList(d->request.utilityPath) + arguments();
    const QString maskedUrl = WebUtils::maskedUrl(QUrl(d->request.url));
    words.replace(words.indexOf(QStringLiteral("-f")) + 1, maskedUrl);
    const int user = words.lastIndexOf(QStringLiteral("-pu"));
    if (user >= 0)
        words.replace(user + 1, QStringLiteral("***"));
    return KovGui::logText(words.join(QLatin1Char(' ')));
}

bool CDownloadProcessor::waitForStarted()
{
    const QDeadlineTimer limit(startLimit);
    while (d->process->state() == QProcess::Starting && !limit.hasExpired() && !d->isCanceled)
        d->process->waitForStarted(waitSlice);
    // Neither started nor failed: wanted no longer, and killed by the wait for its end, or given up.
    if (d->process->state() == QProcess::Starting)
        return d->isCanceled;
    return d->process->error() != QProcess::FailedToStart;
}

void CDownloadProcessor::writePassword()
{
    const QNetworkProxy &proxy = d->request.proxy;
    if (!proxy.hostName().isEmpty() && !proxy.user().isEmpty() && !proxy.password().isEmpty())
        d->process->write(proxy.password().toUtf8() + '\n');
    // Without a password the utility would wait for one.
    d->process->closeWriteChannel();
}

void CDownloadProcessor::killIfCanceled()
{
    if (!d->isCanceled || d->isKilled)
        return;
    d->isKilled = true;
    KOV_LOG(2, "Try to terminate downloading process.");
    d->process->kill();
}

void CDownloadProcessor::onReadyReadStandardOutput()
{
    if (!d->process) {
        KOV_LOG(0, "!Error: Pointer to download process object is NULL!");
        return;
    }
    const QByteArray chunk = d->process->readAllStandardOutput();
    // A child that never stops printing keeps the wait from ending, so here as well.
    killIfCanceled();
    if (d->isCanceled)
        return;
    KOV_LOG(3, "\nDownloading standard output : \n%s", forLog(chunk, d->request.url).constData());
    d->output.add(chunk);
    d->isProgressPending = true;
    if (!d->lastProgress.isValid() || d->lastProgress.elapsed() >= progressInterval)
        sendPendingProgress();
}

void CDownloadProcessor::onReadyReadStandardError()
{
    if (!d->process) {
        KOV_LOG(0, "!Error: Pointer to download process object is NULL!");
        return;
    }
    d->errorLog.add(d->process->readAllStandardError());
    killIfCanceled();
}

void CDownloadProcessor::sendPendingProgress()
{
    if (!d->isProgressPending || d->isCanceled)
        return;
    d->isProgressPending = false;
    d->lastProgress.start();
    KOV_LOG(3, "Emit DownloadProgressData signal.");
    Q_EMIT sendDownloadProgressData(d->output.progress());
    KOV_LOG(3, "Emit SendProgress signal.");
    Q_EMIT sendProgress(uint(d->output.progress().progress));
}

void CDownloadProcessor::onFinished(int exitCode, QProcess::ExitStatus exitStatus)
{
    if (d->output.finish())
        d->isProgressPending = true;
    sendPendingProgress();
    d->errorLog.finish();
    KOV_LOG(2, "Downloading finished.");
    if (exitStatus == QProcess::NormalExit) {
        reportFinished(exitCode);
        return;
    }
    // The "exit code" of a crash is a signal's number and must not be taken for one of the utility's.
    if (!d->isKilled)
        KOV_LOG(0, "(!)Error: the download utility crashed or was killed [%d].", exitCode);
    reportFinished(noExitCode);
}

void CDownloadProcessor::reportFinished(int errorCode)
{
    const QString name = FileDownloadInfo::destinationFileNameFromUrl(d->request.url);
    const QString path = name.isEmpty() ? QString() : d->request.destination + QLatin1Char('/') + name;
    KOV_LOG(2, "Emit DownloadFinished signal.");
    Q_EMIT downloadFinished(path, errorCode, d->isCanceled ? 1 : 0);
}
