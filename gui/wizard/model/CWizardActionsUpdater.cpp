#include "gui/wizard/model/CWizardActionsUpdater.h"

#include "gui/log/Log.h"
#include "gui/wizard/actions/CWizardActions.h"
#include "gui/wizard/model/CAbstractWizardActionStateProvider.h"

#include <QAction>

CWizardActionsUpdater::CWizardActionsUpdater(CWizardActions *actions,
                                             CAbstractWizardActionStateProvider *provider, QObject *parent)
    : QObject(parent)
    , m_actions(actions)
    , m_provider(provider)
{
    KOV_LOG(3, "Created Wizard Actions Updater <%p>", static_cast<void *>(this));
}

CWizardActionsUpdater::~CWizardActionsUpdater()
{
    KOV_LOG(3, "Destroyed Wizard Actions Updater <%p>", static_cast<void *>(this));
}

void CWizardActionsUpdater::setActionStateProvider(CAbstractWizardActionStateProvider *provider)
{
    m_provider = provider;
}

void CWizardActionsUpdater::updateActionsForPage(int pageId)
{
    if (!m_actions)
        return;
    const QPointer<CWizardActionsUpdater> self(this);
    const auto types = m_actions->actions()->keys();
    for (const WizardActions::ActionType type : types) {
        if (!self || !m_actions || !m_provider)
            return;
        setActionState(m_actions->action(type), m_provider->getActionStateForPage(type, pageId));
    }
}

void CWizardActionsUpdater::setActionState(QAction *action, const QHash<QString, QVariant> &state)
{
    const QPointer<QAction> guard(action);
    for (auto it = state.cbegin(); guard && it != state.cend(); ++it)
        guard->setProperty(it.key().toLatin1().constData(), it.value());
}
