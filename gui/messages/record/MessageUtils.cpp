#include "gui/messages/record/MessageUtils.h"

#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/log/Log.h"
#include "gui/messages/record/CMessageDataProvider.h"
#include "gui/messages/record/MessageChoices_p.h"

#include <QCoreApplication>
#include <QRegularExpression>

#include <algorithm>

using Messaging::ButtonID;

namespace {

constexpr uint32_t briefTextSize = 400;
constexpr uint32_t fullTextSize = 1000;
// A size that the service asks for beyond this is taken for a fault.
constexpr uint32_t longestText = 1024 * 1024;
constexpr quint32 errorBit = 0x80000000u;

CMessageDataProvider &provider()
{
    return policyOrDefault<CMessageDataProvider>();
}

/// Runs a function of the service that fills a buffer, a second time with the size that it asks for.
template <typename Fill>
KOV_RESULT readText(QString *text, uint32_t size, Fill fill)
{
    QByteArray buffer(int(size), '?');
    uint32_t length = size;
    KOV_RESULT result = fill(buffer.data(), &length);
    if (result == KOV_ERR_BUFFER_OVERRUN && length > size && length <= longestText) {
        buffer.fill('?', int(length));
        result = fill(buffer.data(), &length);
    }
    if (KOV_FAILED(result))
        return result;
    buffer.truncate(int(std::min(length, uint32_t(buffer.size()))));
    const int end = buffer.indexOf('\0');
    *text = QString::fromUtf8(buffer.constData(), end >= 0 ? end : buffer.size());
    return result;
}

QString describe(int code, bool brief, bool formatted)
{
    QString text;
    const KOV_RESULT result
        = readText(&text, brief ? briefTextSize : fullTextSize, [=](char *buffer, uint32_t *size) {
              return KovApi_GetResultDescription(code, brief, formatted, buffer, size);
          });
    if (KOV_FAILED(result))
        KOV_LOG(0, "(!)Error while retrieving result description. RC = %.8X", unsigned(result));
    return text;
}

/// The answer that a parameter of this name stands for; 0 for none.
ButtonID choiceOfParameter(const QString &name)
{
    static const QString prefix = QStringLiteral("vm_message_choice_");
    if (name.size() != prefix.size() + 1 || !name.startsWith(prefix))
        return Messaging::ButtonNone;
    const int number = name.back().unicode() - '0';
    return number >= 0 && number <= 2 ? ButtonID(number + 1) : Messaging::ButtonNone;
}

KOV_RESULT readChoice(const t_SdkHandleWrap &event, uint32_t index, Messaging::ButtonsMap *buttons)
{
    t_SdkHandleWrap param;
    KOV_RESULT result = KovEvent_GetParam(event, index, param.out());
    if (KOV_FAILED(result))
        return result;
    QString name;
    result = readText(&name, briefTextSize,
                      [&](char *buffer, uint32_t *size) { return KovEvtPrm_GetName(param, buffer, size); });
    const ButtonID button = choiceOfParameter(name);
    if (KOV_FAILED(result) || button == Messaging::ButtonNone)
        return result;

    int32_t code = 0;
    result = KovEvtPrm_ToInt32(param, &code);
    if (KOV_FAILED(result))
        return result;
    // A button shows no markup, so it takes the bare text.
    QString text = describe(code, true, false);
    // One without a text is not shown, and the question could not be answered.
    if (text.isEmpty())
        text = QCoreApplication::translate("MessageUtils", "Answer %1").arg(button);
    const auto role = button == Messaging::Button1 ? QMessageBox::AcceptRole : QMessageBox::RejectRole;
    buttons->insert(button, Messaging::Button{text, role});
    return result;
}

bool isPossibleAnswer(ButtonID button, int code)
{
    return provider().getPossibleDefaultButtons(code).contains(button);
}

} // namespace

namespace MessageUtils {

QString getMessageString(int code, bool brief)
{
    return describe(code, brief, true);
}

QString getMessageString(const t_SdkHandleWrap &event, bool brief)
{
    QString text;
    const KOV_RESULT result
        = readText(&text, brief ? briefTextSize : fullTextSize, [&](char *buffer, uint32_t *size) {
              return KovEvent_GetErrString(event, brief, true, buffer, size);
          });
    if (KOV_FAILED(result))
        KOV_LOG(0, "(!)Error: can't get error string. RC: [%.8X]", unsigned(result));
    return text;
}

_KOV_MESSAGE_TYPE_ENUM getMessageType(int code)
{
    _KOV_MESSAGE_TYPE_ENUM type = KMT_UNKNOWN;
    const KOV_RESULT result = KovApi_GetMessageType(code, &type);
    if (KOV_SUCCEEDED(result))
        return type;
    KOV_LOG(0, "(!)Error: can't get message type. RC = %.8X", unsigned(result));
    return KMT_UNKNOWN;
}

QString getProblemID(int code)
{
    return code < 0 ? QString::number(quint32(code) & ~errorBit, 16) : QString::number(code);
}

Messaging::ButtonsMap getButtonsMap(const t_SdkHandleWrap &event, int code)
{
    Messaging::ButtonsMap buttons;
    uint32_t count = 0;
    KOV_RESULT result = KovEvent_GetParamsCount(event, &count);
    for (uint32_t index = 0; KOV_SUCCEEDED(result) && index < count; ++index)
        result = readChoice(event, index, &buttons);
    if (KOV_FAILED(result))
        KOV_LOG(0, "(!)Error: can't extract parameter. RC: [%.8X]", unsigned(result));
    return buttons.isEmpty() ? provider().getButtonsMap(code) : buttons;
}

t_SdkHandleWrap getComplexEventParam(const t_SdkHandleWrap &event)
{
    t_SdkHandleWrap param;
    if (KOV_FAILED(KovEvent_GetParamByName(event, "internal_event", param.out())))
        return t_SdkHandleWrap();
    t_SdkHandleWrap nested;
    const KOV_RESULT result = KovEvtPrm_ToHandle(param, nested.out());
    if (KOV_SUCCEEDED(result))
        return nested;
    KOV_LOG(0, "(!)Error: can't convert parameter to handle. RC: [%.8X]", unsigned(result));
    return t_SdkHandleWrap();
}

bool isMessageCanBeHidden(int code)
{
    int flag = 0;
    const KOV_RESULT result = KovApi_MsgCanBeIgnored(code, &flag);
    if (KOV_FAILED(result)) {
        KOV_LOG(0, "(!)Error while retrieving message info. RC = %.8X", unsigned(result));
        flag = 0;
    }
    if (!flag && MessageChoices::contains(code))
        MessageChoices::remove(code);
    return flag;
}

bool isMessageHidden(int code)
{
    if (provider().isMessageHasAutoAnswer(code))
        return true;
    return isMessageCanBeHidden(code) && MessageChoices::contains(code)
           && isPossibleAnswer(MessageChoices::answer(code), code);
}

ButtonID getDefaultButtonForHiddenMessage(int code)
{
    if (provider().isMessageHasAutoAnswer(code))
        return Messaging::Button1;
    return isMessageCanBeHidden(code) ? MessageChoices::answer(code) : Messaging::ButtonNone;
}

bool isButtonCanBeSaved(ButtonID button, int code)
{
    return isMessageCanBeHidden(code) && isPossibleAnswer(button, code);
}

void setMessageHidden(int code, ButtonID button)
{
    if (isButtonCanBeSaved(button, code))
        MessageChoices::store(code, button);
}

void restoreHiddenMessage(int code)
{
    MessageChoices::remove(code);
}

void restoreHiddenMessages()
{
    MessageChoices::removeAll();
}

QList<int> hiddenMessages()
{
    QList<int> codes;
    for (const int code : MessageChoices::codes()) {
        if (isMessageCanBeHidden(code))
            codes.append(code);
    }
    return codes;
}

int getHiddenMessagesCount()
{
    return hiddenMessages().size();
}

void dumpHiddenMessages()
{
    QStringList lines;
    for (const int code : MessageChoices::codes())
        lines.append(QString::number(code));
    KOV_LOG(0, "\nHidden messages:\n%s", qUtf8Printable(lines.join(QLatin1Char('\n'))));
}

void saveShowOnceForVmMessage(const Messaging::MessageData &data)
{
    if (!data.issuerId.isEmpty())
        MessageChoices::storeShownOnce(data.issuerId, data.code);
}

bool isShownOnceForVm(const Messaging::MessageData &data)
{
    return !data.issuerId.isEmpty() && MessageChoices::isShownOnce(data.issuerId, data.code);
}

void deviceIdToString(QString &text)
{
    static const QRegularExpression pair(QStringLiteral("\\b(\\d\\d?)\\s+(\\d\\d?)\\b"));
    const QRegularExpressionMatch match = pair.match(text);
    if (!match.hasMatch())
        return;
    const QString position = QStringLiteral("%1:%2").arg(QString::number(match.capturedRef(1).toInt() + 1),
                                                         QString::number(match.capturedRef(2).toInt() + 1));
    text.replace(match.capturedStart(), match.capturedLength(), position);
}

void incDeviceIndex(QString &text)
{
    static const QRegularExpression number(QStringLiteral("\\b(\\d\\d?)\\b"));
    const QRegularExpressionMatch match = number.match(text);
    if (match.hasMatch())
        text.replace(match.capturedStart(), match.capturedLength(),
                     QString::number(match.capturedRef().toInt() + 1));
}

} // namespace MessageUtils
