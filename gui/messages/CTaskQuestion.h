#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/messages/record/MessageParams.h"

#include <QObject>
#include <QSet>

#include <functional>

/**
 * What a task asks its user or tells him before it goes on: one message at a time, its answer handed back,
 * the message taken along when the task ends.
 *
 * An answer may come by itself, from within ask(), where the user or a host's policy has chosen it for good.
 * It counts like any other, but only once for each message: asked again, the message is taken as not answered
 * (ButtonNone), so that an answer "Try Again" cannot repeat a step for ever. An answer that the user gives to
 * a window starts the count anew.
 *
 * Owned by its task, usually as a member. Lives on the GUI thread.
 */
class KOVGUI_EXPORT CTaskQuestion : public QObject
{
    Q_OBJECT

public:
    /// Called with the message's code and the answer, ButtonNone for none. May ask again, and may delete the
    /// question with its task.
    using Answered = std::function<void(KOV_RESULT code, Messaging::ButtonID answer)>;

    /// @param issuer  whose messages they are: messages of one issuer wait for each other. Empty: one of its
    /// own
    explicit CTaskQuestion(const QString &issuer = QString(), QObject *parent = nullptr);
    /// As close().
    ~CTaskQuestion() override;

    QString issuer() const { return m_issuer; }

    /**
     * Shows the message and returns. The record's issuer and close slot are replaced.
     *
     * @param answered  called once, before ask() returns where the answer comes by itself or nothing can be
     * shown; not
     *                  called after close(). A message that is open already is closed first
     */
    void ask(MessageParams message, Answered answered);
    /// From ask() until the answer.
    bool isOpen() const { return m_open != 0; }
    /// Brings an open message to the front.
    void raise();
    /// Takes an open message away, or out of the queue. Nobody is called.
    void close();

private Q_SLOTS:
    void onClosed(KOV_RESULT code, Messaging::ButtonID answer, QVariant asking);

private:
    const QString m_issuer;
    KOV_RESULT m_open = 0;
    /// Tells a late end of a former message from that of the open one.
    int m_asking = 0;
    bool m_isShowing = false;
    Answered m_answered;
    QSet<KOV_RESULT> m_answeredByItself;
};
