#include "gui/messages/CMessageProcessor_p.h"

#include "gui/log/LogText.h"
#include "gui/messages/CSearchParentHelper.h"
#include "gui/messages/box/CMessageBoxWndBase.h"
#include "gui/messages/record/CMessageInfo.h"
#include "gui/messages/record/MessageUtils.h"

#include <algorithm>

using Messaging::ButtonID;
using Messaging::ButtonNone;
using Messaging::MessageData;

namespace {

const char tag[] = "[MESSAGE_MNG]";

/// Whether the object is an open message window or has one among its descendants.
bool holdsMessageWindow(const QObject *object)
{
    // Null while the object before it is destroyed with the parent of both.
    if (!object)
        return false;
    const auto *box = qobject_cast<const CMessageBoxWndBase *>(object);
    // A hidden box has been answered and is about to go.
    if (box && !box->isHidden())
        return true;
    // The last first: windows come after the widgets that their parent began with.
    const QObjectList &children = object->children();
    return std::any_of(children.crbegin(), children.crend(), holdsMessageWindow);
}

void invokeSkipped(const CMessageInfo &message)
{
    const CSlotInfo slot = message.closeSlot();
    if (slot.isEmpty() || slot.invoke(message.data().code, ButtonNone, slot.params()))
        return;
    KOV_LOG_TAG(tag, 0, "(!)Can not invoke event handler for skipped message with slot %s",
                KovGui::logText(slot.name()).constData());
}

} // namespace

QWidget *CMessageProcessor::Private::findParent(const CMessageInfo &message, bool useActive) const
{
    const MessageData &data = message.data();
    return policyOrDefault<CSearchParentHelper>().getParentForMessage(
        data.issuerId, data.useActive || useActive, data.hintWidget);
}

MessageRules::ParentState CMessageProcessor::Private::parentState(const CMessageInfo &message,
                                                                  bool useActive) const
{
    const QWidget *parent = findParent(message, useActive);
    if (!parent)
        return MessageRules::NoParent;
    // The parent may be a message window itself: a modal one is what carries further messages.
    return holdsMessageWindow(parent->window()) ? MessageRules::OccupiedParent : MessageRules::FreeParent;
}

MessageRules::Verdict CMessageProcessor::Private::decide(const CMessageInfo &message) const
{
    return MessageRules::decide({
        [&] { return MessageUtils::isMessageHidden(message.data().code); },
        [&] { return q->isMessageShouldBeSkipped(message); },
        [&] { return q->isMessageMustBeShown(message); },
        [&] { return q->isMessageShouldBeMerged(message); },
        [&] { return q->isMessageShouldBeQueued(message, false); },
    });
}

/// False when the message could not be shown; it is finished then.
bool CMessageProcessor::Private::showOrFinish(CMessageInfo *message, int *result)
{
    const QPointer<CMessageInfo> guard(message);
    *result = q->showMessage(message, false);
    if (*result != NothingShown || !guard || isEndingLater(guard))
        return true;
    shown.remove(guard);
    finish(guard, ButtonNone);
    return false;
}

void CMessageProcessor::Private::connectWindow(CMessageBoxWndBase *window, const QString &uuid)
{
    QObject::connect(window, &CMessageBoxWndBase::beforeMessageDestroyed, q,
                     &CMessageProcessor::handleMessageClose);
    QObject::connect(window, &CMessageBoxWndBase::anchorClicked, q,
                     &CMessageProcessor::handleMessageAnchorClicked);
    QObject::connect(window, &QDialog::finished, q, [this, uuid] { finished.insert(uuid); });
    // A window of a host's own may go without a word; its message may not.
    QObject::connect(window, &QObject::destroyed, q, [this, uuid] { endLater(uuid, ButtonNone, false); });
}

int CMessageProcessor::Private::presentWindow(CMessageInfo *message, CMessageBoxWndBase *window,
                                              const QWidget *parent)
{
    const MessageData &data = message->data();
    const bool synchronous = data.type == KMT_QUESTION && !data.spontaneous && message->closeSlot().isEmpty();
    if (synchronous) {
        // Neither the message nor, when its parent dies, the window outlives this loop for certain.
        const QPointer<CMessageBoxWndBase> guard(window);
        const int answer = window->exec();
        if (guard)
            guard->deleteLater();
        return answer;
    }
    window->setAttribute(Qt::WA_DeleteOnClose);
    if (parent && !provider().isNotificationMessage(data.code))
        window->open();
    else
        window->show();
    return 0;
}

void CMessageProcessor::Private::skip(CMessageInfo *message)
{
    const QPointer<CMessageInfo> guard(message);
    sendAnswer(message, ButtonNone);
    message->tellAnswer(ButtonNone);
    if (guard)
        invokeSkipped(*message);
    delete guard;
}

/// A machine that asks hears one answer, whatever becomes of its question.
void CMessageProcessor::Private::sendAnswer(CMessageInfo *message, ButtonID answer)
{
    const MessageData &data = message->data();
    if (data.spontaneous && data.type == KMT_QUESTION && message->closeSlot().isEmpty())
        q->sendAnswerToVm(*message, answer);
}

void CMessageProcessor::Private::finish(CMessageInfo *message, ButtonID answer)
{
    const QPointer<CMessageInfo> guard(message);
    sendAnswer(message, answer);
    if (guard)
        message->emitBeforeDeleted(answer);
    KOV_LOG_TAG(tag, 3, "Removing message info...");
    delete guard;
}

void CMessageProcessor::Private::endShown(const QString &uuid, ButtonID answer, bool doNotShowAgain)
{
    const QPointer<CMessageInfo> message(shown.find(uuid));
    if (!message) {
        KOV_LOG_TAG(tag, 0, "(!)Error: can't get message info to process queue.");
        return;
    }
    KOV_LOG_TAG(tag, 2, "Message %s was closed with answer %d, do not show again: %d", qUtf8Printable(uuid),
                int(answer), int(doNotShowAgain));
    message->tellAnswer(answer);
    if (!message)
        return;
    const MessageData data = message->data();
    if (doNotShowAgain)
        MessageUtils::setMessageHidden(data.code, answer);
    if (answer != ButtonNone && provider().isNotificationMessage(data.code))
        Q_EMIT q->notificationClicked(data.code);
    Q_EMIT q->messageClosed(data, answer);
    if (provider().isShowOnceForVmMessage(data.code))
        MessageUtils::saveShowOnceForVmMessage(data);
    if (message)
        q->handleProcessedMessage(*message, answer);
}

void CMessageProcessor::Private::endLater(const QString &uuid, ButtonID answer, bool doNotShowAgain)
{
    CMessageInfo *message = shown.find(uuid);
    if (!message)
        return;
    // At once: no equal message may be merged into one without a window.
    shown.remove(message);
    m_destroyed.append({message, answer, doNotShowAgain});
    QMetaObject::invokeMethod(
        q, [this] { endDestroyed(); }, Qt::QueuedConnection);
}

bool CMessageProcessor::Private::isEndingLater(const CMessageInfo *message) const
{
    return std::any_of(m_destroyed.cbegin(), m_destroyed.cend(),
                       [message](const Destroyed &destroyed) { return destroyed.message == message; });
}

void CMessageProcessor::Private::endDestroyed()
{
    while (!m_destroyed.isEmpty()) {
        const Destroyed last = m_destroyed.takeFirst();
        if (!last.message)
            continue;
        shown.append(last.message);
        endShown(last.message->uuid(), last.answer, last.doNotShowAgain);
    }
}
