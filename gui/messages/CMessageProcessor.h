#pragma once

#include "gui/messages/record/Messaging.h"

#include <QObject>
#include <QUrl>

#include <memory>

class CMessageBoxWndBase;
class CMessageInfo;

/**
 * The rules and the books: decides for each message whether it is answered from a stored choice, skipped,
 * merged into an equal one, queued behind another of its issuer, or shown now. A replaceable policy,
 * registered under "CMessageProcessor". Applications show messages through CMessageManager.
 *
 * GUI thread only. The processor owns every message that it was given; texts, code and issuer of a message
 * must not change after that, because equal messages are found by them.
 *
 * The close slot of a message is called exactly once, whatever becomes of it: with the answer when it was
 * answered (inside tryToShowMessage() when the answer is a stored one), else with 0 - skipped, merged,
 * cleared from a queue, or impossible to show. When a window is
 * destroyed, alone or with its parent, that happens from the event loop, or at the end of the application.
 *
 * A question whose close slot cannot be called, or whose receiver is gone, is not asked.
 */
class KOVGUI_EXPORT CMessageProcessor : public QObject
{
    Q_OBJECT

public:
    enum Option {
        NoOptions = 0,
        /// Every message that need not be shown at once is queued.
        MessagingBlocked = 2,
    };

    Q_INVOKABLE CMessageProcessor();
    ~CMessageProcessor() override;

    /// The registered processor, created on first use and kept for the life of the process; null when none is
    /// registered or the registered class cannot be created (logged).
    static CMessageProcessor *instance();

    void setOption(Option option, bool on);
    /// NoOptions is on exactly when no other option is.
    bool testOption(Option option) const;

    // The virtual operations, in their fixed order.

    /// A message with the service's texts of the code. The parameters are put in for %1, %2 ... as plain
    /// text: markup in them is shown as it stands. The caller owns the result; null when it cannot be made.
    virtual CMessageInfo *create(int code, const QString &issuerId, const QStringList &shortMsgParams,
                                 const QStringList &longMsgParams, bool spontaneous);
    /// A message from an event or a finished job. The text of an event inside the event becomes its details.
    /// @param hint  suggests where the message belongs; the parent when null
    virtual CMessageInfo *create(t_SdkHandleWrap handle, const QString &issuerId, bool spontaneous,
                                 QWidget *parent, QWidget *hint);
    /// A hook, called for a message made from a handle; does nothing.
    virtual void extractDataFromHandle(CMessageInfo *message);
    /// A hook for placeholders of the application's own; does nothing. Texts may hold rich text.
    virtual void substituteParameters(QString &shortMsg, QString &longMsg, int code, const QString &issuerId);
    /// The details that the event gives to a message whose text is `text`: the event's own text, empty when
    /// that says nothing new.
    virtual QString getDetailsString(t_SdkHandleWrap handle, const QString &text, bool brief);
    /// A hook, called for a message made from a handle; does nothing.
    virtual void extractHintWidgetFromHandle(CMessageInfo *message);
    /// Enters the message into the books as shown, and asks for attention when the application has no focus.
    /// @param quiet  true leaves out the request for attention
    virtual void preprocessMsgLogic(CMessageInfo &message, bool quiet);
    /// A hook: tells a virtual machine the answer to its question. Called once for every spontaneous question
    /// without a close slot; with 0 when it was not answered, whatever became of it. Does nothing.
    virtual void sendAnswerToVm(CMessageInfo &message, int answer);
    virtual bool isMessageShouldBeSkipped(const CMessageInfo &message);
    /// @param useActive  as for showMessage()
    virtual bool isMessageShouldBeQueued(const CMessageInfo &message, bool useActive);
    /// Builds and shows the window. Returns the answer of a question that is asked synchronously, 0 when the
    /// window is open, -1 when it could not be built: the message then still belongs to the caller.
    /// @param useActive  search the parent among the active windows even if the record does not ask for it
    virtual int showMessage(CMessageInfo *message, bool useActive);
    /// Ends the life of the message: calls back, deletes it, and lets the next of its issuer's queue show.
    /// The queue stays when the message had no window and messaging is blocked or a window of the issuer is
    /// open.
    virtual void handleProcessedMessage(CMessageInfo &message, Messaging::ButtonID answer);

    /**
     * Takes the message over and decides.
     * @return the answer when the message was answered at once (a stored answer, or a question asked
     * synchronously); 0 when a window was opened; -1 when nothing was shown
     */
    int tryToShowMessage(CMessageInfo *message);

    bool isMessageMustBeShown(const CMessageInfo &message) const;
    /// An equal message is open or waits already.
    bool isMessageShouldBeMerged(const CMessageInfo &message) const;
    /// Appends the message to its issuer's queue.
    void suspendMessage(CMessageInfo *message);
    /// Raises the window of the open message equal to this one, unless that window is modal.
    void tryReactivateMessage(const CMessageInfo *message);
    /// The counterpart of preprocessMsgLogic(), before a message is deleted.
    void postprocessMsgLogic(CMessageInfo &message, Messaging::ButtonID answer);
    /// Shows the oldest queued message of the issuer; one that cannot be shown ends with answer 0 and the
    /// next is tried.
    void processMessageQueue(const QString &issuerId);
    /// Deletes the queued messages of the issuer; their close slots get answer 0.
    void clearMessageQueue(const QString &issuerId);

    /// The message whose window is open; null for another uuid.
    const CMessageInfo *shownMessage(const QString &uuid) const;
    /// The number of messages that wait for the issuer.
    int queueLength(const QString &issuerId) const;

public Q_SLOTS:
    void handleMessageClose(QString uuid, Messaging::ButtonID answer, bool doNotShowAgain);
    /// "kovhelp" links open the topic that they name, else the help for the message; others go to the
    /// message's anchor slot. Without one, web addresses open in the browser and all else is logged.
    void handleMessageAnchorClicked(const QString &uuid, const QUrl &url);

Q_SIGNALS:
    /// The window is built and not visible yet; the parent may be null.
    void aboutToShowMessage(const Messaging::MessageData &data, QWidget *parent, CMessageBoxWndBase *window);
    void messageClosed(const Messaging::MessageData &data, Messaging::ButtonID answer);
    /// A notification was closed with an answer, so the user clicked it.
    void notificationClicked(KOV_RESULT code);

private:
    class Private;
    const std::unique_ptr<Private> d;
};
