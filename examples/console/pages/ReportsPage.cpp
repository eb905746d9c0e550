#include "examples/console/pages/ReportsPage.h"

#include "examples/console/sample/ConsoleReports.h"
#include "examples/console/sample/CrashNote.h"
#include "gui/problem_report/CTaskCreateProblemReport.h"
#include "gui/problem_report/ClientProblemReportHelper.h"
#include "gui/problem_report/dialog/CTessarineProblemReportDialog.h"
#include "gui/problem_report/send/CProblemReportPost.h"
#include "gui/problem_report/send/KeptReports.h"
#include "gui/problem_report/send/ReportService.h"
#include "gui/tasks/progress/FormatUtils.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

QString resultText(KOV_RESULT result)
{
    return QStringLiteral("0x%1").arg(uint(result), 8, 16, QLatin1Char('0'));
}

} // namespace

ReportsPage::ReportsPage(QWidget *parent)
    : ConsolePage(tr("Problem Reports"), parent)
    , m_server(new ReportServer(this))
    , m_source(new ConsoleReports(parent ? parent : this, this))
    , m_delegate(new ConsoleReportDelegate(this))
{
    auto *layout = new QVBoxLayout(area());
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(createReportRow());
    layout->addWidget(createKeptRow());
    connect(m_delegate, &ConsoleReportDelegate::delivered, this, [this](const QString &id) {
        m_deliveredId = id;
        report(tr("The service took the report %1.").arg(id));
    });
    setManner(ReportServer::Manner::Takes);
    showKept();
}

QWidget *ReportsPage::createReportRow()
{
    auto *box = new QGroupBox(tr("A report"), area());
    auto *row = new QHBoxLayout(box);
    addButton(row, tr("Report a &Problem"), "reportProblem", &ReportsPage::reportProblem);
    m_oldSchema = new QCheckBox(tr("in the o&ld form"), box);
    m_oldSchema->setObjectName(QStringLiteral("oldSchema"));
    row->addWidget(m_oldSchema);
    addButton(row, tr("&Crash Another Console"), "crashAnother", &ReportsPage::crashAnother);
    addButton(row, tr("Report the Cr&ash"), "reportCrash", &ReportsPage::reportCrash);
    m_manner = new QComboBox(box);
    m_manner->setObjectName(QStringLiteral("manner"));
    m_manner->addItems({tr("takes reports"), tr("is busy"), tr("sends elsewhere"), tr("is stopped")});
    auto *label = new QLabel(tr("The &service"), box);
    label->setBuddy(m_manner);
    row->addStretch();
    row->addWidget(label);
    row->addWidget(m_manner);
    connect(m_manner, QOverload<int>::of(&QComboBox::activated), this,
            [this](int index) { setManner(ReportServer::Manner(index)); });
    return box;
}

QWidget *ReportsPage::createKeptRow()
{
    auto *box = new QGroupBox(tr("Not sent yet"), area());
    auto *row = new QHBoxLayout(box);
    m_kept = new QLabel(box);
    m_kept->setObjectName(QStringLiteral("kept"));
    row->addWidget(m_kept, 1);
    addButton(row, tr("Send A&gain"), "sendAgain", &ReportsPage::sendAgain);
    addButton(row, tr("&Discard"), "removeKept", &ReportsPage::removeKept);
    return box;
}

void ReportsPage::addButton(QHBoxLayout *row, const QString &text, const char *name,
                            void (ReportsPage::*slot)())
{
    auto *button = new QPushButton(text, area());
    button->setObjectName(QLatin1String(name));
    connect(button, &QPushButton::clicked, this, slot);
    row->addWidget(button);
}

void ReportsPage::setManner(ReportServer::Manner manner)
{
    m_manner->setCurrentIndex(int(manner));
    if (!m_server->setManner(manner))
        report(m_server->errorText());
}

void ReportsPage::reportProblem()
{
    if (m_task) {
        m_task->bringToFront();
        return;
    }
    m_task = new CTaskCreateProblemReport(m_source);
    m_task->setDelegate(m_delegate);
    m_task->setParameters({m_oldSchema->isChecked()});
    m_task->setOption(CAbstractTask::DeleteWhenFinished, true);
    connect(m_task, &CAbstractTask::taskFinished, this, [this](KOV_RESULT result) {
        m_task = nullptr;
        if (result == KOV_ERR_CANCELLED)
            report(tr("The report was cancelled."));
        else if (KOV_FAILED(result))
            report(tr("There is no report: %1. The log says why.").arg(resultText(result)));
        else
            report(tr("The report was closed."));
        showKept();
    });
    report(tr("The embedded service collects…"));
    m_task->execute();
}

void ReportsPage::crashAnother()
{
    QProcess other;
    other.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--crash")});
    other.waitForFinished();
    report(other.exitStatus() == QProcess::CrashExit ? tr("Another console crashed.")
                                                     : tr("The other console did not crash."));
}

void ReportsPage::reportCrash()
{
    const QString note = CrashNote::find();
    if (note.isEmpty()) {
        report(tr("Nothing crashed."));
        return;
    }
    auto *dialog
        = ClientProblemReportHelper::crashReport(note, CrashNote::text(note), window(), m_delegate, false);
    // Asked about once, whatever the answer; a report that is not delivered is kept by itself.
    if (!dialog) {
        CrashNote::remove(note);
        return;
    }
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::finished, this, [this, note] {
        CrashNote::remove(note);
        showKept();
    });
    report(tr("A console crashed before; its report is offered."));
    dialog->show();
}

int ReportsPage::keptReports() const
{
    return KeptReports::all().size();
}

void ReportsPage::sendAgain()
{
    const auto all = KeptReports::all();
    for (const KeptReports::Report &kept : all) {
        if (m_post || !kept.canBeSent())
            continue;
        m_post = new CProblemReportPost(kept.id, this);
        connect(m_post, &CProblemReportPost::complete, this, &ReportsPage::onSentAgain);
        m_post->start();
    }
    if (!m_post)
        report(tr("There is no report that can be sent again."));
}

void ReportsPage::onSentAgain(KOV_RESULT result, const QStringList &answer)
{
    m_post->deleteLater();
    m_post = nullptr;
    if (KOV_SUCCEEDED(result) && ReportService::isAccepted(answer)) {
        m_deliveredId = ReportService::identifierOf(answer);
        report(tr("The service took the report %1.").arg(m_deliveredId));
    } else {
        report(tr("The service did not take the report."));
    }
    showKept();
}

void ReportsPage::removeKept()
{
    const auto all = KeptReports::all();
    for (const KeptReports::Report &kept : all)
        KeptReports::remove(kept.id);
    showKept();
}

void ReportsPage::showKept()
{
    QStringList lines;
    const auto all = KeptReports::all();
    for (const KeptReports::Report &kept : all) {
        lines.append(tr("%1 of %2, tried %3 of %4 times")
                         .arg(FormatUtils::dataSize(kept.size),
                              locale().toString(kept.createdOn, QLocale::ShortFormat),
                              QString::number(kept.attempts), QString::number(KeptReports::maximumAttempts)));
    }
    m_kept->setText(lines.isEmpty() ? tr("Every report was sent.") : lines.join(QLatin1Char('\n')));
}
