#include "gui/update/CTaskInstallProductUpdate.h"

#include "gui/GUI.h"
#include "gui/tasks/TaskIds.h"

class CTaskInstallProductUpdate::Private
{
public:
    CProductUpdateInfo info;
    TaskParams params;
    UserChoice choice = NotAsked;
};

CTaskInstallProductUpdate::CTaskInstallProductUpdate(const CProductUpdateInfo &info, const TaskParams &params)
    : CAbstractTask(new CTaskId_InstallProductUpdate)
    , d(new Private)
{
    d->info = info;
    d->params = params;
}

CTaskInstallProductUpdate::~CTaskInstallProductUpdate()
{
    endBeforeDestruction();
}

unsigned CTaskInstallProductUpdate::type() const
{
    return GUI::TaskInstallProductUpdate;
}

CProductUpdateInfo CTaskInstallProductUpdate::updateInfo() const
{
    return d->info;
}

CTaskInstallProductUpdate::TaskParams CTaskInstallProductUpdate::params() const
{
    return d->params;
}

CTaskInstallProductUpdate::UserChoice CTaskInstallProductUpdate::userChoice() const
{
    return d->choice;
}

bool CTaskInstallProductUpdate::isSmartInstallMode() const
{
    return d->params.smartInstall;
}

bool CTaskInstallProductUpdate::isInBackgroundDownload() const
{
    return isRunning() && d->params.downloadInBackground && getCurrentSubTask() == DownloadUpdate;
}

QString CTaskInstallProductUpdate::getInstallationPath() const
{
    return d->info.download.destinationFilePath();
}

void CTaskInstallProductUpdate::terminate(int result)
{
    CAbstractTask::terminate(result);
}

void CTaskInstallProductUpdate::bringToFront() { }

QList<int> CTaskInstallProductUpdate::getDefaultSubTaskList() const
{
    return CAbstractTask::getDefaultSubTaskList();
}

void CTaskInstallProductUpdate::finish(int result)
{
    CAbstractTask::finish(result);
}
