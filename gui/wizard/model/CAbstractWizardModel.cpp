#include "gui/wizard/model/CAbstractWizardModel.h"

#include "gui/log/Log.h"
#include "gui/wizard/model/CAbstractWizardActionHandler.h"
#include "gui/wizard/model/CAbstractWizardActionStateProvider.h"
#include "gui/wizard/model/CAbstractWizardModel_p.h"
#include "gui/wizard/model/CAbstractWizardPageFactory.h"
#include "gui/wizard/model/CAbstractWizardPageFlow.h"
#include "gui/wizard/model/CWizardController.h"
#include "gui/wizard/model/CWizardRollbackWorker.h"

namespace {

/// Takes the new object's ownership; one that was held already stays.
template <typename Class>
void replace(QPointer<Class> &held, Class &object)
{
    if (held == &object)
        return;
    delete held;
    held = &object;
}

} // namespace

CAbstractWizardModel::CAbstractWizardModel(QObject *parent)
    : CContentModel(parent)
    , d(new CAbstractWizardModelPrivate(this))
{
    KOV_LOG(3, "Created Wizard Model <%p>", static_cast<void *>(this));
    setActionStateProvider(*new CAbstractWizardActionStateProvider);
    setActionHandler(*new CAbstractWizardActionHandler);
}

CAbstractWizardModel::~CAbstractWizardModel()
{
    d->shutDown();
    KOV_LOG(3, "Destroyed Wizard Model <%p>", static_cast<void *>(this));
}

CAbstractWizardPage *CAbstractWizardModel::currentPage() const
{
    return d->pages.value(currentPageId());
}

int CAbstractWizardModel::currentPageId() const
{
    return d->pageFlow ? d->pageFlow->currentPageId() : -1;
}

CAbstractWizardPage *CAbstractWizardModel::page(int id) const
{
    return d->pages.value(id);
}

CAbstractWizardPageFlow *CAbstractWizardModel::pageFlow() const
{
    return d->pageFlow;
}

CAbstractWizardActionHandler *CAbstractWizardModel::actionHandler() const
{
    return d->actionHandler;
}

CAbstractWizardActionStateProvider *CAbstractWizardModel::actionStateProvider() const
{
    return d->actionStateProvider;
}

CWizardController *CAbstractWizardModel::wizardCtrl() const
{
    return d->wizardCtrl;
}

bool CAbstractWizardModel::isRollingBack() const
{
    return !d->rollbackWorker.isFinished();
}

void CAbstractWizardModel::setPageFactory(CAbstractWizardPageFactory &factory)
{
    replace(d->pageFactory, factory);
}

void CAbstractWizardModel::setPageFlow(CAbstractWizardPageFlow &flow)
{
    const QPointer<CAbstractWizardModel> self(this);
    d->rollbackWorker.stop();
    if (!self)
        return;
    d->unwire();
    replace(d->pageFlow, flow);
    flow.setWizardModel(*this);
}

void CAbstractWizardModel::setActionStateProvider(CAbstractWizardActionStateProvider &provider)
{
    replace(d->actionStateProvider, provider);
    provider.setWizardModel(*this);
}

void CAbstractWizardModel::setActionHandler(CAbstractWizardActionHandler &handler)
{
    replace(d->actionHandler, handler);
    handler.setWizardModel(*this);
}

void CAbstractWizardModel::setWizardCtrl(CWizardController *controller)
{
    d->wizardCtrl = controller;
}

CAbstractWizardPage *CAbstractWizardModel::addPage(int id)
{
    return d->addPage(id);
}

CAbstractWizardPage *CAbstractWizardModel::goToPage(int id, GUI::DirectionType direction)
{
    return d->goToPage(id, direction);
}

void CAbstractWizardModel::goToNextPage()
{
    if (d->pageFlow && !d->putOff([this] { goToNextPage(); }, currentPage()))
        d->goToPage(d->pageFlow->getNextPageId(), GUI::Forward);
}

void CAbstractWizardModel::goToPrevPage()
{
    if (d->pageFlow && !d->putOff([this] { goToPrevPage(); }, currentPage()))
        d->goToPage(d->pageFlow->getPrevPageId(), GUI::Backward);
}

void CAbstractWizardModel::restart()
{
    if (d->pageFlow && !d->putOff([this] { restart(); }))
        d->restart();
}

void CAbstractWizardModel::rollbackTo(int id)
{
    d->rollbackTo(id);
}
