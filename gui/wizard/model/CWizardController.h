#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

#include <memory>

class CAbstractWizardModel;
class CAbstractWizardModelPrivate;
class QAction;
class QWidget;

/**
 * Connects a wizard's actions to its model's action handler, and keeps the actions as the state provider
 * says while the wizard moves. A face shows the actions and triggers them; goNext() starts the wizard.
 *
 * It does not own the model. Once the model is gone each slot logs an error and does nothing.
 *
 * A triggered action looks again at the provider: one that is disabled does nothing, however it was
 * triggered, nor does a hidden Next or Finish. The slots themselves are not limited by the actions.
 */
class KOVGUI_EXPORT CWizardController : public QObject
{
    Q_OBJECT

public:
    explicit CWizardController(CAbstractWizardModel &model, QObject *parent = nullptr);
    ~CWizardController() override;

    /// @param type  a WizardActions::ActionType; null for another number
    Q_INVOKABLE QAction *wizardAction(int type) const;
    /// The parent of dialogs that are opened on the wizard's behalf. Initially null; not owned.
    QWidget *parentWidget() const;
    void setParentWidget(QWidget *widget);

public Q_SLOTS:
    void goBack();
    void goNext();
    void finish();
    void cancel();
    void requestHelp();
    void postTwitter();
    void postFacebook();
    /// @param type  a WizardActions::ActionType, Custom1 to Custom3
    void requestCustomAction(int type);
    void updateWizardActions();

Q_SIGNALS:
    /// The actions show the present state.
    void wizardActionsUpdated();

private:
    friend class CAbstractWizardModelPrivate;

    /// The model is about to go.
    void detach();

    class Private;
    const std::unique_ptr<Private> d;
};
