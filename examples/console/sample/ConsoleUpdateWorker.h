#pragma once

#include "gui/update/CAppUpdateWorker.h"

/// The console's update policy: it asks before it downloads, and starts anew once an update is in place.
class ConsoleUpdateWorker : public CAppUpdateWorker
{
    Q_OBJECT

public:
    Q_INVOKABLE explicit ConsoleUpdateWorker(CAppUpdateLogic *logic);

    bool isDownloadInBackgroundByDefault() const override { return false; }
    bool isInstallMajorUpdateAvailable() const override { return true; }
    void installMajorUpdate() override;

    /// Goes on with what a former run left: installs the update that was put off to this start, or tells that
    /// one has been installed.
    static void goOnAtStart();
};
