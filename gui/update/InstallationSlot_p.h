#pragma once

#include "gui/update/install/CTaskInstallProductUpdate.h"

#include <QObject>
#include <QPointer>

/// How an installation was asked for (CAppUpdateWorker::installPendingUpdate()).
struct InstallRequest
{
    bool forceDownload = false;
    bool confirm = false;
    /// The user has just asked for it, so its windows may take the keyboard.
    bool askedFor = false;
};

/**
 * The place of the one installation that runs. The next one waits until the one that it supersedes has ended:
 * the old download utility may still write the file that the new one would continue.
 */
class InstallationSlot : public QObject
{
    Q_OBJECT

public:
    explicit InstallationSlot(QObject *parent);
    /// Ends what runs without telling anyone, the updater program included.
    ~InstallationSlot() override;

    /// What runs is left to itself: an updater program that installs goes on when the application has gone.
    void leave();

    /// What runs; null also while a superseded installation comes to its end.
    CTaskInstallProductUpdate *task() const { return m_task; }
    bool isSuperseding() const { return m_isSuperseding; }
    /// Empties the slot of what has ended.
    CTaskInstallProductUpdate *take();
    /// Executes the task, which deletes itself after its end.
    void start(CTaskInstallProductUpdate *task);
    /// Ends what runs, silently; vacated() follows with what all such calls until then asked for.
    void supersede(const InstallRequest &request);

Q_SIGNALS:
    /// task() has ended, unless it was superseded.
    void finished(KOV_RESULT result);
    void vacated(const InstallRequest &request);

private:
    void onSupersededEnded();

    QPointer<CTaskInstallProductUpdate> m_task;
    QPointer<CTaskInstallProductUpdate> m_superseded;
    InstallRequest m_next;
    bool m_isSuperseding = false;
};
