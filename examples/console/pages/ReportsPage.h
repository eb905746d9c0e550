#pragma once

#include "examples/console/pages/ConsolePage.h"
#include "examples/console/sample/ReportServer.h"
#include "kov_sdk/KovTypes.h"

#include <QPointer>

class ConsoleReportDelegate;
class ConsoleReports;
class CProblemReportPost;
class CTaskCreateProblemReport;
class QCheckBox;
class QComboBox;
class QHBoxLayout;
class QLabel;

/// Problem reports: collected by the embedded service, looked at, sent to the sample service, kept when that
/// fails; and reports of crashes.
class ReportsPage : public ConsolePage
{
    Q_OBJECT

public:
    explicit ReportsPage(QWidget *parent = nullptr);

    ReportServer *server() const { return m_server; }
    void setManner(ReportServer::Manner manner);
    /// Of the report that arrived last; empty before.
    QString deliveredId() const { return m_deliveredId; }
    int keptReports() const;

public Q_SLOTS:
    void reportProblem();
    /// Starts another console, which crashes.
    void crashAnother();
    /// What every start does: a crash that nobody was told about is offered to be reported.
    void reportCrash();
    void sendAgain();
    void removeKept();

private:
    QWidget *createReportRow();
    QWidget *createKeptRow();
    void addButton(QHBoxLayout *row, const QString &text, const char *name, void (ReportsPage::*slot)());
    void showKept();
    void onSentAgain(KOV_RESULT result, const QStringList &answer);

    ReportServer *const m_server;
    ConsoleReports *m_source = nullptr;
    ConsoleReportDelegate *m_delegate = nullptr;
    QPointer<CTaskCreateProblemReport> m_task;
    QPointer<CProblemReportPost> m_post;
    QComboBox *m_manner = nullptr;
    QCheckBox *m_oldSchema = nullptr;
    QLabel *m_kept = nullptr;
    QString m_deliveredId;
};
