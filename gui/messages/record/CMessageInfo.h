#pragma once

#include "gui/messages/record/Messaging.h"

#include <QObject>

#include <memory>

/**
 * The live message: owns the record while it waits or is on screen and calls back when the user has answered.
 *
 * The message processor owns it; windows refer to it by uuid only.
 */
class KOVGUI_EXPORT CMessageInfo : public QObject
{
    Q_OBJECT

public:
    explicit CMessageInfo(const Messaging::MessageData &data);
    ~CMessageInfo() override;

    /// A fresh one for every object.
    QString uuid() const;
    Messaging::MessageData &data();
    const Messaging::MessageData &data() const;

    CSlotInfo closeSlot() const;
    QObject *closeListener() const;
    QString closeListenerSlot() const;
    QVariant closeSlotParams() const;
    CSlotInfo buttonPressSlot() const;
    QObject *buttonPressListener() const;
    QString buttonPressListenerSlot() const;
    QVariant buttonPressSlotParams() const;
    CSlotInfo anchorClickSlot() const;

    /// The slot is called once, with (KOV_RESULT code, Messaging::ButtonID answer, QVariant parameter), or fewer of
    /// them, just before the message is destroyed. One that cannot be connected is logged and dropped.
    void setCloseSlot(const CSlotInfo &slot);
    void setCloseSlot(QObject *listener, const QString &slot, const QVariant &params);
    /// Called for each answer, before the box closes, with (Messaging::ButtonID, QPointer<QWidget>); returns bool: true
    /// keeps the box open.
    void setButtonPressSlot(const CSlotInfo &slot);
    /// Called for each clicked link with (QUrl); returns bool.
    void setAnchorClickSlot(const CSlotInfo &slot);

    /// Emits beforeMessageDeleted(); only the first call does anything.
    void emitBeforeDeleted(Messaging::ButtonID answer);

    /// The same message: code, issuer and texts agree.
    bool equalTo(const CMessageInfo &other) const;
    void dump() const;

Q_SIGNALS:
    void beforeMessageDeleted(KOV_RESULT code, Messaging::ButtonID answer, const QVariant &params);

private:
    class Private;
    const std::unique_ptr<Private> d;
};
