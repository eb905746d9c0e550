#include "gui/wizard/model/CAbstractWizardView.h"

#include "gui/log/Log.h"
#include "gui/wizard/model/CAbstractWizardModel.h"

CAbstractWizardView::CAbstractWizardView(CAbstractWizardModel &model, QObject *parent)
    : QObject(parent)
    , m_model(model)
{
    KOV_LOG(3, "Created Wizard View <%p>", static_cast<void *>(this));
    setupSignals();
}

CAbstractWizardView::~CAbstractWizardView()
{
    KOV_LOG(3, "Destroyed Wizard View <%p>", static_cast<void *>(this));
}

CAbstractWizardModel &CAbstractWizardView::wizardModel() const
{
    return m_model;
}

void CAbstractWizardView::setupSignals()
{
    connect(&m_model, &CAbstractWizardModel::currentPageChanged, this,
            &CAbstractWizardView::onCurrentPageChanged, Qt::UniqueConnection);
}

void CAbstractWizardView::onCurrentPageChanged(CAbstractWizardPage *page, int direction)
{
    // Somebody who heard of it before may have deleted it.
    if (page == m_model.currentPage())
        showPage(page, direction);
}
