#include "gui/update/UpdateTypes_p.h"

#include "gui/update/CAppUpdateLogic.h"
#include "gui/update/check/CTaskCheckForProductUpdate.h"
#include "gui/update/install/CTaskInstallProductUpdate.h"
#include "gui/update/record/CProductUpdateInfo.h"

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
