#include "gui/wizard/declarative/CDeclarativeWizardPage.h"

#include "gui/content/CQmlContentInfo.h"
#include "gui/wizard/declarative/CDeclarativeWizardContentProvider.h"

namespace {

const char titleProperty[] = "pageTitle";

} // namespace

CDeclarativeWizardPage::CDeclarativeWizardPage(CAbstractWizardModel &model, int pageId, QObject *parent)
    : CAbstractWizardPage(model, pageId, parent)
{
    // The alias is a stranger to the meta-type system, and the property would read as invalid.
    qRegisterMetaType<QDeclarativeItem *>("QDeclarativeItem*");
    connect(this, &CAbstractWizardPage::titleChanged, this, &CDeclarativeWizardPage::onTitleChanged);
}

CDeclarativeWizardPage::~CDeclarativeWizardPage() = default;

QDeclarativeItem *CDeclarativeWizardPage::pageContentItem() const
{
    return m_pageContentItem;
}

QUrl CDeclarativeWizardPage::pageQml() const
{
    return {};
}

CContentInfo *CDeclarativeWizardPage::createContentInfo(CDeclarativeWizardContentProvider *provider,
                                                        const QMap<QString, QVariant> &params)
{
    return new CQmlContentInfo(pageQml(), provider, params);
}

void CDeclarativeWizardPage::processPageContentChange(QDeclarativeItem *) { }

void CDeclarativeWizardPage::processPageContentReady() { }

void CDeclarativeWizardPage::onTitleChanged(const QString &title)
{
    // Not every scene shows a title; as a dynamic property it would only be in the way.
    if (m_pageContentItem && m_pageContentItem->metaObject()->indexOfProperty(titleProperty) >= 0)
        m_pageContentItem->setProperty(titleProperty, title);
}

void CDeclarativeWizardPage::setPageContentItem(QDeclarativeItem *item)
{
    if (m_pageContentItem == item)
        return;
    m_pageContentItem = item;
    processPageContentChange(item);
    onTitleChanged(title());
    Q_EMIT pageContentItemChanged(item);
}
