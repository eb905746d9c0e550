#include "gui/messages/CMessageProcessor.h"

#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/help/Help.h"
#include "gui/log/LogText.h"
#include "gui/messages/CMessageBoxBuilder.h"
#include "gui/messages/CSearchParentHelper.h"
#include "gui/messages/MessageBook_p.h"
#include "gui/messages/MessageRules_p.h"
#include "gui/messages/box/CMessageBoxWndBase.h"
#include "gui/messages/record/CMessageDataProvider.h"
#include "gui/messages/record/CMessageInfo.h"
#include "gui/messages/record/MessageText_p.h"
#include "gui/messages/record/MessageUtils.h"
#include "gui/messages/record/SdkMessage_p.h"

#include <QApplication>
#include <QScopedValueRollback>
#include <QSet>

#include <algorithm>

using Messaging::ButtonID;
using Messaging::ButtonNone;
using Messaging::MessageData;

namespace {

const char Tag[] = "[MESSAGE_MNG]";
constexpr int NothingShown = -1;
constexpr int AttentionMsecs = 1000;

CMessageDataProvider &provider()
{
    return policyOrDefault<CMessageDataProvider>();
}

/// Whether the object is an open message window or has one among its descendants.
bool holdsMessageWindow(const QObject *object)
{
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
    KOV_LOG_TAG(Tag, 0, "(!)Can not invoke event handler for skipped message with slot %s",
                KovGui::logText(slot.slot()).constData());
}

} // namespace

class CMessageProcessor::Private
{
public:
    explicit Private(CMessageProcessor *processor)
        : q(processor)
    { }

    QWidget *findParent(const CMessageInfo &message, bool useActive) const;
    MessageRules::ParentState parentState(const CMessageInfo &message, bool useActive) const;
    MessageRules::Verdict decide(const CMessageInfo &message) const;
    bool showOrFinish(CMessageInfo *message, int *result);
    void connectWindow(CMessageBoxWndBase *window, const QString &uuid);
    int presentWindow(CMessageInfo *message, CMessageBoxWndBase *window, const QWidget *parent);
    void skip(CMessageInfo *message);
    void finish(CMessageInfo *message, ButtonID answer);
    void endShown(const QString &uuid, ButtonID answer, bool doNotShowAgain, bool later);

    CMessageProcessor *const q;
    unsigned options = NoOptions;
    MessageBook suspended;
    MessageBook shown;
    MessageBook shownOnce;
    /// The windows that ended as dialogs do, and were not just destroyed.
    QSet<QString> finished;
    /// A window that is destroyed may go with its parent: no new one may open on what is left of that.
    bool drainLater = false;
};

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
    if (*result != NothingShown || !guard)
        return true;
    shown.remove(guard);
    finish(guard, ButtonNone);
    return false;
}

void CMessageProcessor::Private::connectWindow(CMessageBoxWndBase *window, const QString &uuid)
{
    connect(window, &CMessageBoxWndBase::beforeMessageDestroyed, q, &CMessageProcessor::handleMessageClose);
    connect(window, &CMessageBoxWndBase::anchorClicked, q, &CMessageProcessor::handleMessageAnchorClicked);
    connect(window, &QDialog::finished, q, [this, uuid] { finished.insert(uuid); });
    // A window of a host's own may go without a word; its message may not.
    connect(window, &QObject::destroyed, q, [this, uuid] {
        if (shown.find(uuid))
            endShown(uuid, ButtonNone, false, true);
    });
}

int CMessageProcessor::Private::presentWindow(CMessageInfo *message, CMessageBoxWndBase *window,
                                              const QWidget *parent)
{
    const MessageData &data = message->data();
    const bool synchronous
        = data.type == KMT_QUESTION && !data.spontaneous && message->closeListenerSlot().isEmpty();
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
    invokeSkipped(*message);
    delete guard;
}

void CMessageProcessor::Private::finish(CMessageInfo *message, ButtonID answer)
{
    const QPointer<CMessageInfo> guard(message);
    message->emitBeforeDeleted(answer);
    KOV_LOG_TAG(Tag, 3, "Removing message info...");
    delete guard;
}

void CMessageProcessor::Private::endShown(const QString &uuid, ButtonID answer, bool doNotShowAgain,
                                          bool later)
{
    const QPointer<CMessageInfo> message(shown.find(uuid));
    if (!message) {
        KOV_LOG_TAG(Tag, 0, "(!)Error: can't get message info to process queue.");
        return;
    }
    KOV_LOG_TAG(Tag, 2, "Message %s was closed with answer %d, do not show again: %d", qUtf8Printable(uuid),
                int(answer), int(doNotShowAgain));
    const QScopedValueRollback<bool> rollback(drainLater, later);
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

CMessageProcessor::CMessageProcessor()
    : d(new Private(this))
{
    qRegisterMetaType<ButtonID>("Messaging::ButtonID");
    qRegisterMetaType<KOV_RESULT>("KOV_RESULT");
}

CMessageProcessor::~CMessageProcessor()
{
    const QList<CMessageInfo *> waiting = d->suspended.takeAll();
    const QList<CMessageInfo *> open = d->shown.takeAll();
    for (CMessageInfo *message : waiting + open)
        d->finish(message, ButtonNone);
}

CMessageProcessor *CMessageProcessor::instance()
{
    return policyInstance<CMessageProcessor>();
}

void CMessageProcessor::setOption(Option option, bool on)
{
    d->options = on ? d->options | option : d->options & ~unsigned(option);
}

bool CMessageProcessor::testOption(Option option) const
{
    return option == NoOptions ? d->options == NoOptions : (d->options & option) == unsigned(option);
}

CMessageInfo *CMessageProcessor::create(int code, const QString &issuerId, const QStringList &shortMsgParams,
                                        const QStringList &longMsgParams, bool spontaneous)
{
    MessageData data(code);
    data.issuerId = issuerId;
    data.spontaneous = spontaneous;
    data.shortMsg = MessageText::substitute(MessageUtils::getMessageString(code, true),
                                            MessageText::toRichText(shortMsgParams));
    data.longMsg = MessageText::substitute(MessageUtils::getMessageString(code, false),
                                           MessageText::toRichText(longMsgParams));
    substituteParameters(data.shortMsg, data.longMsg, code, issuerId);

    data.reportGenerated = provider().canGenerateReport(code);
    data.buttons = data.reportGenerated ? provider().buttonsMapForReportGeneratedMessage()
                                        : provider().getButtonsMap(code);
    return new CMessageInfo(data);
}

CMessageInfo *CMessageProcessor::create(t_SdkHandleWrap handle, const QString &issuerId, bool spontaneous,
                                        QWidget *parent, QWidget *hint)
{
    const SdkMessage source = SdkMessage::read(handle);
    if (!source.isValid())
        return nullptr;

    MessageData data(source.code);
    data.issuerId = issuerId.isEmpty() ? source.issuerId : issuerId;
    data.spontaneous = spontaneous;
    data.shortMsg = source.shortMsg;
    data.longMsg = source.longMsg;
    data.buttons = source.buttons;
    data.eventHandle = handle;
    data.hintWidget = hint ? hint : parent;
    const QString details = getDetailsString(source.nestedEvent, data.longMsg, false);
    // An action that the application names brings more than the text.
    if (data.details.isNull() && !details.isEmpty())
        data.details = Messaging::MessageDetails(details);

    auto *message = new CMessageInfo(data);
    extractDataFromHandle(message);
    extractHintWidgetFromHandle(message);
    return message;
}

void CMessageProcessor::extractDataFromHandle(CMessageInfo *) { }

void CMessageProcessor::substituteParameters(QString &, QString &, int, const QString &) { }

QString CMessageProcessor::getDetailsString(t_SdkHandleWrap handle, const QString &text, bool brief)
{
    if (handle.isNull())
        return QString();
    const QString details = MessageUtils::getMessageString(handle, brief);
    return details == text ? QString() : details;
}

void CMessageProcessor::extractHintWidgetFromHandle(CMessageInfo *) { }

void CMessageProcessor::preprocessMsgLogic(CMessageInfo &message, bool quiet)
{
    d->shown.append(&message);
    if (!quiet && !QApplication::activeWindow() && !QApplication::focusWidget())
        QApplication::alert(nullptr, AttentionMsecs);
}

void CMessageProcessor::sendAnswerToVm(CMessageInfo &, int) { }

bool CMessageProcessor::isMessageShouldBeSkipped(const CMessageInfo &message)
{
    const MessageData &data = message.data();
    return MessageRules::isSkipped(
        {d->shownOnce.findEqual(message) != nullptr, data.forceShow, data.spontaneous, [&data] {
             MessageData asked = data;
             return provider().isNeedShowErrorByCode(asked);
         }});
}

bool CMessageProcessor::isMessageShouldBeQueued(const CMessageInfo &message, bool useActive)
{
    const MessageData &data = message.data();
    return MessageRules::isQueued({testOption(MessagingBlocked), provider().isNotificationMessage(data.code),
                                   d->shown.count(data.issuerId) > 0,
                                   [&] { return d->parentState(message, useActive); }});
}

int CMessageProcessor::showMessage(CMessageInfo *message, bool useActive)
{
    if (message->data().type == KMT_QUESTION && message->data().buttons.isEmpty()) {
        KOV_LOG_TAG(Tag, 0, "(!)Error: no answers for question message were specified.");
        return NothingShown;
    }
    const QPointer<CMessageInfo> messageGuard(message);
    preprocessMsgLogic(*message, false);
    QWidget *parent = d->findParent(*message, useActive);
    CMessageBoxBuilder *builder = CMessageBoxBuilder::instance();
    CMessageBoxWndBase *window = builder ? builder->build(*message, parent) : nullptr;
    if (!window) {
        KOV_LOG_TAG(Tag, 0, "(!)Error: message dialog was not created.");
        d->shown.remove(message);
        return NothingShown;
    }

    const QString uuid = message->uuid();
    d->connectWindow(window, uuid);
    const QPointer<CMessageBoxWndBase> windowGuard(window);
    const MessageData data = message->data();
    Q_EMIT aboutToShowMessage(data, parent, window);
    // A listener may have closed the window or deleted it with its parent.
    if (!messageGuard || !windowGuard)
        return NothingShown;
    return d->presentWindow(message, window, parent);
}

void CMessageProcessor::handleProcessedMessage(CMessageInfo &message, ButtonID answer)
{
    const QString issuerId = message.data().issuerId;
    const bool hadWindow = d->shown.contains(&message);
    postprocessMsgLogic(message, answer);
    d->finish(&message, answer);

    if (!hadWindow && (testOption(MessagingBlocked) || d->shown.count(issuerId) > 0))
        return;
    if (d->drainLater)
        QMetaObject::invokeMethod(
            this, [this, issuerId] { processMessageQueue(issuerId); }, Qt::QueuedConnection);
    else
        processMessageQueue(issuerId);
}

int CMessageProcessor::tryToShowMessage(CMessageInfo *message)
{
    KOV_LOG_TAG(Tag, 2, "Trying to show message...");
    if (!message) {
        KOV_LOG_TAG(Tag, 0, "(!)Error: can't obtain message info to show notification.");
        return NothingShown;
    }
    message->dump();

    int result = NothingShown;
    switch (d->decide(*message)) {
    case MessageRules::Hidden: {
        KOV_LOG_TAG(Tag, 1, "The message is hidden.");
        const ButtonID answer = MessageUtils::getDefaultButtonForHiddenMessage(message->data().code);
        handleProcessedMessage(*message, answer);
        return answer;
    }
    case MessageRules::Skipped:
        KOV_LOG_TAG(Tag, 1, "Message has been skipped.");
        d->skip(message);
        break;
    case MessageRules::Merged:
        tryReactivateMessage(message);
        d->finish(message, ButtonNone);
        break;
    case MessageRules::Queued:
        suspendMessage(message);
        break;
    case MessageRules::Shown:
        d->showOrFinish(message, &result);
        break;
    }
    return result;
}

bool CMessageProcessor::isMessageMustBeShown(const CMessageInfo &message) const
{
    const MessageData &data = message.data();
    return MessageRules::mustBeShown(data.forceShow, data.spontaneous, data.type);
}

bool CMessageProcessor::isMessageShouldBeMerged(const CMessageInfo &message) const
{
    if (d->shown.findEqual(message)) {
        KOV_LOG_TAG(Tag, 1, "The same message is already shown. The message was merged.");
        return true;
    }
    if (d->suspended.findEqual(message)) {
        KOV_LOG_TAG(Tag, 1, "The same message is already suspended. The message was merged.");
        return true;
    }
    return false;
}

void CMessageProcessor::suspendMessage(CMessageInfo *message)
{
    KOV_LOG_TAG(Tag, 1, "Adding message of type %s to the message queue...",
                MessageText::typeName(message->data().type));
    d->suspended.append(message);
}

void CMessageProcessor::tryReactivateMessage(const CMessageInfo *message)
{
    const CMessageInfo *open = d->shown.findEqual(*message);
    if (!open)
        return;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        const auto *box = qobject_cast<CMessageBoxWndBase *>(window);
        if (!box || box->getMessageUuid() != open->uuid() || window->isModal())
            continue;
        window->raise();
        window->activateWindow();
    }
}

void CMessageProcessor::postprocessMsgLogic(CMessageInfo &message, ButtonID answer)
{
    const bool wasShown = d->shown.remove(&message);
    d->suspended.remove(&message);
    d->finished.remove(message.uuid());

    const MessageData &data = message.data();
    if (data.spontaneous && data.type == KMT_QUESTION && message.closeListenerSlot().isEmpty())
        sendAnswerToVm(message, answer);
    if (!wasShown || !provider().isShowOnceMessage(data.code) || d->shownOnce.findEqual(message))
        return;
    auto *copy = new CMessageInfo(data);
    copy->setParent(this);
    d->shownOnce.append(copy);
}

void CMessageProcessor::processMessageQueue(const QString &issuerId)
{
    int result = NothingShown;
    CMessageInfo *message = d->suspended.takeFirst(issuerId);
    while (message && !d->showOrFinish(message, &result))
        message = d->suspended.takeFirst(issuerId);
}

void CMessageProcessor::clearMessageQueue(const QString &issuerId)
{
    for (CMessageInfo *message : d->suspended.takeAll(issuerId))
        d->finish(message, ButtonNone);
}

const CMessageInfo *CMessageProcessor::shownMessage(const QString &uuid) const
{
    return d->shown.find(uuid);
}

int CMessageProcessor::queueLength(const QString &issuerId) const
{
    return d->suspended.count(issuerId);
}

void CMessageProcessor::handleMessageClose(QString uuid, ButtonID answer, bool doNotShowAgain)
{
    KOV_LOG_TAG(Tag, 3, "Handle message box deletion...");
    const bool destroyed = !d->finished.remove(uuid) && sender();
    d->endShown(uuid, answer, doNotShowAgain, destroyed);
}

void CMessageProcessor::handleMessageAnchorClicked(const QString &uuid, const QUrl &url)
{
    if (url.scheme() == QLatin1String("kovhelp")) {
        Help::openLink(url);
        return;
    }
    const CMessageInfo *message = d->shown.find(uuid);
    if (!message) {
        KOV_LOG_TAG(Tag, 0, "(!)Error: can't get message info.");
        return;
    }
    const CSlotInfo slot = message->anchorClickSlot();
    if (slot.isEmpty() && Help::isWebAddress(url)) {
        Help::openWebPage(url);
        return;
    }
    bool handled = false;
    if (!slot.invokeForBool(&handled, url))
        KOV_LOG_TAG(Tag, 0, "(!)Can not invoke event handler for url clicked slot %s",
                    KovGui::logText(slot.slot()).constData());
}
