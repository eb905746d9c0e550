#include "gui/wizard/declarative/CDeclarativeWizardProxyPage.h"

#include "gui/wizard/declarative/CDeclarativeWizardContentProvider.h"
#include "gui/wizard/declarative/CWizardWidgetContentInfo.h"

#include <QWidget>

CDeclarativeWizardProxyPage::CDeclarativeWizardProxyPage(CAbstractWizardModel &model, int pageId,
                                                         QObject *parent)
    : CDeclarativeWizardPage(model, pageId, parent)
{ }

CDeclarativeWizardProxyPage::~CDeclarativeWizardProxyPage()
{
    delete m_sourcePage;
}

QWidget *CDeclarativeWizardProxyPage::sourcePage() const
{
    return m_sourcePage;
}

void CDeclarativeWizardProxyPage::setSourcePage(QWidget *widget)
{
    if (m_sourcePage == widget)
        return;
    delete m_sourcePage;
    m_sourcePage = widget;
}

void CDeclarativeWizardProxyPage::initializePage()
{
    if (!m_sourcePage)
        return;
    // Setting flags hides a widget, and would make one that is shown already a window.
    if (!m_sourcePage->parentWidget())
        m_sourcePage->setWindowFlag(Qt::BypassGraphicsProxyWidget);
    else
        m_sourcePage->overrideWindowFlags(m_sourcePage->windowFlags() | Qt::BypassGraphicsProxyWidget);
}

CContentInfo *CDeclarativeWizardProxyPage::createContentInfo(CDeclarativeWizardContentProvider *provider,
                                                             const QMap<QString, QVariant> &params)
{
    return new CWizardWidgetContentInfo(m_sourcePage, provider, params);
}
