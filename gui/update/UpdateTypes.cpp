#include "gui/update/UpdateTypes_p.h"

#include "gui/update/CAppUpdateLogic.h"
#include "gui/update/CProductUpdateInfo.h"
#include "gui/update/CTaskCheckForProductUpdate.h"
#include "gui/update/CTaskInstallProductUpdate.h"

void registerUpdateTypes()
{
    qRegisterMetaType<CProductUpdateInfo>("CProductUpdateInfo");
    qRegisterMetaType<CProductUpdateInfo>("const CProductUpdateInfo&");
    qRegisterMetaType<FileDownloadInfo>("FileDownloadInfo");
    qRegisterMetaType<CTaskInstallProductUpdate::TaskParams>("CTaskInstallProductUpdate::TaskParams");
    qRegisterMetaType<CTaskInstallProductUpdate::TaskParams>("const CTaskInstallProductUpdate::TaskParams&");
    qRegisterMetaType<CAppUpdateLogic *>("CAppUpdateLogic*");
    qRegisterMetaType<CTaskCheckForProductUpdate::Options>("CTaskCheckForProductUpdate::Options");
}
