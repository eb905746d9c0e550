#pragma once

#include "gui/KovGuiGlobal.h"

#include <QHash>
#include <QPointer>
#include <QVariant>

class CAbstractWizardActionStateProvider;
class CWizardActions;
class QAction;

/// Copies what the provider says into the actions. Does nothing once one of the two is gone.
class KOVGUI_EXPORT CWizardActionsUpdater : public QObject
{
    Q_OBJECT

public:
    CWizardActionsUpdater(CWizardActions *actions, CAbstractWizardActionStateProvider *provider,
                          QObject *parent = nullptr);
    ~CWizardActionsUpdater() override;

    void setActionStateProvider(CAbstractWizardActionStateProvider *provider);
    /// Every action; a slot of theirs may delete anything.
    void updateActionsForPage(int pageId);
    /// Sets each property of the state; an unknown name becomes a dynamic property. No action: nothing.
    static void setActionState(QAction *action, const QHash<QString, QVariant> &state);

private:
    const QPointer<CWizardActions> m_actions;
    QPointer<CAbstractWizardActionStateProvider> m_provider;
};
