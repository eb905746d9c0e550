#include "gui/messages/record/CMessageInfo.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"

#include <QMetaMethod>
#include <QUuid>

namespace {

const char Tag[] = "[MESSAGE_MNG]";
// Code, answer and the caller's variant.
constexpr int CloseArguments = 3;

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

/// Whether the receiver has a slot of that name which a close call can serve.
bool canListen(const CSlotInfo &slot)
{
    const QObject *receiver = slot.receiver();
    if (!receiver)
        return false;
    const QByteArray signature = slot.slot().trimmed().toUtf8();
    const bool hasKind = !signature.isEmpty() && signature.at(0) >= '0' && signature.at(0) <= '2';
    const QByteArray name = signature.mid(hasKind).split('(').first().trimmed();
    const QMetaObject *meta = receiver->metaObject();
    for (int i = 0; i < meta->methodCount(); ++i) {
        if (meta->method(i).name() == name && meta->method(i).parameterCount() <= CloseArguments)
            return true;
    }
    return false;
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
    d->closeSlot = CSlotInfo();
    if (slot.isEmpty())
        return;
    if (canListen(slot))
        d->closeSlot = slot;
    else
        KOV_LOG_TAG(Tag, 0, "(!)Error: can't connect message listener.");
}

void CMessageInfo::setCloseSlot(QObject *listener, const QString &slot, const QVariant &params)
{
    setCloseSlot(CSlotInfo(listener, slot, params));
}

void CMessageInfo::setButtonPressSlot(const CSlotInfo &slot)
{
    d->buttonPressSlot = slot;
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
    // The callbacks may delete this object.
    const CSlotInfo slot = d->closeSlot;
    const KOV_RESULT code = d->data.code;
    Q_EMIT beforeMessageDeleted(code, answer, slot.params());
    if (slot.receiver() && !slot.invoke(code, answer, slot.params()))
        KOV_LOG_TAG(Tag, 0, "(!)Can not invoke event handler for closed message with slot %s",
                    KovGui::logText(slot.slot()).constData());
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
    KOV_LOG_TAG(Tag, 1, "\nMessage id: %s", qUtf8Printable(d->uuid));
    d->data.dump();
}
