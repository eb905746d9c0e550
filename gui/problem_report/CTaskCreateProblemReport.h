#pragma once

#include "abstract_task/CAbstractTask.h"
#include "gui/KovGuiGlobal.h"

#include <QMetaType>
#include <QString>

#include <memory>

class CProblemReportDelegate;

/**
 * Asks the service for a problem report of a server or a virtual machine and shows it to the user, who
 * completes and sends it; or shows the dump of a crash in the same way. Runs until the dialog has closed.
 *
 *     auto *task = new CTaskCreateProblemReport(machine);
 *     task->setDelegate(delegate);
 *     task->setOption(CAbstractTask::DeleteWhenFinished, true);
 *     task->execute();
 *
 * The context object carries the properties "serverUuid" and "vmUuid" and has an invokable method
 *
 *     CSdkRequest *getProblemReport(uint kind);    // of _KOV_PROBLEM_REPORT_KIND
 *
 * which starts the request. A request without a parent becomes the task's child. It may have completed
 * already.
 *
 * A report that is outdated when it arrives is requested once more, and no third time. Results: KOV_SUCCESS
 * when the dialog was shown and has closed; KOV_ERR_CANCELLED when the user cancelled the collection;
 * KOV_ERR_FAILURE, or the service's own code, when there is nothing to show. The reason is in the log, and no
 * dialog appeared: telling the user is the caller's business.
 */
class KOVGUI_EXPORT CTaskCreateProblemReport : public CAbstractTask
{
    Q_OBJECT

public:
    enum TaskStep {
        PostReport = 0,
        ShowReport = 1,
        ShowCrashDump = 2,
    };
    Q_ENUM(TaskStep)

    struct TaskParams
    {
        /// The report is one document, for services that know no archives.
        bool oldSchema = false;
    };

    /// Steps PostReport and ShowReport.
    /// @param context  see above; may go before the task has ended
    explicit CTaskCreateProblemReport(QObject *context);
    /// Step ShowCrashDump.
    explicit CTaskCreateProblemReport(const QString &crashDump);
    CTaskCreateProblemReport(const QString &crashDump, QObject *context);
    ~CTaskCreateProblemReport() override;

    /// To be called before execute(); stays the caller's. Without one the defaults hold.
    void setDelegate(CProblemReportDelegate *delegate);
    void setParameters(CTaskCreateProblemReport::TaskParams parameters);
    unsigned type() const override;

public Q_SLOTS:
    void bringToFront() override;

protected:
    QList<int> getDefaultSubTaskList() const override;
    void finish(int result) override;

private Q_SLOTS:
    void onProblemReportRecieved(KOV_RESULT result);
    void onUserCanceled();
    void onReportClosed();

private:
    Q_INVOKABLE KOV_RESULT postReport();
    Q_INVOKABLE KOV_RESULT showReport();
    Q_INVOKABLE KOV_RESULT showCrashDump();
    KOV_RESULT showDialog(CProblemReportDelegate &delegate);

    class Private;
    const std::unique_ptr<Private> d;
};

Q_DECLARE_METATYPE(CTaskCreateProblemReport::TaskParams)
