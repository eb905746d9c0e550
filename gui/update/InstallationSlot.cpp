#include "gui/update/InstallationSlot_p.h"

#include <utility>

InstallationSlot::InstallationSlot(QObject *parent)
    : QObject(parent)
{ }

InstallationSlot::~InstallationSlot()
{
    for (CTaskInstallProductUpdate *task : {m_task.data(), m_superseded.data()}) {
        if (!task)
            continue;
        task->disconnect(this);
        const QPointer<CTaskInstallProductUpdate> guard(task);
        task->terminate(KOV_ERR_CANCELLED);
        // An updater program that runs is not ended by that.
        if (guard && guard->isRunning())
            delete guard.data();
    }
}

void InstallationSlot::leave()
{
    for (QPointer<CTaskInstallProductUpdate> *task : {&m_task, &m_superseded}) {
        if (!*task)
            continue;
        (*task)->disconnect(this);
        (*task)->terminate(KOV_ERR_CANCELLED);
        task->clear();
    }
}

CTaskInstallProductUpdate *InstallationSlot::take()
{
    return std::exchange(m_task, nullptr);
}

void InstallationSlot::start(CTaskInstallProductUpdate *task)
{
    m_task = task;
    task->setOption(CAbstractTask::DeleteWhenFinished, true);
    connect(task, &CAbstractTask::taskFinished, this, &InstallationSlot::finished);
    task->execute();
}

void InstallationSlot::supersede(const InstallRequest &request)
{
    m_next.forceDownload |= request.forceDownload;
    m_next.confirm |= request.confirm;
    m_next.askedFor |= request.askedFor;
    if (std::exchange(m_isSuperseding, true))
        return;
    m_superseded = std::exchange(m_task, nullptr);
    m_superseded->disconnect(this);
    connect(m_superseded, &CAbstractTask::taskFinished, this, &InstallationSlot::onSupersededEnded);
    connect(m_superseded, &QObject::destroyed, this, &InstallationSlot::onSupersededEnded);
    m_superseded->terminate(KOV_ERR_CANCELLED);
}

void InstallationSlot::onSupersededEnded()
{
    if (!std::exchange(m_isSuperseding, false))
        return;
    if (m_superseded)
        m_superseded->disconnect(this);
    m_superseded.clear();
    Q_EMIT vacated(std::exchange(m_next, InstallRequest()));
}
