#pragma once

#include "gui/KovGuiGlobal.h"

#include <QNetworkProxy>
#include <QObject>
#include <QUrl>

#include <memory>

class CProxyAuthenticatorPrivate;
class CUserAuthDialog;
class QAuthenticator;
class QNetworkAccessManager;
class QNetworkReply;

/**
 * Answers the proxies that ask the library's network access managers for a user name and a password: from its
 * cache, then with the saved credentials (ProxyAuthUtils.h), then by asking the user.
 *
 * Credentials belong to one proxy: its type, host and port. Those that the proxy refused are not sent to it
 * again in this process, unless the user types them again; a question that the user cancels leaves the
 * request to fail with QNetworkReply::ProxyAuthenticationRequiredError. One question is open at a time.
 * Another request that is challenged meanwhile waits for the answer, in an event loop of its own, until one
 * of them has found out whether it is right.
 *
 * Basic and Digest get user and password in UTF-8. NTLM works where the toolkit does: for http and with
 * well-formed challenges; a request that it does not get anywhere with in ten seconds is aborted (the
 * manager's child "handshakeTimer"), with an error in the log.
 *
 * Passwords are kept in memory until destroy() and handed to Qt; they are never logged.
 *
 * GUI thread only.
 */
class KOVGUI_EXPORT CProxyAuthenticator : public QObject
{
    Q_OBJECT

public:
    /// Created on first use; lives until destroy() or the end of the application object.
    static CProxyAuthenticator *instance();
    /// Forgets all cached credentials. An open question counts as cancelled.
    static void destroy();

    /// From now on challenges of this manager are answered here. A second call for one manager does nothing.
    void addRequestor(QNetworkAccessManager *manager);
    /**
     * The manager's requests are given up: its open question is closed as if cancelled, its waiting
     * challenges stay unanswered, and new ones are not answered any more. Call it before a manager is told to
     * abort or to go: one that is deleted while its challenge is open blocks the thread for seconds. Delete
     * it later, from the event loop.
     */
    void removeRequestor(QNetworkAccessManager *manager);
    /// Whether a challenge of the manager waits for the user. Its reply ends by itself after
    /// removeRequestor(); one that is aborted before that would end twice, which Qt complains about.
    bool isChallenged(const QNetworkAccessManager *manager) const;

    /// The cached credentials; empty when there are none.
    QString user(const QNetworkProxy &proxy) const;
    QString password(const QNetworkProxy &proxy) const;

    /**
     * The dialog that asks for the credentials; without a parent, owned by the caller.
     * @param host   shown as plain text, whatever it holds
     * @param retry  says that the credentials entered before were wrong
     */
    static CUserAuthDialog *createAuthDialog(const QString &host, unsigned port, bool retry);

Q_SIGNALS:
    /// True when a question opens, false when it has closed. Time limits of requests stand still between.
    void waitingForUserInput(bool waiting);
    /// A request got past the proxy with credentials given here. Once for each answer that proved right.
    void validCredentialsEntered(const QUrl &url, const QNetworkProxy &proxy);

private Q_SLOTS:
    void onProxyAuthenticationRequired(const QNetworkProxy &proxy, QAuthenticator *authenticator);
    void onFinished(QNetworkReply *reply);

private:
    CProxyAuthenticator();
    ~CProxyAuthenticator() override;

    friend class CProxyAuthenticatorPrivate;
    const std::unique_ptr<CProxyAuthenticatorPrivate> d;
};
