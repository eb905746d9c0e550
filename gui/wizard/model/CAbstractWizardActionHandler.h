#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

#include <memory>

class CAbstractWizardModel;

/**
 * Decides what pressing an action of a wizard does. An application derives from it for what its wizard does
 * otherwise.
 *
 * The default operations move the model. Next and Finish ask the current page's validatePage() first, which
 * may run a dialog: meanwhile both do nothing, and afterwards they count only if that page is still the
 * current one. They do nothing either while a rollback runs.
 */
class KOVGUI_EXPORT CAbstractWizardActionHandler : public QObject
{
    Q_OBJECT

public:
    explicit CAbstractWizardActionHandler(QObject *parent = nullptr);
    ~CAbstractWizardActionHandler() override;

    /// Whether the wizard's window may close. True by default.
    virtual bool handleCloseEvent();
    /// Rolls back to the page that was visited before, if there is one and no rollback runs.
    virtual void handleBack();
    /// Goes on; without a current page at once, which starts the wizard.
    virtual void handleNext();
    /// Ends the wizard with result 0.
    virtual void handleFinish();
    /// Ends the wizard with result 2.
    virtual void handleCancel();
    // Nothing by default.
    virtual void handleHelp();
    virtual void handleTwitter();
    virtual void handleFacebook();
    /// @param type  a WizardActions::ActionType, Custom1 to Custom3
    virtual void handleCustomAction(int type);

protected:
    /// Null before a model took the handler: then the default operations do nothing.
    CAbstractWizardModel *wizardModel() const;
    void setWizardModel(CAbstractWizardModel &model);

private:
    friend class CAbstractWizardModel;

    bool isPutOff(void (CAbstractWizardActionHandler::*operation)());
    bool validateCurrentPage();

    class Private;
    const std::unique_ptr<Private> d;
};
