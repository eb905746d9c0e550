#include "examples/console/sample/ConsoleUpdateTasks.h"

namespace {

bool findsMajorUpgrades = false;
bool isEditorOpen = false;

} // namespace

ConsoleUpdateCheck::ConsoleUpdateCheck(CTaskCheckForProductUpdate::Options options)
    : CTaskCheckForProductUpdate(options)
{ }

void ConsoleUpdateCheck::setFindsMajorUpgrades(bool major)
{
    findsMajorUpgrades = major;
}

const CProductUpdateInfo *ConsoleUpdateCheck::getUpdateInfo() const
{
    const CProductUpdateInfo *found = CTaskCheckForProductUpdate::getUpdateInfo();
    if (!found || !findsMajorUpgrades)
        return found;
    m_upgrade = *found;
    m_upgrade->updateType = CProductUpdateInfo::MajorUpgrade;
    return &*m_upgrade;
}

ConsoleInstallation::ConsoleInstallation(const CProductUpdateInfo &info,
                                         const CTaskInstallProductUpdate::TaskParams &params)
    : CTaskInstallProductUpdate(info, params)
{ }

void ConsoleInstallation::setEditorOpen(bool open)
{
    isEditorOpen = open;
}

QStringList ConsoleInstallation::criticalApps() const
{
    return isEditorOpen ? QStringList{tr("Sample Editor")} : QStringList();
}
