#pragma once

#include "gui/update/check/CTaskCheckForProductUpdate.h"
#include "gui/update/install/CTaskInstallProductUpdate.h"

#include <optional>

/// What the sample site cannot show by itself: the update that is found counts as a major upgrade on request.
class ConsoleUpdateCheck : public CTaskCheckForProductUpdate
{
    Q_OBJECT

public:
    Q_INVOKABLE explicit ConsoleUpdateCheck(CTaskCheckForProductUpdate::Options options);

    static void setFindsMajorUpgrades(bool major);

    const CProductUpdateInfo *getUpdateInfo() const override;

private:
    mutable std::optional<CProductUpdateInfo> m_upgrade;
};

/// An installation that waits until a sample application is closed.
class ConsoleInstallation : public CTaskInstallProductUpdate
{
    Q_OBJECT

public:
    Q_INVOKABLE ConsoleInstallation(const CProductUpdateInfo &info,
                                    const CTaskInstallProductUpdate::TaskParams &params);

    static void setEditorOpen(bool open);

protected:
    QStringList criticalApps() const override;
};
