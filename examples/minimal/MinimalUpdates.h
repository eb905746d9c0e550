#pragma once

#include "gui/update/CAppUpdateLogic.h"
#include "gui/update/CAppUpdateWorker.h"
#include "gui/update/dialogs/CUpdateDialog.h"
#include "gui/update/record/UpgradeUtils.h"

#include <QTimer>

/// The host's policy for updates: it asks before it downloads, and starts anew once an update is in place.
class MinimalUpdateWorker : public CAppUpdateWorker
{
    Q_OBJECT

public:
    Q_INVOKABLE explicit MinimalUpdateWorker(CAppUpdateLogic *logic)
        : CAppUpdateWorker(logic)
    {
        connect(logic, &CAppUpdateLogic::updateCheckFinished, this,
                [](KOV_RESULT result) { qInfo("check %x", unsigned(result)); });
        connect(logic, &CAppUpdateLogic::updateInstallFinished, this, [this](KOV_RESULT result) {
            setOnAppStart(false);
            if (KOV_SUCCEEDED(result))
                restartOnTrial(false);
        });
    }
    bool isDownloadInBackgroundByDefault() const override { return false; }
};

/// Goes on where the last run has left the cycle.
/// @param window  the main window, open
inline void goOnWithUpdates(QWidget *window)
{
    CAppUpdateLogic *const updates = CAppUpdateLogic::instance(); // from now on checks make themselves
    // It has come up: there is no need to go back to the version before.
    QTimer::singleShot(0, window, &UpgradeUtils::confirmRunningVersion);
    CProductUpdateInfo installed;
    if (UpgradeUtils::takeInstalledUpdate(&installed)) {
        auto *dialog = new CUpdateDialog(CUpdateDialog::Congratulations, window);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->setAskedFor(false); // whoever types goes on typing
        dialog->setNotificationFor(installed);
        dialog->open();
    } else if (UpgradeUtils::isNeedToInstallUpdateOnAppStart()) { // put off to this start
        updates->setOnAppStart(true);
        if (updates->installPendingUpdate() != KOV_ERR_IN_PROGRESS)
            updates->setOnAppStart(false); // else the worker does when it has ended
    }
}
