#pragma once

#include "programs/updater/base/ExitCode.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QString>
#include <QUrl>

struct FetchRequest
{
    /// http or https, checked (Address::parseServer). Its user information is sent to this server only.
    QUrl url;
    /// PEM file of certificate authorities; empty for the system's.
    QString certificateFile;
    /// Host of a proxy; empty for a direct connection. The environment is not asked.
    QString proxyServer;
    int proxyPort = 0;
    bool isSocksProxy = false; ///< SOCKS 5, which resolves the names as well; else HTTP
    /// How often a connection that fails is tried through the proxy, at least 1.
    int proxyTryCount = 1;
    /// Empty for a proxy that asks for none.
    QString proxyUser;
    QByteArray proxyPassword;
    /// For a whole check: all its documents, redirects and tries.
    int timeoutSeconds = 60;
};

struct FetchResult
{
    /// UpdateFound stands for success; nothing has been found yet.
    ExitCode code = ExitCode::InternalError;
    /// One line, empty on success.
    QString fault;
    QByteArray body;
    /// Of the server's or the proxy's answer, 0 without one.
    int status = 0;
    /// Where the body came from, after redirects, without user information.
    QUrl url;
};

/**
 * Fetches one document. Blocks until it is there, has failed, or the deadline is over; the request's own time
 * is not looked at.
 *
 * Certificates are verified. At most five redirects are followed, never from https to http. A body of more
 * than 8 MiB, or headers of more than 256 KiB, end the transfer. No compression is asked for or undone.
 */
FetchResult fetchDocument(const FetchRequest &request, const QDeadlineTimer &deadline);
