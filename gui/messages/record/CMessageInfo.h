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

    /// The slot is called once, with (KOV_RESULT code, Messaging::ButtonID answer, QVariant parameter), or
    /// fewer of them, just before the message is destroyed. One that cannot be called with them is logged and
    /// dropped.
    void setCloseSlot(const CSlotInfo &slot);
    void setCloseSlot(QObject *listener, const QString &slot, const QVariant &params);
    /// The answer's listener, called with (Messaging::ButtonID, QPointer<QWidget> box) and returning bool.
    /// For a click before the box closes: true keeps it open. For every other end once with the final answer
    /// and a null box: closed, skipped, merged, cleared, answered from a stored choice, impossible to show.
    void setButtonPressSlot(const CSlotInfo &slot);
    /// For the box of the message: what it asks at a click. Empty without a listener.
    CSlotInfo answerAction() const;
    /// Tells the listener the final answer, unless a click told it already.
    void tellAnswer(Messaging::ButtonID answer);
    /// A close slot was given, and it cannot be called or its receiver is gone: nobody waits for the answer.
    bool isAbandoned() const;
    /// Called for each clicked link with (QUrl); returns bool.
    void setAnchorClickSlot(const CSlotInfo &slot);

    /// Tells the listener, emits beforeMessageDeleted() and calls the close slot; only the first call does
    /// anything.
    void emitBeforeDeleted(Messaging::ButtonID answer);

    /// The same message: code, issuer and texts agree.
    bool equalTo(const CMessageInfo &other) const;
    void dump() const;

Q_SIGNALS:
    void beforeMessageDeleted(KOV_RESULT code, Messaging::ButtonID answer, const QVariant &params);

private:
    bool askListener(Messaging::ButtonID answer, const QPointer<QWidget> &box);

    class Private;
    const std::unique_ptr<Private> d;
};
