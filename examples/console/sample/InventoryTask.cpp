#include "examples/console/sample/InventoryTask.h"

#include <QDir>
#include <QSaveFile>
#include <QTimer>

InventoryTask::InventoryTask(const QString &folder)
    : m_folder(folder)
{ }

unsigned InventoryTask::type() const
{
    // A host's own kind; it runs without the task manager and needs no number of its own.
    return 0;
}

KOV_RESULT InventoryTask::validateSubTask()
{
    Q_EMIT stepStarted(subTaskToString(getCurrentSubTask()));
    return QDir(m_folder).exists() ? KOV_SUCCESS : KOV_ERR_FAILURE;
}

QList<int> InventoryTask::getNonTerminatableSubTasks() const
{
    return {WriteInventory};
}

KOV_RESULT InventoryTask::listFiles()
{
    m_files = QDir(m_folder).entryList(QDir::Files, QDir::Name);
    m_files.removeAll(QStringLiteral("inventory.txt"));
    return m_files.isEmpty() ? KOV_ERR_FAILURE : KOV_SUCCESS;
}

KOV_RESULT InventoryTask::hashFiles()
{
    setWaitForSubTaskCompletion();
    hashNext();
    return KOV_SUCCESS;
}

void InventoryTask::hashNext()
{
    if (m_lines.size() == m_files.size()) {
        subTaskCompleted(KOV_SUCCESS);
        return;
    }
    const QString name = m_files.at(m_lines.size());
    QFile file(QDir(m_folder).filePath(name));
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file)) {
        subTaskCompleted(KOV_ERR_FAILURE);
        return;
    }
    m_lines += QString::fromLatin1(hash.result().toHex()) + QStringLiteral("  ") + name;
    Q_EMIT fileHashed(name, m_lines.size(), m_files.size());
    // The next file from the event loop: the window stays alive, and a cancelled task has no timer left.
    QTimer::singleShot(40, this, [this] {
        if (!isFinished())
            hashNext();
    });
}

KOV_RESULT InventoryTask::writeInventory()
{
    QSaveFile file(QDir(m_folder).filePath(QStringLiteral("inventory.txt")));
    const QByteArray text = m_lines.join(QLatin1Char('\n')).toUtf8() + '\n';
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit())
        return KOV_ERR_FAILURE;
    return KOV_SUCCESS;
}
