#include "gui/problem_report/send/CProblemReportPost.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/problem_report/send/CTaskSendProblemReport.h"
#include "gui/problem_report/send/KeptReports.h"
#include "gui/problem_report/send/ReportService.h"
#include "gui/tasks/http/WebUtils.h"

#include <QPointer>

class CProblemReportPost::Private
{
public:
    QString id;
    QPointer<CTaskSendProblemReport> task;
    bool isStarted = false;
    bool isEnded = false;
};

CProblemReportPost::CProblemReportPost(const QString &id, QObject *parent)
    : QObject(parent)
    , d(new Private)
{
    d->id = id;
}

CProblemReportPost::~CProblemReportPost()
{
    if (!d->task)
        return;
    d->task->disconnect(this);
    // It ends from the event loop, with its own last requests.
    d->task->setParent(nullptr);
    d->task->setOption(CAbstractTask::DeleteWhenFinished, true);
    d->task->terminate(KOV_ERR_CANCELLED);
}

QString CProblemReportPost::id() const
{
    return d->id;
}

void CProblemReportPost::start()
{
    if (d->isStarted)
        return;
    d->isStarted = true;
    const QUrl address = ReportService::address();
    const char *complaint = nullptr;
    if (!ReportService::isAcceptable(address))
        complaint = "there is no acceptable address of a service for problem reports";
    else if (!KeptReports::countAttempt(d->id))
        complaint = "the problem report is gone, or was sent in vain too often";
    if (complaint) {
        KOV_LOG(0, "(!)Error: %s: %s", complaint, KovGui::logText(WebUtils::maskedUrl(address)).constData());
        end(KOV_ERR_FAILURE, QStringList());
        return;
    }
    d->task = new CTaskSendProblemReport(address, KeptReports::documentPath(d->id),
                                         KeptReports::archivePath(d->id));
    d->task->setParent(this);
    connect(d->task, &CTaskSendProblemReport::uploadProgress, this, &CProblemReportPost::uploadProgress);
    connect(d->task, &CAbstractTask::taskFinished, this, [this](KOV_RESULT result) {
        end(result, KOV_SUCCEEDED(result) ? d->task->answer() : QStringList());
    });
    d->task->execute();
}

void CProblemReportPost::cancel()
{
    d->isStarted = true;
    if (d->task)
        d->task->terminate(KOV_ERR_CANCELLED);
    else
        end(KOV_ERR_CANCELLED, QStringList());
}

void CProblemReportPost::end(KOV_RESULT result, const QStringList &answer)
{
    if (d->isEnded)
        return;
    d->isEnded = true;
    if (KOV_SUCCEEDED(result) && ReportService::isAccepted(answer))
        KeptReports::remove(d->id);
    QMetaObject::invokeMethod(
        this, [this, result, answer] { Q_EMIT complete(result, answer); }, Qt::QueuedConnection);
}
