#include "gui/tasks/http/CTaskSendHttpRequest.h"

#include "abstract_task/CTaskManager.h"
#include "gui/frame/GUI.h"
#include "gui/log/Log.h"
#include "gui/tasks/TaskIds.h"
#include "gui/tasks/http/CAbstractFileParser.h"
#include "gui/tasks/http/CTaskHttpOperation.h"
#include "gui/tasks/http/ProxyResult.h"

#include <QNetworkReply>
#include <QPointer>

class CTaskSendHttpRequest::Private
{
public:
    QNetworkRequest request;
    QNetworkProxy proxy = QNetworkProxy(QNetworkProxy::DefaultProxy);
    QPointer<CAbstractFileParser> parser;
    QNetworkAccessManager::Operation operation = QNetworkAccessManager::UnknownOperation;
    QPointer<QNetworkReply> reply;
    QByteArray body;
};

CTaskSendHttpRequest::CTaskSendHttpRequest(const QNetworkRequest &request,
                                           QNetworkAccessManager::Operation operation,
                                           CAbstractFileParser *parser, const QByteArray &body)
    : CAbstractTask(new CTaskId_SendHttpRequest(request.url(), operation))
    , d(new Private)
{
    d->request = request;
    d->operation = operation;
    d->parser = parser;
    d->body = body;
}

CTaskSendHttpRequest::CTaskSendHttpRequest(const QString &url, const WebUtils::QueryItems &queryItems,
                                           CAbstractFileParser *parser,
                                           QNetworkAccessManager::Operation operation, const QByteArray &body)
    : CTaskSendHttpRequest(QNetworkRequest(WebUtils::withQueryItems(QUrl(url), queryItems)), operation,
                           parser, body)
{ }

CTaskSendHttpRequest::~CTaskSendHttpRequest()
{
    endBeforeDestruction();
}

CAbstractFileParser *CTaskSendHttpRequest::parser() const
{
    return d->parser;
}

QNetworkReply *CTaskSendHttpRequest::reply() const
{
    return d->reply;
}

unsigned CTaskSendHttpRequest::type() const
{
    return GUI::TaskSendHttpRequest;
}

const QNetworkRequest &CTaskSendHttpRequest::request() const
{
    return d->request;
}

QNetworkAccessManager::Operation CTaskSendHttpRequest::operation() const
{
    return d->operation;
}

const QByteArray &CTaskSendHttpRequest::body() const
{
    return d->body;
}

const QNetworkProxy &CTaskSendHttpRequest::proxy() const
{
    return d->proxy;
}

KOV_RESULT CTaskSendHttpRequest::getProxyInfo()
{
    setWaitForSubTaskCompletion();
    const CSlotInfo whenFinished(this, &CTaskSendHttpRequest::onProxyInfoReceived);
    CTaskManager::instance()->runTask(new CTaskId_GetProxyInfo(d->request.url().toString(), false),
                                      whenFinished, true);
    return KOV_SUCCESS;
}

void CTaskSendHttpRequest::onProxyInfoReceived(KOV_RESULT result, CAbstractTask *task)
{
    const auto *found = qobject_cast<ProxyResult *>(task);
    if (found && KOV_SUCCEEDED(result)) {
        d->proxy = found->proxy();
        subTaskCompleted(KOV_SUCCESS);
        return;
    }
    KOV_LOG_TAG("[TASK_HTTP_REQUEST]", 0, "(!)Error: failed to get proxy info.");
    subTaskCompleted(result);
}

KOV_RESULT CTaskSendHttpRequest::sendHttpRequest()
{
    CAbstractTask *operation = createHttpOperation();
    if (!operation) {
        KOV_LOG_TAG("[TASK_HTTP_REQUEST]", 0, "(!)Error: there is no operation that sends the request.");
        return KOV_ERR_FAILURE;
    }
    // Kept to the end of this task: the reply goes with it.
    operation->setParent(this);
    return runChild(operation, &CTaskSendHttpRequest::onHttpOperationTaskFinished);
}

CAbstractTask *CTaskSendHttpRequest::createHttpOperation()
{
    return new CTaskHttpOperation(d->request, d->operation, QString(), &d->proxy, d->parser,
                                  CTaskHttpOperation::KeepParser, d->body);
}

void CTaskSendHttpRequest::onHttpOperationTaskFinished(KOV_RESULT result)
{
    if (const auto *operation = qobject_cast<CTaskHttpOperation *>(sender()))
        d->reply = operation->reply();
    subTaskCompleted(result);
}
