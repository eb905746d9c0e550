#include "gui/messages/CMessageManager.h"

#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/messages/CMessageProcessor.h"
#include "gui/messages/record/CMessageInfo.h"
#include "gui/messages/record/MessageUtils.h"
#include "kov_sdk_communication/CSdkRequest.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QQueue>
#include <QThread>
#include <QTimer>

#include <functional>
#include <utility>

namespace {

const char tag[] = "[MESSAGE_MNG]";
constexpr int nothingShown = -1;
/// In milliseconds: with what the windows do besides, a user sees no delay.
constexpr qint64 longestTurn = 5;

bool isCalledFromOtherThread(const char *operation)
{
    if (QThread::currentThread() == qApp->thread())
        return false;
    KOV_LOG_TAG(tag, 0, "(!)Error: %s is called from another thread, ignored.", operation);
    return true;
}

QString issuerOfWindow(const QWidget *widget)
{
    return widget ? widget->window()->property("vmUuid").toString() : QString();
}

/// A message that could not be made still owes its caller the call.
int refuse(KOV_RESULT code, const CSlotInfo &closeSlot)
{
    KOV_LOG_TAG(tag, 0, "(!)Error: can't extract message info.");
    if (!closeSlot.isEmpty())
        closeSlot.invoke(code, Messaging::ButtonNone, closeSlot.params());
    return nothingShown;
}

using Condition = std::function<bool(const CMessageBoxWndBase &, const Messaging::MessageData &)>;

QList<CMessageBoxWndBase *> openWindows(const CMessageProcessor &processor, const Condition &condition)
{
    if (isCalledFromOtherThread("a look for message windows"))
        return {};
    QList<CMessageBoxWndBase *> windows;
    // All: a notification may be a part of its parent's window.
    for (QWidget *widget : QApplication::allWidgets()) {
        auto *window = qobject_cast<CMessageBoxWndBase *>(widget);
        const CMessageInfo *message = window ? processor.shownMessage(window->getMessageUuid()) : nullptr;
        if (message && condition(*window, message->data()))
            windows.append(window);
    }
    return windows;
}

/// Closing one may destroy another.
void closeAll(const QList<CMessageBoxWndBase *> &windows)
{
    QList<QPointer<CMessageBoxWndBase>> guarded;
    for (CMessageBoxWndBase *window : windows)
        guarded.append(window);
    for (const QPointer<CMessageBoxWndBase> &window : guarded) {
        if (window)
            window->close();
    }
}

} // namespace

class CMessageManager::Private
{
public:
    explicit Private(CMessageManager *manager);

    bool letsWait(const MessageParams &params);
    void beginTurn();

    CMessageManager *const q;
    CMessageProcessor *const processor;
    /// The event loop is about to call showMessageBox(), and nobody looks at the result.
    bool isCalledByLoop = false;

private:
    /// Runs from the first call in a turn of the event loop to the begin of the next turn.
    QTimer *const m_timer;
    QElapsedTimer m_turn;
    QQueue<MessageParams> m_waiting;
};

CMessageManager::Private::Private(CMessageManager *manager)
    : q(manager)
    , processor(&policyOrDefault<CMessageProcessor>())
    , m_timer(new QTimer(manager))
{
    m_timer->setObjectName(QStringLiteral("m_timerTurn"));
    m_timer->setSingleShot(true);
    connect(m_timer, &QTimer::timeout, q, [this] { beginTurn(); });
}

/// Whether the message has to wait for a later turn of the event loop, which delivers all the calls that have
/// arrived in one go.
bool CMessageManager::Private::letsWait(const MessageParams &params)
{
    if (!std::exchange(isCalledByLoop, false))
        return false;
    // Whoever waits for the call wants an answer.
    if (params.closeMsgSlot.isEmpty() && MessageUtils::getMessageType(params.code) == KMT_QUESTION)
        return false;
    if (!m_timer->isActive()) {
        m_turn.start();
        m_timer->start(0);
    }
    if (m_waiting.isEmpty() && !m_turn.hasExpired(longestTurn))
        return false;
    m_waiting.enqueue(params);
    return true;
}

void CMessageManager::Private::beginTurn()
{
    m_turn.start();
    while (!m_waiting.isEmpty() && !m_turn.hasExpired(longestTurn)) {
        // First: a message may run an event loop of its own, in which the others follow.
        m_timer->start(0);
        q->showMessageBox(m_waiting.dequeue());
    }
}

CMessageManager::CMessageManager()
    : d(new Private(this))
{
    KOV_LOG_TAG(tag, 3, "Message manager %p created", static_cast<void *>(this));
    qRegisterMetaType<MessageParams>("MessageParams");
    connect(d->processor, &CMessageProcessor::aboutToShowMessage, this, &CMessageManager::aboutToShowMessage);
    connect(d->processor, &CMessageProcessor::messageClosed, this, &CMessageManager::messageClosed);
    connect(d->processor, &CMessageProcessor::notificationClicked, this,
            &CMessageManager::notificationClicked);
}

CMessageManager::~CMessageManager() = default;

CMessageManager *CMessageManager::instance()
{
    static auto *const manager = new CMessageManager;
    return manager;
}

int CMessageManager::showMessageBox(const MessageParams &params)
{
    if (isCalledFromOtherThread("showMessageBox()"))
        return nothingShown;
    const QString issuerId = params.issuerId.isEmpty() ? issuerOfWindow(params.parent) : params.issuerId;
    CMessageInfo *message
        = d->processor->create(params.code, issuerId, params.shortMsgParams, params.longMsgParams, false);
    if (!message)
        return refuse(params.code, params.closeMsgSlot);

    message->setCloseSlot(params.closeMsgSlot);
    message->setAnchorClickSlot(params.anchorClickSlot);
    Messaging::MessageData &data = message->data();
    data.hintWidget = params.parent;
    data.askedFor = params.askedFor;
    if (!params.shortMsg.isEmpty())
        data.shortMsg = params.shortMsg;
    if (!params.longMsg.isEmpty())
        data.longMsg = params.longMsg;
    if (!params.buttons.isEmpty())
        data.buttons = params.buttons;
    return d->processor->tryToShowMessage(message);
}

int CMessageManager::showMessageBox(const QVariant &params)
{
    if (isCalledFromOtherThread("showMessageBox()"))
        return nothingShown;
    if (params.userType() == qMetaTypeId<MessageParams>()) {
        const auto message = params.value<MessageParams>();
        return d->letsWait(message) ? nothingShown : showMessageBox(message);
    }
    KOV_LOG_TAG(tag, 0, "(!)Error: can't extract params from %s. struct MessageParams must be in params.",
                params.isValid() ? params.typeName() : "Invalid");
    return nothingShown;
}

int CMessageManager::showMessageBox(int code, const QString &issuerId, const QStringList &shortParams,
                                    const QStringList &longParams, const CSlotInfo &closeSlot,
                                    bool spontaneous, QWidget *parent, QWidget *hint)
{
    if (isCalledFromOtherThread("showMessageBox()"))
        return nothingShown;
    CMessageInfo *message = d->processor->create(code, issuerId, shortParams, longParams, spontaneous);
    if (!message)
        return refuse(code, closeSlot);
    message->setCloseSlot(closeSlot);
    message->data().hintWidget = hint ? hint : parent;
    return d->processor->tryToShowMessage(message);
}

int CMessageManager::showMessageBox(int code, QWidget *parent, const QStringList &shortParams,
                                    const QStringList &longParams, const CSlotInfo &closeSlot,
                                    bool spontaneous)
{
    if (isCalledFromOtherThread("showMessageBox()"))
        return nothingShown;
    return showMessageBox(code, issuerOfWindow(parent), shortParams, longParams, closeSlot, spontaneous,
                          parent);
}

int CMessageManager::showMessageBox(t_SdkHandleWrap event, const QString &issuerId, QWidget *parent,
                                    const CSlotInfo &closeSlot)
{
    if (isCalledFromOtherThread("showMessageBox()"))
        return nothingShown;
    CMessageInfo *message = d->processor->create(event, issuerId, false, parent, nullptr);
    if (!message)
        return refuse(KOV_ERR_INVALID_HANDLE, closeSlot);
    message->setCloseSlot(closeSlot);
    return d->processor->tryToShowMessage(message);
}

int CMessageManager::showMessageFromServer(t_SdkHandleWrap event, const QString &issuerId, QWidget *parent)
{
    if (isCalledFromOtherThread("showMessageFromServer()"))
        return nothingShown;
    CMessageInfo *message = d->processor->create(event, issuerId, true, parent, nullptr);
    return message ? d->processor->tryToShowMessage(message) : refuse(KOV_ERR_INVALID_HANDLE, CSlotInfo());
}

int CMessageManager::showMessageBoxForJob(t_SdkHandleWrap job, const QString &issuerId,
                                          const CSlotInfo *closeSlot, QWidget *parent)
{
    if (isCalledFromOtherThread("showMessageBoxForJob()"))
        return nothingShown;
    const CSlotInfo slot = closeSlot ? *closeSlot : CSlotInfo();
    KOV_RESULT code = KOV_SUCCESS;
    KOV_RESULT result = KovJob_GetRetCode(job, &code);
    if (KOV_FAILED(result)) {
        KOV_LOG_TAG(tag, 0, "(!)Error: KovJob_GetRetCode failed. RC = [%.8X]", unsigned(result));
        return refuse(result, slot);
    }
    t_SdkHandleWrap event;
    result = KovJob_GetError(job, event.out());
    if (KOV_SUCCEEDED(result))
        return showMessageBox(event, issuerId, parent, slot);
    KOV_LOG_TAG(tag, 1,
                "KovJob_GetError failed. Seems to be the job doesn't contain additional info. RC = [%.8X]",
                unsigned(result));
    return showMessageBox(code, issuerId, QStringList(), QStringList(), slot, false, parent);
}

int CMessageManager::showMessageBoxForRequest(const CSdkRequest &request, const QString &issuerId,
                                              const CSlotInfo *closeSlot)
{
    return showMessageBoxForJob(request.job(), issuerId, closeSlot);
}

void CMessageManager::setMessagingBlocked(bool blocked)
{
    if (!isCalledFromOtherThread("setMessagingBlocked()"))
        d->processor->setOption(CMessageProcessor::MessagingBlocked, blocked);
}

void CMessageManager::clearMessageQueue(const QString &issuerId)
{
    if (!isCalledFromOtherThread("clearMessageQueue()"))
        d->processor->clearMessageQueue(issuerId);
}

QList<CMessageBoxWndBase *> CMessageManager::getMessageWindowsForId(int code) const
{
    return openWindows(*d->processor,
                       [code](const auto &, const auto &message) { return message.code == code; });
}

QList<CMessageBoxWndBase *> CMessageManager::getMessageWindowsForId(const QString &issuerId, int code) const
{
    return openWindows(*d->processor, [&issuerId, code](const auto &, const auto &message) {
        return message.code == code && message.issuerId == issuerId;
    });
}

QList<CMessageBoxWndBase *> CMessageManager::getMessageWindowsForParent(const QWidget *parent) const
{
    return openWindows(*d->processor, [parent](const CMessageBoxWndBase &window, const auto &) {
        return window.parentWidget() == parent;
    });
}

void CMessageManager::closeSpecificMessageBox(int code)
{
    closeAll(getMessageWindowsForId(code));
}

void CMessageManager::closeSpecificMessageBox(const QString &issuerId, int code)
{
    closeAll(getMessageWindowsForId(issuerId, code));
}

void CMessageManager::closeMessageBoxes(const QWidget *parent)
{
    closeAll(getMessageWindowsForParent(parent));
}

void CMessageManager::raiseSpecificMessageBox(const QString &issuerId, int code)
{
    for (CMessageBoxWndBase *window : getMessageWindowsForId(issuerId, code)) {
        window->raise();
        window->activateWindow();
    }
}

bool CMessageManager::event(QEvent *event)
{
    if (event->type() != QEvent::MetaCall)
        return QObject::event(event);
    d->isCalledByLoop = true;
    const bool handled = QObject::event(event);
    d->isCalledByLoop = false;
    return handled;
}
