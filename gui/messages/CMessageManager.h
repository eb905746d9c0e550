#pragma once

#include "gui/messages/box/CMessageBoxWndBase.h"
#include "gui/messages/record/MessageParams.h"

#include <QList>
#include <QObject>
#include <QVariant>

#include <memory>

class CMessageProcessor;
class CSdkRequest;

/**
 * The one entry point through which messages are shown.
 *
 * GUI thread only: create it there, call it there. A call from another thread is refused with an error in the
 * log (-1, nothing, no windows; no close slot is called). From another thread, send a record through the
 * event loop:
 *
 *     QMetaObject::invokeMethod(manager, "showMessageBox", Qt::QueuedConnection,
 *                               Q_ARG(QVariant, QVariant::fromValue(params)));
 *
 * Where many of these arrive at once, they are handled in their order over as many turns of the event loop as
 * it takes to keep the windows responsive; only a question that is asked synchronously does not wait.
 *
 * Every showing call returns the chosen answer (Messaging::ButtonID) when the message was answered at once -
 * a stored answer, or a question without a close slot, which is asked synchronously -, 0 when a window was
 * opened without waiting, and -1 when nothing was shown (an error, skipped, merged or queued).
 *
 * A close slot is called exactly once with (KOV_RESULT code, Messaging::ButtonID answer, QVariant parameter)
 * or fewer of them, whatever becomes of the message; the answer is 0 when there is none. For a stored answer
 * that happens before the showing call returns.
 */
class KOVGUI_EXPORT CMessageManager : public QObject
{
    Q_OBJECT

public:
    /// Created on first use, after KovGui::init(); never destroyed by the library.
    static CMessageManager *instance();

    /// The issuer, when the record names none, is the property "vmUuid" of the window of its parent.
    int showMessageBox(const MessageParams &params);
    /// @param params  holds a MessageParams; anything else is logged and not shown
    Q_INVOKABLE int showMessageBox(const QVariant &params);
    /// @param parent  may be null
    /// @param hint    suggests where the message belongs; the parent when null
    int showMessageBox(int code, const QString &issuerId, const QStringList &shortParams = QStringList(),
                       const QStringList &longParams = QStringList(),
                       const CSlotInfo &closeSlot = CSlotInfo(), bool spontaneous = false,
                       QWidget *parent = nullptr, QWidget *hint = nullptr);
    /// The issuer is the property "vmUuid" of the parent's window.
    int showMessageBox(int code, QWidget *parent = nullptr, const QStringList &shortParams = QStringList(),
                       const QStringList &longParams = QStringList(),
                       const CSlotInfo &closeSlot = CSlotInfo(), bool spontaneous = false);
    /// A message that an event carries. An empty issuer is taken from the event.
    int showMessageBox(t_SdkHandleWrap event, const QString &issuerId = QString(), QWidget *parent = nullptr,
                       const CSlotInfo &closeSlot = CSlotInfo());
    /// An event that came without an action of the user.
    int showMessageFromServer(t_SdkHandleWrap event, const QString &issuerId = QString(),
                              QWidget *parent = nullptr);
    /// The result of a finished job: its error event when it has one, else its result code. A job that still
    /// runs is an error.
    /// @param closeSlot  null for none
    int showMessageBoxForJob(t_SdkHandleWrap job, const QString &issuerId = QString(),
                             const CSlotInfo *closeSlot = nullptr, QWidget *parent = nullptr);
    int showMessageBoxForRequest(const CSdkRequest &request, const QString &issuerId = QString(),
                                 const CSlotInfo *closeSlot = nullptr);

    /// While messaging is blocked, new messages are queued, except those that must be shown: forced ones and
    /// questions asked in answer to an action of the user. Unblocking shows nothing by itself; a queue moves
    /// on whenever a box of its issuer closes.
    void setMessagingBlocked(bool blocked);
    /// Deletes the issuer's queued messages; their close slots get answer 0.
    void clearMessageQueue(const QString &issuerId);

    /// Open message windows of a code, of an issuer and a code, or whose parent is this widget (null: without
    /// parent).
    QList<CMessageBoxWndBase *> getMessageWindowsForId(int code) const;
    QList<CMessageBoxWndBase *> getMessageWindowsForId(const QString &issuerId, int code) const;
    QList<CMessageBoxWndBase *> getMessageWindowsForParent(const QWidget *parent) const;

    /// Close the windows that are open at the time of the call, with answer 0.
    void closeSpecificMessageBox(int code);
    void closeSpecificMessageBox(const QString &issuerId, int code);
    void closeMessageBoxes(const QWidget *parent);
    void raiseSpecificMessageBox(const QString &issuerId, int code);

Q_SIGNALS:
    /// See the signals of CMessageProcessor.
    void aboutToShowMessage(const Messaging::MessageData &data, QWidget *parent, CMessageBoxWndBase *window);
    void messageClosed(const Messaging::MessageData &data, Messaging::ButtonID answer);
    void notificationClicked(KOV_RESULT code);

protected:
    bool event(QEvent *event) override;

private:
    CMessageManager();
    ~CMessageManager() override;

    class Private;
    const std::unique_ptr<Private> d;
};
