#include "abstract_task/CTaskManager.h"

#include "abstract_task/CAbstractTask_p.h"
#include "abstract_task/ClassLookup_p.h"
#include "abstract_task/Tasks.h"
#include "abstract_task/TasksLog_p.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <QUrl>

#include <unordered_map>

namespace {

constexpr quint64 turnsInARow = 8;

CTaskManager *theManager = nullptr;

void deleteManager()
{
    delete theManager;
}

QEvent::Type wakeType()
{
    static const auto type = QEvent::Type(QEvent::registerEventType());
    return type;
}

/// Equal values have equal hashes. Types that are not listed are told apart by their type alone.
uint hashOf(const QVariant &value)
{
    const uint type = uint(value.userType());
    switch (type) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
        return qHash(value.toLongLong(), type);
    case QMetaType::QString:
        return qHash(value.toString(), type);
    case QMetaType::QUrl:
        return qHash(value.toUrl(), type);
    default:
        return type;
    }
}

uint hashOf(const CTaskGenericId &id)
{
    uint hash = qHash(id.type());
    const QHash<QString, QVariant> params = id.params();
    // A sum, as the order of a hash table's entries says nothing.
    for (auto it = params.cbegin(); it != params.cend(); ++it)
        hash += qHash(it.key(), hashOf(it.value()));
    return hash;
}

/// Null, with the reason in the log, when the kind has no class that can be created.
const QMetaObject *creatableClass(unsigned type)
{
    const QString name = Tasks::className(type);
    const QMetaObject *meta = name.isEmpty() ? nullptr : Tasks::resolveClass(name);
    const char *reason = nullptr;
    if (name.isEmpty())
        reason = "the kind has no name";
    else if (!meta)
        reason = "the class is unknown";
    else if (!meta->inherits(&CAbstractTask::staticMetaObject))
        reason = "the class is no task";
    if (reason)
        Tasks::log(0, "(!)Error: Can't create a task of kind %s: %s", qUtf8Printable(Tasks::typeName(type)),
                   reason);
    return reason ? nullptr : meta;
}

} // namespace

class CTaskManager::Private
{
public:
    using Task = CAbstractTask::Private;

    explicit Private(CTaskManager *manager)
        : q(manager)
    { }

    void wake();
    void drain();
    bool isCalledFromOtherThread(const char *operation) const
    {
        if (QThread::currentThread() == q->thread())
            return false;
        Tasks::log(0, "(!)Error: %s of the task manager is called from another thread, ignored", operation);
        return true;
    }

    CTaskManager *const q;
    bool closing = false;
    bool isWakePosted = false;
    quint64 turn = 0;
    TaskList<Task> ready;
    TaskList<Task> owned;
    std::unordered_map<uint, TaskList<Task>> byKind;
    std::unordered_map<uint, TaskList<Task>> byId;
};

void CTaskManager::Private::wake()
{
    if (isWakePosted || ready.isEmpty())
        return;
    isWakePosted = true;
    QCoreApplication::postEvent(q, new QEvent(wakeType()));
}

void CTaskManager::Private::drain()
{
    // Going through the event loop costs more than a short step, so a few turns are taken in a row; then
    // other events get theirs.
    const quint64 limit = turn + turnsInARow;
    while (!ready.isEmpty() && ready.first()->turn < limit) {
        Task *task = ready.first();
        turn = qMax(turn, task->turn + 1);
        task->readyLink.remove();
        // A step may run an event loop of its own: the others have to go on in it.
        wake();
        task->run();
    }
}

CTaskManager::CTaskManager()
    : d(new Private(this))
{
    Tasks::log(3, "Task manager %p created", static_cast<void *>(this));
}

CTaskManager::~CTaskManager()
{
    Tasks::log(3, "Task manager %p destroyed", static_cast<void *>(this));
    d->closing = true;
    while (!d->owned.isEmpty())
        delete d->owned.first()->q;
    theManager = nullptr;
}

CTaskManager *CTaskManager::instance()
{
    if (!theManager) {
        theManager = new CTaskManager;
        qAddPostRoutine(deleteManager);
    }
    return theManager;
}

bool CTaskManager::event(QEvent *event)
{
    if (event->type() != wakeType())
        return QObject::event(event);
    d->isWakePosted = false;
    d->drain();
    return true;
}

CAbstractTask *CTaskManager::runTask(CTaskGenericId *id, const CSlotInfo &onFinished, bool shared)
{
    std::unique_ptr<CTaskGenericId> given(id);
    if (QThread::currentThread() != thread() || d->closing || !id) {
        Tasks::log(0, "(!)Error: runTask() is called %s, ignored",
                   !id          ? "without an identifier"
                   : d->closing ? "at the application's end"
                                : "from another thread");
        return fail(onFinished);
    }
    CAbstractTask *task = shared ? getTaskById(*id) : nullptr;
    if (task) {
        task->d->callbacks.append(onFinished);
        return task;
    }

    const QMetaObject *meta = creatableClass(id->type());
    if (!meta)
        return fail(onFinished);
    // Not Q_ARG: the blank that formatting puts into its type name costs a normalisation each time.
    const QArgument<CTaskGenericId *> argument("CTaskGenericId*", id);
    task = static_cast<CAbstractTask *>(meta->newInstance(argument));
    if (!task) {
        Tasks::log(
            0, "(!)Error: Can't create a task of class %s: no invokable constructor takes a CTaskGenericId*",
            meta->className());
        return fail(onFinished);
    }
    static_cast<void>(given.release()); // the task has taken it over
    task->d->managed = true;
    task->d->callbacks.append(onFinished);
    d->owned.append(task->d->ownedLink);
    task->execute();
    return task;
}

CAbstractTask *CTaskManager::fail(const CSlotInfo &onFinished)
{
    const auto call = [onFinished] { callBack(onFinished, KOV_ERR_FAILURE, nullptr); };
    QMetaObject::invokeMethod(this, call, Qt::QueuedConnection);
    return nullptr;
}

CAbstractTask *CTaskManager::getTaskById(const CTaskGenericId &id) const
{
    if (d->isCalledFromOtherThread("getTaskById()"))
        return nullptr;
    CAbstractTask *result = nullptr;
    const auto found = d->byId.find(hashOf(id));
    if (found == d->byId.cend())
        return nullptr;
    found->second.forEach([&](const Private::Task *task) {
        if (*task->registeredId == id)
            result = task->q;
        return !result;
    });
    return result;
}

QList<CAbstractTask *> CTaskManager::getTasksByType(unsigned type) const
{
    if (d->isCalledFromOtherThread("getTasksByType()"))
        return {};
    QList<CAbstractTask *> result;
    const auto found = d->byKind.find(type);
    if (found == d->byKind.cend())
        return result;
    found->second.forEach([&](const Private::Task *task) {
        result.append(task->q);
        return true;
    });
    return result;
}

void CTaskManager::taskStarted(CAbstractTask *task)
{
    CAbstractTask::Private &entry = *task->d;
    entry.kind = task->type();
    d->byKind[entry.kind].append(entry.kindLink);
    entry.registeredId = task->id();
    if (!entry.registeredId)
        return;
    entry.hash = hashOf(*entry.registeredId);
    d->byId[entry.hash].append(entry.idLink);
}

void CTaskManager::taskEnded(CAbstractTask *task)
{
    CAbstractTask::Private &entry = *task->d;
    entry.readyLink.remove();
    entry.kindLink.remove();
    if (!entry.idLink.isLinked() || !theManager)
        return;
    entry.idLink.remove();
    // Kinds are few and stay; identifiers are many and would pile up.
    const auto list = theManager->d->byId.find(entry.hash);
    if (list != theManager->d->byId.end() && list->second.isEmpty())
        theManager->d->byId.erase(list);
}

void CTaskManager::schedule(CAbstractTask *task)
{
    CAbstractTask::Private &entry = *task->d;
    if (entry.readyLink.isLinked())
        return;
    entry.turn = d->turn;
    d->ready.append(entry.readyLink);
    d->wake();
}

void CTaskManager::callBack(const CSlotInfo &slot, KOV_RESULT result, CAbstractTask *task)
{
    if (slot.isEmpty() || slot.invoke(result, task))
        return;
    if (slot.receiver())
        Tasks::log(0, "(!)Error: Can't call slot %s with a task's result %.8X", qUtf8Printable(slot.name()),
                   unsigned(result));
    else
        Tasks::log(3, "The receiver of slot %s is gone", qUtf8Printable(slot.name()));
}
