#include "gui/tasks/sign_in/CProxyAuthenticator.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/tasks/sign_in/CUserAuthDialog.h"
#include "gui/tasks/sign_in/ProxyAuthUtils.h"

#include <QApplication>
#include <QAuthenticator>
#include <QEventLoop>
#include <QHash>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPixmap>
#include <QPointer>
#include <QVector>
#include <algorithm>

using KovGui::logText;

namespace {

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
    QNetworkProxy proxy;
};

using Escalations = QHash<QString, Escalation>;

const Credentials &guest()
{
    static const Credentials credentials{QStringLiteral("guest"), QStringLiteral("")};
    return credentials;
}

void answer(QAuthenticator *authenticator, const Credentials &credentials)
{
    // Qt takes unchanged credentials for "no answer".
    authenticator->setUser(QString());
    authenticator->setUser(credentials.user);
    authenticator->setPassword(credentials.password);
}

/// Whether the reply tells that the proxy did its part.
bool gotPastProxy(const QNetworkReply &reply)
{
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const bool isProxyError = reply.error() > QNetworkReply::UnknownNetworkError
                              && reply.error() <= QNetworkReply::UnknownProxyError;
    return status != 0 && status != 407 && !isProxyError;
}

int countRunning(const QNetworkAccessManager &manager)
{
    const QList<QNetworkReply *> replies = manager.findChildren<QNetworkReply *>();
    return int(std::count_if(replies.begin(), replies.end(),
                             [](const QNetworkReply *reply) { return !reply->isFinished(); }));
}

/// Qt keeps what it was answered, right or wrong, and would send it first with the manager's next request.
void forgetAnswers(QNetworkAccessManager &manager)
{
    // Connections go as well: others must not be in use.
    if (countRunning(manager) == 0)
        manager.clearAccessCache();
}

} // namespace

class CProxyAuthenticatorPrivate
{
public:
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
    void wake(const QNetworkAccessManager *manager);

    static CProxyAuthenticator *&theInstance()
    {
        static CProxyAuthenticator *instance = nullptr;
        return instance;
    }

    CProxyAuthenticator *const q;
    QHash<QString, ProxyEntry> entries;
    QHash<const QObject *, Escalations> managers;
    Question question;
    bool isAsking = false;
    /// The event loops of the challenges that wait for the question.
    QVector<QPair<const QNetworkAccessManager *, QEventLoop *>> waiting;
};

void CProxyAuthenticatorPrivate::send(const Challenge &challenge, const Credentials &credentials,
                                      Escalation::State state)
{
    Escalation &escalation = managers[challenge.manager][challenge.key];
    escalation.pending = escalation.answer == credentials ? escalation.pending + 1 : 1;
    escalation.state = state;
    escalation.answer = credentials;
    escalation.proxy = challenge.proxy;
    answer(challenge.authenticator, credentials);
}

/// What the proxy has refused, if anything. For plain requests Qt tells; for a tunnel each attempt comes as new, and only
/// the number tells: each request is challenged once for each answer.
Credentials CProxyAuthenticatorPrivate::refusedBy(const Challenge &challenge) const
{
    if (!challenge.refused.isEmpty())
        return challenge.refused;
    const Escalation escalation = managers.value(challenge.manager).value(challenge.key);
    // Qt sends the ones that the manager was given before it asks.
    const QNetworkProxy given = challenge.manager->proxy();
    if (escalation.state == Escalation::New && ProxyAuthUtils::proxyKey(given) == challenge.key)
        return {given.user(), given.password()};
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
        if (entry.cached == challenge.refused)
            entry.cached = Credentials();
    }
    if (isAsking)
        waitForUser(challenge);
    else if (!answerWithoutUser(challenge))
        askUser(challenge);
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
    const QString askedKey = question.key;
    const QPointer<CProxyAuthenticator> alive(q);
    QEventLoop loop;
    waiting.append({challenge.manager, &loop});
    loop.exec();
    if (!alive)
        return;
    waiting.removeAll({challenge.manager, &loop});
    if (!isRequestor(challenge.manager) || QCoreApplication::closingDown())
        return;
    if (challenge.key != askedKey) {
        // The answer was for another proxy; this one gets its own turn.
        meet(challenge);
        return;
    }
    const ProxyEntry &entry = entries[challenge.key];
    const bool isKnown = entry.isUsable(entry.cached);
    send(challenge, isKnown ? entry.cached : guest(),
         isKnown ? Escalation::CachedSent : Escalation::GuestSent);
}

CUserAuthDialog *CProxyAuthenticatorPrivate::openDialog(const Challenge &challenge, bool isRetry)
{
    CUserAuthDialog *dialog
        = CProxyAuthenticator::createAuthDialog(challenge.proxy.hostName(), challenge.proxy.port(), isRetry);
    if (!(challenge.refused == guest()))
        dialog->setUsername(challenge.refused.user);
    if (QWidget *parent = QApplication::activeWindow())
        dialog->setParent(parent, dialog->windowFlags());
    question = {challenge.manager, challenge.key, dialog};
    // The challenges that wait run inside the dialog's event loop: they go on when the dialog closes, and only
    // then can its exec() return.
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
        // What the user typed again is tried again.
        entry.refused.removeAll(typed);
        if (dialog->savePasswordRequired())
            ProxyAuthUtils::saveProxyCredentials(proxy, typed.user, typed.password);
    }
    if (question.dialog)
        question.dialog->disconnect(q);
    wake(nullptr);
    Q_EMIT q->waitingForUserInput(false);
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
    Q_EMIT q->waitingForUserInput(true);
    if (!alive || !isAsking)
        return;
    const QPointer<CUserAuthDialog> dialog = openDialog(challenge, isRetry);
    const bool isAccepted = dialog->exec() == QDialog::Accepted && dialog;
    if (dialog)
        dialog->deleteLater();
    if (!alive)
        return;
    // Still open when the application quits.
    closeQuestion(challenge.proxy, false);
    if (!isRequestor(challenge.manager))
        return;
    if (isAccepted)
        send(challenge, {dialog->username(), dialog->password()},
             isRetry ? Escalation::UserAskedAgain : Escalation::UserAsked);
    else
        managers[challenge.manager].remove(challenge.key);
}

void CProxyAuthenticatorPrivate::confirm(const QNetworkAccessManager *manager, const QUrl &url)
{
    const Escalations confirmed = std::exchange(managers[manager], {});
    const QPointer<CProxyAuthenticator> alive(q);
    for (auto escalation = confirmed.begin(); escalation != confirmed.end() && alive; ++escalation) {
        entries[escalation.key()].refused.removeAll(escalation->answer);
        Q_EMIT q->validCredentialsEntered(url, escalation->proxy);
    }
}

void CProxyAuthenticatorPrivate::wake(const QNetworkAccessManager *manager)
{
    for (const auto &waiter : qAsConst(waiting)) {
        if (!manager || waiter.first == manager)
            waiter.second->quit();
    }
}

CProxyAuthenticator::CProxyAuthenticator()
    : d(new CProxyAuthenticatorPrivate(this))
{ }

CProxyAuthenticator::~CProxyAuthenticator()
{
    // The dialog's owner is on the stack and sees that this object is gone.
    if (d->question.dialog) {
        d->question.dialog->disconnect(this);
        d->question.dialog->reject();
    }
    d->wake(nullptr);
}

CProxyAuthenticator *CProxyAuthenticator::instance()
{
    CProxyAuthenticator *&instance = CProxyAuthenticatorPrivate::theInstance();
    if (!instance) {
        instance = new CProxyAuthenticator;
        qAddPostRoutine(&CProxyAuthenticator::destroy);
    }
    return instance;
}

void CProxyAuthenticator::destroy()
{
    qRemovePostRoutine(&CProxyAuthenticator::destroy);
    delete std::exchange(CProxyAuthenticatorPrivate::theInstance(), nullptr);
}

void CProxyAuthenticator::addRequestor(QNetworkAccessManager *manager)
{
    if (!manager || d->isRequestor(manager))
        return;
    d->managers.insert(manager, {});
    connect(manager, &QNetworkAccessManager::proxyAuthenticationRequired, this,
            &CProxyAuthenticator::onProxyAuthenticationRequired);
    connect(manager, &QNetworkAccessManager::finished, this, &CProxyAuthenticator::onFinished);
    // A tunnel is through when its inside is encrypted, long before the reply's end.
    connect(manager, &QNetworkAccessManager::encrypted, this, [this, manager](QNetworkReply *reply) {
        if (reply && d->isRequestor(manager))
            d->confirm(manager, reply->url());
    });
    connect(manager, &QObject::destroyed, this, [this](QObject *gone) { d->managers.remove(gone); });
}

void CProxyAuthenticator::removeRequestor(QNetworkAccessManager *manager)
{
    if (!manager || !d->managers.remove(manager))
        return;
    disconnect(manager, nullptr, this, nullptr);
    d->wake(manager);
    if (d->isAsking && d->question.manager == manager && d->question.dialog)
        d->question.dialog->reject();
}

bool CProxyAuthenticator::isChallenged(const QNetworkAccessManager *manager) const
{
    const auto isIt = [manager](const auto &waiter) { return waiter.first == manager; };
    return (d->isAsking && d->question.manager == manager)
           || std::any_of(d->waiting.cbegin(), d->waiting.cend(), isIt);
}

QString CProxyAuthenticator::user(const QNetworkProxy &proxy) const
{
    return d->entries.value(ProxyAuthUtils::proxyKey(proxy)).cached.user;
}

QString CProxyAuthenticator::password(const QNetworkProxy &proxy) const
{
    return d->entries.value(ProxyAuthUtils::proxyKey(proxy)).cached.password;
}

CUserAuthDialog *CProxyAuthenticator::createAuthDialog(const QString &host, unsigned port, bool retry)
{
    auto *dialog = new CUserAuthDialog(CUserAuthDialog::UsernameAndPassword);
    dialog->setWindowTitle(tr("Proxy Authentication Required"));
    dialog->setButtonText(QDialogButtonBox::Ok, tr("Log In"));
    dialog->setButtonText(QDialogButtonBox::Cancel, tr("Cancel"));
    const QString title = retry ? tr("The name or password entered for the proxy server %1:%2 was incorrect. "
                                     "Please try again.")
                                : tr("Authentication required to log in to the proxy server %1:%2.");
    // Both at once: a "%2" in the foreign host name is no place to fill.
    dialog->setTitleText(title.arg(host, QString::number(port)));
    dialog->setWarningText(tr("Your password will be sent unencrypted."));
    dialog->setPixmap(QPixmap(QStringLiteral(":/Pixmaps/lock_64x64.png")));
    return dialog;
}

void CProxyAuthenticator::onProxyAuthenticationRequired(const QNetworkProxy &proxy,
                                                        QAuthenticator *authenticator)
{
    auto *manager = qobject_cast<QNetworkAccessManager *>(sender());
    if (!manager || !d->isRequestor(manager))
        return;
    QNetworkProxy plain = proxy;
    plain.setUser(QString());
    plain.setPassword(QString());
    d->meet({manager,
             plain,
             ProxyAuthUtils::proxyKey(proxy),
             authenticator,
             {authenticator->user(), authenticator->password()}});
}

void CProxyAuthenticator::onFinished(QNetworkReply *reply)
{
    auto *manager = qobject_cast<QNetworkAccessManager *>(sender());
    if (!manager || !reply || !d->isRequestor(manager))
        return;
    if (reply->error() == QNetworkReply::ProxyAuthenticationRequiredError)
        forgetAnswers(*manager);
    const QPointer<CProxyAuthenticator> alive(this);
    if (gotPastProxy(*reply))
        d->confirm(manager, reply->url());
    if (!alive || !d->isRequestor(manager))
        return;
    // The answers given to this request are of no more concern.
    const int running = countRunning(*manager);
    Escalations &escalations = d->managers[manager];
    for (Escalation &escalation : escalations)
        escalation.pending = qMin(escalation.pending, running);
    if (running == 0)
        escalations.clear();
}
