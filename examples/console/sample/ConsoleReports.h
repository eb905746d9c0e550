#pragma once

#include "gui/problem_report/report/CProblemReportDelegate.h"
#include "kov_sdk_communication/CSdkRequest.h"

#include <QObject>
#include <QTemporaryDir>

/// What a problem report of the console is asked of: hands the console's own part, its log and a picture of
/// its window to the embedded service.
class ConsoleReports : public QObject
{
    Q_OBJECT

public:
    /// @param window  whose picture is taken
    explicit ConsoleReports(QWidget *window, QObject *parent = nullptr);

    Q_INVOKABLE CSdkRequest *getProblemReport(uint kind);

private:
    QByteArray clientPart();

    QWidget *const m_window;
    QTemporaryDir m_folder;
};

/// Tells the console's page about a report that arrived.
class ConsoleReportDelegate : public CProblemReportDelegate
{
    Q_OBJECT

public:
    using CProblemReportDelegate::CProblemReportDelegate;

    QString getTitleText(const CPackedProblemReport &report) override;
    QWidget *parentWindow(QObject *context) override;
    void postReportSuccess(const QString &id, QWidget *parent) override;

Q_SIGNALS:
    void delivered(const QString &id);
};
