#include "gui/problem_report/ClientProblemReportHelper.h"

#include "gui/data_model/documents/CPackedProblemReport.h"
#include "gui/log/Log.h"
#include "gui/problem_report/dialog/CTessarineProblemReportDialog.h"
#include "gui/problem_report/report/CProblemReportDelegate.h"
#include "kov_sdk/KovTypes.h"

#include <QFileInfo>

namespace {

CTessarineProblemReportDialog *finished(CTessarineProblemReportDialog *dialog, const QWidget *parent)
{
    if (!dialog->isValid()) {
        delete dialog;
        return nullptr;
    }
    dialog->setProblemCode(KOV_ERR_UNEXPECTED);
    if (parent) {
        dialog->adjustSize();
        dialog->move(parent->window()->frameGeometry().center() - dialog->rect().center());
    }
    return dialog;
}

} // namespace

CTessarineProblemReportDialog *ClientProblemReportHelper::crashReport(const QString &path,
                                                                      const QString &text, QWidget *parent,
                                                                      CProblemReportDelegate *delegate,
                                                                      bool askedFor)
{
    CPackedProblemReport report;
    const QByteArray document = text.toUtf8();
    const bool isDocument = report.read(document);
    const bool isArchive = path.endsWith(QLatin1String(".tar.gz"));
    CTessarineProblemReportDialog *dialog = nullptr;
    if (isDocument) {
        dialog = new CTessarineProblemReportDialog(isArchive ? path : QString(), document, delegate, parent);
    } else {
        dialog = new CTessarineProblemReportDialog(text, delegate, parent);
        if (isArchive)
            KOV_LOG(1, "(!)Warning: the archive of a crash report came without its main document.");
    }
    if (!isArchive && !path.isEmpty())
        dialog->addCrashDumpFile(path);
    dialog->setAskedFor(askedFor);
    return finished(dialog, parent);
}

CTessarineProblemReportDialog *
ClientProblemReportHelper::crashReportWithDump(const QString &text, CProblemReportDelegate *delegate)
{
    QWidget *const parent = delegate ? delegate->parentWindow(nullptr) : nullptr;
    return finished(new CTessarineProblemReportDialog(text, delegate, parent), parent);
}
