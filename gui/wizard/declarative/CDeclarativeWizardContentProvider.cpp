#include "gui/wizard/declarative/CDeclarativeWizardContentProvider.h"

#include "gui/content/CContentArea.h"
#include "gui/content/CContentView.h"
#include "gui/content/CContentWatcher.h"
#include "gui/content/CQmlContentInfo.h"
#include "gui/log/Log.h"
#include "gui/wizard/actions/WizardActions.h"
#include "gui/wizard/declarative/CDeclarativeWizardPage.h"
#include "gui/wizard/model/CAbstractWizardActionHandler.h"

#include <QPointer>
#include <QWidget>
#include <qqml.h>

class CDeclarativeWizardContentProvider::Private
{
public:
    void takeFocus() const;

    QPointer<CContentArea> area;
    QPointer<CAbstractWizardModel> model;
    CWizardController *controller = nullptr;
    QPointer<CContentArea> pageArea{};
    QMap<QString, QVariant> params{};
    /// The page whose scene the inner area shows: the model may be further already.
    QPointer<CDeclarativeWizardPage> page{};
    QList<QAction *> buttons{};
};

/// The keyboard goes to the page, as in every wizard; without something to enter there, to the button that
/// goes on.
void CDeclarativeWizardContentProvider::Private::takeFocus() const
{
    QQuickItem *const scene = pageArea ? pageArea->contentItem() : nullptr;
    CContentView *const view = scene ? CContentView::of(scene->window()) : nullptr;
    if (view && !view->focusFirst(scene) && area && area->contentItem())
        QMetaObject::invokeMethod(area->contentItem(), "focusDefault");
}

CDeclarativeWizardContentProvider::CDeclarativeWizardContentProvider(CContentArea *area,
                                                                     CAbstractWizardModel &model,
                                                                     QWidget *parentWidget, QObject *parent)
    : CContentProvider(parent)
    , d(new Private{area, &model})
{
    d->controller = new CWizardController(model, this);
    d->controller->setParentWidget(parentWidget);
    registerTypes();
    for (const auto type :
         {WizardActions::Help, WizardActions::Twitter, WizardActions::Facebook, WizardActions::Custom1,
          WizardActions::Custom2, WizardActions::Custom3, WizardActions::Back, WizardActions::Next,
          WizardActions::Commit, WizardActions::Finish, WizardActions::Cancel, WizardActions::Close})
        d->buttons.append(d->controller->wizardAction(type));
    d->controller->updateWizardActions();
    connect(&model, &CAbstractWizardModel::finished, this, &CContentProvider::finished);
    connect(&model, &CAbstractWizardModel::currentPageChanged, this,
            &CDeclarativeWizardContentProvider::onCurrentPageChanged);
}

CDeclarativeWizardContentProvider::~CDeclarativeWizardContentProvider()
{
    // The scenes are bound to this object and its controller.
    delete d->pageArea;
    if (d->area)
        d->area->setContent(nullptr, GUI::ContentAnimationNone);
}

CContentWatcher *CDeclarativeWizardContentProvider::startWizard(const QMap<QString, QVariant> &params,
                                                                GUI::ContentAnimationType animation)
{
    d->params = params;
    if (!d->area)
        return nullptr;
    CContentWatcher *watcher = d->area->setContent(
        new CQmlContentInfo(QUrl(QStringLiteral("qrc:/qml/Wizard.qml")), this, params), animation);
    connect(watcher, &CContentWatcher::contentLoaded, this,
            &CDeclarativeWizardContentProvider::onWizardContentLoaded);
    return watcher;
}

CAbstractWizardModel *CDeclarativeWizardContentProvider::wizardModel() const
{
    return d->model;
}

CWizardController *CDeclarativeWizardContentProvider::wizardCtrl() const
{
    return d->controller;
}

QQmlListProperty<QAction> CDeclarativeWizardContentProvider::wizardActions()
{
    return QQmlListProperty<QAction>(this, &d->buttons);
}

bool CDeclarativeWizardContentProvider::processCloseEvent()
{
    CAbstractWizardActionHandler *handler = d->model ? d->model->actionHandler() : nullptr;
    return !handler || handler->handleCloseEvent();
}

void CDeclarativeWizardContentProvider::onWizardContentLoaded(QObject *root)
{
    auto *item = root->findChild<QDeclarativeItem *>(QStringLiteral("wizardContentArea"));
    if (!item) {
        KOV_LOG(0, "(!)Error: the wizard's frame has no item wizardContentArea.");
        return;
    }
    delete d->pageArea;
    d->pageArea = new CContentArea(item, this);
    if (QWidget *parentWidget = d->controller->parentWidget())
        d->pageArea->setWindow(parentWidget->window());
    if (d->model && d->model->currentPage())
        onCurrentPageChanged(d->model->currentPage(), GUI::Forward);
    else
        d->controller->goNext();
}

void CDeclarativeWizardContentProvider::onCurrentPageChanged(CAbstractWizardPage *page, int direction)
{
    // Somebody who heard of the page before may have deleted it.
    if (!d->pageArea || !d->model || page != d->model->currentPage())
        return;
    d->page = qobject_cast<CDeclarativeWizardPage *>(page);
    CContentInfo *info = nullptr;
    if (d->page) {
        QMap<QString, QVariant> params = d->params;
        params.insert(QStringLiteral("wizardPage"), QVariant::fromValue<QObject *>(page));
        info = d->page->createContentInfo(this, params);
    } else {
        KOV_LOG(0, "(!)Error: wizard page %d has no scene.", page ? page->pageId() : -1);
    }
    const auto animation
        = direction == GUI::Forward ? GUI::ContentAnimationForward : GUI::ContentAnimationBackward;
    const CContentWatcher *watcher = d->pageArea->setContent(info, animation);
    connect(watcher, &CContentWatcher::contentLoaded, this,
            &CDeclarativeWizardContentProvider::onWizardPageContentLoaded);
    connect(watcher, &CContentWatcher::contentFailed, this, [this] { d->takeFocus(); });
    connect(watcher, &CContentWatcher::contentReady, this,
            &CDeclarativeWizardContentProvider::onWizardPageContentReady, Qt::QueuedConnection);
}

void CDeclarativeWizardContentProvider::onWizardPageContentLoaded(QObject *item)
{
    if (d->page)
        d->page->setPageContentItem(qobject_cast<QDeclarativeItem *>(item));
    d->takeFocus();
}

void CDeclarativeWizardContentProvider::onWizardPageContentReady()
{
    // Another scene may have come while this was queued.
    if (d->page && d->pageArea && d->page->pageContentItem() == d->pageArea->contentItem())
        d->page->processPageContentReady();
}

void CDeclarativeWizardContentProvider::registerTypes()
{
    qRegisterMetaType<QAction *>("QAction *");
    qRegisterMetaType<QDeclarativeListProperty<QAction>>("QDeclarativeListProperty<QAction>");
    static const int type = qmlRegisterUncreatableMetaObject(
        WizardActions::staticMetaObject, "com.tessarine.wizard", 1, 0, "WizardActions",
        QStringLiteral("WizardActions is an enumeration"));
    Q_UNUSED(type)
    qmlRegisterAnonymousType<QAction>("com.tessarine.wizard", 1);
    qmlRegisterAnonymousType<CAbstractWizardModel>("com.tessarine.wizard", 1);
    qmlRegisterAnonymousType<CWizardController>("com.tessarine.wizard", 1);
}
