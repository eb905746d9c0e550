#pragma once

#include "abstract_task/CAbstractTask.h"
#include "gui/KovGuiGlobal.h"

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QNetworkRequest>

#include <memory>

class CAbstractFileParser;
class QNetworkProxy;
class QNetworkReply;
class QSslError;

/**
 * One HTTP request, whose response body ends up in a file. For small documents: the body is held in memory in
 * full; a large file is downloaded by CTaskDownloadFile.
 *
 * Results: KOV_SUCCESS; KOV_ERR_PROXY_AUTHENTICATION_REQUIRED; KOV_ERR_SERVER_AUTHENTICATION_REQUIRED;
 * KOV_ERR_FAILURE for anything else, the reason in the log: an invalid URL, a file that cannot be written, an
 * operation other than HEAD, GET and POST, an error of the network or the server (HTTP codes from 400 on), no
 * complete response within 60 seconds, a body of more than MaximumBodySize bytes, a compressed body.
 *
 * Redirects are not followed unless the request asks for it by its attribute. The request carries the headers
 * that it needs; the one that is added is "Accept-Encoding: identity". A request with that header of its own
 * gets its body as the server sent it: nothing is decompressed, so nothing grows beyond what was received.
 * Log records and error texts hold URLs in their masked form only (WebUtils::maskedUrl()).
 *
 * When the request fails, or the task is terminated or deleted while it runs, its file is removed, also a
 * named one and one of an earlier run.
 */
class KOVGUI_EXPORT CTaskHttpOperation : public CAbstractTask
{
    Q_OBJECT

public:
    enum TaskStep {
        CreateFile = 0,
        ExecuteHttpOperation = 1,
    };
    Q_ENUM(TaskStep)

    enum ParserOwnershipPolicy {
        KeepParser = 0, ///< the caller owns the parser
        DeleteParser = 1, ///< the task deletes the parser at its end
    };
    Q_ENUM(ParserOwnershipPolicy)

    /// The most bytes that a body may have: 16 MiB. A larger one ends the task when the limit is passed;
    /// nothing of it is kept.
    static constexpr qint64 MaximumBodySize = 16 * 1024 * 1024;

    /**
     * @param filePath  where the body goes; a file that is there is replaced, anything else that is there (a
     * folder, a device) is an error. Empty: a temporary file that lives as long as the task.
     * @param proxy     null: the toolkit's default rules
     * @param parser    run on the file after a success; may be null, and may be destroyed at any time. Its
     * error code is logged and does not change the result. An empty file path in it is set to the body's.
     * @param body      sent with POST only
     */
    CTaskHttpOperation(const QNetworkRequest &request, QNetworkAccessManager::Operation operation,
                       const QString &filePath, const QNetworkProxy *proxy, CAbstractFileParser *parser,
                       ParserOwnershipPolicy policy, const QByteArray &body);
    ~CTaskHttpOperation() override;

    /// Null when none was given or it is gone.
    CAbstractFileParser *parser() const;
    /// The finished reply, its body read; null as long as there is none. Not to be deleted; valid as long as
    /// the task.
    QNetworkReply *reply() const;
    unsigned type() const override;

protected:
    /// Sends the request through networkAccessManager(). Null when it cannot: the task then fails.
    virtual QNetworkReply *postHttpOperationRequest();
    /// Asked when a reply has finished, whatever its outcome: another request of this operation, sent through
    /// networkAccessManager() after it, or null when that was the last one. By default null.
    virtual QNetworkReply *postNextRequest(const QNetworkReply &finished);
    /// Begins the time limit anew, for an operation that sees its request go on.
    void restartTimeLimit();

    KOV_RESULT validateSubTask() override;
    void finish(int result) override;

    const QNetworkRequest &request() const;
    /// The task's own; what it is asked for is answered to this task alone.
    QNetworkAccessManager *networkAccessManager() const;

private Q_SLOTS:
    void onHttpOperationFinished(QNetworkReply *reply);
    void onSslErrors(QNetworkReply *reply, const QList<QSslError> &errors);
    void onWaitingProxyAuthInput(bool waiting);
    void onOperationTimeout();

private:
    Q_INVOKABLE KOV_RESULT createFile();
    Q_INVOKABLE KOV_RESULT executeHttpOperation();
    void follow(QNetworkReply *posted);

    class Private;
    const std::unique_ptr<Private> d;
};
