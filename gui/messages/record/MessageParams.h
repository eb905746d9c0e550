#pragma once

#include "gui/messages/record/Messaging.h"

#include <QStringList>

/// What a caller hands to CMessageManager. Setters return the record, so that they can be chained.
class KOVGUI_EXPORT MessageParams
{
public:
    explicit MessageParams(int code = 0, QWidget *parent = nullptr);

    MessageParams &setErrCode(int code);
    MessageParams &setIssuerId(const QString &issuerId);
    /// Held guarded: a queued record may outlive its widget.
    MessageParams &setParent(QWidget *parent);
    /// Put in for %1, %2 ... of the texts. They are plain text: markup in them is shown as it stands.
    MessageParams &setShortMsgParams(const QStringList &params);
    MessageParams &setLongMsgParams(const QStringList &params);
    MessageParams &setAnchorClickSlot(const CSlotInfo &slot);
    MessageParams &setCloseMsgSlot(const CSlotInfo &slot);
    /// Replace the catalogue's texts. They may hold simple rich text: escape what is foreign.
    MessageParams &setShortMsg(const QString &text);
    MessageParams &setLongMsg(const QString &text);
    /// Inserts or replaces one answer. With at least one, the catalogue's answers are not used.
    MessageParams &addButton(Messaging::ButtonID id, const Messaging::Button &button);
    /// False for what the user has not just asked for, such as the result of work in the background: its
    /// window leaves the keyboard where it is, see CBaseDialog::setAskedFor(). Initially true.
    MessageParams &setAskedFor(bool asked);

    KOV_RESULT code;
    QString issuerId;
    QPointer<QWidget> parent;
    QStringList shortMsgParams;
    QStringList longMsgParams;
    CSlotInfo anchorClickSlot;
    CSlotInfo closeMsgSlot;
    QString shortMsg;
    QString longMsg;
    Messaging::ButtonsMap buttons;
    bool askedFor = true;
};

Q_DECLARE_METATYPE(MessageParams)
