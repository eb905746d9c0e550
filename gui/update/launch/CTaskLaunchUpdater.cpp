#include "gui/update/launch/CTaskLaunchUpdater.h"

#include "abstract_task/CSlotInfo.h"
#include "abstract_task/CTaskManager.h"
#include "gui/frame/GUI.h"
#include "gui/log/ChildErrorLog.h"
#include "gui/log/Log.h"
#include "gui/tasks/TaskIds.h"
#include "gui/tasks/http/ProxyResult.h"
#include "gui/tasks/sign_in/ProxyAuthUtils.h"
#include "gui/update/launch/CommandLineUtils.h"
#include "gui/update/record/UpdateUrl_p.h"

#include <QCoreApplication>
#include <QNetworkProxy>
#include <QPointer>
#include <QRegularExpression>
#include <QTimer>

#include <utility>

namespace {

const char logTag[] = "[APP_UPDATE]";

constexpr int longestSilence = 30 * 60 * 1000;

void logStandardError(const QByteArray &line)
{
    KOV_LOG_TAG(logTag, 1, "Updater standard error: %s",
                UpdateUrl::forLog(QString::fromUtf8(line)).constData());
}

void logDroppedErrors(long long bytes)
{
    KOV_LOG_TAG(logTag, 1, "Updater standard error: %lld more bytes were not logged.", bytes);
}

/// Holds a program that was killed until it has gone, at the application's end as well: a process that is
/// destroyed while it runs warns.
class Reaper : public QObject
{
public:
    explicit Reaper(QProcess *process)
        : QObject(QCoreApplication::instance())
        , m_process(process)
    {
        using Finished = void (QProcess::*)(int, QProcess::ExitStatus);
        connect(process, Finished(&QProcess::finished), this, &QObject::deleteLater);
        connect(process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart)
                deleteLater();
        });
        process->setParent(this);
    }

    ~Reaper() override
    {
        m_process->disconnect(this);
        m_process->waitForFinished();
    }

private:
    QProcess *const m_process;
};

/// Kills the program and forgets it; the object goes when the program has gone.
void abandon(QProcess *process)
{
    process->disconnect();
    if (process->state() == QProcess::NotRunning) {
        process->deleteLater();
        return;
    }
    new Reaper(process);
    process->closeReadChannel(QProcess::StandardOutput);
    process->closeReadChannel(QProcess::StandardError);
    process->kill();
}

/// Without what no command line or line of a password can hold.
QNetworkProxy usable(QNetworkProxy proxy)
{
    const QString host = proxy.hostName();
    if (host.isEmpty() || host.startsWith(QLatin1Char('-')))
        return QNetworkProxy();
    const QString password = proxy.password();
    const bool holdsLineEnd = password.contains(QLatin1Char('\n')) || password.contains(QChar(0));
    if (proxy.user().startsWith(QLatin1Char('-')) || password.isEmpty() || holdsLineEnd)
        proxy.setUser(QString());
    return proxy;
}

QStringList proxyArguments(const QNetworkProxy &proxy)
{
    if (proxy.hostName().isEmpty())
        return QStringList();
    QStringList arguments{QStringLiteral("--proxy-server"),    proxy.hostName(),
                          QStringLiteral("--proxy-port"),      QString::number(proxy.port()),
                          QStringLiteral("--proxy-try-count"), QStringLiteral("1")};
    if (proxy.type() == QNetworkProxy::Socks5Proxy)
        arguments << QStringLiteral("--proxy-kind") << QStringLiteral("socks5");
    if (!proxy.user().isEmpty())
        arguments << QStringLiteral("--proxy-user") << proxy.user();
    return arguments;
}

void addSavedPassword(QNetworkProxy *proxy)
{
    QString user;
    QString password;
    if (!proxy->user().isEmpty() || !ProxyAuthUtils::getProxyCredentials(*proxy, user, password))
        return;
    proxy->setUser(user);
    proxy->setPassword(password);
}

QNetworkProxy proxyOf(CAbstractTask *task)
{
    if (const auto *found = qobject_cast<ProxyResult *>(task))
        return found->proxy();
    KOV_LOG_TAG(logTag, 0, "(!)Error: %s tells no proxy.", task->metaObject()->className());
    return QNetworkProxy();
}

} // namespace

class CTaskLaunchUpdater::Private
{
public:
    explicit Private(const TaskParams &params)
        : params(params)
    { }

    QProcess *takeProcess() { return std::exchange(process, nullptr); }

    const TaskParams params;
    QNetworkProxy proxy;
    QProcess *process = nullptr;
    QTimer *hangTimer = nullptr;
    ChildErrorLog standardError{logStandardError, logDroppedErrors};
    QByteArray output;
    int exitCode = -1;
    QProcess::ExitStatus exitStatus = QProcess::NormalExit;
    bool installs = false;
    int progressScanned = 0;
};

CTaskLaunchUpdater::CTaskLaunchUpdater(const TaskParams &params)
    : CAbstractTask(new CTaskId_LaunchUpdater(params.commandLine, params.proxyUrl))
    , d(new Private(params))
{
    d->hangTimer = new QTimer(this);
    d->hangTimer->setObjectName(QStringLiteral("hangTimer"));
    d->hangTimer->setSingleShot(true);
    d->hangTimer->setInterval(longestSilence);
    connect(d->hangTimer, &QTimer::timeout, this, &CTaskLaunchUpdater::onHang);
}

CTaskLaunchUpdater::~CTaskLaunchUpdater()
{
    endBeforeDestruction();
}

unsigned CTaskLaunchUpdater::type() const
{
    return GUI::TaskLaunchUpdater;
}

int CTaskLaunchUpdater::exitCode() const
{
    return d->exitCode;
}

QProcess::ExitStatus CTaskLaunchUpdater::exitStatus() const
{
    return d->exitStatus;
}

QByteArray CTaskLaunchUpdater::output() const
{
    return d->output;
}

QList<int> CTaskLaunchUpdater::getDefaultSubTaskList() const
{
    return d->params.proxyUrl.isEmpty() ? QList<int>{Launch} : QList<int>{GetProxyInfo, Launch};
}

void CTaskLaunchUpdater::finish(int result)
{
    if (QProcess *process = d->takeProcess())
        abandon(process);
    d->standardError.finish();
    CAbstractTask::finish(result);
}

KOV_RESULT CTaskLaunchUpdater::getProxyInfo()
{
    setWaitForSubTaskCompletion();
    const CSlotInfo whenFinished(this, "1onProxyDetectionFinished(KOV_RESULT, CAbstractTask*)");
    CTaskManager::instance()->runTask(
        new CTaskId_GetProxyInfo(d->params.proxyUrl, d->params.mayAskForPassword), whenFinished, true);
    return KOV_SUCCESS;
}

void CTaskLaunchUpdater::onProxyDetectionFinished(KOV_RESULT result, CAbstractTask *task)
{
    if (result == KOV_ERR_PROXY_AUTHENTICATION_REQUIRED) {
        subTaskCompleted(result);
        return;
    }
    // A server that wants a password has it from the updater's configuration.
    if ((KOV_SUCCEEDED(result) || result == KOV_ERR_SERVER_AUTHENTICATION_REQUIRED) && task) {
        QNetworkProxy proxy = proxyOf(task);
        if (!proxy.hostName().isEmpty())
            addSavedPassword(&proxy);
        d->proxy = usable(proxy);
    } else
        KOV_LOG_TAG(logTag, 1, "(!)Warning: no proxy could be looked for [0x%08X]; the updater runs without.",
                    unsigned(result));
    subTaskCompleted(KOV_SUCCESS);
}

KOV_RESULT CTaskLaunchUpdater::launch()
{
    if (d->params.elevated) {
        KOV_LOG_TAG(logTag, 0, "(!)Error: an elevated run of the updater is not supported.");
        return KOV_ERR_FAILURE;
    }
    QStringList arguments = CommandLineUtils::split(d->params.commandLine);
    if (arguments.isEmpty() || arguments.first().isEmpty()) {
        KOV_LOG_TAG(logTag, 0, "(!)Error: the updater's command line is broken: %s",
                    UpdateUrl::forLog(d->params.commandLine).constData());
        return KOV_ERR_FAILURE;
    }
    const QString program = arguments.takeFirst();
    d->installs = arguments.contains(QLatin1String("install"));

    setWaitForSubTaskCompletion();
    d->process = new QProcess;
    connect(d->process, &QProcess::readyReadStandardOutput, this, &CTaskLaunchUpdater::onStandardOutput);
    connect(d->process, &QProcess::readyReadStandardError, this, &CTaskLaunchUpdater::onStandardError);
    connect(d->process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            &CTaskLaunchUpdater::onStandartRunFinished);
    connect(d->process, &QProcess::errorOccurred, this, &CTaskLaunchUpdater::onProcessError);
    d->hangTimer->start();
    d->process->start(program, arguments + proxyArguments(d->proxy));
    // A program that cannot be started may be reported from within start().
    if (!d->process)
        return KOV_SUCCESS;
    if (!d->proxy.user().isEmpty())
        d->process->write(d->proxy.password().toUtf8() + '\n');
    d->process->closeWriteChannel();
    return KOV_SUCCESS;
}

void CTaskLaunchUpdater::onStandardOutput()
{
    d->hangTimer->start();
    const QByteArray chunk = d->process->readAllStandardOutput();
    if (chunk.size() > maximumOutputSize - d->output.size()) {
        KOV_LOG_TAG(logTag, 0, "(!)Error: the updater printed more than %d bytes.", maximumOutputSize);
        subTaskCompleted(KOV_ERR_FAILURE);
        return;
    }
    d->output += chunk;
    reportProgress(false);
}

void CTaskLaunchUpdater::onStandardError()
{
    d->standardError.add(d->process->readAllStandardError());
}

void CTaskLaunchUpdater::onHang()
{
    if (!d->process)
        return;
    KOV_LOG_TAG(logTag, 0, "(!)Error: the updater printed nothing for %d minutes and is ended.",
                longestSilence / (60 * 1000));
    d->process->kill();
}

void CTaskLaunchUpdater::onStandartRunFinished(int exitCode, QProcess::ExitStatus exitStatus)
{
    QProcess *process = d->takeProcess();
    if (!process)
        return;
    process->disconnect(this);
    process->deleteLater();
    d->exitCode = exitCode;
    d->exitStatus = exitStatus;
    const QPointer<CTaskLaunchUpdater> guard(this);
    reportProgress(true);
    if (guard)
        subTaskCompleted(KOV_SUCCESS);
}

void CTaskLaunchUpdater::onProcessError(QProcess::ProcessError error)
{
    // Every other error is followed by finished().
    if (error != QProcess::FailedToStart || !d->process)
        return;
    KOV_LOG_TAG(logTag, 0, "(!)Error: the updater could not be started: %s",
                UpdateUrl::forLog(d->process->errorString()).constData());
    subTaskCompleted(KOV_ERR_FAILURE);
}

void CTaskLaunchUpdater::reportProgress(bool atEnd)
{
    if (!d->installs)
        return;
    static const QRegularExpression pattern(QStringLiteral("installer\\:%(\\d+)"));
    const int prefixLength = 11;
    const QString text = QString::fromLatin1(d->output.mid(d->progressScanned));
    // The beginning of the next report may stand at the end.
    int scanned = qMax(0, text.size() - prefixLength);
    QList<int> percentages;
    for (auto matches = pattern.globalMatch(text); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        // The rest of the number may be under way.
        if (match.capturedEnd() == text.size() && !atEnd) {
            scanned = match.capturedStart();
            break;
        }
        scanned = qMax(scanned, match.capturedEnd());
        bool isNumber = false;
        const int percent = match.capturedRef(1).toInt(&isNumber);
        if (isNumber && percent <= 100)
            percentages << percent;
    }
    d->progressScanned += scanned;
    const QPointer<CTaskLaunchUpdater> guard(this);
    for (const int percent : qAsConst(percentages)) {
        if (guard)
            Q_EMIT progress(percent);
    }
}
