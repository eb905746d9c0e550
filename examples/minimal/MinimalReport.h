#pragma once

#include "gui/problem_report/CTaskCreateProblemReport.h"
#include "gui/problem_report/send/ReportService.h"
#include "kov_sdk/KovSdk.h"
#include "kov_sdk_communication/CSdkRequest.h"

#include <QSettings>
#include <QUrl>

/// What a problem report is asked of.
class MinimalReportSource : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    Q_INVOKABLE CSdkRequest *getProblemReport(uint kind)
    {
        t_SdkHandleWrap job;
        KovApi_GetProblemReport(kind, nullptr, job.out());
        return new CSdkRequest(job);
    }
};

/// Has a report collected; its user looks at it and sends it.
inline void reportProblem(QObject *parent)
{
    ReportService::setAddress(QUrl(QSettings().value(QStringLiteral("ReportServer")).toString()));
    auto *task = new CTaskCreateProblemReport(new MinimalReportSource(parent));
    task->setOption(CAbstractTask::DeleteWhenFinished, true);
    task->execute();
}
