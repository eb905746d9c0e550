#include "gui/problem_report/send/CTaskSendProblemReport.h"

#include "gui/log/Log.h"
#include "gui/problem_report/send/ReportService.h"
#include "gui/problem_report/send/ReportUpload_p.h"
#include "gui/tasks/http/CAbstractFileParser.h"

#include <QFile>
#include <QNetworkReply>
#include <QPointer>

namespace {

/// As many lines as an answer may have fit in.
constexpr qint64 readSize = 16 * 1024;

/// The lines of the answer as a list of texts.
class AnswerParser : public CAbstractFileParser
{
public:
    using CAbstractFileParser::parse;

protected:
    int parse(QVariant &result) override
    {
        QFile file(filePath());
        if (!file.open(QIODevice::ReadOnly))
            return 1;
        result = ReportService::answerLines(file.read(readSize));
        return 0;
    }
};

} // namespace

class CTaskSendProblemReport::Private
{
public:
    QString documentPath;
    QString archivePath;
    AnswerParser parser;
    QPointer<ReportUpload> upload;
};

CTaskSendProblemReport::CTaskSendProblemReport(const QUrl &address, const QString &documentPath,
                                               const QString &archivePath)
    : CTaskSendHttpRequest(QNetworkRequest(address), QNetworkAccessManager::PostOperation, nullptr,
                           QByteArray())
    , d(new Private)
{
    d->documentPath = documentPath;
    d->archivePath = archivePath;
}

CTaskSendProblemReport::~CTaskSendProblemReport()
{
    endBeforeDestruction();
}

QStringList CTaskSendProblemReport::answer() const
{
    return d->parser.data().toStringList();
}

CAbstractTask *CTaskSendProblemReport::createHttpOperation()
{
    d->upload = new ReportUpload(request(), proxy(), &d->parser, d->documentPath, d->archivePath);
    connect(d->upload, &ReportUpload::uploadProgress, this, &CTaskSendProblemReport::uploadProgress);
    return d->upload;
}

void CTaskSendProblemReport::finish(int result)
{
    const QNetworkReply *const last = d->upload ? d->upload->reply() : nullptr;
    const int status = last ? last->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() : 0;
    const bool isTaken = d->upload && d->upload->isUploaded() && status >= 200 && status < 300;
    if (KOV_SUCCEEDED(result) && !isTaken) {
        KOV_LOG(0, "(!)Error: the report service did not take the problem report: status %d.", status);
        result = KOV_ERR_FAILURE;
    }
    CTaskSendHttpRequest::finish(result);
}
