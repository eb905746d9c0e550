#include "gui/update/UpdateTypes_p.h"

#include "gui/update/CProductUpdateInfo.h"
#include "gui/update/CTaskCheckForProductUpdate.h"

void registerUpdateTypes()
{
    qRegisterMetaType<CProductUpdateInfo>("CProductUpdateInfo");
    qRegisterMetaType<CProductUpdateInfo>("const CProductUpdateInfo&");
    qRegisterMetaType<FileDownloadInfo>("FileDownloadInfo");
    qRegisterMetaType<CTaskCheckForProductUpdate::Options>("CTaskCheckForProductUpdate::Options");
}
