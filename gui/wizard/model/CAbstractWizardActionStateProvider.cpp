#include "gui/wizard/model/CAbstractWizardActionStateProvider.h"

#include "gui/log/Log.h"
#include "gui/wizard/model/CAbstractWizardModel.h"
#include "gui/wizard/model/CAbstractWizardPageFlow.h"

namespace {

QHash<QString, QVariant> state(bool enabled, bool visible, const QString &text)
{
    return {{QStringLiteral("enabled"), enabled},
            {QStringLiteral("visible"), visible},
            {QStringLiteral("text"), text}};
}

bool canGoBack(const CAbstractWizardModel *model)
{
    return model && model->pageFlow() && model->pageFlow()->canGoBack() && !model->isRollingBack();
}

bool canGoOn(const CAbstractWizardModel *model)
{
    return model && model->currentPage() && model->currentPage()->isComplete() && !model->isBusy();
}

bool isOnFinalPage(const CAbstractWizardModel *model)
{
    return model && model->pageFlow() && model->pageFlow()->isOnFinalPage();
}

} // namespace

CAbstractWizardActionStateProvider::CAbstractWizardActionStateProvider(QObject *parent)
    : QObject(parent)
{
    KOV_LOG(3, "Created Wizard Action State Provider <%p>", static_cast<void *>(this));
}

CAbstractWizardActionStateProvider::~CAbstractWizardActionStateProvider()
{
    KOV_LOG(3, "Destroyed Wizard Action State Provider <%p>", static_cast<void *>(this));
}

QHash<QString, QVariant>
CAbstractWizardActionStateProvider::getDefaultActionState(WizardActions::ActionType type) const
{
    switch (type) {
    case WizardActions::Back:
        return state(canGoBack(m_model), true, tr("Back"));
    case WizardActions::Next:
        return state(canGoOn(m_model), !isOnFinalPage(m_model), tr("Next"));
    case WizardActions::Commit:
        return state(true, false, tr("Commit"));
    case WizardActions::Finish:
        return state(canGoOn(m_model), isOnFinalPage(m_model), tr("Finish"));
    case WizardActions::Cancel:
        return state(true, true, tr("Cancel"));
    case WizardActions::Help:
        return state(true, true, tr("Help"));
    case WizardActions::Custom1:
        return state(true, false, tr("Custom1"));
    case WizardActions::Custom2:
        return state(true, false, tr("Custom2"));
    case WizardActions::Custom3:
        return state(true, false, tr("Custom3"));
    case WizardActions::Twitter:
        // Named by what its user does.
        return state(true, false, tr("Tweet"));
    case WizardActions::Facebook:
        return state(true, false, tr("Facebook"));
    case WizardActions::Close:
        return {{QStringLiteral("enabled"), true}};
    }
    return {};
}

QHash<QString, QVariant>
CAbstractWizardActionStateProvider::getActionStateForPage(WizardActions::ActionType type, int) const
{
    return getDefaultActionState(type);
}

CAbstractWizardModel *CAbstractWizardActionStateProvider::wizardModel() const
{
    return m_model;
}

void CAbstractWizardActionStateProvider::setWizardModel(CAbstractWizardModel &model)
{
    m_model = &model;
}
