#include "gui/wizard/model/CAbstractWizardPageFlow.h"

#include "gui/log/Log.h"
#include "gui/wizard/model/CAbstractWizardModel.h"

#include <QPointer>

class CAbstractWizardPageFlow::Private
{
public:
    QStack<int> history;
    QPointer<CAbstractWizardModel> model;
};

CAbstractWizardPageFlow::CAbstractWizardPageFlow(QObject *parent)
    : QObject(parent)
    , d(new Private)
{
    KOV_LOG(3, "Created Wizard Page Flow <%p>", static_cast<void *>(this));
}

CAbstractWizardPageFlow::~CAbstractWizardPageFlow()
{
    KOV_LOG(3, "Destroyed Wizard Page Flow <%p>", static_cast<void *>(this));
}

int CAbstractWizardPageFlow::currentPageId() const
{
    return d->history.isEmpty() ? -1 : d->history.top();
}

int CAbstractWizardPageFlow::getNextPageId() const
{
    return getNextPageId(currentPageId());
}

int CAbstractWizardPageFlow::getPrevPageId() const
{
    return getPrevPageId(currentPageId());
}

bool CAbstractWizardPageFlow::canGoBack() const
{
    return canGoBack(currentPageId());
}

bool CAbstractWizardPageFlow::isOnFinalPage() const
{
    return isFinalPage(currentPageId());
}

bool CAbstractWizardPageFlow::hasVisitedPage(int pageId) const
{
    return d->history.lastIndexOf(pageId) >= 0;
}

QStack<int> CAbstractWizardPageFlow::getPageHistory(int pageId) const
{
    QStack<int> pages;
    const int first = d->history.indexOf(pageId);
    if (first >= 0)
        static_cast<QVector<int> &>(pages) = d->history.mid(first);
    return pages;
}

void CAbstractWizardPageFlow::setCurrentPageId(int pageId)
{
    const int index = d->history.indexOf(pageId);
    if (index < 0)
        d->history.push(pageId);
    else
        d->history.resize(index + 1);
}

bool CAbstractWizardPageFlow::canGoBack(int pageId) const
{
    return d->history.indexOf(pageId) >= 1;
}

int CAbstractWizardPageFlow::getPrevPageId(int pageId) const
{
    const int index = d->history.indexOf(pageId);
    return index >= 1 ? d->history.at(index - 1) : -1;
}

bool CAbstractWizardPageFlow::isFinalPage(int pageId) const
{
    return getNextPageId(pageId) == -1;
}

CAbstractWizardModel *CAbstractWizardPageFlow::wizardModel() const
{
    return d->model;
}

void CAbstractWizardPageFlow::setWizardModel(CAbstractWizardModel &model)
{
    d->model = &model;
}

void CAbstractWizardPageFlow::clear()
{
    d->history.clear();
}

QStack<int> CAbstractWizardPageFlow::history() const
{
    return d->history;
}

void CAbstractWizardPageFlow::setHistory(const QStack<int> &history)
{
    d->history = history;
}
