#pragma once

#include "abstract_task/CAbstractTask.h"
#include "gui/KovGuiGlobal.h"
#include "gui/tasks/http/ProxyResult.h"

#include <QNetworkProxy>

#include <memory>

/**
 * Finds the proxy for a URL: the user's own (docs/reference/proxy-settings.md), else the one that the
 * system's settings or an auto-configuration script name. On demand it also lets the proxy ask for a user
 * name and a password, once, ahead of the real request.
 *
 * Made and owned by CTaskManager:
 *
 *     CTaskManager::instance()->runTask(new CTaskId_GetProxyInfo(url, false), onFinished, true);
 *
 * Looking for a proxy never fails: what goes wrong is logged, and the default proxy stays. A system that does
 * not answer is given up after a while (ten seconds; the timer is the child "proxyDetectionTimer"), and a
 * late answer is ignored. The task fails only with KOV_ERR_PROXY_AUTHENTICATION_REQUIRED or
 * KOV_ERR_SERVER_AUTHENTICATION_REQUIRED, from the search for credentials, and with what it was terminated
 * with. Without a proxy the search for credentials gives KOV_NO_PROXY_TO_ASK, a success: test with
 * KOV_FAILED.
 *
 * GUI thread only.
 */
class KOVGUI_EXPORT CTaskGetProxyInfo : public CAbstractTask, public ProxyResult
{
    Q_OBJECT
    Q_INTERFACES(ProxyResult)

public:
    enum TaskStep { DetectServer = 0, DetectCredentials = 1 };
    Q_ENUM(TaskStep)

    /// @param id  a CTaskId_GetProxyInfo, or one with the parameters "url" and "needDetectCredentials"
    Q_INVOKABLE explicit CTaskGetProxyInfo(CTaskGenericId *id);
    ~CTaskGetProxyInfo() override;

    /// The result: an HTTP proxy, with user and password where they are known. The default proxy (an empty
    /// host) means: no explicit proxy, use the manager's own rules.
    Q_INVOKABLE QNetworkProxy proxy() const override;
    /// The parameter "url", as it stands; not for logs.
    QString url() const;
    unsigned type() const override;

protected:
    QList<int> getDefaultSubTaskList() const override;
    void finish(int result) override;

private Q_SLOTS:
    void onProxyDetected(bool succeded, QString host, uint port);
    void onDetectCredentialsFinished(KOV_RESULT result);
    void onAsyncProxyRequestFinished();

private:
    Q_INVOKABLE KOV_RESULT detectServer();
    Q_INVOKABLE KOV_RESULT detectCredentials();
    bool needDetectCredentials() const;

    class Private;
    const std::unique_ptr<Private> d;
};
