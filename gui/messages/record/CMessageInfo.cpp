#include "gui/messages/record/CMessageInfo.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"

#include <QPointer>
#include <QUuid>

#include <utility>

namespace {

const char tag[] = "[MESSAGE_MNG]";

/// Slot records resolve the parameters of slots by the names of their types.
void registerCallbackTypes()
{
    static const bool registered = [] {
        qRegisterMetaType<KOV_RESULT>("KOV_RESULT");
        qRegisterMetaType<Messaging::ButtonID>("Messaging::ButtonID");
        qRegisterMetaType<QPointer<QWidget>>("QPointer<QWidget>");
        return true;
    }();
    Q_UNUSED(registered)
}

} // namespace

class CMessageInfo::Private
{
public:
    explicit Private(const Messaging::MessageData &data)
        : data(data)
    { }

    const QString uuid = QUuid::createUuid().toString();
    Messaging::MessageData data;
    CSlotInfo closeSlot;
    CSlotInfo buttonPressSlot;
    CSlotInfo anchorClickSlot;
    /// A close slot was given that cannot be called.
    bool closeSlotRefused = false;
    bool answerTold = false;
    bool ended = false;
};

CMessageInfo::CMessageInfo(const Messaging::MessageData &data)
    : d(new Private(data))
{
    registerCallbackTypes();
}

CMessageInfo::~CMessageInfo() = default;

QString CMessageInfo::uuid() const
{
    return d->uuid;
}

Messaging::MessageData &CMessageInfo::data()
{
    return d->data;
}

const Messaging::MessageData &CMessageInfo::data() const
{
    return d->data;
}

CSlotInfo CMessageInfo::closeSlot() const
{
    return d->closeSlot;
}

QObject *CMessageInfo::closeListener() const
{
    return d->closeSlot.receiver();
}

QString CMessageInfo::closeListenerSlot() const
{
    return d->closeSlot.slot();
}

QVariant CMessageInfo::closeSlotParams() const
{
    return d->closeSlot.params();
}

CSlotInfo CMessageInfo::buttonPressSlot() const
{
    return d->buttonPressSlot;
}

QObject *CMessageInfo::buttonPressListener() const
{
    return d->buttonPressSlot.receiver();
}

QString CMessageInfo::buttonPressListenerSlot() const
{
    return d->buttonPressSlot.slot();
}

QVariant CMessageInfo::buttonPressSlotParams() const
{
    return d->buttonPressSlot.params();
}

CSlotInfo CMessageInfo::anchorClickSlot() const
{
    return d->anchorClickSlot;
}

void CMessageInfo::setCloseSlot(const CSlotInfo &slot)
{
    const KOV_RESULT code = d->data.code;
    d->closeSlotRefused = !slot.isEmpty() && !slot.canInvoke(code, Messaging::ButtonNone, slot.params());
    d->closeSlot = d->closeSlotRefused ? CSlotInfo() : slot;
    if (!d->closeSlotRefused)
        return;
    const char *receiver
        = slot.receiver() ? slot.receiver()->metaObject()->className() : "a receiver that is gone";
    KOV_LOG_TAG(tag, 0,
                "(!)Error: can't connect message listener. %s of %s can't be called with (KOV_RESULT, "
                "Messaging::ButtonID, QVariant)",
                KovGui::logText(slot.name()).constData(), receiver);
}

void CMessageInfo::setCloseSlot(QObject *listener, const QString &slot, const QVariant &params)
{
    setCloseSlot(CSlotInfo(listener, slot, params));
}

void CMessageInfo::setButtonPressSlot(const CSlotInfo &slot)
{
    d->buttonPressSlot = slot;
}

bool CMessageInfo::isAbandoned() const
{
    return d->closeSlotRefused || (!d->closeSlot.isEmpty() && !d->closeSlot.receiver());
}

CSlotInfo CMessageInfo::answerAction() const
{
    if (d->buttonPressSlot.isEmpty())
        return CSlotInfo();
    // The builder reads the message; the listener learns of its answer.
    return CSlotInfo(const_cast<CMessageInfo *>(this), &CMessageInfo::askListener);
}

bool CMessageInfo::askListener(Messaging::ButtonID answer, const QPointer<QWidget> &box)
{
    const QPointer<CMessageInfo> guard(this);
    const CSlotInfo slot = d->buttonPressSlot;
    bool keepsOpen = false;
    if (!slot.invokeForBool(&keepsOpen, answer, box))
        KOV_LOG(0, "ASSERT( %s ) occured in %s:%d [%s]", "invoked", "CMessageInfo.cpp", __LINE__,
                "CMessageBoxPrivate::processButtonClick");
    if (guard)
        d->answerTold = !keepsOpen;
    return keepsOpen;
}

void CMessageInfo::tellAnswer(Messaging::ButtonID answer)
{
    if (std::exchange(d->answerTold, true) || !d->buttonPressSlot.receiver())
        return;
    const CSlotInfo slot = d->buttonPressSlot;
    if (!slot.invoke(answer, QPointer<QWidget>()))
        KOV_LOG_TAG(tag, 0, "(!)Can not invoke event handler for answered message with slot %s",
                    KovGui::logText(slot.name()).constData());
}

void CMessageInfo::setAnchorClickSlot(const CSlotInfo &slot)
{
    d->anchorClickSlot = slot;
}

void CMessageInfo::emitBeforeDeleted(Messaging::ButtonID answer)
{
    if (d->ended)
        return;
    d->ended = true;
    const QPointer<CMessageInfo> guard(this);
    tellAnswer(answer);
    if (!guard)
        return;
    // The callbacks may delete this object.
    const CSlotInfo slot = d->closeSlot;
    const KOV_RESULT code = d->data.code;
    Q_EMIT beforeMessageDeleted(code, answer, slot.params());
    if (slot.receiver() && !slot.invoke(code, answer, slot.params()))
        KOV_LOG_TAG(tag, 0, "(!)Can not invoke event handler for closed message with slot %s",
                    KovGui::logText(slot.name()).constData());
}

bool CMessageInfo::equalTo(const CMessageInfo &other) const
{
    const Messaging::MessageData &left = d->data;
    const Messaging::MessageData &right = other.d->data;
    return left.code == right.code && left.issuerId == right.issuerId && left.longMsg == right.longMsg
           && left.shortMsg == right.shortMsg && left.details.text() == right.details.text();
}

void CMessageInfo::dump() const
{
    KOV_LOG_TAG(tag, 1, "\nMessage id: %s", qUtf8Printable(d->uuid));
    d->data.dump();
}
