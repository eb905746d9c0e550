#include "gui/messages/record/Messaging.h"

#include "gui/frame/Application.h"
#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/messages/record/CMessageDataProvider.h"
#include "gui/messages/record/MessageText_p.h"
#include "gui/messages/record/MessageUtils.h"

namespace {

QByteArray describe(const QWidget *widget)
{
    if (!widget)
        return QByteArrayLiteral("none");
    return widget->metaObject()->className() + QByteArrayLiteral("(") + KovGui::logText(widget->objectName())
           + QByteArrayLiteral(")");
}

const char *truth(bool value)
{
    return value ? "true" : "false";
}

} // namespace

namespace Messaging {

MessageData::MessageData(int code)
    : code(code)
    , type(MessageUtils::getMessageType(code))
    , caption(KovGui::getAppGuiName())
    , canBeHidden(MessageUtils::isMessageCanBeHidden(code))
{
    auto &provider = policyOrDefault<CMessageDataProvider>();
    forceShow = provider.isForceShowMessage(code);
    details = MessageDetails(provider.fillDetailsActionInfo(code));
    defaultButton = provider.getDefaultButton(code);
}

void MessageData::dump() const
{
    const auto answer = [this](ButtonID id) { return KovGui::logText(buttons.value(id).text); };
    // "Spontanous" is spelt so: support tools search for these lines.
    KOV_LOG_TAG("[MESSAGE_MNG]", 1,
                "\nMessage data: \n"
                "  >> Issuer id = %s \n"
                "  >> Code = %.8X \n"
                "  >> Type = %s \n"
                "  >> Short Message = \"%s\" \n"
                "  >> Long Message = \"%s\" \n"
                "  >> Details = \"%s\" \n"
                "  >> Spontanous = %s \n"
                "  >> Can be hidden = %s \n"
                "  >> Force show = %s \n"
                "  >> Use active = %s \n"
                "  >> Event handle = %p \n"
                "  >> Answers: [%s] [%s] [%s] \n"
                "  >> Default button number: %d \n"
                "  >> Message hint: %s \n"
                "  >> report generated message: %s \n",
                KovGui::logText(issuerId).constData(), unsigned(code), MessageText::typeName(type),
                KovGui::logText(shortMsg).constData(), KovGui::logText(longMsg).constData(),
                KovGui::logText(details.text()).constData(), truth(spontaneous), truth(canBeHidden),
                truth(forceShow), truth(useActive), static_cast<const void *>(eventHandle.handle()),
                answer(Button1).constData(), answer(Button2).constData(), answer(Button3).constData(),
                int(defaultButton), describe(hintWidget).constData(), truth(reportGenerated));
}

} // namespace Messaging
