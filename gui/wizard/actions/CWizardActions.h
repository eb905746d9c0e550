#pragma once

#include "gui/wizard/actions/WizardActions.h"

#include <QHash>
#include <QObject>

class QAction;

/// The twelve actions of a wizard, one a type: what its buttons follow and trigger. They are children of
/// this object; one that is deleted before is gone from the table.
class KOVGUI_EXPORT CWizardActions : public QObject
{
    Q_OBJECT

public:
    explicit CWizardActions(QObject *parent = nullptr);
    ~CWizardActions() override;

    /// Null for a type that is not in the table.
    QAction *action(WizardActions::ActionType type) const;
    /// The table itself; never null, valid as long as this object.
    QHash<WizardActions::ActionType, QAction *> *actions();

private:
    void initialize();

    QHash<WizardActions::ActionType, QAction *> m_actions;
};
