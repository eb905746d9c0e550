#pragma once

#include "gui/update/launch/CTaskLaunchUpdater.h"

#include <QPointer>

class CBaseDialog;

/// One run of the updater program that installs a package, and the window that shows how far it is.
class UpdaterRun
{
public:
    /// How it ended.
    struct Outcome
    {
        bool isInstalled = false;
        /// For the user, of one that is not installed.
        QString reason;
    };

    ~UpdaterRun() { letGo(); }

    /// The run, not yet executed; a child of its owner.
    CTaskLaunchUpdater *create(const QString &updaterPath, const QString &packagePath, QObject *owner);
    void showProgress();
    bool isUnderWay() const { return m_launcher; }
    /// Null when there is none.
    CBaseDialog *window() const;
    /// Of the run that has ended with this result, which is forgotten, as its window.
    Outcome take(KOV_RESULT result);
    /// Closes the window; the owner hears no more of the run, which it ends.
    void letGo();

private:
    void closeWindow();

    QPointer<CTaskLaunchUpdater> m_launcher;
    QPointer<CBaseDialog> m_window;
};
