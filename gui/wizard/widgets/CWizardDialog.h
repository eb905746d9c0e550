#pragma once

#include "gui/KovGuiGlobal.h"

#include <QWizard>

#include <functional>
#include <memory>

class CAbstractWizardModel;
class CAbstractWizardPage;
class CWizardController;

/**
 * A wizard in a window, as widgets, with the look of QWizard and the rules of a wizard model: its buttons
 * follow the actions. CDeclarativeWizardDialog is the same with scenes.
 *
 * Of QWizard only the look is left; its own pages, page order and buttons are not for use.
 *
 * Shown for the first time it starts the wizard. It is accepted when the model says finished(0), rejected
 * when it says another result. Closing it, by Escape too, asks the action handler's handleCloseEvent() and
 * then cancels the wizard.
 */
class KOVGUI_EXPORT CWizardDialog : public QWizard
{
    Q_OBJECT

public:
    /// Makes the widget of a page, when it is shown for the first time. The dialog takes it over; it lives
    /// as long as the page and the dialog do. Null shows a text that says so.
    using PageWidgetFactory = std::function<QWidget *(CAbstractWizardPage &page)>;

    /// @param model  not owned
    CWizardDialog(CAbstractWizardModel &model, const PageWidgetFactory &factory, QWidget *parent = nullptr);
    ~CWizardDialog() override;

    CWizardController *wizardCtrl() const;
    void setVisible(bool visible) override;

public Q_SLOTS:
    /// Does nothing: the model's finished() ends the dialog.
    void accept() override;
    void reject() override;

protected:
    void showEvent(QShowEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
