#include "gui/tasks/CTaskInteractiveDownload.h"

#include "gui/GUI.h"
#include "gui/tasks/TaskIds.h"

class CTaskInteractiveDownload::Private
{
public:
    FileDownloadInfo info;
};

CTaskInteractiveDownload::CTaskInteractiveDownload(const FileDownloadInfo &info, const QString &, bool, bool)
    : CAbstractTask(new CTaskId_InteractiveDownload(info.url, info.destinationDirectory))
    , d(new Private)
{
    d->info = info;
}

CTaskInteractiveDownload::~CTaskInteractiveDownload()
{
    endBeforeDestruction();
}

unsigned CTaskInteractiveDownload::type() const
{
    return GUI::TaskInteractiveDownload;
}

FileDownloadInfo CTaskInteractiveDownload::fileDownloadInfo() const
{
    return d->info;
}

void CTaskInteractiveDownload::bringToFront() { }
