#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/wizard/actions/WizardActions.h"

#include <QHash>
#include <QPointer>
#include <QVariant>

class CAbstractWizardModel;

/**
 * Says what each action of a wizard looks like on a page: an action state, which is a table from a property
 * of QAction to its value. The usual keys are "enabled", "visible" and "text"; a key that is missing leaves
 * the property as it is.
 *
 * By default, on every page: Back is enabled when there is a page to go back to and no rollback runs; Next
 * and Finish are enabled when the current page is complete and the model is not busy, Finish is visible on
 * the final page and Next elsewhere; Cancel and Help are there; the others are hidden, which an application
 * changes for those that it handles. Before the first page, and when its page was deleted, a wizard is not
 * complete.
 */
class KOVGUI_EXPORT CAbstractWizardActionStateProvider : public QObject
{
    Q_OBJECT

public:
    explicit CAbstractWizardActionStateProvider(QObject *parent = nullptr);
    ~CAbstractWizardActionStateProvider() override;

    virtual QHash<QString, QVariant> getDefaultActionState(WizardActions::ActionType type) const;
    /// By default the default state, whatever the page.
    virtual QHash<QString, QVariant> getActionStateForPage(WizardActions::ActionType type, int pageId) const;

protected:
    /// Null before a model took the provider: then nothing can be pressed that depends on it.
    CAbstractWizardModel *wizardModel() const;
    void setWizardModel(CAbstractWizardModel &model);

private:
    friend class CAbstractWizardModel;

    QPointer<CAbstractWizardModel> m_model;
};
