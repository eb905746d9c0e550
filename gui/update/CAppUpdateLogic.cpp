#include "gui/update/CAppUpdateLogic.h"

#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/update/CAppUpdateWorker.h"
#include "gui/update/record/UpgradeUtils.h"

namespace {

CAppUpdateLogic *theLogic = nullptr;

} // namespace

class CAppUpdateLogic::Private
{
public:
    std::unique_ptr<CAppUpdateWorker> worker;
};

CAppUpdateLogic *CAppUpdateLogic::instance()
{
    if (!theLogic) {
        // Known before its worker is made: a worker that asks for it must not start over.
        theLogic = new CAppUpdateLogic;
        theLogic->createWorker();
    }
    return theLogic;
}

void CAppUpdateLogic::destroy()
{
    delete theLogic;
    theLogic = nullptr;
}

CAppUpdateLogic::CAppUpdateLogic()
    : d(new Private)
{ }

CAppUpdateLogic::~CAppUpdateLogic()
{
    // The pointer is cleared before the worker goes: what it still calls finds none.
    d->worker.reset();
}

void CAppUpdateLogic::createWorker()
{
    d->worker.reset(static_cast<CAppUpdateWorker *>(KovGui::createRegistered(
        "CAppUpdateWorker", CAppUpdateWorker::staticMetaObject, Q_ARG(CAppUpdateLogic *, this))));
    if (!d->worker)
        d->worker.reset(new CAppUpdateWorker(this));
    if (!UpgradeUtils::isUpdatesRestricted())
        d->worker->initialize(false);
}

CAppUpdateWorker *CAppUpdateLogic::worker() const
{
    return d->worker.get();
}

KOV_RESULT CAppUpdateLogic::checkForUpdates(bool inBackground, bool smartInstall, bool doNotShowUpToDate)
{
    return d->worker ? d->worker->checkForUpdates(inBackground, smartInstall, doNotShowUpToDate)
                     : KOV_ERR_FAILURE;
}

KOV_RESULT CAppUpdateLogic::installPendingUpdate(bool forceDownload, bool confirm)
{
    return d->worker ? d->worker->installPendingUpdate(forceDownload, confirm) : KOV_ERR_FAILURE;
}

KOV_RESULT CAppUpdateLogic::installUpdate(const CProductUpdateInfo &info, bool forceDownload, bool confirm)
{
    return d->worker ? d->worker->installUpdate(info, forceDownload, confirm) : KOV_ERR_FAILURE;
}

const CProductUpdateInfo *CAppUpdateLogic::pendingUpdateInfo() const
{
    return d->worker ? d->worker->pendingUpdateInfo() : nullptr;
}

bool CAppUpdateLogic::isTimeToCheckForUpdates()
{
    return d->worker && d->worker->isTimeToCheckForUpdates();
}

int CAppUpdateLogic::defaultUpdatePeriod() const
{
    return d->worker ? d->worker->defaultUpdatePeriod() : 0;
}

bool CAppUpdateLogic::isDownloadInBackgroundByDefault() const
{
    return d->worker && d->worker->isDownloadInBackgroundByDefault();
}

bool CAppUpdateLogic::isUpdatesAvailableInUI() const
{
    return d->worker && !UpgradeUtils::isUpdatesRestricted() && d->worker->isUpdatesAvailableInUI();
}

bool CAppUpdateLogic::isOnAppStart() const
{
    return d->worker && d->worker->isOnAppStart();
}

void CAppUpdateLogic::setOnAppStart(bool onAppStart)
{
    if (d->worker)
        d->worker->setOnAppStart(onAppStart);
}

bool CAppUpdateLogic::runUpdaterInAppMode() const
{
    return d->worker && d->worker->runUpdaterInAppMode();
}
