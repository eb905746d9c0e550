#pragma once

#include "gui/tasks/http/CTaskHttpOperation.h"

/// The HTTP operation of CTaskSendProblemReport: an empty request, its redirects within the host, and then
/// the upload.
class ReportUpload : public CTaskHttpOperation
{
    Q_OBJECT

public:
    ReportUpload(const QNetworkRequest &request, const QNetworkProxy &proxy, CAbstractFileParser *parser,
                 const QString &documentPath, const QString &archivePath);

    /// The upload was sent, and the last reply answers it.
    bool isUploaded() const { return m_isUploaded; }

Q_SIGNALS:
    void uploadProgress(qint64 done, qint64 total);

protected:
    QNetworkReply *postHttpOperationRequest() override;
    QNetworkReply *postNextRequest(const QNetworkReply &finished) override;

private:
    QNetworkReply *upload(const QUrl &address);

    const QString m_documentPath;
    const QString m_archivePath;
    int m_redirects = 0;
    bool m_isUploaded = false;
};
