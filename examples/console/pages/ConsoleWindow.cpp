#include "examples/console/pages/ConsoleWindow.h"

#include "examples/console/pages/LogPage.h"
#include "examples/console/pages/MessagesPage.h"
#include "examples/console/pages/NetworkPage.h"
#include "examples/console/pages/NotificationsPage.h"
#include "examples/console/pages/PreferencesPage.h"
#include "examples/console/pages/ReportsPage.h"
#include "examples/console/pages/StatisticsPage.h"
#include "examples/console/pages/TasksPage.h"
#include "examples/console/pages/UpdatesPage.h"
#include "examples/console/pages/WizardsPage.h"
#include "gui/KovGui.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QStackedWidget>

ConsoleWindow::ConsoleWindow(QWidget *parent)
    : QMainWindow(parent)
{
    setWindowTitle(KovGui::getAppGuiName());
    // The messages of this window's machine find their parent by it.
    setProperty("vmUuid", QStringLiteral("{3f2a7d60-machine-1}"));

    auto *content = new QWidget(this);
    m_names = new QListWidget(content);
    m_names->setObjectName(QStringLiteral("pages"));
    m_names->setAccessibleName(tr("Subsystems"));
    m_names->setFixedWidth(m_names->fontMetrics().averageCharWidth() * 22);
    m_names->setSpacing(2);
    m_pages = new QStackedWidget(content);

    addPage(tr("Product Update"), m_updates = new UpdatesPage(m_pages));
    addPage(tr("Network"), m_network = new NetworkPage(m_updates->site(), m_pages));
    addPage(tr("Messages"), m_messages = new MessagesPage(m_pages));
    addPage(tr("Notifications"), m_notifications = new NotificationsPage(m_pages));
    addPage(tr("Statistics"), m_statistics = new StatisticsPage(m_updates->site(), m_pages));
    addPage(tr("Preferences"), m_preferences = new PreferencesPage(m_pages));
    addPage(tr("Tasks"), m_tasks = new TasksPage(m_pages));
    addPage(tr("Wizards"), m_wizards = new WizardsPage(m_pages));
    addPage(tr("Problem Reports"), m_reports = new ReportsPage(m_pages));
    addPage(tr("Log"), m_log = new LogPage(m_pages));
    connect(m_names, &QListWidget::currentRowChanged, m_pages, &QStackedWidget::setCurrentIndex);
    connect(m_names, &QListWidget::currentTextChanged, &m_statistics->collector(),
            &ConsoleStatisticsCollector::countPage);
    m_names->setCurrentRow(0);

    auto *layout = new QHBoxLayout(content);
    layout->addWidget(m_names);
    layout->addWidget(m_pages, 1);
    setCentralWidget(content);
    resize(900, 620);
}

void ConsoleWindow::addPage(const QString &name, QWidget *page)
{
    m_names->addItem(name);
    m_pages->addWidget(page);
}

void ConsoleWindow::showPage(QWidget *page)
{
    m_names->setCurrentRow(m_pages->indexOf(page));
}
