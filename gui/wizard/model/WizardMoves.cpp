#include "gui/log/Log.h"
#include "gui/wizard/model/CAbstractWizardActionHandler.h"
#include "gui/wizard/model/CAbstractWizardActionStateProvider.h"
#include "gui/wizard/model/CAbstractWizardModel_p.h"
#include "gui/wizard/model/CAbstractWizardPageFactory.h"
#include "gui/wizard/model/CAbstractWizardPageFlow.h"
#include "gui/wizard/model/CWizardController.h"

CAbstractWizardModelPrivate::CAbstractWizardModelPrivate(CAbstractWizardModel *model)
    : q(model)
    , rollbackWorker(model)
{
    connect(&rollbackWorker, &CWizardRollbackWorker::finished, this,
            &CAbstractWizardModelPrivate::onRollbackFinished);
}

void CAbstractWizardModelPrivate::shutDown()
{
    disconnect(&rollbackWorker, nullptr, this, nullptr);
    rollbackWorker.stop();
    unwire();
    m_putOff.clear();
    if (wizardCtrl)
        wizardCtrl->detach();

    // A page may take others with it.
    QVector<QPointer<CAbstractWizardPage>> last;
    for (CAbstractWizardPage *page : qAsConst(pages))
        last.append(page);
    pages.clear();
    for (const QPointer<CAbstractWizardPage> &page : qAsConst(last))
        delete page;
    delete actionHandler;
    delete actionStateProvider;
    delete pageFlow;
    delete pageFactory;
}

CAbstractWizardPage *CAbstractWizardModelPrivate::addPage(int id)
{
    if (CAbstractWizardPage *page = pages.value(id))
        return page;
    const QPointer<CAbstractWizardModel> model(q);
    CAbstractWizardPage *page = pageFactory ? pageFactory->createPage(id, *q) : nullptr;
    if (!model)
        return nullptr;
    pages.insert(id, page);
    if (!page)
        return nullptr;
    if (page->pageId() != id)
        KOV_LOG(0, "(!)Error: the factory was asked for wizard page %d and made page %d.", id,
                page->pageId());
    // A page without a parent that a scene gets hold of would be the scene's to delete.
    if (!page->parent())
        page->setParent(q);
    connect(page, &QObject::destroyed, this, [this, id, page] {
        if (pages.value(id) == page)
            pages.remove(id);
    });
    return page;
}

CAbstractWizardPage *CAbstractWizardModelPrivate::goToPage(int id, GUI::DirectionType direction)
{
    if (putOff([this, id, direction] { goToPage(id, direction); }))
        return nullptr;
    if (id == -1) {
        KOV_LOG(1, "(!)Warning: no page %s wizard page %d.",
                direction == GUI::Forward ? "follows" : "comes before", q->currentPageId());
        return nullptr;
    }
    if (!pageFlow) {
        KOV_LOG(0, "(!)Error: the wizard has no page flow.");
        return nullptr;
    }
    CAbstractWizardPage *const current = q->currentPage();
    if (current && current->pageId() == id)
        return current;

    const QPointer<CAbstractWizardModel> model(q);
    m_moving = true;
    rollbackWorker.stop();
    const QPointer<CAbstractWizardPage> target(model ? move(id, direction) : nullptr);
    if (!model)
        return nullptr;
    m_moving = false;
    carryOutWhatWasPutOff();
    return target;
}

CAbstractWizardPage *CAbstractWizardModelPrivate::move(int id, GUI::DirectionType direction)
{
    const QPointer<CAbstractWizardModel> model(q);
    const QPointer<CAbstractWizardPage> old(q->currentPage());
    const QStack<int> history = pageFlow ? pageFlow->history() : QStack<int>();
    if (old)
        leave(old, direction);
    const QPointer<CAbstractWizardPage> target(model ? addPage(id) : nullptr);
    if (target && enter(target, id, direction)) {
        announce(target, id, direction);
        return target;
    }

    if (!model)
        return nullptr;
    KOV_LOG(0, "(!)Error: there is no wizard page %d; the wizard stays where it was.", id);
    if (pageFlow)
        pageFlow->setHistory(history);
    if (old)
        enter(old, old->pageId(), direction == GUI::Forward ? GUI::Backward : GUI::Forward);
    if (!model)
        return nullptr;
    // A page that goes on by itself each time it is entered would fail for ever.
    m_putOff.clear();
    updateActions();
    return nullptr;
}

void CAbstractWizardModelPrivate::leave(CAbstractWizardPage *page, GUI::DirectionType direction)
{
    const QPointer<CAbstractWizardPage> guard(page);
    Q_EMIT q->aboutToLeavePage(page);
    if (guard)
        page->leavePage(direction);
    if (guard && direction == GUI::Backward)
        page->cleanupPage();
    if (guard)
        unwire();
}

bool CAbstractWizardModelPrivate::enter(CAbstractWizardPage *page, int id, GUI::DirectionType direction)
{
    const QPointer<CAbstractWizardPage> guard(page);
    Q_EMIT q->aboutToEnterPage(page);
    if (!guard)
        return false;
    wire(page);
    if (pageFlow)
        pageFlow->setCurrentPageId(id);
    if (direction == GUI::Forward)
        page->initializePage();
    if (guard)
        page->enterPage(direction);
    return guard;
}

void CAbstractWizardModelPrivate::announce(CAbstractWizardPage *page, int id, GUI::DirectionType direction)
{
    const QPointer<CAbstractWizardPage> guard(page);
    Q_EMIT q->currentPageIdChanged(id, direction);
    if (guard)
        Q_EMIT q->currentPageChanged(page, direction);
}

void CAbstractWizardModelPrivate::restart()
{
    const QPointer<CAbstractWizardModel> model(q);
    rollbackWorker.stop();
    if (!model || !pageFlow)
        return;
    const QPointer<CAbstractWizardPage> old(q->currentPage());
    const int current = pageFlow->currentPageId();
    const QStack<int> history = pageFlow->history();
    pageFlow->clear();
    const int start = pageFlow->getNextPageId();
    if (start == current && start != -1) {
        pageFlow->setCurrentPageId(start);
        updateActions();
        return;
    }
    unwire();
    goToPage(start, GUI::Forward);
    if (!model || !pageFlow || pageFlow->currentPageId() != -1)
        return;
    // There is no page to begin with.
    pageFlow->setHistory(history);
    if (old)
        wire(old);
    updateActions();
}

void CAbstractWizardModelPrivate::rollbackTo(int id)
{
    if (!pageFlow || q->isRollingBack()) {
        KOV_LOG(1, "(!)Warning: the wizard cannot go back to page %d now.", id);
        return;
    }
    const QPointer<CAbstractWizardModel> model(q);
    rollbackWorker.rollbackTo(id);
    if (model && q->isRollingBack())
        updateActions();
}

void CAbstractWizardModelPrivate::onRollbackFinished(bool ok)
{
    const QPointer<CAbstractWizardModel> model(q);
    if (ok)
        goToPage(rollbackWorker.targetPageId(), GUI::Backward);
    else
        updateActions();
}

void CAbstractWizardModelPrivate::wire(CAbstractWizardPage *page)
{
    unwire();
    m_wired = page;
    connect(page, &CAbstractWizardPage::pageFinished, this, &CAbstractWizardModelPrivate::onPageFinished);
    connect(page, &CAbstractWizardPage::completeChanged, this, &CAbstractWizardModelPrivate::updateActions);
}

void CAbstractWizardModelPrivate::unwire()
{
    if (!m_wired)
        return;
    disconnect(m_wired, &CAbstractWizardPage::pageFinished, this, nullptr);
    disconnect(m_wired, &CAbstractWizardPage::completeChanged, this, nullptr);
    m_wired.clear();
}

void CAbstractWizardModelPrivate::onPageFinished()
{
    if (m_wired && m_wired == q->currentPage() && !putOff([this] { onPageFinished(); }, m_wired.data())
        && wizardCtrl)
        wizardCtrl->goNext();
}

void CAbstractWizardModelPrivate::updateActions()
{
    if (wizardCtrl)
        wizardCtrl->updateWizardActions();
}

bool CAbstractWizardModelPrivate::putOff(const std::function<void()> &function,
                                         std::optional<CAbstractWizardPage *> onBehalfOf)
{
    if (!m_moving)
        return false;
    if (!onBehalfOf)
        m_putOff.enqueue(function);
    else
        m_putOff.enqueue([this, function, page = QPointer<CAbstractWizardPage>(*onBehalfOf)] {
            if (page && page == q->currentPage())
                function();
        });
    return true;
}

void CAbstractWizardModelPrivate::carryOutWhatWasPutOff()
{
    // A page that goes on by itself leads to the next one that does: a loop, because a recursion would end
    // on the stack.
    if (m_carryingOut)
        return;
    const QPointer<CAbstractWizardModel> model(q);
    m_carryingOut = true;
    while (model && !m_putOff.isEmpty())
        m_putOff.dequeue()();
    if (model)
        m_carryingOut = false;
}
