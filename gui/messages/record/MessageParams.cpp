#include "gui/messages/record/MessageParams.h"

MessageParams::MessageParams(int code, QWidget *parent)
    : code(code)
    , parent(parent)
{ }

MessageParams &MessageParams::setErrCode(int newCode)
{
    code = newCode;
    return *this;
}

MessageParams &MessageParams::setIssuerId(const QString &id)
{
    issuerId = id;
    return *this;
}

MessageParams &MessageParams::setParent(QWidget *widget)
{
    parent = widget;
    return *this;
}

MessageParams &MessageParams::setShortMsgParams(const QStringList &params)
{
    shortMsgParams = params;
    return *this;
}

MessageParams &MessageParams::setLongMsgParams(const QStringList &params)
{
    longMsgParams = params;
    return *this;
}

MessageParams &MessageParams::setAnchorClickSlot(const CSlotInfo &slot)
{
    anchorClickSlot = slot;
    return *this;
}

MessageParams &MessageParams::setCloseMsgSlot(const CSlotInfo &slot)
{
    closeMsgSlot = slot;
    return *this;
}

MessageParams &MessageParams::setShortMsg(const QString &text)
{
    shortMsg = text;
    return *this;
}

MessageParams &MessageParams::setLongMsg(const QString &text)
{
    longMsg = text;
    return *this;
}

MessageParams &MessageParams::addButton(Messaging::ButtonID id, const Messaging::Button &button)
{
    buttons.insert(id, button);
    return *this;
}

MessageParams &MessageParams::setAskedFor(bool asked)
{
    askedFor = asked;
    return *this;
}
