#pragma once

#include "gui/window/CBaseDialog.h"

#include <QMap>
#include <QVariant>

#include <memory>

class CAbstractWizardModel;
class CWizardController;

/**
 * A wizard in a window, as scenes: its pages are CDeclarativeWizardPage. CWizardDialog is the same with
 * widgets.
 *
 * Shown for the first time it starts the wizard. It is accepted when the model says finished(0), rejected
 * when it says another result. Closing it, by Escape too, asks the action handler's handleCloseEvent() and
 * then cancels the wizard.
 */
class KOVGUI_DECLARATIVE_EXPORT CDeclarativeWizardDialog : public CBaseDialog
{
    Q_OBJECT

public:
    /// @param model  not owned @param params  for the scenes of the pages
    explicit CDeclarativeWizardDialog(CAbstractWizardModel &model, QWidget *parent = nullptr,
                                      const QMap<QString, QVariant> &params = {});
    ~CDeclarativeWizardDialog() override;

    CWizardController *wizardCtrl() const;
    void setVisible(bool visible) override;

public Q_SLOTS:
    void reject() override;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
