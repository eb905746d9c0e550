#include "gui/wizard/model/CAbstractWizardActionHandler.h"

#include "gui/log/Log.h"
#include "gui/wizard/model/CAbstractWizardModel_p.h"
#include "gui/wizard/model/CAbstractWizardPageFlow.h"

namespace {

constexpr int resultFinished = 0;
constexpr int resultCancelled = 2;

} // namespace

class CAbstractWizardActionHandler::Private
{
public:
    QPointer<CAbstractWizardModel> model;
    bool validating = false;
};

CAbstractWizardActionHandler::CAbstractWizardActionHandler(QObject *parent)
    : QObject(parent)
    , d(new Private)
{
    KOV_LOG(3, "Created Wizard Action Handler <%p>", static_cast<void *>(this));
}

CAbstractWizardActionHandler::~CAbstractWizardActionHandler()
{
    KOV_LOG(3, "Destroyed Wizard Action Handler <%p>", static_cast<void *>(this));
}

bool CAbstractWizardActionHandler::handleCloseEvent()
{
    return true;
}

void CAbstractWizardActionHandler::handleBack()
{
    if (isPutOff(&CAbstractWizardActionHandler::handleBack) || d->model->isRollingBack())
        return;
    const CAbstractWizardPageFlow *flow = d->model->pageFlow();
    const int previous = flow && flow->canGoBack() ? flow->getPrevPageId() : -1;
    if (previous >= 0)
        d->model->rollbackTo(previous);
}

void CAbstractWizardActionHandler::handleNext()
{
    if (!isPutOff(&CAbstractWizardActionHandler::handleNext) && validateCurrentPage())
        d->model->goToNextPage();
}

void CAbstractWizardActionHandler::handleFinish()
{
    if (!isPutOff(&CAbstractWizardActionHandler::handleFinish) && validateCurrentPage())
        Q_EMIT d->model->finished(resultFinished);
}

void CAbstractWizardActionHandler::handleCancel()
{
    if (d->model)
        Q_EMIT d->model->finished(resultCancelled);
}

void CAbstractWizardActionHandler::handleHelp() { }

void CAbstractWizardActionHandler::handleTwitter() { }

void CAbstractWizardActionHandler::handleFacebook() { }

void CAbstractWizardActionHandler::handleCustomAction(int) { }

CAbstractWizardModel *CAbstractWizardActionHandler::wizardModel() const
{
    return d->model;
}

void CAbstractWizardActionHandler::setWizardModel(CAbstractWizardModel &model)
{
    d->model = &model;
}

/// True when there is nothing to be done now: without a model never, while it announces a page change later.
bool CAbstractWizardActionHandler::isPutOff(void (CAbstractWizardActionHandler::*operation)())
{
    if (!d->model)
        return true;
    const auto again = [self = QPointer<CAbstractWizardActionHandler>(this), operation] {
        if (self)
            (self->*operation)();
    };
    return d->model->d->putOff(again, d->model->currentPage());
}

bool CAbstractWizardActionHandler::validateCurrentPage()
{
    if (d->validating || d->model->isRollingBack())
        return false;
    const QPointer<CAbstractWizardPage> page(d->model->currentPage());
    if (!page)
        return true;
    const QPointer<CAbstractWizardActionHandler> self(this);
    d->validating = true;
    const bool valid = page->validatePage();
    if (!self)
        return false;
    d->validating = false;
    // The page may have run a dialog, in whose time anything may have happened to the wizard.
    return valid && page && d->model && d->model->currentPage() == page && !d->model->isRollingBack();
}
