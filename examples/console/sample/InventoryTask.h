#pragma once

#include "abstract_task/CAbstractTask.h"

#include <QCryptographicHash>
#include <QFile>
#include <QStringList>

/**
 * A host's own task: lists the files of a folder, hashes each of them and writes "inventory.txt" beside them.
 *
 * Hashing takes a file a time from the event loop, so the window stays alive, and it waits while the task is
 * paused. Writing the list may not be terminated half way.
 */
class InventoryTask : public CAbstractTask
{
    Q_OBJECT

public:
    enum TaskStep { ListFiles = 0, HashFiles = 1, WriteInventory = 3 };
    Q_ENUM(TaskStep)

    explicit InventoryTask(const QString &folder);

    unsigned type() const override;

Q_SIGNALS:
    void stepStarted(const QString &name);
    void fileHashed(const QString &name, int done, int all);

protected:
    KOV_RESULT validateSubTask() override;
    QList<int> getNonTerminatableSubTasks() const override;

private:
    Q_INVOKABLE KOV_RESULT listFiles();
    Q_INVOKABLE KOV_RESULT hashFiles();
    Q_INVOKABLE KOV_RESULT writeInventory();
    void hashNext();

    const QString m_folder;
    QStringList m_files;
    QStringList m_lines;
};
