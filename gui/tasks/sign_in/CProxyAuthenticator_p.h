#pragma once

#include "gui/tasks/sign_in/CProxyAuthenticator.h"
#include "gui/tasks/sign_in/CUserAuthDialog.h"

#include <QHash>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QPointer>
#include <QVector>

class QAuthenticator;
class QEventLoop;

namespace ProxySignIn {

struct Credentials
{
    QString user;
    QString password;

    bool operator==(const Credentials &other) const
    {
        return user == other.user && password == other.password;
    }
    bool isEmpty() const { return user.isEmpty() && password.isEmpty(); }
};

/// What is known of a proxy, whoever asks: not QNetworkProxy itself, which compares the credentials as well.
struct ProxyEntry
{
    Credentials cached;
    bool isConfirmed = false; ///< the cached ones proved right
    QVector<Credentials> refused;

    bool isUsable(const Credentials &credentials) const
    {
        return !credentials.user.isEmpty() && !refused.contains(credentials);
    }
};

/// How far one manager has come with one proxy.
struct Escalation
{
    enum State { New, CachedSent, SavedSent, UserAsked, UserAskedAgain, GuestSent };

    State state = New;
    Credentials answer;
    /// Challenges that were met with this answer and have not been seen to succeed or fail.
    int pending = 0;
    int rounds = 0; ///< challenges since the user was asked
    QNetworkProxy proxy;
};

using Escalations = QHash<QString, Escalation>;

Credentials plain(const QString &user, const QString &password);
int countRunning(const QNetworkAccessManager &manager);
/// Whether the toolkit sends Latin-1, which has to carry UTF-8 then. NTLM, which names no realm, has UTF-16.
bool isSentAsLatin1(const QNetworkProxy &proxy, const QAuthenticator &authenticator);

} // namespace ProxySignIn

/// What CProxyAuthenticator knows of proxies and challenges, and the way from a challenge to its answer.
class CProxyAuthenticatorPrivate
{
public:
    using Credentials = ProxySignIn::Credentials;
    using Escalation = ProxySignIn::Escalation;
    using ProxyEntry = ProxySignIn::ProxyEntry;

    explicit CProxyAuthenticatorPrivate(CProxyAuthenticator *owner)
        : q(owner)
    { }

    struct Challenge
    {
        QNetworkAccessManager *manager;
        QNetworkProxy proxy;
        QString key;
        QAuthenticator *authenticator;
        Credentials refused;
    };

    /// The question that is open.
    struct Question
    {
        const QNetworkAccessManager *manager = nullptr;
        QString key;
        int outerWaiters = 0; ///< that waited before it opened, and can only go on after it
        QPointer<CUserAuthDialog> dialog;
    };

    void meet(Challenge challenge);
    Credentials refusedBy(const Challenge &challenge) const;
    void confirm(const QNetworkAccessManager *manager, const QUrl &url);
    bool answerWithoutUser(const Challenge &challenge);
    void waitForUser(const Challenge &challenge);
    void askUser(const Challenge &challenge);
    CUserAuthDialog *openDialog(const Challenge &challenge, bool isRetry);
    void closeQuestion(const QNetworkProxy &proxy, bool isAccepted);
    void send(const Challenge &challenge, const Credentials &credentials, Escalation::State state);
    bool isRequestor(const QObject *manager) const { return managers.contains(manager); }
    bool mustWait(const Challenge &challenge) const;
    bool isInCircles(const Challenge &challenge);
    void passOn(int outerWaiters);
    void endTrial(const QObject *manager);
    void wake(const QNetworkAccessManager *manager);

    static CProxyAuthenticator *&theInstance()
    {
        static CProxyAuthenticator *instance = nullptr;
        return instance;
    }

    CProxyAuthenticator *const q;
    QHash<QString, ProxyEntry> entries;
    QHash<const QObject *, ProxySignIn::Escalations> managers;
    Question question;
    bool isAsking = false;
    /// Whose question stands in an event loop, also after its answer: those inside it end first.
    QVector<const QObject *> askers;
    /// Who carries the user's answer to the proxy, while nobody knows whether it is right: one of all that
    /// wait.
    const QObject *trying = nullptr;
    QString triedKey;

    struct Waiter
    {
        const QNetworkAccessManager *manager;
        QString key;
        QEventLoop *loop;
        bool operator==(const Waiter &other) const { return loop == other.loop; }
    };
    /// Each in an event loop inside that of the one before it: the last one goes on first.
    QVector<Waiter> waiting;
};
