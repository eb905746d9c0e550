#include "examples/console/pages/TasksPage.h"

#include "examples/console/sample/InventoryTask.h"

#include <QDir>
#include <QFile>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

constexpr int sampleFiles = 24;

} // namespace

TasksPage::TasksPage(QWidget *parent)
    : ConsolePage(tr("Tasks"), parent)
{
    for (int i = 0; i < sampleFiles; ++i) {
        QFile file(m_folder.filePath(QStringLiteral("machine-%1.cfg").arg(i, 2, 10, QLatin1Char('0'))));
        if (file.open(QIODevice::WriteOnly))
            file.write(QByteArray(1024 * (i + 1), char('a' + i)));
    }

    auto *text = new QLabel(
        tr("Lists the files of a folder, hashes each of them and writes an inventory. Cancelling "
           "ends the task between two files; writing the inventory cannot be cut short."),
        area());
    text->setWordWrap(true);
    m_progress = new QProgressBar(area());
    m_progress->setObjectName(QStringLiteral("progress"));
    m_progress->setAccessibleName(tr("Files hashed"));
    m_progress->setRange(0, sampleFiles);
    m_progress->setValue(0);
    m_start = new QPushButton(tr("&Start"), area());
    m_start->setObjectName(QStringLiteral("startTask"));
    m_cancel = new QPushButton(tr("&Cancel"), area());
    m_cancel->setObjectName(QStringLiteral("cancelTask"));
    m_cancel->setEnabled(false);
    connect(m_start, &QPushButton::clicked, this, &TasksPage::start);
    connect(m_cancel, &QPushButton::clicked, this, &TasksPage::cancel);

    auto *row = new QHBoxLayout;
    row->addWidget(m_start);
    row->addWidget(m_cancel);
    row->addWidget(m_progress, 1);
    auto *layout = new QVBoxLayout(area());
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(text);
    layout->addLayout(row);
}

TasksPage::~TasksPage()
{
    delete m_task;
}

bool TasksPage::isTaskRunning() const
{
    return m_task && !m_task->isFinished();
}

QString TasksPage::inventoryPath() const
{
    const QString path = m_folder.filePath(QStringLiteral("inventory.txt"));
    return QFile::exists(path) ? path : QString();
}

void TasksPage::start()
{
    QFile::remove(m_folder.filePath(QStringLiteral("inventory.txt")));
    m_progress->setValue(0);
    m_task = new InventoryTask(m_folder.path());
    connect(m_task, &InventoryTask::stepStarted, this,
            [this](const QString &name) { report(tr("Step %1").arg(name)); });
    connect(m_task, &InventoryTask::fileHashed, m_progress,
            [this](const QString &, int done, int) { m_progress->setValue(done); });
    connect(m_task, &CAbstractTask::taskFinished, this, &TasksPage::onFinished);
    m_start->setEnabled(false);
    m_cancel->setEnabled(true);
    m_task->execute();
}

void TasksPage::cancel()
{
    if (m_task)
        m_task->terminate(KOV_ERR_CANCELLED);
}

void TasksPage::onFinished(int result)
{
    if (result == KOV_ERR_CANCELLED)
        report(tr("The task was cancelled."));
    else if (KOV_FAILED(result))
        report(tr("The task failed: 0x%1.").arg(uint(result), 8, 16, QLatin1Char('0')));
    else
        report(tr("The task is done: %1 files are in the inventory.").arg(m_progress->value()));
    m_start->setEnabled(true);
    m_cancel->setEnabled(false);
    m_task->deleteLater();
}
