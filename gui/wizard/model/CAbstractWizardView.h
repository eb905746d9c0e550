#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

class CAbstractWizardModel;
class CAbstractWizardPage;

/// Shows a wizard's current page. What "showing" is, a derived view decides. The model must outlive the
/// calls of model().
class KOVGUI_EXPORT CAbstractWizardView : public QObject
{
    Q_OBJECT

public:
    explicit CAbstractWizardView(CAbstractWizardModel &model, QObject *parent = nullptr);
    ~CAbstractWizardView() override;

    CAbstractWizardModel &wizardModel() const;

protected Q_SLOTS:
    /// Called each time the wizard has changed its page, with the current one. @param direction  a
    /// GUI::DirectionType
    virtual void showPage(CAbstractWizardPage *page, int direction) = 0;

protected:
    /// Connects the model to showPage(), once however often it is called. The constructor has done it.
    void setupSignals();

private Q_SLOTS:
    void onCurrentPageChanged(CAbstractWizardPage *page, int direction);

private:
    CAbstractWizardModel &m_model;
};
