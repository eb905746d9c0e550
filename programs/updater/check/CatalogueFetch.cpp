#include "programs/updater/check/CatalogueFetch.h"

#include "gui/KovVersion.h"
#include "gui/platform/ServerAddress.h"
#include "programs/updater/base/Address.h"

#include <QFile>
#include <curl/curl.h>
#include <memory>

namespace {

constexpr int maximumRedirects = 5;
constexpr qint64 maximumBodySize = 8 * 1024 * 1024;
constexpr qint64 maximumHeaderSize = 256 * 1024;
constexpr long connectTimeoutMilliseconds = 15000;
constexpr long stallSeconds = 30;

ExitCode exitCodeFor(CURLcode code)
{
    switch (code) {
    case CURLE_OK:
        return ExitCode::UpdateFound;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_CONNECT:
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
        return ExitCode::NoConnection;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
    case CURLE_USE_SSL_FAILED:
        return ExitCode::TlsError;
    case CURLE_FILESIZE_EXCEEDED:
        return ExitCode::TooLarge;
    case CURLE_PROXY:
        return ExitCode::ProxyError;
    case CURLE_HTTP_RETURNED_ERROR:
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
        return ExitCode::HttpError;
    default:
        return ExitCode::InternalError;
    }
}

bool isRedirect(long status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

/// Requests to one server after the other, on one handle.
class Transfer
{
public:
    Transfer(const FetchRequest &request, const QDeadlineTimer &deadline)
        : m_request(request)
        , m_deadline(deadline)
        , m_handle(curl_easy_init(), curl_easy_cleanup)
    { }

    FetchResult run()
    {
        if (!m_handle)
            return failure(ExitCode::InternalError, QStringLiteral("libcurl could not be started"));
        prepare();
        m_url = m_request.url;
        for (int redirects = 0; redirects <= maximumRedirects; ++redirects) {
            const CURLcode code = performWithTries();
            if (code != CURLE_OK)
                return transferFailure(code);
            const long status = longInfo(CURLINFO_RESPONSE_CODE);
            if (!isRedirect(status))
                return answer(status);
            const QString fault = followRedirect();
            if (!fault.isEmpty())
                return failure(ExitCode::RedirectRefused,
                               QStringLiteral("a redirect is refused: %1").arg(fault));
        }
        return failure(ExitCode::RedirectRefused,
                       QStringLiteral("more than %1 redirects").arg(maximumRedirects));
    }

private:
    template <class Value>
    void set(CURLoption option, Value value)
    {
        // An option that libcurl was built without must not be lost silently: it may be one that protects.
        if (curl_easy_setopt(m_handle.get(), option, value) != CURLE_OK)
            m_isRefused = true;
    }

    void prepare()
    {
        set(CURLOPT_ERRORBUFFER, m_error);
        set(CURLOPT_NOSIGNAL, 1L);
        set(CURLOPT_PROTOCOLS_STR, "http,https");
        set(CURLOPT_FOLLOWLOCATION, 0L);
        set(CURLOPT_NETRC, long(CURL_NETRC_IGNORED));
        set(CURLOPT_FAILONERROR, 1L);
        set(CURLOPT_USERAGENT, "TessarineUpdater/" KOV_VERSION_TEXT);
        set(CURLOPT_SSL_VERIFYPEER, 1L);
        set(CURLOPT_SSLVERSION, long(CURL_SSLVERSION_TLSv1_2));
        // Where certificates are asked whether they were revoked, an authority that cannot be asked is no
        // reason.
        set(CURLOPT_SSL_OPTIONS, long(CURLSSLOPT_REVOKE_BEST_EFFORT));
        if (!m_request.certificateFile.isEmpty())
            prepareAuthorities();
        set(CURLOPT_MAXFILESIZE_LARGE, curl_off_t(maximumBodySize));
        set(CURLOPT_WRITEFUNCTION, &Transfer::onBody);
        set(CURLOPT_WRITEDATA, static_cast<void *>(this));
        set(CURLOPT_HEADERFUNCTION, &Transfer::onHeader);
        set(CURLOPT_HEADERDATA, static_cast<void *>(this));
        set(CURLOPT_PREREQFUNCTION, &Transfer::onConnected);
        set(CURLOPT_PREREQDATA, static_cast<void *>(this));
        set(CURLOPT_LOW_SPEED_LIMIT, 1L);
        set(CURLOPT_LOW_SPEED_TIME, stallSeconds);
        prepareProxy();
    }

    void prepareAuthorities()
    {
        QFile file(m_request.certificateFile);
        QByteArray certificates = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        curl_blob blob{certificates.data(), size_t(certificates.size()), CURL_BLOB_COPY};
        // One that cannot be read is libcurl's to refuse.
        if (certificates.isEmpty())
            set(CURLOPT_CAINFO, QFile::encodeName(m_request.certificateFile).constData());
        else
            set(CURLOPT_CAINFO_BLOB, &blob);
        // The system's, which would be trusted beside them. Not every TLS library knows such a folder.
        const CURLcode code
            = curl_easy_setopt(m_handle.get(), CURLOPT_CAPATH, static_cast<const char *>(nullptr));
        m_isRefused |= code != CURLE_OK && code != CURLE_NOT_BUILT_IN && code != CURLE_UNKNOWN_OPTION;
    }

    void prepareProxy()
    {
        // Empty texts keep libcurl from asking the environment.
        set(CURLOPT_NOPROXY, "");
        if (m_request.proxyServer.isEmpty())
            return set(CURLOPT_PROXY, "");
        const bool isIp6 = m_request.proxyServer.contains(QLatin1Char(':'));
        const QString host
            = isIp6 ? QStringLiteral("[%1]").arg(m_request.proxyServer) : m_request.proxyServer;
        set(CURLOPT_PROXY, host.toUtf8().constData());
        set(CURLOPT_PROXYTYPE, long(m_request.isSocksProxy ? CURLPROXY_SOCKS5_HOSTNAME : CURLPROXY_HTTP));
        set(CURLOPT_PROXYPORT, long(m_request.proxyPort));
        set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
        if (m_request.proxyUser.isEmpty())
            return;
        set(CURLOPT_PROXYAUTH, long(CURLAUTH_ANY));
        set(CURLOPT_PROXYUSERNAME, m_request.proxyUser.toUtf8().constData());
        set(CURLOPT_PROXYPASSWORD, m_request.proxyPassword.constData());
    }

    CURLcode performWithTries()
    {
        const int tries = m_request.proxyServer.isEmpty() ? 1 : m_request.proxyTryCount;
        CURLcode code = CURLE_OK;
        for (int i = 0; i < tries; ++i) {
            code = perform();
            if (exitCodeFor(code) != ExitCode::NoConnection)
                break;
        }
        return code;
    }

    CURLcode perform()
    {
        m_body.clear();
        m_headerSize = 0;
        m_error[0] = '\0';
        const qint64 remaining = qMax<qint64>(1, m_deadline.remainingTime());
        set(CURLOPT_URL, m_url.toEncoded(QUrl::RemoveUserInfo | QUrl::RemoveFragment).constData());
        set(CURLOPT_SSL_VERIFYHOST, isAddressOurs() ? 0L : 2L);
        set(CURLOPT_TIMEOUT_MS, long(remaining));
        set(CURLOPT_CONNECTTIMEOUT_MS, qMin(long(remaining), connectTimeoutMilliseconds));
        sendUserInfoTo(m_url);
        return m_isRefused ? CURLE_FAILED_INIT : curl_easy_perform(m_handle.get());
    }

    /// To be compared with the certificate here, where libcurl does not.
    bool isAddressOurs() const
    {
        return m_url.scheme() == QLatin1String("https") && !m_request.certificateFile.isEmpty()
               && KovGui::Platform::hasToCompareAddress(m_url.host().toStdString());
    }

    void sendUserInfoTo(const QUrl &url)
    {
        const bool isKnown = !m_request.url.userName().isEmpty() && Address::isSameServer(url, m_request.url);
        const QByteArray user = m_request.url.userName(QUrl::FullyDecoded).toUtf8();
        const QByteArray password = m_request.url.password(QUrl::FullyDecoded).toUtf8();
        set(CURLOPT_USERNAME, isKnown ? user.constData() : nullptr);
        set(CURLOPT_PASSWORD, isKnown ? password.constData() : nullptr);
    }

    QString followRedirect()
    {
        const char *target = nullptr;
        curl_easy_getinfo(m_handle.get(), CURLINFO_REDIRECT_URL, &target);
        QUrl url;
        const QString fault = Address::parseRedirect(m_url, QString::fromUtf8(target ? target : ""), &url);
        if (fault.isEmpty())
            m_url = url;
        return fault;
    }

    FetchResult answer(long status)
    {
        if (status != 200)
            return failure(ExitCode::HttpError,
                           QStringLiteral("the server answers with status %1").arg(status));
        return result(ExitCode::UpdateFound, QString(), m_body);
    }

    FetchResult transferFailure(CURLcode code)
    {
        if (m_isTooLarge || code == CURLE_FILESIZE_EXCEEDED)
            return failure(ExitCode::TooLarge, QStringLiteral("the answer is larger than allowed"));
        const long status = longInfo(CURLINFO_RESPONSE_CODE);
        const long tunnelStatus = longInfo(CURLINFO_HTTP_CONNECTCODE);
        if (status == 407 || tunnelStatus == 407)
            return failure(ExitCode::ProxyError, QStringLiteral("the proxy asks for a password"));
        if (code == CURLE_ABORTED_BY_CALLBACK)
            return failure(ExitCode::TlsError,
                           QStringLiteral("the server's certificate is not for this address"));
        if (code == CURLE_PROXY)
            return socksFailure(longInfo(CURLINFO_PROXY_ERROR));
        if (code == CURLE_HTTP_RETURNED_ERROR && !isGatewayFailure(status))
            return failure(ExitCode::HttpError,
                           QStringLiteral("the server answers with status %1").arg(status));
        if (code == CURLE_HTTP_RETURNED_ERROR)
            return failure(ExitCode::NoConnection,
                           QStringLiteral("the proxy answers with status %1").arg(status));
        const QString reason
            = QString::fromUtf8(m_error[0] != '\0' ? m_error : curl_easy_strerror(code)).simplified();
        return failure(exitCodeFor(code), reason);
    }

    FetchResult socksFailure(long reason) const
    {
        if (reason == CURLPX_NO_AUTH || reason == CURLPX_USER_REJECTED)
            return failure(ExitCode::ProxyError, QStringLiteral("the proxy asks for a password"));
        // Every reason of RFC 1928 for which a proxy does not connect.
        const bool isReply
            = reason >= CURLPX_REPLY_ADDRESS_TYPE_NOT_SUPPORTED && reason <= CURLPX_REPLY_UNASSIGNED;
        return failure(isReply ? ExitCode::NoConnection : ExitCode::ProxyError,
                       isReply ? QStringLiteral("the proxy does not reach the server")
                               : QStringLiteral("the proxy does not speak SOCKS 5"));
    }

    /// A proxy that cannot reach the server says so in an answer of its own.
    bool isGatewayFailure(long status) const
    {
        return !m_request.proxyServer.isEmpty() && status >= 502 && status <= 504;
    }

    FetchResult failure(ExitCode code, const QString &fault) const
    {
        return result(code, fault, QByteArray());
    }

    FetchResult result(ExitCode code, const QString &fault, const QByteArray &body) const
    {
        const int status = m_handle ? int(longInfo(CURLINFO_RESPONSE_CODE)) : 0;
        return {code, fault, body, status, m_url.adjusted(QUrl::RemoveUserInfo)};
    }

    long longInfo(CURLINFO info) const
    {
        long value = 0;
        curl_easy_getinfo(m_handle.get(), info, &value);
        return value;
    }

    static int onConnected(void *self, char *, char *, int, int)
    {
        const auto *const transfer = static_cast<Transfer *>(self);
        const bool isRight = !transfer->isAddressOurs()
                             || KovGui::Platform::isCertificateFor(transfer->m_url.host().toStdString(),
                                                                   transfer->m_handle.get());
        return isRight ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
    }

    static size_t onBody(char *data, size_t size, size_t count, void *self)
    {
        auto *const transfer = static_cast<Transfer *>(self);
        const qint64 length = qint64(size) * qint64(count);
        transfer->m_isTooLarge = transfer->m_body.size() + length > maximumBodySize;
        if (transfer->m_isTooLarge)
            return 0;
        transfer->m_body.append(data, int(length));
        return size_t(length);
    }

    static size_t onHeader(char *, size_t size, size_t count, void *self)
    {
        auto *const transfer = static_cast<Transfer *>(self);
        transfer->m_headerSize += qint64(size) * qint64(count);
        transfer->m_isTooLarge = transfer->m_headerSize > maximumHeaderSize;
        return transfer->m_isTooLarge ? 0 : size * count;
    }

    const FetchRequest &m_request;
    const QDeadlineTimer m_deadline;
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> m_handle;
    QUrl m_url;
    QByteArray m_body;
    qint64 m_headerSize = 0;
    bool m_isTooLarge = false;
    bool m_isRefused = false;
    char m_error[CURL_ERROR_SIZE] = {};
};

} // namespace

FetchResult fetchDocument(const FetchRequest &request, const QDeadlineTimer &deadline)
{
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK)
        return {ExitCode::InternalError, QStringLiteral("libcurl could not be started"), QByteArray(), 0,
                QUrl()};
    const FetchResult result = Transfer(request, deadline).run();
    curl_global_cleanup();
    return result;
}
