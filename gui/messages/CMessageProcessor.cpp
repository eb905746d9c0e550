#include "gui/messages/CMessageProcessor_p.h"

#include "gui/help/Help.h"
#include "gui/log/LogText.h"
#include "gui/messages/CMessageBoxBuilder.h"
#include "gui/messages/box/CMessageBoxWndBase.h"
#include "gui/messages/box/HelpNotice_p.h"
#include "gui/messages/record/MessageFactory_p.h"
#include "gui/messages/record/MessageText_p.h"
#include "gui/messages/record/MessageUtils.h"

#include <QApplication>

using Messaging::ButtonID;
using Messaging::ButtonNone;
using Messaging::MessageData;

namespace {

const char tag[] = "[MESSAGE_MNG]";
constexpr int attentionMsecs = 1000;

bool isAskedFor(const MessageData &data)
{
    return data.askedFor && !data.spontaneous;
}

/// Asked on behalf of nobody, it would take the keyboard for an answer that gets lost.
bool isAbandonedQuestion(const CMessageInfo &message)
{
    if (message.data().type != KMT_QUESTION || !message.isAbandoned())
        return false;
    KOV_LOG_TAG(tag, 0, "(!)Error: nobody waits for the answer of question %d, so it is not asked.",
                message.data().code);
    return true;
}

} // namespace

CMessageProcessor::CMessageProcessor()
    : d(new Private(this))
{
    KOV_LOG_TAG(tag, 3, "Message processor %p created", static_cast<void *>(this));
    // The event loop that would deliver them has ended, or is about to.
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { d->endDestroyed(); });
    static QPointer<CMessageProcessor> latest;
    latest = this;
    qAddPostRoutine([] {
        if (!latest)
            return;
        latest->d->isAtTheEnd = true;
        latest->d->endDestroyed();
    });
    qRegisterMetaType<ButtonID>("Messaging::ButtonID");
    qRegisterMetaType<KOV_RESULT>("KOV_RESULT");
}

CMessageProcessor::~CMessageProcessor()
{
    KOV_LOG_TAG(tag, 3, "Message processor %p destroyed", static_cast<void *>(this));
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
    return new CMessageInfo(
        MessageFactory::fromCode({code, issuerId, shortMsgParams, longMsgParams, spontaneous},
                                 [&](QString &shortMsg, QString &longMsg) {
                                     substituteParameters(shortMsg, longMsg, code, issuerId);
                                 }));
}

CMessageInfo *CMessageProcessor::create(t_SdkHandleWrap handle, const QString &issuerId, bool spontaneous,
                                        QWidget *parent, QWidget *hint)
{
    auto data
        = MessageFactory::fromHandle(handle, [this](const t_SdkHandleWrap &nested, const QString &text) {
              return getDetailsString(nested, text, false);
          });
    if (!data)
        return nullptr;
    if (!issuerId.isEmpty())
        data->issuerId = issuerId;
    data->spontaneous = spontaneous;
    data->hintWidget = hint ? hint : parent;
    auto *message = new CMessageInfo(*data);
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
    if (quiet || QApplication::activeWindow() || QApplication::focusWidget())
        return;
    // Once the message is shown: the windows that ask for attention until they get it are not cut short.
    const auto alert = [] { QApplication::alert(nullptr, attentionMsecs); };
    QMetaObject::invokeMethod(qApp, alert, Qt::QueuedConnection);
}

void CMessageProcessor::sendAnswerToVm(CMessageInfo &, int) { }

bool CMessageProcessor::isMessageShouldBeSkipped(const CMessageInfo &message)
{
    const MessageData &data = message.data();
    return MessageRules::isSkipped(
        {d->shownOnce.findEqual(message) != nullptr, data.forceShow, data.spontaneous, [&data] {
             MessageData asked = data;
             return Private::provider().isNeedShowErrorByCode(asked);
         }});
}

bool CMessageProcessor::isMessageShouldBeQueued(const CMessageInfo &message, bool useActive)
{
    const MessageData &data = message.data();
    return MessageRules::isQueued(
        {testOption(MessagingBlocked), Private::provider().isNotificationMessage(data.code),
         d->shown.count(data.issuerId) > 0, [&] { return d->parentState(message, useActive); }});
}

int CMessageProcessor::showMessage(CMessageInfo *message, bool useActive)
{
    if (message->data().type == KMT_QUESTION && message->data().buttons.isEmpty()) {
        KOV_LOG_TAG(tag, 0, "(!)Error: no answers for question message were specified.");
        return Private::NothingShown;
    }
    if (isAbandonedQuestion(*message))
        return Private::NothingShown;
    const QPointer<CMessageInfo> messageGuard(message);
    preprocessMsgLogic(*message, false);
    QWidget *parent = d->findParent(*message, useActive);
    CMessageBoxBuilder *builder = CMessageBoxBuilder::instance();
    CMessageBoxWndBase *window = builder ? builder->build(*message, parent) : nullptr;
    if (!window) {
        KOV_LOG_TAG(tag, 0, "(!)Error: message dialog was not created.");
        d->shown.remove(message);
        return Private::NothingShown;
    }

    const QString uuid = message->uuid();
    d->connectWindow(window, uuid);
    // Notifications never take the keyboard.
    if (!isAskedFor(message->data()) && !Private::provider().isNotificationMessage(message->data().code))
        window->setAskedFor(false);
    const QPointer<CMessageBoxWndBase> windowGuard(window);
    const MessageData data = message->data();
    Q_EMIT aboutToShowMessage(data, parent, window);
    // A listener may have closed the window or deleted it with its parent.
    if (!messageGuard || !windowGuard) {
        if (windowGuard)
            windowGuard->deleteLater();
        return Private::NothingShown;
    }
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
    processMessageQueue(issuerId);
}

int CMessageProcessor::tryToShowMessage(CMessageInfo *message)
{
    KOV_LOG_TAG(tag, 2, "Trying to show message...");
    if (!message) {
        KOV_LOG_TAG(tag, 0, "(!)Error: can't obtain message info to show notification.");
        return Private::NothingShown;
    }
    message->dump();

    if (isAbandonedQuestion(*message)) {
        d->finish(message, ButtonNone);
        return Private::NothingShown;
    }

    int result = Private::NothingShown;
    switch (d->decide(*message)) {
    case MessageRules::Hidden: {
        KOV_LOG_TAG(tag, 1, "The message is hidden.");
        const ButtonID answer = MessageUtils::getDefaultButtonForHiddenMessage(message->data().code);
        handleProcessedMessage(*message, answer);
        return answer;
    }
    case MessageRules::Skipped:
        KOV_LOG_TAG(tag, 1, "Message has been skipped.");
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
        KOV_LOG_TAG(tag, 1, "The same message is already shown. The message was merged.");
        return true;
    }
    if (d->suspended.findEqual(message)) {
        KOV_LOG_TAG(tag, 1, "The same message is already suspended. The message was merged.");
        return true;
    }
    return false;
}

void CMessageProcessor::suspendMessage(CMessageInfo *message)
{
    KOV_LOG_TAG(tag, 1, "Adding message of type %s to the message queue...",
                MessageText::typeName(message->data().type));
    d->suspended.append(message);
}

void CMessageProcessor::tryReactivateMessage(const CMessageInfo *message)
{
    const CMessageInfo *open = d->shown.findEqual(*message);
    if (!open)
        return;
    // It is there already, and the keyboard stays where it is.
    if (Private::provider().isNotificationMessage(message->data().code))
        return;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        auto *box = qobject_cast<CMessageBoxWndBase *>(window);
        if (!box || box->getMessageUuid() != open->uuid() || window->isModal())
            continue;
        if (isAskedFor(message->data()))
            box->setAskedFor(true);
        box->present();
    }
}

void CMessageProcessor::postprocessMsgLogic(CMessageInfo &message, ButtonID)
{
    const bool wasShown = d->shown.remove(&message);
    d->suspended.remove(&message);
    d->finished.remove(message.uuid());

    const MessageData &data = message.data();
    if (!wasShown || !Private::provider().isShowOnceMessage(data.code) || d->shownOnce.findEqual(message))
        return;
    auto *copy = new CMessageInfo(data);
    copy->setParent(this);
    d->shownOnce.append(copy);
}

void CMessageProcessor::processMessageQueue(const QString &issuerId)
{
    if (d->isAtTheEnd) {
        clearMessageQueue(issuerId);
        return;
    }
    int result = Private::NothingShown;
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
    KOV_LOG_TAG(tag, 3, "Handle message box deletion...");
    const bool destroyed = !d->finished.remove(uuid) && sender();
    if (destroyed && d->shown.find(uuid))
        d->endLater(uuid, answer, doNotShowAgain);
    else
        d->endShown(uuid, answer, doNotShowAgain);
}

void CMessageProcessor::handleMessageAnchorClicked(const QString &uuid, const QUrl &url)
{
    const CMessageInfo *message = d->shown.find(uuid);
    if (url.scheme() == QLatin1String("kovhelp")) {
        const Help::HelpTopic topic = Help::topicOfLink(url);
        const bool namesNone = topic == Help::NoTopic && message;
        HelpNotice::openTopic(namesNone ? Private::provider().getHelpTopicByErrCode(message->data().code)
                                        : topic,
                              qobject_cast<QWidget *>(sender()));
        return;
    }
    if (!message) {
        KOV_LOG_TAG(tag, 0, "(!)Error: can't get message info.");
        return;
    }
    const CSlotInfo slot = message->anchorClickSlot();
    if (slot.isEmpty() && Help::isWebAddress(url)) {
        HelpNotice::openWebPage(url, qobject_cast<QWidget *>(sender()));
        return;
    }
    bool handled = false;
    if (!slot.invokeForBool(&handled, url))
        KOV_LOG_TAG(tag, 0, "(!)Can not invoke event handler for url clicked slot %s",
                    KovGui::logText(slot.name()).constData());
}
