#include "gui/messages/record/MessageFactory_p.h"

#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/messages/record/CMessageDataProvider.h"
#include "gui/messages/record/MessageText_p.h"
#include "gui/messages/record/MessageUtils.h"
#include "gui/messages/record/SdkMessage_p.h"

namespace MessageFactory {

Messaging::MessageData fromCode(const Source &source, const SubstituteParameters &substituteParameters)
{
    Messaging::MessageData data(source.code);
    data.issuerId = source.issuerId;
    data.spontaneous = source.spontaneous;
    data.shortMsg = MessageText::substitute(MessageUtils::getMessageString(source.code, true),
                                            MessageText::toRichText(source.shortMsgParams));
    data.longMsg = MessageText::substitute(MessageUtils::getMessageString(source.code, false),
                                           MessageText::toRichText(source.longMsgParams));
    substituteParameters(data.shortMsg, data.longMsg);

    auto &provider = policyOrDefault<CMessageDataProvider>();
    data.reportGenerated = provider.canGenerateReport(source.code);
    data.buttons = data.reportGenerated ? provider.buttonsMapForReportGeneratedMessage()
                                        : provider.getButtonsMap(source.code);
    return data;
}

std::optional<Messaging::MessageData> fromHandle(const t_SdkHandleWrap &handle, const DetailsOf &detailsOf)
{
    const SdkMessage source = SdkMessage::read(handle);
    if (!source.isValid())
        return std::nullopt;
    Messaging::MessageData data(source.code);
    data.issuerId = source.issuerId;
    data.shortMsg = source.shortMsg;
    data.longMsg = source.longMsg;
    data.buttons = source.buttons;
    data.eventHandle = handle;
    const QString details = detailsOf(source.nestedEvent, data.longMsg);
    // An action that the application names brings more than the text.
    if (data.details.isNull() && !details.isEmpty())
        data.details = Messaging::MessageDetails(details);
    return data;
}

} // namespace MessageFactory
