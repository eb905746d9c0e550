#include "gui/messages/record/SdkMessage_p.h"

#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/log/Log.h"
#include "gui/messages/record/CMessageDataProvider.h"
#include "gui/messages/record/MessageText_p.h"
#include "gui/messages/record/MessageUtils.h"

namespace {

constexpr int longestIssuerId = 256;

QString issuerOf(const t_SdkHandleWrap &event)
{
    QByteArray buffer(longestIssuerId, '\0');
    uint32_t size = longestIssuerId;
    if (KOV_FAILED(KovEvent_GetIssuerId(event, buffer.data(), &size)) || size > longestIssuerId)
        return QString();
    return QString::fromUtf8(buffer.constData(), int(size));
}

/// What an event says; its parameters are foreign text and bring no placeholders.
QString textOf(const t_SdkHandleWrap &event, bool brief)
{
    const QString text = MessageUtils::getMessageString(event, brief);
    KOV_RESULT code = KOV_SUCCESS;
    if (!text.contains(QLatin1Char('@')) || KOV_FAILED(KovEvent_GetErrCode(event, &code)))
        return text;
    return MessageText::withoutForeignPlaceholders(text, MessageUtils::getMessageString(code, brief));
}

SdkMessage readEvent(const t_SdkHandleWrap &event)
{
    SdkMessage message;
    const KOV_RESULT result = KovEvent_GetErrCode(event, &message.code);
    if (KOV_FAILED(result)) {
        KOV_LOG_TAG("[MESSAGE_MNG]", 0, "(!)Error: can't get return code for event handle. RC: [%.8X]",
                    unsigned(result));
        return message;
    }
    message.valid = true;
    message.issuerId = issuerOf(event);
    message.nestedEvent = MessageUtils::getComplexEventParam(event);
    message.shortMsg = textOf(event, true);
    message.longMsg = textOf(event, false);
    message.buttons = MessageUtils::getButtonsMap(event, message.code);
    // An envelope that says nothing itself speaks through its content.
    if (message.shortMsg.isEmpty() && message.longMsg.isEmpty() && !message.nestedEvent.isNull()) {
        message.shortMsg = textOf(message.nestedEvent, true);
        message.longMsg = textOf(message.nestedEvent, false);
    }
    return message;
}

SdkMessage readJob(const t_SdkHandleWrap &job)
{
    SdkMessage message;
    message.valid = KOV_SUCCEEDED(KovJob_GetRetCode(job, &message.code));
    if (message.valid) {
        message.shortMsg = MessageUtils::getMessageString(message.code, true);
        message.longMsg = MessageUtils::getMessageString(message.code, false);
        message.buttons = policyOrDefault<CMessageDataProvider>().getButtonsMap(message.code);
    }
    return message;
}

} // namespace

SdkMessage SdkMessage::read(const t_SdkHandleWrap &handle)
{
    const _KOV_HANDLE_TYPE type = KovHandle_GetType(handle);
    if (type == KHT_EVENT)
        return readEvent(handle);
    SdkMessage message;
    if (type == KHT_JOB)
        message = readJob(handle);
    if (!message.valid)
        KOV_LOG_TAG("[MESSAGE_MNG]", 0, "(!)Error: can't extract return code from message handle.");
    return message;
}
