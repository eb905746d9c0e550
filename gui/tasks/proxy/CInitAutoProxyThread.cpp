#include "gui/tasks/proxy/CInitAutoProxyThread.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/platform/SystemProxy.h"

#include <QCoreApplication>
#include <QSet>
#include <QUrl>

using KovGui::logText;
using KovGui::Platform::SystemProxyQuery;

namespace Tessarine {

namespace {

/// Below the time that whoever asks is ready to wait.
constexpr int queryLimit = 9000;
constexpr unsigned long waitAtQuit = 3000;

void report(unsigned level, const char *text)
{
    if (level == 0 || KovGui::logVerbosity() >= int(level))
        KovGui::log("", "ProxyInfo", level, "%s", logText(QByteArray(text)).constData());
}

/// What is sent to foreign servers and scripts: no user, no query, and the host alone where the connection
/// would hide the rest.
std::string disclosed(const QString &url)
{
    QUrl address = QUrl(url).adjusted(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
    if (address.scheme() != QLatin1String("http") || address.path().isEmpty())
        address.setPath(QStringLiteral("/"));
    return address.toEncoded().toStdString();
}

QSet<CInitAutoProxyThread *> &running()
{
    static QSet<CInitAutoProxyThread *> threads;
    return threads;
}

void stopAll()
{
    const QSet<CInitAutoProxyThread *> threads = running();
    for (CInitAutoProxyThread *thread : threads)
        thread->cancel();
    for (CInitAutoProxyThread *thread : threads) {
        if (!thread->isRunning() || thread->wait(waitAtQuit))
            delete thread;
    }
}

} // namespace

class CInitAutoProxyThread::Private
{
public:
    SystemProxyQuery query{report};
    std::string url;
    std::string scriptUrl;
    QString host;
    uint port = 0;
    bool isSocks = false;
};

CInitAutoProxyThread::CInitAutoProxyThread(const QString &url, const QString &scriptUrl)
    : d(new Private)
{
    setObjectName(QStringLiteral("CInitAutoProxyThread"));
    d->url = disclosed(url);
    d->scriptUrl = QUrl(scriptUrl).toEncoded().toStdString();
    if (running().isEmpty())
        qAddPostRoutine(stopAll);
    running().insert(this);
    connect(this, &QThread::finished, this, &QObject::deleteLater);
}

CInitAutoProxyThread::~CInitAutoProxyThread()
{
    running().remove(this);
    if (running().isEmpty())
        qRemovePostRoutine(stopAll);
    cancel();
    wait();
}

bool CInitAutoProxyThread::isAvailable()
{
    return SystemProxyQuery::isAvailable(report);
}

void CInitAutoProxyThread::cancel()
{
    d->query.cancel();
}

QString CInitAutoProxyThread::host() const
{
    return d->host;
}

uint CInitAutoProxyThread::port() const
{
    return d->port;
}

bool CInitAutoProxyThread::isSocks() const
{
    return d->isSocks;
}

void CInitAutoProxyThread::run()
{
    KovGui::Platform::ProxyAddress proxy;
    const bool isFound = d->query.find(d->url, d->scriptUrl, queryLimit, proxy);
    if (isFound) {
        d->host = QString::fromStdString(proxy.host);
        d->port = proxy.port;
        d->isSocks = proxy.isSocks;
    }
    Q_EMIT proxyDetected(isFound, d->host, d->port);
}

} // namespace Tessarine
