#include "gui/tasks/progress/CAbstractProgressOperation.h"

class CAbstractProgressOperation::Private
{
public:
    State state = NotStarted;
    int progress = 0;
    QMap<QString, QVariant> progressData;
    QString name;
    QString description;
    QString cancelHint;
    bool cancellable = false;
    bool pausable = false;
};

namespace {

template <typename Operation, typename Value, typename Signal>
void change(Operation *operation, Value &stored, const Value &value, Signal changed)
{
    if (stored == value)
        return;
    stored = value;
    // A copy: a slot may set the next value, or delete the operation.
    Q_EMIT(operation->*changed)(Value(value));
}

} // namespace

CAbstractProgressOperation::CAbstractProgressOperation(QObject *parent)
    : QObject(parent)
    , d(new Private)
{ }

CAbstractProgressOperation::~CAbstractProgressOperation() = default;

CAbstractProgressOperation::State CAbstractProgressOperation::state() const
{
    return d->state;
}

int CAbstractProgressOperation::progress() const
{
    return d->progress;
}

QMap<QString, QVariant> CAbstractProgressOperation::progressData() const
{
    return d->progressData;
}

QString CAbstractProgressOperation::name() const
{
    return d->name;
}

QString CAbstractProgressOperation::description() const
{
    return d->description;
}

QString CAbstractProgressOperation::cancelHint() const
{
    return d->cancelHint;
}

bool CAbstractProgressOperation::isCancellable() const
{
    return d->cancellable;
}

bool CAbstractProgressOperation::isPausable() const
{
    return d->pausable;
}

void CAbstractProgressOperation::setName(const QString &name)
{
    change(this, d->name, name, &CAbstractProgressOperation::nameChanged);
}

void CAbstractProgressOperation::setCancelHint(const QString &hint)
{
    change(this, d->cancelHint, hint, &CAbstractProgressOperation::cancelHintChanged);
}

void CAbstractProgressOperation::setCancellable(bool cancellable)
{
    change(this, d->cancellable, cancellable, &CAbstractProgressOperation::cancellableChanged);
}

void CAbstractProgressOperation::setPausable(bool pausable)
{
    change(this, d->pausable, pausable, &CAbstractProgressOperation::pausableChanged);
}

void CAbstractProgressOperation::setState(State state)
{
    change(this, d->state, state, &CAbstractProgressOperation::stateChanged);
}

void CAbstractProgressOperation::setProgress(int progress)
{
    change(this, d->progress, progress, &CAbstractProgressOperation::progressChanged);
}

void CAbstractProgressOperation::setProgressData(const QMap<QString, QVariant> &data)
{
    change(this, d->progressData, data, &CAbstractProgressOperation::progressDataChanged);
}

void CAbstractProgressOperation::setDescription(const QString &description)
{
    change(this, d->description, description, &CAbstractProgressOperation::descriptionChanged);
}

void CAbstractProgressOperation::start() { }

void CAbstractProgressOperation::pause() { }

void CAbstractProgressOperation::cancel() { }

void CAbstractProgressOperation::toggleStartPause()
{
    if (d->state == NotStarted || d->state == Paused)
        start();
    else
        pause();
}
