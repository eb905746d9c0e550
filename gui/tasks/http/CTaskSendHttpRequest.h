#pragma once

#include "abstract_task/CAbstractTask.h"
#include "gui/KovGuiGlobal.h"
#include "gui/tasks/http/WebUtils.h"

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkRequest>

#include <memory>

class CAbstractFileParser;
class QNetworkReply;

/**
 * One HTTP request through the proxy that is right for its URL: runs the task that finds the proxy, then a
 * CTaskHttpOperation, whose result is this task's.
 *
 * When the proxy task fails, or there is no class for it, the request is not sent and its result is this
 * task's: a request never goes out directly because nobody could say whether it may. A proxy task of another
 * kind (no ProxyResult) that succeeds means that there is no proxy.
 *
 * By default the body goes to a temporary file, which the parser reads at the end.
 */
class KOVGUI_EXPORT CTaskSendHttpRequest : public CAbstractTask
{
    Q_OBJECT

public:
    enum TaskStep {
        GetProxyInfo = 0,
        SendHttpRequest = 1,
    };
    Q_ENUM(TaskStep)

    /// @param parser  may be null; stays the caller's, and may be destroyed at any time
    /// @param body    sent with POST only
    CTaskSendHttpRequest(const QNetworkRequest &request, QNetworkAccessManager::Operation operation,
                         CAbstractFileParser *parser, const QByteArray &body);
    /// @param url         may have a query already
    /// @param queryItems  appended to it in order, taken literally
    CTaskSendHttpRequest(const QString &url, const WebUtils::QueryItems &queryItems,
                         CAbstractFileParser *parser, QNetworkAccessManager::Operation operation,
                         const QByteArray &body);
    ~CTaskSendHttpRequest() override;

    /// Null when none was given or it is gone.
    CAbstractFileParser *parser() const;
    /// The finished reply; null as long as there is none. Valid as long as the task, which keeps the
    /// operation.
    QNetworkReply *reply() const;
    unsigned type() const override;

protected:
    /// The task that sends the request, not executed yet; it becomes this task's child. Null fails the task.
    virtual CAbstractTask *createHttpOperation();

    const QNetworkRequest &request() const;
    QNetworkAccessManager::Operation operation() const;
    const QByteArray &body() const;
    /// As the first step found it: the default proxy when there is none.
    const QNetworkProxy &proxy() const;

private Q_SLOTS:
    void onProxyInfoReceived(KOV_RESULT result, CAbstractTask *task);
    void onHttpOperationTaskFinished(KOV_RESULT result);

private:
    Q_INVOKABLE KOV_RESULT getProxyInfo();
    Q_INVOKABLE KOV_RESULT sendHttpRequest();

    class Private;
    const std::unique_ptr<Private> d;
};
