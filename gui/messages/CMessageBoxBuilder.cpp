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

CMessageBoxWndBase *buildMessageBox(const CMessageInfo &message, QWidget *parent,
                                    CMessageDataProvider &provider)
{
    const Messaging::MessageData &data = message.data();
    auto *box = new CMessageBox(parent);
    box->setTitle(data.caption);
    box->setMessage(data.shortMsg);
    box->setDescription(data.longMsg);
    box->setDetails(data.details.text());
    box->setDetailsAction(data.details.action());
    box->setAllowHide(data.canBeHidden);
    box->setIcon(provider.getPixmapForMessage(data.code, data.type));
    box->setButtonsMap(answersOf(data));
    box->setDefaultButton(data.defaultButton);
    box->setButtonsAction(message.buttonPressListener(), message.buttonPressListenerSlot());
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
    box->setMessage(data.shortMsg);
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
