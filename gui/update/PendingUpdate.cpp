#include "gui/update/PendingUpdate_p.h"

#include "gui/log/Log.h"
#include "gui/update/record/UpgradeUtils.h"

#include <QFileInfo>

void PendingUpdate::loadAtStart()
{
    load(CProductUpdateInfo::MinorUpdate);
    int type = 0;
    m_isPending = UpgradeUtils::isNeedToInstallUpdateOnAppStart(&type);
    if (!m_isPending)
        return;
    const bool isMajor = type == CProductUpdateInfo::MajorUpgrade;
    KOV_LOG_TAG("[APP_UPDATE]", 2, "%s update is pending for installation on app start",
                isMajor ? "MAJOR" : "MINOR");
    if (isMajor)
        load(CProductUpdateInfo::MajorUpgrade);
}

void PendingUpdate::set(const CProductUpdateInfo &info, bool foundInBackground, bool isSmart)
{
    m_info = info;
    ensureFolder();
    m_info.store();
    m_isPending = true;
    m_foundInBackground = foundInBackground;
    m_isSmart = isSmart;
}

void PendingUpdate::store() const
{
    if (m_isPending)
        m_info.store();
}

void PendingUpdate::clear()
{
    m_isPending = false;
}

const CProductUpdateInfo *PendingUpdate::info() const
{
    return m_isPending ? &m_info : nullptr;
}

bool PendingUpdate::isPackageOnDisk() const
{
    return isOnDisk(m_info.download.destinationFilePath());
}

bool PendingUpdate::isOnDisk(const QString &packagePath)
{
    return !packagePath.isEmpty() && QFileInfo(packagePath).isFile();
}

void PendingUpdate::forgetInstallRequest()
{
    UpgradeUtils::setNeedToInstallUpdateOnAppStart(false, 0, true);
}

void PendingUpdate::load(CProductUpdateInfo::UpdateType type)
{
    m_info = CProductUpdateInfo(type);
    m_info.load();
    ensureFolder();
}

void PendingUpdate::ensureFolder()
{
    FileDownloadInfo &package = m_info.download;
    if (package.destinationDirectory.isEmpty() && !package.url.isEmpty())
        package.chooseDirectory(UpgradeUtils::updatesFolder());
}
