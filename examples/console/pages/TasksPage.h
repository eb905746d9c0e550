#pragma once

#include "examples/console/pages/ConsolePage.h"

#include <QPointer>
#include <QTemporaryDir>

class InventoryTask;
class QProgressBar;
class QPushButton;

/// Runs a task of several steps that a person can watch and cancel.
class TasksPage : public ConsolePage
{
    Q_OBJECT

public:
    explicit TasksPage(QWidget *parent = nullptr);
    ~TasksPage() override;

    bool isTaskRunning() const;
    /// The file that the task wrote last, empty when it did not get that far.
    QString inventoryPath() const;

private:
    void start();
    void cancel();
    void onFinished(int result);

    QTemporaryDir m_folder;
    QPointer<InventoryTask> m_task;
    QProgressBar *m_progress = nullptr;
    QPushButton *m_start = nullptr;
    QPushButton *m_cancel = nullptr;
};
