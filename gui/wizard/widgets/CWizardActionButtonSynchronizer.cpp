#include "gui/wizard/widgets/CWizardActionButtonSynchronizer.h"

#include "gui/log/Log.h"
#include "gui/wizard/model/CWizardController.h"

#include <QAbstractButton>
#include <QAction>
#include <QWizard>

CWizardActionButtonSynchronizer::CWizardActionButtonSynchronizer(QAbstractButton &button, QAction &action)
    : QObject(&button)
    , m_button(&button)
    , m_action(&action)
{
    KOV_LOG(3, "Created Wizard Action Button Synchronizer <%p>", static_cast<void *>(this));
    connect(&button, &QAbstractButton::clicked, &action, &QAction::trigger);
    connect(&action, &QAction::changed, this, &CWizardActionButtonSynchronizer::sync);
    connect(&action, &QObject::destroyed, this, &QObject::deleteLater);
    sync();
}

CWizardActionButtonSynchronizer::~CWizardActionButtonSynchronizer()
{
    KOV_LOG(3, "Destroyed Wizard Action Button Synchronizer <%p>", static_cast<void *>(this));
}

void CWizardActionButtonSynchronizer::setupSyncronization(QWizard &wizard, CWizardController &controller,
                                                          WizardActions::ActionType type)
{
    if (type > WizardActions::Custom3)
        return;
    QAbstractButton *button = wizard.button(QWizard::WizardButton(type));
    QAction *action = controller.wizardAction(type);
    if (!button || !action)
        return;
    const auto *synchronizer = new CWizardActionButtonSynchronizer(*button, *action);
    connect(&controller, &CWizardController::wizardActionsUpdated, synchronizer,
            &CWizardActionButtonSynchronizer::sync);
}

void CWizardActionButtonSynchronizer::sync()
{
    if (!m_button || !m_action)
        return;
    m_button->setText(m_action->text());
    m_button->setEnabled(m_action->isEnabled());
    m_button->setVisible(m_action->isVisible());
}
