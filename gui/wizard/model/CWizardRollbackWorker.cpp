#include "gui/wizard/model/CWizardRollbackWorker.h"

#include "gui/log/Log.h"
#include "gui/wizard/model/CAbstractWizardModel.h"
#include "gui/wizard/model/CAbstractWizardPage.h"
#include "gui/wizard/model/CAbstractWizardPageFlow.h"

#include <QPointer>
#include <QStack>
#include <QTimer>

class CWizardRollbackWorker::Private
{
public:
    void release(CWizardRollbackWorker *q)
    {
        if (awaited)
            awaited->disconnect(q);
        awaited.clear();
    }

    CAbstractWizardModel *const model;
    QStack<int> pages{};
    bool idle = true;
    int target = -1;
    QPointer<CAbstractWizardPage> awaited{};
    bool awaitedIsGone = false;
    QTimer turn{};
};

CWizardRollbackWorker::CWizardRollbackWorker(CAbstractWizardModel *model, QObject *parent)
    : QObject(parent)
    , d(new Private{model})
{
    KOV_LOG(3, "Created Wizard Rollback Worker <%p>", static_cast<void *>(this));
    d->turn.setObjectName(QStringLiteral("turn"));
    d->turn.setSingleShot(true);
    d->turn.setInterval(0);
    connect(&d->turn, &QTimer::timeout, this, &CWizardRollbackWorker::rollbackNextPage);
}

CWizardRollbackWorker::~CWizardRollbackWorker()
{
    KOV_LOG(3, "Destroyed Wizard Rollback Worker <%p>", static_cast<void *>(this));
}

void CWizardRollbackWorker::rollbackTo(int pageId)
{
    if (!d->idle)
        return;
    d->idle = false;
    d->pages = d->model->pageFlow()->getPageHistory(pageId);
    if (d->pages.size() < 2) {
        finish(false);
        return;
    }
    d->target = pageId;
    const CAbstractWizardPage *page = d->model->page(pageId);
    if (!page || !page->rollbackOnEnter())
        d->pages.removeFirst();
    d->turn.start();
}

void CWizardRollbackWorker::stop()
{
    if (!d->idle)
        finish(false);
}

bool CWizardRollbackWorker::isFinished() const
{
    return d->idle;
}

int CWizardRollbackWorker::targetPageId() const
{
    return d->target;
}

void CWizardRollbackWorker::finish(bool ok)
{
    d->turn.stop();
    d->release(this);
    d->pages.clear();
    d->awaitedIsGone = false;
    d->idle = true;
    Q_EMIT finished(ok);
}

void CWizardRollbackWorker::rollbackNextPage()
{
    if (d->awaitedIsGone || d->pages.isEmpty()) {
        finish(!d->awaitedIsGone);
        return;
    }
    CAbstractWizardPage *page = d->model->page(d->pages.pop());
    if (!page) {
        d->turn.start();
        return;
    }
    d->awaited = page;
    connect(page, &CAbstractWizardPage::pageRolledBack, this, &CWizardRollbackWorker::onPageRolledBack);
    connect(page, &QObject::destroyed, this, [this] {
        d->awaitedIsGone = true;
        d->turn.start();
    });
    page->rollBackPage();
}

void CWizardRollbackWorker::onPageRolledBack(bool ok)
{
    d->release(this);
    if (ok)
        d->turn.start();
    else
        finish(false);
}
