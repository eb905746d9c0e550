#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/tasks/sign_in/CProxyAuthenticator_p.h"
#include "gui/tasks/sign_in/ProxyAuthUtils.h"

#include <QApplication>
#include <QAuthenticator>
#include <QEventLoop>
#include <QNetworkReply>
#include <QTimer>

#include <algorithm>

using KovGui::logText;
using namespace ProxySignIn;

// From a challenge to its answer.

namespace {

const Credentials &guest()
{
    static const Credentials credentials{QStringLiteral("guest"), QStringLiteral("")};
    return credentials;
}

void answer(QAuthenticator *authenticator, const Credentials &credentials, bool isAsUtf8)
{
    // Qt takes unchanged credentials for "no answer"; an empty user lets it answer NTLM by itself without
    // end.
    if (isAsUtf8)
        authenticator->setUser(QString());
    authenticator->setUser(isAsUtf8 ? ProxyAuthUtils::toToolkit(credentials.user) : credentials.user);
    authenticator->setPassword(isAsUtf8 ? ProxyAuthUtils::toToolkit(credentials.password)
                                        : credentials.password);
}

/// A malformed NTLM challenge the toolkit answers by itself, hundreds of times a second and without a signal.
void limitHandshake(QNetworkAccessManager &manager, const QString &host)
{
    constexpr int handshakeLimit = 10000;
    auto *timer = manager.findChild<QTimer *>(QStringLiteral("handshakeTimer"));
    if (!timer) {
        timer = new QTimer(&manager);
        timer->setObjectName(QStringLiteral("handshakeTimer"));
        timer->setSingleShot(true);
        QObject::connect(timer, &QTimer::timeout, &manager, [&manager, host] {
            for (QNetworkReply *reply : manager.findChildren<QNetworkReply *>()) {
                if (reply->isFinished()
                    || reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid())
                    continue;
                KOV_LOG(0,
                        "(!)Error: the proxy %s wants a login of a kind that is not supported, or damaged.",
                        logText(host).constData());
                reply->abort();
            }
        });
    }
    timer->start(handshakeLimit);
}

} // namespace

bool ProxySignIn::isSentAsLatin1(const QNetworkProxy &proxy, const QAuthenticator &authenticator)
{
    return proxy.type() == QNetworkProxy::Socks5Proxy || !authenticator.realm().isEmpty();
}

Credentials ProxySignIn::plain(const QString &user, const QString &password)
{
    return {ProxyAuthUtils::fromToolkit(user), ProxyAuthUtils::fromToolkit(password)};
}

int ProxySignIn::countRunning(const QNetworkAccessManager &manager)
{
    const QList<QNetworkReply *> replies = manager.findChildren<QNetworkReply *>();
    return int(std::count_if(replies.begin(), replies.end(),
                             [](const QNetworkReply *reply) { return !reply->isFinished(); }));
}

void CProxyAuthenticatorPrivate::send(const Challenge &challenge, const Credentials &credentials,
                                      Escalation::State state)
{
    Escalation &escalation = managers[challenge.manager][challenge.key];
    escalation.pending = escalation.answer == credentials ? escalation.pending + 1 : 1;
    escalation.state = state;
    escalation.answer = credentials;
    escalation.proxy = challenge.proxy;
    const bool isTyped = state == Escalation::UserAsked || state == Escalation::UserAskedAgain;
    if (isTyped && !entries[challenge.key].isConfirmed) {
        trying = challenge.manager;
        triedKey = challenge.key;
    }
    const bool isAsUtf8 = isSentAsLatin1(challenge.proxy, *challenge.authenticator);
    if (!isAsUtf8)
        limitHandshake(*challenge.manager, challenge.proxy.hostName());
    answer(challenge.authenticator, credentials, isAsUtf8);
}

/// What the proxy has refused, if anything. For plain requests Qt tells; for a tunnel each attempt comes as
/// new, and only the number tells: each request is challenged once for each answer.
ProxySignIn::Credentials CProxyAuthenticatorPrivate::refusedBy(const Challenge &challenge) const
{
    if (!challenge.refused.isEmpty())
        return challenge.refused;
    const Escalation escalation = managers.value(challenge.manager).value(challenge.key);
    // Qt sends the ones that the manager was given before it asks.
    const QNetworkProxy given = challenge.manager->proxy();
    if (escalation.state == Escalation::New && ProxyAuthUtils::proxyKey(given) == challenge.key)
        return plain(given.user(), given.password());
    const bool isRepeated = escalation.state != Escalation::New
                            && escalation.pending >= qMax(1, countRunning(*challenge.manager));
    return isRepeated ? escalation.answer : Credentials();
}

void CProxyAuthenticatorPrivate::meet(Challenge challenge)
{
    challenge.refused = refusedBy(challenge);
    const Escalation escalation = managers[challenge.manager].value(challenge.key);
    // The question that it waited for was cancelled; so is this request.
    if (escalation.state == Escalation::GuestSent && challenge.refused == guest()) {
        managers[challenge.manager].remove(challenge.key);
        return;
    }
    if (!challenge.refused.isEmpty()) {
        ProxyEntry &entry = entries[challenge.key];
        if (!entry.refused.contains(challenge.refused))
            entry.refused.append(challenge.refused);
        if (entry.cached == challenge.refused) {
            entry.cached = Credentials();
            entry.isConfirmed = false;
        }
    }
    if (isInCircles(challenge))
        return;
    if (mustWait(challenge))
        waitForUser(challenge);
    else if (!answerWithoutUser(challenge))
        askUser(challenge);
}

bool CProxyAuthenticatorPrivate::mustWait(const Challenge &challenge) const
{
    return isAsking || (trying && trying != challenge.manager && triedKey == challenge.key);
}

/// Whatever goes wrong between the toolkit and a proxy: nobody is sent the same answer without end.
bool CProxyAuthenticatorPrivate::isInCircles(const Challenge &challenge)
{
    constexpr int mostRounds = 20;
    Escalation &escalation = managers[challenge.manager][challenge.key];
    if (++escalation.rounds <= mostRounds + 4 * countRunning(*challenge.manager))
        return false;
    KOV_LOG(0, "(!)Error: the proxy %s asks again and again, and is not answered any more.",
            logText(challenge.proxy.hostName()).constData());
    managers[challenge.manager].remove(challenge.key);
    return true;
}

bool CProxyAuthenticatorPrivate::answerWithoutUser(const Challenge &challenge)
{
    ProxyEntry &entry = entries[challenge.key];
    if (entry.isUsable(entry.cached)) {
        send(challenge, entry.cached, Escalation::CachedSent);
        return true;
    }
    Credentials saved;
    const QPointer<CProxyAuthenticator> alive(q);
    const bool isFound = ProxyAuthUtils::getProxyCredentials(challenge.proxy, saved.user, saved.password);
    // The desktop's key store was asked in an event loop: the world may have changed.
    if (!alive || !isRequestor(challenge.manager))
        return true;
    ProxyEntry &present = entries[challenge.key];
    if (!isFound || !present.isUsable(saved))
        return false;
    present.cached = saved;
    send(challenge, saved, Escalation::SavedSent);
    return true;
}

void CProxyAuthenticatorPrivate::waitForUser(const Challenge &challenge)
{
    const QString askedKey = isAsking ? question.key : triedKey;
    const QPointer<CProxyAuthenticator> alive(q);
    QEventLoop loop;
    waiting.append({challenge.manager, challenge.key, &loop});
    do {
        loop.exec();
    } while (alive && isRequestor(challenge.manager) && !QCoreApplication::closingDown()
             && challenge.key == askedKey && mustWait(challenge));
    if (!alive)
        return;
    waiting.removeAll({challenge.manager, challenge.key, &loop});
    if (!isRequestor(challenge.manager) || QCoreApplication::closingDown())
        return;
    if (challenge.key != askedKey) {
        // The answer was for another proxy; this one gets its own turn.
        meet(challenge);
        return;
    }
    const ProxyEntry &entry = entries[challenge.key];
    if (!entry.isUsable(entry.cached))
        send(challenge, guest(), Escalation::GuestSent);
    else
        send(challenge, entry.cached, entry.isConfirmed ? Escalation::CachedSent : Escalation::UserAsked);
}

CUserAuthDialog *CProxyAuthenticatorPrivate::openDialog(const Challenge &challenge, bool isRetry)
{
    CUserAuthDialog *dialog
        = CProxyAuthenticator::createAuthDialog(challenge.proxy.hostName(), challenge.proxy.port(), isRetry);
    if (QWidget *parent = QApplication::activeWindow())
        dialog->setParent(parent, dialog->windowFlags());
    // After that: a new parent takes the cursor out of its field.
    if (!(challenge.refused == guest()))
        dialog->setUsername(challenge.refused.user);
    question = {challenge.manager, challenge.key, int(waiting.size()), dialog};
    // The challenges that wait run inside the dialog's event loop: they go on when the dialog closes, and
    // only then can its exec() return.
    QObject::connect(dialog, &QDialog::finished, q, [this, proxy = challenge.proxy](int result) {
        closeQuestion(proxy, result == QDialog::Accepted);
    });
    QObject::connect(dialog, &QObject::destroyed, q, [this, proxy = challenge.proxy] {
        // What is left of it is no dialog any more.
        question.dialog = nullptr;
        closeQuestion(proxy, false);
    });
    return dialog;
}

void CProxyAuthenticatorPrivate::closeQuestion(const QNetworkProxy &proxy, bool isAccepted)
{
    if (!isAsking)
        return;
    isAsking = false;
    if (isAccepted) {
        const CUserAuthDialog *dialog = question.dialog;
        const Credentials typed{dialog->username(), dialog->password()};
        ProxyEntry &entry = entries[question.key];
        entry.cached = typed;
        entry.isConfirmed = false;
        // What the user typed again is tried again.
        entry.refused.removeAll(typed);
        if (dialog->savePasswordRequired())
            ProxyAuthUtils::saveProxyCredentials(proxy, typed.user, typed.password);
    }
    if (question.dialog)
        question.dialog->disconnect(q);
    if (isAccepted)
        passOn(question.outerWaiters);
    else
        wake(nullptr);
    Q_EMIT q->waitingForUserInput(false);
}

/// Lets one of those that wait for this answer try it: the one that can go on first. None: whoever asked
/// tries it.
void CProxyAuthenticatorPrivate::passOn(int outerWaiters)
{
    bool isTaken = false;
    for (int i = waiting.size() - 1; i >= 0; --i) {
        const bool isOther = waiting.at(i).key != question.key;
        if (isOther || (!isTaken && i >= outerWaiters))
            waiting.at(i).loop->quit();
        isTaken = isTaken || !isOther;
    }
}

/// The manager carries no answer any more: what it found out holds for the others, or the next one tries.
void CProxyAuthenticatorPrivate::endTrial(const QObject *manager)
{
    if (trying != manager || !manager)
        return;
    trying = nullptr;
    const bool isForAll = entries[triedKey].isConfirmed;
    for (int i = waiting.size() - 1; i >= 0; --i) {
        if (waiting.at(i).key != triedKey)
            continue;
        waiting.at(i).loop->quit();
        if (!isForAll)
            break;
    }
}

void CProxyAuthenticatorPrivate::askUser(const Challenge &challenge)
{
    if (!qobject_cast<QApplication *>(QCoreApplication::instance())) {
        KOV_LOG(0, "(!)Error: the proxy %s wants credentials, and there is nobody to ask.",
                logText(challenge.proxy.hostName()).constData());
        return;
    }
    const Escalation escalation = managers[challenge.manager].value(challenge.key);
    const bool isRetry = escalation.state >= Escalation::UserAsked && !challenge.refused.isEmpty()
                         && escalation.answer == challenge.refused;
    const QPointer<CProxyAuthenticator> alive(q);
    isAsking = true;
    // What it tried was wrong; all that wait go on with the new answer.
    if (trying == challenge.manager)
        trying = nullptr;
    Q_EMIT q->waitingForUserInput(true);
    if (!alive || !isAsking)
        return;
    const QPointer<CUserAuthDialog> dialog = openDialog(challenge, isRetry);
    askers.append(challenge.manager);
    const bool isAccepted = dialog->exec() == QDialog::Accepted && dialog;
    if (dialog)
        dialog->deleteLater();
    if (!alive)
        return;
    askers.removeOne(challenge.manager);
    // Still open when the application quits.
    closeQuestion(challenge.proxy, false);
    if (!isRequestor(challenge.manager))
        return;
    managers[challenge.manager][challenge.key].rounds = 0;
    // Another one may have found out meanwhile that it was wrong, and the user may have given up.
    const ProxyEntry &entry = entries[challenge.key];
    if (isAccepted && entry.isUsable(entry.cached))
        send(challenge, entry.cached, isRetry ? Escalation::UserAskedAgain : Escalation::UserAsked);
    else
        managers[challenge.manager].remove(challenge.key);
}

void CProxyAuthenticatorPrivate::confirm(const QNetworkAccessManager *manager, const QUrl &url)
{
    const Escalations confirmed = std::exchange(managers[manager], {});
    const QPointer<CProxyAuthenticator> alive(q);
    for (auto escalation = confirmed.begin(); escalation != confirmed.end() && alive; ++escalation) {
        ProxyEntry &entry = entries[escalation.key()];
        entry.refused.removeAll(escalation->answer);
        entry.isConfirmed = entry.isConfirmed || entry.cached == escalation->answer;
        if (triedKey == escalation.key())
            endTrial(manager);
        Q_EMIT q->validCredentialsEntered(url, escalation->proxy);
    }
}

void CProxyAuthenticatorPrivate::wake(const QNetworkAccessManager *manager)
{
    for (const auto &waiter : qAsConst(waiting)) {
        if (!manager || waiter.manager == manager)
            waiter.loop->quit();
    }
}
