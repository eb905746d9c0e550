#pragma once

#include <QMainWindow>

class LogPage;
class MessagesPage;
class NetworkPage;
class NotificationsPage;
class PreferencesPage;
class QListWidget;
class QStackedWidget;
class ReportsPage;
class StatisticsPage;
class TasksPage;
class UpdatesPage;
class WizardsPage;

/// Tessarine Console: one window, a page a subsystem.
class ConsoleWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit ConsoleWindow(QWidget *parent = nullptr);

    UpdatesPage *updates() const { return m_updates; }
    NetworkPage *network() const { return m_network; }
    MessagesPage *messages() const { return m_messages; }
    NotificationsPage *notifications() const { return m_notifications; }
    StatisticsPage *statistics() const { return m_statistics; }
    PreferencesPage *preferences() const { return m_preferences; }
    TasksPage *tasks() const { return m_tasks; }
    WizardsPage *wizards() const { return m_wizards; }
    ReportsPage *reports() const { return m_reports; }
    LogPage *log() const { return m_log; }
    void showPage(QWidget *page);

private:
    void addPage(const QString &name, QWidget *page);

    QListWidget *m_names = nullptr;
    QStackedWidget *m_pages = nullptr;
    UpdatesPage *m_updates = nullptr;
    NetworkPage *m_network = nullptr;
    MessagesPage *m_messages = nullptr;
    NotificationsPage *m_notifications = nullptr;
    StatisticsPage *m_statistics = nullptr;
    PreferencesPage *m_preferences = nullptr;
    TasksPage *m_tasks = nullptr;
    WizardsPage *m_wizards = nullptr;
    ReportsPage *m_reports = nullptr;
    LogPage *m_log = nullptr;
};
