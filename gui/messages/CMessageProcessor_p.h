#pragma once

#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/messages/CMessageProcessor.h"
#include "gui/messages/MessageBook_p.h"
#include "gui/messages/MessageRules_p.h"
#include "gui/messages/record/CMessageDataProvider.h"
#include "gui/messages/record/CMessageInfo.h"

#include <QList>
#include <QPointer>
#include <QSet>

/// The books, and the life of a message from its window to its end.
class CMessageProcessor::Private
{
public:
    static constexpr int NothingShown = -1;

    explicit Private(CMessageProcessor *processor)
        : q(processor)
    { }

    static CMessageDataProvider &provider() { return policyOrDefault<CMessageDataProvider>(); }
    QWidget *findParent(const CMessageInfo &message, bool useActive) const;
    MessageRules::ParentState parentState(const CMessageInfo &message, bool useActive) const;
    MessageRules::Verdict decide(const CMessageInfo &message) const;
    bool showOrFinish(CMessageInfo *message, int *result);
    void connectWindow(CMessageBoxWndBase *window, const QString &uuid);
    int presentWindow(CMessageInfo *message, CMessageBoxWndBase *window, const QWidget *parent);
    void skip(CMessageInfo *message);
    void finish(CMessageInfo *message, Messaging::ButtonID answer);
    void sendAnswer(CMessageInfo *message, Messaging::ButtonID answer);
    void endShown(const QString &uuid, Messaging::ButtonID answer, bool doNotShowAgain);
    void endLater(const QString &uuid, Messaging::ButtonID answer, bool doNotShowAgain);
    void endDestroyed();
    bool isEndingLater(const CMessageInfo *message) const;

    CMessageProcessor *const q;
    unsigned options = NoOptions;
    /// The application is being destroyed: no window opens any more.
    bool isAtTheEnd = false;
    MessageBook suspended;
    MessageBook shown;
    MessageBook shownOnce;
    /// The windows that ended as dialogs do, and were not just destroyed.
    QSet<QString> finished;

private:
    /// A window that was destroyed, perhaps with its parent. Nothing is called back from in there.
    struct Destroyed
    {
        QPointer<CMessageInfo> message;
        Messaging::ButtonID answer;
        bool doNotShowAgain;
    };
    QList<Destroyed> m_destroyed;
};
