#include "gui/wizard/model/CWizardController.h"

#include "gui/log/Log.h"
#include "gui/wizard/actions/CWizardActions.h"
#include "gui/wizard/model/CAbstractWizardActionHandler.h"
#include "gui/wizard/model/CAbstractWizardActionStateProvider.h"
#include "gui/wizard/model/CAbstractWizardModel.h"
#include "gui/wizard/model/CWizardActionsUpdater.h"

#include <QAction>
#include <QPointer>
#include <QSignalMapper>
#include <QWidget>

class CWizardController::Private
{
public:
    CAbstractWizardModel *modelOrLog(const char *slot) const
    {
        if (!model)
            KOV_LOG(0, "Null Wizard Model in %s", slot);
        return model;
    }
    CAbstractWizardActionHandler *handlerOrLog(const char *slot) const
    {
        const CAbstractWizardModel *present = modelOrLog(slot);
        return present ? present->actionHandler() : nullptr;
    }
    bool canBeTriggered(WizardActions::ActionType type) const;
    void connectActions(CWizardController *q);

    QPointer<CAbstractWizardModel> model;
    CWizardActions *actions = nullptr;
    CWizardActionsUpdater *updater = nullptr;
    QPointer<QWidget> parentWidget{};
};

bool CWizardController::Private::canBeTriggered(WizardActions::ActionType type) const
{
    // Without a page to look at, going on starts the wizard.
    const CAbstractWizardActionStateProvider *provider = model ? model->actionStateProvider() : nullptr;
    if (!provider || !model->currentPage())
        return true;
    const auto state = provider->getActionStateForPage(type, model->currentPageId());
    const bool mustBeSeen = type == WizardActions::Next || type == WizardActions::Finish;
    return state.value(QStringLiteral("enabled"), true).toBool()
           && (!mustBeSeen || state.value(QStringLiteral("visible"), true).toBool());
}

void CWizardController::Private::connectActions(CWizardController *q)
{
    using Slot = void (CWizardController::*)();
    const QPair<WizardActions::ActionType, Slot> simple[] = {
        {WizardActions::Back, &CWizardController::goBack},
        {WizardActions::Next, &CWizardController::goNext},
        {WizardActions::Finish, &CWizardController::finish},
        {WizardActions::Cancel, &CWizardController::cancel},
        {WizardActions::Help, &CWizardController::requestHelp},
        {WizardActions::Twitter, &CWizardController::postTwitter},
        {WizardActions::Facebook, &CWizardController::postFacebook},
    };
    for (const auto &[type, slot] : simple) {
        // QAction::trigger() asks neither whether the action is enabled nor whether it is visible.
        QObject::connect(actions->action(type), &QAction::triggered, q, [this, q, type = type, slot = slot] {
            if (canBeTriggered(type))
                (q->*slot)();
        });
    }

    auto *mapper = new QSignalMapper(q);
    for (const auto type : {WizardActions::Custom1, WizardActions::Custom2, WizardActions::Custom3}) {
        mapper->setMapping(actions->action(type), type);
        QObject::connect(actions->action(type), &QAction::triggered, mapper,
                         qOverload<>(&QSignalMapper::map));
    }
    QObject::connect(mapper, &QSignalMapper::mappedInt, q, [this, q](int type) {
        if (canBeTriggered(WizardActions::ActionType(type)))
            q->requestCustomAction(type);
    });
}

CWizardController::CWizardController(CAbstractWizardModel &model, QObject *parent)
    : QObject(parent)
    , d(new Private{&model})
{
    KOV_LOG(3, "Created Wizard Controller <%p>", static_cast<void *>(this));
    d->actions = new CWizardActions(this);
    d->updater = new CWizardActionsUpdater(d->actions, model.actionStateProvider(), this);
    model.setWizardCtrl(this);
    d->connectActions(this);
    connect(&model, &CAbstractWizardModel::currentPageIdChanged, this,
            &CWizardController::updateWizardActions);
    connect(&model, &CContentModel::busyChanged, this, &CWizardController::updateWizardActions);
}

CWizardController::~CWizardController()
{
    if (d->model && d->model->wizardCtrl() == this)
        d->model->setWizardCtrl(nullptr);
    KOV_LOG(3, "Destroyed Wizard Controller <%p>", static_cast<void *>(this));
}

QAction *CWizardController::wizardAction(int type) const
{
    return d->actions->action(WizardActions::ActionType(type));
}

QWidget *CWizardController::parentWidget() const
{
    return d->parentWidget;
}

void CWizardController::setParentWidget(QWidget *widget)
{
    d->parentWidget = widget;
}

void CWizardController::goBack()
{
    if (CAbstractWizardActionHandler *handler = d->handlerOrLog("CWizardController::goBack"))
        handler->handleBack();
}

void CWizardController::goNext()
{
    if (CAbstractWizardActionHandler *handler = d->handlerOrLog("CWizardController::goNext"))
        handler->handleNext();
}

void CWizardController::finish()
{
    if (CAbstractWizardActionHandler *handler = d->handlerOrLog("CWizardController::finish"))
        handler->handleFinish();
}

void CWizardController::cancel()
{
    if (CAbstractWizardActionHandler *handler = d->handlerOrLog("CWizardController::cancel"))
        handler->handleCancel();
}

void CWizardController::requestHelp()
{
    if (CAbstractWizardActionHandler *handler = d->handlerOrLog("CWizardController::requestHelp"))
        handler->handleHelp();
}

void CWizardController::postTwitter()
{
    if (CAbstractWizardActionHandler *handler = d->handlerOrLog("CWizardController::postTwitter"))
        handler->handleTwitter();
}

void CWizardController::postFacebook()
{
    if (CAbstractWizardActionHandler *handler = d->handlerOrLog("CWizardController::postFacebook"))
        handler->handleFacebook();
}

void CWizardController::requestCustomAction(int type)
{
    if (CAbstractWizardActionHandler *handler = d->handlerOrLog("CWizardController::requestCustomAction"))
        handler->handleCustomAction(type);
}

void CWizardController::updateWizardActions()
{
    const CAbstractWizardModel *model = d->modelOrLog("CWizardController::updateWizardActions");
    if (!model)
        return;
    const QPointer<CWizardController> self(this);
    // The model may have got another provider meanwhile.
    d->updater->setActionStateProvider(model->actionStateProvider());
    d->updater->updateActionsForPage(model->currentPageId());
    if (self)
        Q_EMIT wizardActionsUpdated();
}

void CWizardController::detach()
{
    d->model = nullptr;
}
