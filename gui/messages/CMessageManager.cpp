#include "gui/messages/CMessageManager.h"

#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/messages/CMessageProcessor.h"
#include "gui/messages/record/CMessageInfo.h"
#include "kov_sdk_communication/CSdkRequest.h"

#include <QApplication>
#include <QThread>

#include <functional>

namespace {

const char tag[] = "[MESSAGE_MNG]";
constexpr int nothingShown = -1;

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

CMessageManager::CMessageManager()
    : m_processor(&policyOrDefault<CMessageProcessor>())
{
    KOV_LOG_TAG(tag, 3, "Message manager %p created", static_cast<void *>(this));
    qRegisterMetaType<MessageParams>("MessageParams");
    connect(m_processor, &CMessageProcessor::aboutToShowMessage, this, &CMessageManager::aboutToShowMessage);
    connect(m_processor, &CMessageProcessor::messageClosed, this, &CMessageManager::messageClosed);
    connect(m_processor, &CMessageProcessor::notificationClicked, this,
            &CMessageManager::notificationClicked);
}

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
        = m_processor->create(params.code, issuerId, params.shortMsgParams, params.longMsgParams, false);
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
    return m_processor->tryToShowMessage(message);
}

int CMessageManager::showMessageBox(const QVariant &params)
{
    if (params.userType() == qMetaTypeId<MessageParams>())
        return showMessageBox(params.value<MessageParams>());
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
    CMessageInfo *message = m_processor->create(code, issuerId, shortParams, longParams, spontaneous);
    if (!message)
        return refuse(code, closeSlot);
    message->setCloseSlot(closeSlot);
    message->data().hintWidget = hint ? hint : parent;
    return m_processor->tryToShowMessage(message);
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
    CMessageInfo *message = m_processor->create(event, issuerId, false, parent, nullptr);
    if (!message)
        return refuse(KOV_ERR_INVALID_HANDLE, closeSlot);
    message->setCloseSlot(closeSlot);
    return m_processor->tryToShowMessage(message);
}

int CMessageManager::showMessageFromServer(t_SdkHandleWrap event, const QString &issuerId, QWidget *parent)
{
    if (isCalledFromOtherThread("showMessageFromServer()"))
        return nothingShown;
    CMessageInfo *message = m_processor->create(event, issuerId, true, parent, nullptr);
    return message ? m_processor->tryToShowMessage(message) : refuse(KOV_ERR_INVALID_HANDLE, CSlotInfo());
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
        m_processor->setOption(CMessageProcessor::MessagingBlocked, blocked);
}

void CMessageManager::clearMessageQueue(const QString &issuerId)
{
    if (!isCalledFromOtherThread("clearMessageQueue()"))
        m_processor->clearMessageQueue(issuerId);
}

QList<CMessageBoxWndBase *> CMessageManager::getMessageWindowsForId(int code) const
{
    return openWindows(*m_processor,
                       [code](const auto &, const auto &message) { return message.code == code; });
}

QList<CMessageBoxWndBase *> CMessageManager::getMessageWindowsForId(const QString &issuerId, int code) const
{
    return openWindows(*m_processor, [&issuerId, code](const auto &, const auto &message) {
        return message.code == code && message.issuerId == issuerId;
    });
}

QList<CMessageBoxWndBase *> CMessageManager::getMessageWindowsForParent(const QWidget *parent) const
{
    return openWindows(*m_processor, [parent](const CMessageBoxWndBase &window, const auto &) {
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
