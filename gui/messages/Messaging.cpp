#include "gui/messages/Messaging.h"

#include "gui/KovGui.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/messages/CMessageDataProvider.h"
#include "gui/messages/MessagePolicies_p.h"
#include "gui/messages/MessageText_p.h"
#include "gui/messages/MessageUtils.h"

namespace {

// The numbers begin with 2, and "Spontanous" is spelt so: support tools search for these lines.
const char DumpFormat[] = "\nMessage data: \n"
                          "  >> Issuer id = %2 \n"
                          "  >> Code = %3 \n"
                          "  >> Type = %4 \n"
                          "  >> Short Message = \"%5\" \n"
                          "  >> Long Message = \"%6\" \n"
                          "  >> Details = \"%7\" \n"
                          "  >> Spontanous = %8 \n"
                          "  >> Can be hidden = %9 \n"
                          "  >> Force show = %10 \n"
                          "  >> Use active = %11 \n"
                          "  >> Event handle = %12 \n"
                          "  >> Answers: [%13] [%14] [%15] \n"
                          "  >> Default button number: %16 \n"
                          "  >> Message hint: %17 \n"
                          "  >> report generated message: %18 \n";

QString oneLine(const QString &text)
{
    return QString::fromUtf8(KovGui::logText(text));
}

QString truth(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString hex(quint32 value)
{
    return QString::asprintf("%.8X", value);
}

QString describe(const QWidget *widget)
{
    if (!widget)
        return QStringLiteral("none");
    return QStringLiteral("%1(%2)").arg(QString::fromLatin1(widget->metaObject()->className()),
                                        oneLine(widget->objectName()));
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
    if (KovGui::logVerbosity() < 1)
        return;
    const QStringList values{
        oneLine(issuerId),
        hex(quint32(code)),
        QLatin1String(MessageText::typeName(type)),
        oneLine(shortMsg),
        oneLine(longMsg),
        oneLine(details.text()),
        truth(spontaneous),
        truth(canBeHidden),
        truth(forceShow),
        truth(useActive),
        QString::asprintf("%p", static_cast<const void *>(eventHandle.handle())),
        oneLine(buttons.value(Button1).text),
        oneLine(buttons.value(Button2).text),
        oneLine(buttons.value(Button3).text),
        QString::number(defaultButton),
        describe(hintWidget),
        truth(reportGenerated),
    };
    const QString text = MessageText::substitute(QString::fromLatin1(DumpFormat), values);
    KOV_LOG_TAG("[MESSAGE_MNG]", 1, "%s", qUtf8Printable(text));
}

} // namespace Messaging
