#include "gui/tasks/proxy/CTaskGetProxyInfo.h"

#include "gui/frame/GUI.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/tasks/http/CTaskHttpOperation.h"
#include "gui/tasks/http/WebUtils.h"
#include "gui/tasks/proxy/CInitAutoProxyThread.h"
#include "gui/tasks/proxy/ProxyPreferences.h"
#include "gui/tasks/sign_in/CProxyAuthenticator.h"

#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>
#include <QTimer>
#include <QUrl>

using KovGui::logText;
using Tessarine::CInitAutoProxyThread;

namespace {

constexpr int detectionLimit = 10000;
constexpr int proxyAuthenticationStatus = 407;
constexpr int serverAuthenticationStatus = 401;

/// A request that is only there to be challenged: it ends when the response's headers tell that the proxy let
/// it through. What the URL names may be a whole package.
class ProxyProbe : public CTaskHttpOperation
{
public:
    ProxyProbe(const QUrl &url, const QNetworkProxy &proxy)
        : CTaskHttpOperation(QNetworkRequest(url), QNetworkAccessManager::GetOperation, QString(), &proxy,
                             nullptr, KeepParser, QByteArray())
    { }
    ~ProxyProbe() override { endBeforeDestruction(); }

protected:
    QNetworkReply *postHttpOperationRequest() override
    {
        QNetworkReply *posted = CTaskHttpOperation::postHttpOperationRequest();
        if (posted)
            connect(posted, &QNetworkReply::metaDataChanged, this, [this, posted] { lookAt(*posted); });
        return posted;
    }

private:
    void lookAt(const QNetworkReply &posted)
    {
        const int status = posted.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        // These two are decided by what the challenged person answers.
        if (status != 0 && status != proxyAuthenticationStatus && status != serverAuthenticationStatus)
            subTaskCompleted(KOV_SUCCESS);
    }
};

} // namespace

class CTaskGetProxyInfo::Private
{
public:
    QByteArray maskedUrl(const QString &url) const { return logText(WebUtils::maskedUrl(QUrl(url))); }
    void take(const QString &host, uint port, bool isSocks)
    {
        proxy = QNetworkProxy(isSocks ? QNetworkProxy::Socks5Proxy : QNetworkProxy::HttpProxy, host,
                              quint16(port));
    }
    void takeCachedCredentials();
    void giveUpDetection();

    QNetworkProxy proxy;
    QPointer<CInitAutoProxyThread> query;
    QTimer *detectionTimer = nullptr;
    ProxyProbe *probe = nullptr;
};

void CTaskGetProxyInfo::Private::takeCachedCredentials()
{
    const CProxyAuthenticator *authenticator = CProxyAuthenticator::instance();
    // Credentials that the preferences hold are sent without a challenge, so the cache may be empty.
    if (authenticator->user(proxy).isEmpty())
        return;
    proxy.setPassword(authenticator->password(proxy));
    proxy.setUser(authenticator->user(proxy));
}

void CTaskGetProxyInfo::Private::giveUpDetection()
{
    detectionTimer->stop();
    if (!query)
        return;
    query->cancel();
    query = nullptr;
}

CTaskGetProxyInfo::CTaskGetProxyInfo(CTaskGenericId *id)
    : CAbstractTask(id)
    , d(new Private)
{
    d->detectionTimer = new QTimer(this);
    d->detectionTimer->setObjectName(QStringLiteral("proxyDetectionTimer"));
    d->detectionTimer->setInterval(detectionLimit);
    d->detectionTimer->setSingleShot(true);
    connect(d->detectionTimer, &QTimer::timeout, this, [this] {
        KOV_LOG(0, "(!)Error: the system did not say in time which proxy to use. Url: %s",
                d->maskedUrl(url()).constData());
        d->giveUpDetection();
        subTaskCompleted(KOV_SUCCESS);
    });
}

CTaskGetProxyInfo::~CTaskGetProxyInfo()
{
    endBeforeDestruction();
    delete d->probe;
}

QNetworkProxy CTaskGetProxyInfo::proxy() const
{
    return d->proxy;
}

QString CTaskGetProxyInfo::url() const
{
    return id() ? id()->params().value(QStringLiteral("url")).toString() : QString();
}

unsigned CTaskGetProxyInfo::type() const
{
    return GUI::TaskGetProxyInfo;
}

bool CTaskGetProxyInfo::needDetectCredentials() const
{
    return id() && id()->params().value(QStringLiteral("needDetectCredentials")).toBool();
}

QList<int> CTaskGetProxyInfo::getDefaultSubTaskList() const
{
    return needDetectCredentials() ? QList<int>{DetectServer, DetectCredentials} : QList<int>{DetectServer};
}

void CTaskGetProxyInfo::finish(int result)
{
    d->giveUpDetection();
    CAbstractTask::finish(result);
}

KOV_RESULT CTaskGetProxyInfo::detectServer()
{
    if (const std::optional<QNetworkProxy> own = ProxyPreferences::userProxy(QUrl(url()))) {
        KOV_LOG(0, "Set user defined proxy host = %s, port = %d, user == %s",
                logText(own->hostName()).constData(), int(own->port()), logText(own->user()).constData());
        d->proxy = *own;
        return KOV_SUCCESS;
    }
    if (!ProxyPreferences::allowAutomaticConfiguration() || !CInitAutoProxyThread::isAvailable())
        return KOV_SUCCESS;
    d->query = new CInitAutoProxyThread(url(), ProxyPreferences::scriptUrl());
    connect(d->query, &CInitAutoProxyThread::proxyDetected, this, &CTaskGetProxyInfo::onProxyDetected);
    connect(d->query, &QThread::finished, this, &CTaskGetProxyInfo::onAsyncProxyRequestFinished);
    setWaitForSubTaskCompletion();
    d->detectionTimer->start();
    d->query->start(QThread::InheritPriority);
    return KOV_SUCCESS;
}

void CTaskGetProxyInfo::onProxyDetected(bool succeded, QString host, uint port)
{
    // Too late, or the answer to a query that was given up.
    if (!d->query || (sender() && sender() != d->query))
        return;
    d->detectionTimer->stop();
    const bool isSocks = d->query->isSocks();
    d->query = nullptr;
    if (!host.isEmpty()) {
        KOV_LOG(0, "set user defined proxy host = %s, port = %d", logText(host).constData(), int(port));
        d->take(host, port, isSocks);
    } else if (!succeded) {
        KOV_LOG(3, "no proxy was detected");
    }
    subTaskCompleted(KOV_SUCCESS);
}

void CTaskGetProxyInfo::onAsyncProxyRequestFinished()
{
    auto *query = qobject_cast<CInitAutoProxyThread *>(sender());
    if (!query) {
        KOV_LOG(0, "Can't get GetProxyInfoTask thread");
        subTaskCompleted(KOV_ERR_UNEXPECTED);
        return;
    }
    // The usual case: the answer came before the end of the thread.
    if (query != d->query)
        return;
    const QByteArray masked = d->maskedUrl(url());
    if (query->host().isEmpty()) {
        KOV_LOG(2, "no proxy detected for url '%s'", masked.constData());
    } else {
        KOV_LOG(2, "detected proxy for url '%s' Host = '%s', Port = '%d'", masked.constData(),
                logText(query->host()).constData(), int(query->port()));
        d->take(query->host(), query->port(), query->isSocks());
    }
    d->giveUpDetection();
    subTaskCompleted(KOV_SUCCESS);
}

KOV_RESULT CTaskGetProxyInfo::detectCredentials()
{
    if (d->proxy.hostName().isEmpty())
        return KOV_NO_PROXY_TO_ASK;
    const QByteArray masked = d->maskedUrl(url());
    if (!CProxyAuthenticator::instance()->user(d->proxy).isEmpty()) {
        KOV_LOG(3, "detect credentials: found info for '%s'", masked.constData());
        d->takeCachedCredentials();
        return KOV_SUCCESS;
    }
    KOV_LOG(3, "detect credentials: url '%s'", masked.constData());
    d->probe = new ProxyProbe(QUrl(url()), d->proxy);
    return runChild(d->probe, &CTaskGetProxyInfo::onDetectCredentialsFinished);
}

void CTaskGetProxyInfo::onDetectCredentialsFinished(KOV_RESULT result)
{
    KOV_LOG(3, "detect credentials: finished with code %X", unsigned(result));
    const QNetworkReply *reply = d->probe ? d->probe->reply() : nullptr;
    // The proxy that passes on a refusal of the server has let the request through.
    if (KOV_SUCCEEDED(result)
        || (reply && reply->error() == QNetworkReply::ContentOperationNotPermittedError))
        d->takeCachedCredentials();
    const bool isFatal
        = result == KOV_ERR_PROXY_AUTHENTICATION_REQUIRED || result == KOV_ERR_SERVER_AUTHENTICATION_REQUIRED;
    subTaskCompleted(isFatal ? result : KOV_SUCCESS);
}
