#include "gui/wizard/actions/CWizardActions.h"

#include "gui/log/Log.h"

#include <QAction>
#include <QMetaEnum>

CWizardActions::CWizardActions(QObject *parent)
    : QObject(parent)
{
    // The text has always been this one, and support scripts count on it.
    KOV_LOG(3, "Destroyed Wizard Actions <%p>", static_cast<void *>(this));
    initialize();
}

CWizardActions::~CWizardActions()
{
    KOV_LOG(3, "Destroyed Wizard Actions <%p>", static_cast<void *>(this));
}

QAction *CWizardActions::action(WizardActions::ActionType type) const
{
    return m_actions.value(type);
}

QHash<WizardActions::ActionType, QAction *> *CWizardActions::actions()
{
    return &m_actions;
}

void CWizardActions::initialize()
{
    const auto types = QMetaEnum::fromType<WizardActions::ActionType>();
    for (int i = 0; i < types.keyCount(); ++i) {
        const auto type = WizardActions::ActionType(types.value(i));
        auto *action = new QAction(this);
        action->setObjectName(QString::fromLatin1(types.key(i)));
        m_actions.insert(type, action);
        connect(action, &QObject::destroyed, this, [this, type] { m_actions.remove(type); });
    }
}
