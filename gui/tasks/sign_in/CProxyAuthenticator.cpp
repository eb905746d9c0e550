#include "gui/tasks/sign_in/CProxyAuthenticator.h"

#include "gui/tasks/sign_in/CProxyAuthenticator_p.h"
#include "gui/tasks/sign_in/ProxyAuthUtils.h"

#include <QAuthenticator>
#include <QCoreApplication>
#include <QEventLoop>
#include <QNetworkReply>
#include <QPixmap>

#include <algorithm>

namespace {

/// Whether the reply tells that the proxy did its part.
bool gotPastProxy(const QNetworkReply &reply)
{
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const bool isProxyError = reply.error() > QNetworkReply::UnknownNetworkError
                              && reply.error() <= QNetworkReply::UnknownProxyError;
    return status != 0 && status != 407 && !isProxyError;
}

/// Qt keeps what it was answered, right or wrong, and would send it first with the manager's next request.
void forgetAnswers(QNetworkAccessManager &manager)
{
    // Connections go as well: others must not be in use.
    if (ProxySignIn::countRunning(manager) == 0)
        manager.clearAccessCache();
}

} // namespace

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
    connect(manager, &QObject::destroyed, this, [this](QObject *gone) {
        d->managers.remove(gone);
        d->endTrial(gone);
    });
}

void CProxyAuthenticator::removeRequestor(QNetworkAccessManager *manager)
{
    if (!manager || !d->managers.remove(manager))
        return;
    disconnect(manager, nullptr, this, nullptr);
    d->wake(manager);
    d->endTrial(manager);
    if (d->isAsking && d->question.manager == manager && d->question.dialog)
        d->question.dialog->reject();
}

bool CProxyAuthenticator::isChallenged(const QNetworkAccessManager *manager) const
{
    const auto isIt = [manager](const auto &waiter) { return waiter.manager == manager; };
    return d->askers.contains(manager) || std::any_of(d->waiting.cbegin(), d->waiting.cend(), isIt);
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
    d->meet({manager, plain, ProxyAuthUtils::proxyKey(proxy), authenticator,
             ProxySignIn::isSentAsLatin1(proxy, *authenticator)
                 ? ProxySignIn::plain(authenticator->user(), authenticator->password())
                 : ProxySignIn::Credentials{authenticator->user(), authenticator->password()}});
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
    const int running = ProxySignIn::countRunning(*manager);
    ProxySignIn::Escalations &escalations = d->managers[manager];
    for (ProxySignIn::Escalation &escalation : escalations)
        escalation.pending = qMin(escalation.pending, running);
    if (running > 0)
        return;
    escalations.clear();
    d->endTrial(manager);
}
