#include "gui/messages/CMessageBoxBuilder.h"

#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/messages/box/CMessageBox.h"
#include "gui/messages/notification/CNotificationBox.h"
#include "gui/messages/record/CMessageDataProvider.h"
#include "gui/messages/record/CMessageInfo.h"
#include "gui/messages/record/MessageUtils.h"

namespace {

Messaging::ButtonsMap answersOf(const Messaging::MessageData &data)
{
    if (!data.buttons.isEmpty())
        return data.buttons;
    return {{Messaging::Button1, {CMessageBoxBuilder::tr("OK"), QMessageBox::AcceptRole}}};
}

/// A code that the service does not know has no texts: its number is all that there is to tell.
QString textOrCode(const Messaging::MessageData &data)
{
    if (!data.shortMsg.isEmpty() || !data.longMsg.isEmpty())
        return data.shortMsg;
    const QString code = QString::number(quint32(data.code), 16).toUpper();
    return CMessageBoxBuilder::tr("Message 0x%1").arg(code.rightJustified(8, QLatin1Char('0')));
}

QString severity(_KOV_MESSAGE_TYPE_ENUM type)
{
    switch (type) {
    case KMT_ERROR:
        return CMessageBoxBuilder::tr("Error");
    case KMT_WARNING:
        return CMessageBoxBuilder::tr("Warning");
    case KMT_QUESTION:
        return CMessageBoxBuilder::tr("Question");
    case KMT_INFORMATION:
    case KMT_UNKNOWN:
        break;
    }
    return CMessageBoxBuilder::tr("Information");
}

CMessageBoxWndBase *buildMessageBox(const CMessageInfo &message, QWidget *parent,
                                    CMessageDataProvider &provider)
{
    const Messaging::MessageData &data = message.data();
    auto *box = new CMessageBox(parent);
    box->setTitle(data.caption);
    box->setMessage(textOrCode(data));
    box->setDescription(data.longMsg);
    box->setDetails(data.details.text());
    box->setDetailsAction(data.details.action());
    box->setAllowHide(data.canBeHidden);
    box->setIcon(provider.getPixmapForMessage(data.code, data.type));
    box->setIconName(severity(data.type));
    box->setButtonsMap(answersOf(data));
    box->setDefaultButton(data.defaultButton);
    box->setButtonsAction(message.answerAction());
    box->setHelpTopic(provider.getHelpTopicByErrCode(data.code));
    box->setMessageUuid(message.uuid());
    if (provider.hasKBArticle(data.code))
        box->setProblemID(MessageUtils::getProblemID(data.code));
    return box;
}

CMessageBoxWndBase *buildNotificationBox(const CMessageInfo &message, QWidget *parent,
                                         CMessageDataProvider &provider)
{
    const Messaging::MessageData &data = message.data();
    auto *box = new CNotificationBox(parent);
    box->setMessage(textOrCode(data));
    box->setDescription(data.longMsg);
    box->setDetails(data.details.text());
    box->setAllowHide(data.canBeHidden);
    box->setIcon(provider.getPixmapForMessage(data.code, data.type));
    if (!data.buttons.isEmpty())
        box->setButton1(data.buttons.first().text);
    box->setMessageUuid(message.uuid());
    return box;
}

} // namespace

CMessageBoxBuilder::CMessageBoxBuilder() = default;

CMessageBoxBuilder::~CMessageBoxBuilder() = default;

CMessageBoxBuilder *CMessageBoxBuilder::instance()
{
    return policyInstance<CMessageBoxBuilder>();
}

CMessageBoxWndBase *CMessageBoxBuilder::build(const CMessageInfo &message, QWidget *parent)
{
    auto &provider = policyOrDefault<CMessageDataProvider>();
    if (provider.isNotificationMessage(message.data().code))
        return buildNotificationBox(message, parent, provider);
    return buildMessageBox(message, parent, provider);
}

bool CMessageBoxBuilder::isNeedBlockSheet(const CMessageInfo &, QWidget *)
{
    return false;
}
