#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/wizard/actions/WizardActions.h"

#include <QPointer>

class CWizardController;
class QAbstractButton;
class QAction;
class QWizard;

/// Makes a button follow an action (text, enabled, visible) and trigger it. Lives as long as both.
class KOVGUI_EXPORT CWizardActionButtonSynchronizer : public QObject
{
    Q_OBJECT

public:
    ~CWizardActionButtonSynchronizer() override;

    /// For the wizard's button of the same number as the type. Does nothing for Twitter, Facebook and
    /// Close, which have no button there. QWizard's own connections of its buttons stay: CWizardDialog is a
    /// wizard without them.
    static void setupSyncronization(QWizard &wizard, CWizardController &controller,
                                    WizardActions::ActionType type);

private Q_SLOTS:
    void sync();

private:
    CWizardActionButtonSynchronizer(QAbstractButton &button, QAction &action);

    const QPointer<QAbstractButton> m_button;
    const QPointer<QAction> m_action;
};
