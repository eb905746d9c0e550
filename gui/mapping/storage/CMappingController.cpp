#include "gui/mapping/storage/CMappingController.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/mapping/storage/CMappingModel.h"
#include "gui/mapping/storage/CMappingValueHandler.h"
#include "gui/mapping/values/MappingHelpers.h"
#include "gui/mapping/values/ValueAddress_p.h"

#include <QPointer>

#include <optional>

class CMappingController::Private
{
public:
    struct Offer
    {
        ValueAddress address;
        QVariant value;
        QPointer<CMappingValueHandler> handler;
        bool isDropped = false; ///< everything was reverted meanwhile: the answer is of no interest any more
    };
    struct Answer
    {
        bool accepted;
        QVariant value;
    };

    explicit Private(CMappingController *controller)
        : q(controller)
    { }

    QVariant waitingValue(const QString &storage, const QString &path) const;
    void record(const Mappings::Values &values);
    void commit();
    void offerAll(const QPointer<CMappingController> &alive);
    void offer(const ValueAddress &address, const QPointer<CMappingController> &alive);
    void pass(const ValueAddress &address, const QVariant &value);
    void settle(const Offer &offered, bool accepted, const QVariant &value);
    void rejectHeld();

    CMappingController *const q;
    QPointer<CMappingModel> model;
    QPointer<CMappingValueHandler> handler;
    Mappings::Values waiting;
    /// On the way to the model.
    Mappings::Values passed;
    /// The value that the handler holds.
    std::optional<Offer> held;
    /// The value that the handler is being asked about, and its answer when it comes before the call returns.
    Offer *asked = nullptr;
    std::optional<Answer> earlyAnswer;
    bool committing = false;
};

QVariant CMappingController::Private::waitingValue(const QString &storage, const QString &path) const
{
    for (const Mappings::Values *values : {&waiting, &passed}) {
        const auto paths = values->constFind(storage);
        if (paths == values->constEnd())
            continue;
        const auto value = paths->constFind(path);
        if (value != paths->constEnd() && value->isValid())
            return *value;
    }
    return QVariant();
}

void CMappingController::Private::record(const Mappings::Values &values)
{
    if (!model) {
        KOV_LOG(0, "(!)Error: Values are not set: there is no mapping model.");
        return;
    }
    if (waiting.isEmpty()) {
        waiting = values;
    } else {
        for (const ValueAddress &address : sortedAddresses(values))
            MappingHelpers::setValueByPath(waiting, address.path, address.storage,
                                           values.constFind(address.storage)->value(address.path));
    }
    if (committing)
        return;
    const QPointer<CMappingController> alive(q);
    committing = true;
    q->beforeCommitChanges();
    if (!alive)
        return;
    committing = false;
    commit();
}

void CMappingController::Private::commit()
{
    if (committing)
        return;
    const QPointer<CMappingController> alive(q);
    committing = true;
    do {
        offerAll(alive);
        if (!alive)
            return;
        const Mappings::Values values = std::exchange(passed, {});
        if (model && !values.isEmpty())
            model->setValues(values);
        if (!alive)
            return;
    } while (!passed.isEmpty() || (!held && !waiting.isEmpty()));
    committing = false;
    Q_EMIT q->modifiedChanged();
}

void CMappingController::Private::offerAll(const QPointer<CMappingController> &alive)
{
    // Nearly every change: one valid value, and nobody to ask.
    if (!handler && !held && passed.isEmpty() && MappingHelpers::isAllValuesValid(waiting)) {
        passed = std::exchange(waiting, {});
        return;
    }
    const auto addresses = sortedAddresses(waiting);
    for (const ValueAddress &address : addresses) {
        if (held)
            return;
        offer(address, alive);
        if (!alive)
            return;
    }
    // Storages whose last path went are left over.
    if (!held && sortedAddresses(waiting).isEmpty())
        waiting.clear();
}

void CMappingController::Private::offer(const ValueAddress &address,
                                        const QPointer<CMappingController> &alive)
{
    if (!MappingHelpers::hasPath(waiting, address.path, address.storage))
        return; // taken back meanwhile
    const QVariant value = MappingHelpers::getValueByPath(waiting, address.path, address.storage);
    if (!value.isValid()) {
        MappingHelpers::removePath(waiting, address.path, address.storage);
        qCritical("Error(!): Try to commit invalid value: %s: %s",
                  KovGui::logText(address.storage).constData(), KovGui::logText(address.path).constData());
        return;
    }
    if (!handler) {
        pass(address, value);
        return;
    }

    Offer offered{address, value, handler};
    asked = &offered;
    earlyAnswer.reset();
    const bool taken = offered.handler->handleValue(address.storage, address.path, value);
    if (!alive)
        return;
    asked = nullptr;
    const std::optional<Answer> answer = std::exchange(earlyAnswer, std::nullopt);
    if (!taken && !offered.isDropped)
        pass(address, value);
    else if (!taken)
        return;
    else if (answer)
        settle(offered, answer->accepted, answer->value);
    else if (!offered.handler || offered.handler != handler)
        settle(offered, false, QVariant());
    else
        held = offered;
}

void CMappingController::Private::pass(const ValueAddress &address, const QVariant &value)
{
    MappingHelpers::setValueByPath(passed, address.path, address.storage, value);
    // What was recorded meanwhile is another value.
    if (MappingHelpers::getValueByPath(waiting, address.path, address.storage) == value)
        MappingHelpers::removePath(waiting, address.path, address.storage);
}

void CMappingController::Private::settle(const Offer &offered, bool accepted, const QVariant &value)
{
    if (offered.isDropped)
        return;
    const ValueAddress &address = offered.address;
    const bool isLatest
        = MappingHelpers::getValueByPath(waiting, address.path, address.storage) == offered.value;
    if (isLatest)
        MappingHelpers::removePath(waiting, address.path, address.storage);
    if (accepted)
        MappingHelpers::setValueByPath(passed, address.path, address.storage,
                                       value.isValid() ? value : offered.value);
    else if (isLatest)
        Q_EMIT q->valueRejected(address.storage, address.path);
}

void CMappingController::Private::rejectHeld()
{
    if (!held)
        return;
    const QPointer<CMappingController> alive(q);
    const Offer offered = *std::exchange(held, std::nullopt);
    settle(offered, false, QVariant());
    if (alive)
        commit();
}

CMappingController::CMappingController(CMappingModel &model, QObject *parent)
    : QObject(parent)
    , d(std::make_unique<Private>(this))
{
    d->model = &model;
    connect(&model, &CMappingModel::dataChanged, this, &CMappingController::dataChanged);
    connect(&model, &CMappingModel::valueChanged, this, &CMappingController::valueChanged);
    connect(&model, &CMappingModel::modifiedChanged, this, &CMappingController::modifiedChanged);
    KOV_LOG(3, "CMappingController %p created", static_cast<void *>(this));
}

CMappingController::~CMappingController()
{
    KOV_LOG(3, "CMappingController %p destroyed", static_cast<void *>(this));
}

QVariant CMappingController::getValue(const QString &storage, const QString &path, bool uncommitted) const
{
    const QVariant waiting = uncommitted ? d->waitingValue(storage, path) : QVariant();
    if (waiting.isValid() || !d->model)
        return waiting;
    return d->model->getValue(storage, path);
}

bool CMappingController::getValues(Mappings::Values &values) const
{
    const bool filled = d->model && d->model->getValues(values);
    const bool isAnyWaiting = !d->waiting.isEmpty() || !d->passed.isEmpty();
    for (auto storage = values.begin(); isAnyWaiting && storage != values.end(); ++storage) {
        for (auto path = storage->begin(); path != storage->end(); ++path) {
            const QVariant waiting = d->waitingValue(storage.key(), path.key());
            if (waiting.isValid())
                *path = waiting;
        }
    }
    if (!MappingHelpers::isAllValuesValid(values)) {
        for (const ValueAddress &missing : sortedAddresses(MappingHelpers::createValuesTree(values, true)))
            qCritical("Error(!): Value not initialized: %s: %s", KovGui::logText(missing.storage).constData(),
                      KovGui::logText(missing.path).constData());
    }
    return filled;
}

void CMappingController::setValue(const QString &storage, const QString &path, QVariant value)
{
    d->record({{storage, {{path, value}}}});
}

void CMappingController::setValues(const Mappings::Values &values)
{
    d->record(values);
}

void CMappingController::beforeCommitChanges() { }

void CMappingController::setValueHandler(CMappingValueHandler *handler)
{
    if (d->handler == handler)
        return;
    CMappingValueHandler *const former = d->handler;
    d->handler = handler;
    if (handler) {
        if (!handler->parent())
            handler->setParent(this);
        connect(handler,
                qOverload<bool, const QString &, const QString &, QVariant>(
                    &CMappingValueHandler::handleValueFinished),
                this, &CMappingController::onHandleValueFinished);
        // It may hold a value then. From the event loop: nothing calls back from a destructor.
        connect(handler, &QObject::destroyed, this, [this] {
            QMetaObject::invokeMethod(
                this,
                [this] {
                    if (d->held && !d->held->handler)
                        d->rejectHeld();
                },
                Qt::QueuedConnection);
        });
    }
    if (former) {
        disconnect(former, nullptr, this, nullptr);
        if (d->asked && d->asked->handler == former)
            former->deleteLater();
        else
            delete former;
    }
    d->rejectHeld();
}

CMappingValueHandler *CMappingController::valueHandler() const
{
    return d->handler;
}

Mappings::Values &CMappingController::valuesToCommit()
{
    return d->waiting;
}

bool CMappingController::isModified(const Mappings::Values &instead) const
{
    return !d->waiting.isEmpty() || !d->passed.isEmpty() || (d->model && d->model->isModified(instead));
}

void CMappingController::revert()
{
    d->waiting.clear();
    d->passed.clear();
    // The handler still has its question open: the next value is offered after that.
    if (d->held)
        d->held->isDropped = true;
    if (d->asked)
        d->asked->isDropped = true;
    if (d->model)
        d->model->revert();
}

void CMappingController::onHandleValueFinished(bool accepted, QString storage, QString path, QVariant value)
{
    const ValueAddress address{storage, path};
    if (d->asked && d->asked->address == address && !d->earlyAnswer) {
        d->earlyAnswer = Private::Answer{accepted, value};
        return;
    }
    if (!d->held || !(d->held->address == address)) {
        KOV_LOG(0, "(!)Warning: Nobody waits for the answer about %s: %s",
                KovGui::logText(storage).constData(), KovGui::logText(path).constData());
        return;
    }
    const QPointer<CMappingController> alive(this);
    const Private::Offer offered = *std::exchange(d->held, std::nullopt);
    d->settle(offered, accepted, value);
    if (alive)
        d->commit();
}
