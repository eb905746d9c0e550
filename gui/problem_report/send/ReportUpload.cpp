#include "gui/problem_report/send/ReportUpload_p.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/problem_report/send/ReportService.h"
#include "gui/tasks/http/WebUtils.h"

#include <QFile>
#include <QHttpMultiPart>
#include <QNetworkReply>

namespace {

constexpr int mostRedirects = 5;

/// Null when the file cannot be read.
QFile *addFile(QHttpMultiPart *parts, const char *name, const char *suffix, const char *type,
               const QString &path)
{
    auto *file = new QFile(path, parts);
    if (!file->open(QIODevice::ReadOnly))
        return nullptr;
    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray(type));
    part.setHeader(QNetworkRequest::ContentDispositionHeader,
                   QStringLiteral("form-data; name=\"%1\"; filename=\"%1.%2\"")
                       .arg(QLatin1String(name), QLatin1String(suffix)));
    part.setBodyDevice(file);
    parts->append(part);
    return file;
}

} // namespace

ReportUpload::ReportUpload(const QNetworkRequest &request, const QNetworkProxy &proxy,
                           CAbstractFileParser *parser, const QString &documentPath,
                           const QString &archivePath)
    : CTaskHttpOperation(request, QNetworkAccessManager::PostOperation, QString(), &proxy, parser, KeepParser,
                         QByteArray())
    , m_documentPath(documentPath)
    , m_archivePath(archivePath)
{ }

QNetworkReply *ReportUpload::postHttpOperationRequest()
{
    return networkAccessManager()->head(request());
}

QNetworkReply *ReportUpload::postNextRequest(const QNetworkReply &finished)
{
    const int status = finished.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QUrl target = finished.attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    // Without a status nobody is there; 407 is the proxy's last word.
    if (m_isUploaded || status == 0 || status == 407)
        return nullptr;
    if (target.isEmpty())
        return upload(finished.url());
    const QUrl next = finished.url().resolved(target);
    if (!ReportService::isAcceptableRedirect(finished.url(), next) || ++m_redirects > mostRedirects) {
        KOV_LOG(0, "(!)Error: the report service redirects to %s, which is refused.",
                KovGui::logText(WebUtils::maskedUrl(next)).constData());
        return nullptr;
    }
    QNetworkRequest again(request());
    again.setUrl(next);
    return networkAccessManager()->head(again);
}

QNetworkReply *ReportUpload::upload(const QUrl &address)
{
    auto *parts = new QHttpMultiPart(QHttpMultiPart::FormDataType);
    if (!addFile(parts, "report", "xml", "application/xml", m_documentPath)
        || !addFile(parts, "archive", "tar.gz", "application/gzip", m_archivePath)) {
        KOV_LOG(0, "(!)Error: the files of the problem report cannot be read.");
        delete parts;
        return nullptr;
    }
    QNetworkRequest post(request());
    post.setUrl(address);
    QNetworkReply *const reply = networkAccessManager()->post(post, parts);
    parts->setParent(reply);
    m_isUploaded = true;
    connect(reply, &QNetworkReply::uploadProgress, this, [this](qint64 done, qint64 total) {
        restartTimeLimit();
        if (total > 0)
            Q_EMIT uploadProgress(done, total);
    });
    return reply;
}
