#include "gui/wizard/model/CAbstractWizardPageFactory.h"

#include "gui/log/Log.h"

CAbstractWizardPageFactory::CAbstractWizardPageFactory(QObject *parent)
    : QObject(parent)
{
    KOV_LOG(3, "Created Wizard Page Factory <%p>", static_cast<void *>(this));
}

CAbstractWizardPageFactory::~CAbstractWizardPageFactory()
{
    KOV_LOG(3, "Destroyed Wizard Page Factory <%p>", static_cast<void *>(this));
}
