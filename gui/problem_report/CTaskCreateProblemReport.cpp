#include "gui/problem_report/CTaskCreateProblemReport.h"

#include "gui/frame/GUI.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/problem_report/ClientProblemReportHelper.h"
#include "gui/problem_report/ServiceReport_p.h"
#include "gui/problem_report/dialog/CTessarineProblemReportDialog.h"
#include "gui/problem_report/report/ArchiveModule_p.h"
#include "gui/problem_report/report/CProblemReportDelegate.h"
#include "gui/tasks/TaskIds.h"
#include "gui/window/CProgressDialog.h"
#include "kov_sdk_communication/CSdkRequest.h"

#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QTimer>

using KovGui::logText;

namespace {

/// Milliseconds between two looks at how far the service is.
constexpr int progressInterval = 200;

QString uuidOf(const QObject *context, const char *property)
{
    return context ? context->property(property).toString() : QString();
}

/// What the service calls of no use. Its word is taken for no other kind of file.
void removeArchive(const QString &path)
{
    const QFileInfo info(path);
    if (path.endsWith(QLatin1String(".tar.gz")) && info.isFile() && !info.isSymLink())
        QFile::remove(path);
}

} // namespace

class CTaskCreateProblemReport::Private
{
public:
    Private(const QString &crashDump, QObject *context, const QList<int> &steps)
        : crashDump(crashDump)
        , context(context)
        , steps(steps)
    { }

    CProblemReportDelegate &delegateOf(CTaskCreateProblemReport *task)
    {
        if (!delegate)
            delegate = new CProblemReportDelegate(task);
        return *delegate;
    }

    void showProgress(CTaskCreateProblemReport *task);
    void hideProgress();
    void letGo();

    const QString crashDump;
    QString archivePath;
    QByteArray text;
    KOV_RESULT received = KOV_SUCCESS;
    bool isRepeated = false;
    QPointer<CSdkRequest> request;
    const QPointer<QObject> context;
    const QList<int> steps;
    bool isDialogAwaited = false;
    QPointer<CProgressDialog> progress;
    QPointer<CTessarineProblemReportDialog> dialog;
    QPointer<CProblemReportDelegate> delegate;
    TaskParams parameters;
};

void CTaskCreateProblemReport::Private::showProgress(CTaskCreateProblemReport *task)
{
    progress = new CProgressDialog(delegateOf(task).parentWindow(context));
    progress->setWindowTitle(delegateOf(task).getWindowTitle());
    progress->setLabelText(tr("Collecting the data of the problem report..."));
    progress->setRange(0, 0);
    connect(progress, &CProgressDialog::canceled, task, &CTaskCreateProblemReport::onUserCanceled);
    auto *timer = new QTimer(progress);
    connect(timer, &QTimer::timeout, progress, [dialog = progress.data(), pending = request] {
        uint32_t percent = 0;
        const t_SdkHandleWrap job = pending ? pending->job() : t_SdkHandleWrap();
        if (job.isNull() || KOV_FAILED(KovJob_GetProgress(job, &percent)) || percent == 0)
            return;
        dialog->setRange(0, 100);
        dialog->setValue(int(percent));
    });
    timer->start(progressInterval);
    progress->open();
}

void CTaskCreateProblemReport::Private::hideProgress()
{
    if (!progress)
        return;
    progress->hide();
    progress->disconnect();
    progress->deleteLater();
    progress = nullptr;
}

void CTaskCreateProblemReport::Private::letGo()
{
    if (request) {
        request->disconnect();
        request->deleteLater();
    }
    request = nullptr;
}

CTaskCreateProblemReport::CTaskCreateProblemReport(QObject *context)
    : CAbstractTask(new CTaskId_CreateProblemReport(uuidOf(context, "serverUuid"), uuidOf(context, "vmUuid"),
                                                    false, QString()))
    , d(new Private(QString(), context, {PostReport, ShowReport}))
{ }

CTaskCreateProblemReport::CTaskCreateProblemReport(const QString &crashDump)
    : CTaskCreateProblemReport(crashDump, nullptr)
{ }

CTaskCreateProblemReport::CTaskCreateProblemReport(const QString &crashDump, QObject *context)
    : CAbstractTask(new CTaskId_CreateProblemReport(uuidOf(context, "serverUuid"), uuidOf(context, "vmUuid"),
                                                    false, crashDump))
    , d(new Private(crashDump, context, {ShowCrashDump}))
{ }

CTaskCreateProblemReport::~CTaskCreateProblemReport()
{
    endBeforeDestruction();
}

void CTaskCreateProblemReport::setDelegate(CProblemReportDelegate *delegate)
{
    d->delegate = delegate;
}

void CTaskCreateProblemReport::setParameters(TaskParams parameters)
{
    d->parameters = parameters;
}

unsigned CTaskCreateProblemReport::type() const
{
    return GUI::TaskCreateProblemReport;
}

void CTaskCreateProblemReport::bringToFront()
{
    if (d->dialog)
        d->dialog->present();
    else if (d->progress)
        d->progress->present();
}

QList<int> CTaskCreateProblemReport::getDefaultSubTaskList() const
{
    return d->steps;
}

KOV_RESULT CTaskCreateProblemReport::postReport()
{
    if (!d->crashDump.isEmpty())
        return KOV_ERR_FAILURE;
    const uint kind = d->parameters.oldSchema ? KPR_OLD_SCHEMA : KPR_PACKED;
    d->delegateOf(this).beforeCollection();
    CSdkRequest *request = nullptr;
    const bool isInvoked
        = d->context
          && QMetaObject::invokeMethod(d->context, "getProblemReport", Qt::DirectConnection,
                                       Q_RETURN_ARG(CSdkRequest *, request), Q_ARG(uint, kind));
    if (!isInvoked || !request) {
        KOV_LOG(0, "Current context does not support GetProblemReport command request");
        return KOV_ERR_FAILURE;
    }
    d->request = request;
    if (!request->parent())
        request->setParent(this);
    setWaitForSubTaskCompletion();
    connect(request, &CSdkRequest::jobCompleted, this, &CTaskCreateProblemReport::onProblemReportRecieved);
    if (request->isCompleted()) // its signal is gone
        QMetaObject::invokeMethod(
            this, [this, result = request->result()] { onProblemReportRecieved(result); },
            Qt::QueuedConnection);
    d->showProgress(this);
    return KOV_SUCCESS;
}

void CTaskCreateProblemReport::onProblemReportRecieved(KOV_RESULT result)
{
    d->hideProgress();
    if (!d->request) // cancelled meanwhile
        return;
    const t_SdkHandleWrap job = d->request->job();
    const QString path = d->request->data();
    d->letGo();
    d->received = result;
    if (result == KOV_ERR_PROBLEM_REPORT_IN_FILE) {
        d->archivePath = path;
    } else if (!d->parameters.oldSchema && result == KOV_ERR_PROBLEM_REPORT_OUTDATED) {
        removeArchive(path);
        if (d->isRepeated)
            KOV_LOG(0, "(!)Error: the problem report was outdated a second time.");
        else
            prependSubTask(PostReport);
        d->isRepeated = true;
    } else if (KOV_SUCCEEDED(result)) {
        if (!d->parameters.oldSchema)
            d->archivePath = path;
        d->text
            = d->parameters.oldSchema ? ServiceReport::readOldSchema(job) : ServiceReport::readPacked(job);
    } else {
        KOV_LOG(0, "(!)Error: the service made no problem report: %.8X '%s'", uint(result),
                ServiceReport::descriptionOf(result).constData());
    }
    subTaskCompleted(KOV_SUCCESS);
}

void CTaskCreateProblemReport::onUserCanceled()
{
    if (!d->request)
        return;
    const QPointer<CSdkRequest> request = d->request;
    d->letGo();
    d->hideProgress();
    request->cancel();
    subTaskCompleted(KOV_ERR_CANCELLED);
}

KOV_RESULT CTaskCreateProblemReport::showReport()
{
    if (d->text.isEmpty() && d->received == KOV_ERR_PROBLEM_REPORT_IN_FILE) {
        const ReportArchive::Result result = ArchiveModule::readDocument(d->archivePath, &d->text);
        if (result.outcome != ReportArchive::Outcome::Done)
            KOV_LOG(0, "(!)Error: the archive %s of the problem report is not used: %s",
                    logText(d->archivePath).constData(), logText(result.reason).constData());
    }
    if (d->text.isEmpty())
        return KOV_FAILED(d->received) && d->received != KOV_ERR_PROBLEM_REPORT_IN_FILE ? d->received
                                                                                        : KOV_ERR_FAILURE;
    CProblemReportDelegate &delegate = d->delegateOf(this);
    d->dialog = new CTessarineProblemReportDialog(d->archivePath, d->text, &delegate,
                                                  delegate.parentWindow(d->context));
    return showDialog(delegate);
}

KOV_RESULT CTaskCreateProblemReport::showCrashDump()
{
    if (d->crashDump.isEmpty()) {
        KOV_LOG(0, "ERROR: crash dump string is empty");
        return KOV_ERR_FAILURE;
    }
    CProblemReportDelegate &delegate = d->delegateOf(this);
    d->dialog = ClientProblemReportHelper::crashReportWithDump(d->crashDump, &delegate);
    return showDialog(delegate);
}

KOV_RESULT CTaskCreateProblemReport::showDialog(CProblemReportDelegate &delegate)
{
    if (!d->dialog || !d->dialog->isValid()) {
        delete d->dialog;
        return KOV_ERR_FAILURE;
    }
    d->isDialogAwaited = true;
    setWaitForSubTaskCompletion();
    connect(d->dialog, &QDialog::finished, this, &CTaskCreateProblemReport::onReportClosed);
    // From the event loop: nothing is done from inside a destructor.
    connect(d->dialog, &QObject::destroyed, this, &CTaskCreateProblemReport::onReportClosed,
            Qt::QueuedConnection);
    delegate.beforeReportShow(d->dialog);
    if (d->dialog)
        d->dialog->show();
    return KOV_SUCCESS;
}

void CTaskCreateProblemReport::onReportClosed()
{
    if (d->isDialogAwaited)
        subTaskCompleted(KOV_SUCCESS);
    d->isDialogAwaited = false;
}

void CTaskCreateProblemReport::finish(int result)
{
    if (d->request) {
        const QPointer<CSdkRequest> request = d->request;
        d->letGo();
        request->cancel();
    }
    d->hideProgress();
    if (d->dialog) {
        d->dialog->disconnect(this);
        d->dialog->deleteLater();
    }
    CAbstractTask::finish(result);
}
