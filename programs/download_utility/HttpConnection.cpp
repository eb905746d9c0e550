#include "programs/download_utility/HttpConnection.h"

#include "gui/platform/ServerAddress.h"
#include "programs/download_utility/Process.h"
#include "programs/download_utility/Text.h"

#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <new>
#include <sstream>
#include <string_view>

using SteadyClock = std::chrono::steady_clock;

namespace {

const int mostRedirects = 10;
const std::size_t longestHead = 256 * 1024;
// A short one is read to its end, so that the connection can be used again.
const std::size_t longestRedirectBody = 64 * 1024;
const long receiveBuffer = 256 * 1024;
const int pollInterval = 200; // milliseconds

bool isRedirect(int status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

/// Gives failures of the library below a code of ours.
ExitCode exitCode(CURLcode code)
{
    switch (code) {
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_PROXY:
        return ExitCode::NoConnection;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
        return ExitCode::NotTrusted;
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
        return ExitCode::Interrupted;
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_BAD_CONTENT_ENCODING:
    case CURLE_UNSUPPORTED_PROTOCOL:
        return ExitCode::BadResponse;
    case CURLE_URL_MALFORMAT:
        return ExitCode::AddressRefused;
    default:
        return ExitCode::InternalError;
    }
}

/// A peer that went away in the middle of the handshake says nothing about trust. The library below tells it
/// from a refusal in words only: its own, its TLS library's and the system's.
bool isHandshakeCut(CURLcode code, const char *errorText)
{
    if (code != CURLE_SSL_CONNECT_ERROR)
        return false;
    const std::string_view text(errorText);
    const auto says = [text](std::string_view part) { return text.find(part) != text.npos; };
    return says("SSL_ERROR_SYSCALL") || says("unexpected eof") || says("reset by peer") || says("roken pipe")
           || says("failed to receive handshake") || says("failed to send initial handshake")
           || says("failed to send next handshake") || says("getpeername() failed");
}

class HeaderList
{
public:
    HeaderList() = default;
    HeaderList(const HeaderList &) = delete;
    HeaderList &operator=(const HeaderList &) = delete;
    ~HeaderList() { curl_slist_free_all(m_list); }

    void add(const std::string &line)
    {
        curl_slist *longer = curl_slist_append(m_list, line.c_str());
        if (!longer)
            throw std::bad_alloc();
        m_list = longer;
    }
    curl_slist *get() const { return m_list; }

private:
    curl_slist *m_list = nullptr;
};

} // namespace

class HttpConnection::Private
{
public:
    Private(const Options &options, const std::string &proxyPassword);
    ~Private();

    /// What the library below refuses keeps every question from being asked: half of the settings may be less
    /// safe than none.
    template <typename Value>
    void set(CURLoption option, Value value)
    {
        const CURLcode code = curl_easy_setopt(easy, option, value);
        if (code == CURLE_OUT_OF_MEMORY)
            throw std::bad_alloc();
        if (code != CURLE_OK && unusable.ok())
            unusable = Result(ExitCode::InternalError, "libcurl refuses the setting " + std::to_string(option)
                                                           + ": " + curl_easy_strerror(code));
    }

    void setUp();
    void setUpAuthorities();
    void setUpProxy(const std::string &password);
    Result askOnce(const Question &question, const Url &original, Sink &sink);
    Result run(Sink &sink);
    Result checkTime() const;
    Result handOverHead();
    Result outcome(CURLcode code);
    bool isLoginRefused(CURLcode code) const;
    bool isServerRight() const;
    Result redirectTarget(const Url &from, Url &target) const;

    static std::size_t onHeader(char *data, std::size_t, std::size_t size, void *self);
    static std::size_t onBody(char *data, std::size_t, std::size_t size, void *self);
    static int onRequest(void *self, char *, char *, int, int);

    const Options &options;
    CURL *easy = curl_easy_init();
    CURLM *multi = curl_multi_init();
    char errorText[CURL_ERROR_SIZE] = {};

    Sink *sink = nullptr;
    std::string addressToCompare; ///< of the server, with its certificate; empty: libcurl does it
    ResponseHead head;
    Result unusable; ///< why nothing can be asked
    Result failure; ///< of a call-back; the library below only learns that there was one
    std::size_t headSize = 0;
    bool isHeadComplete = false; ///< its empty line has arrived
    std::size_t redirectBodySize = 0;
    bool isHeadHandedOver = false;
    bool isRequestSent = false;
    bool hasConnected = false;
    SteadyClock::time_point lastActivity;
};

HttpConnection::Private::Private(const Options &options, const std::string &proxyPassword)
    : options(options)
{
    if (!easy || !multi)
        throw std::bad_alloc();
    setUp();
    setUpProxy(proxyPassword);
}

HttpConnection::Private::~Private()
{
    curl_easy_cleanup(easy);
    curl_multi_cleanup(multi);
}

void HttpConnection::Private::setUp()
{
    set(CURLOPT_ERRORBUFFER, errorText);
    set(CURLOPT_NOSIGNAL, 1L);
    // A name that is still being looked up must not hold up the end of the program.
    set(CURLOPT_QUICK_EXIT, 1L);
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_FOLLOWLOCATION, 0L);
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_HTTP09_ALLOWED, 0L);
    set(CURLOPT_USERAGENT, "download_utility/" KOV_PROGRAM_VERSION);
    set(CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
    set(CURLOPT_CONNECTTIMEOUT, static_cast<long>(options.connectTimeout));
    set(CURLOPT_BUFFERSIZE, receiveBuffer);
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    // Where certificates are asked whether they were revoked, an authority that cannot be asked is no reason.
    set(CURLOPT_SSL_OPTIONS, static_cast<long>(CURLSSLOPT_REVOKE_BEST_EFFORT));
    setUpAuthorities();
    set(CURLOPT_HEADERFUNCTION, &onHeader);
    set(CURLOPT_HEADERDATA, this);
    set(CURLOPT_WRITEFUNCTION, &onBody);
    set(CURLOPT_WRITEDATA, this);
    set(CURLOPT_PREREQFUNCTION, &onRequest);
    set(CURLOPT_PREREQDATA, this);
}

void HttpConnection::Private::setUpAuthorities()
{
    if (options.caFile.empty())
        return;
    // Read here: the library below would take the name for one in the system's own encoding.
    std::ifstream file(std::filesystem::u8path(options.caFile), std::ios::binary);
    std::ostringstream text;
    if (!file.is_open() || !(text << file.rdbuf())) {
        unusable = Result(ExitCode::NotTrusted, "cannot read the certificate authorities");
        return;
    }
    std::string certificates = text.str();
    curl_blob blob = {certificates.data(), certificates.size(), CURL_BLOB_COPY};
    set(CURLOPT_CAINFO_BLOB, &blob);
    // The system's, which would be trusted beside them. Not every TLS library knows such a folder.
    const CURLcode code = curl_easy_setopt(easy, CURLOPT_CAPATH, static_cast<const char *>(nullptr));
    if (code != CURLE_OK && code != CURLE_NOT_BUILT_IN && code != CURLE_UNKNOWN_OPTION)
        throw std::bad_alloc();
}

void HttpConnection::Private::setUpProxy(const std::string &password)
{
    // Both are set in any case: an unset one would be read from the environment.
    set(CURLOPT_NOPROXY, "");
    set(CURLOPT_PROXY, "");
    if (options.proxyHost.empty())
        return;
    const bool isAddress6 = options.proxyHost.find(':') != std::string::npos;
    const std::string host = isAddress6 ? "[" + options.proxyHost + "]" : options.proxyHost;
    set(CURLOPT_PROXY, ((options.isSocksProxy ? "socks5h://" : "http://") + host).c_str());
    set(CURLOPT_PROXYPORT, static_cast<long>(options.proxyPort));
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    if (!options.proxyUser)
        return;
    // Never what the system's own login could answer; the user named one.
    set(CURLOPT_PROXYAUTH, static_cast<long>(CURLAUTH_BASIC | CURLAUTH_DIGEST | CURLAUTH_NTLM));
    set(CURLOPT_PROXYUSERNAME, options.proxyUser->c_str());
    set(CURLOPT_PROXYPASSWORD, password.c_str());
}

std::size_t HttpConnection::Private::onHeader(char *data, std::size_t, std::size_t size, void *self)
{
    // No activity: a head that comes line by line must be complete within the limit of a silence.
    auto *d = static_cast<Private *>(self);
    d->headSize += size;
    if (d->headSize > longestHead) {
        d->failure = Result(ExitCode::BadResponse, "the server's answer has no end of headers");
        return 0;
    }
    // What follows a chunked body looks like a header too.
    const std::string_view line(data, size);
    if (!d->isHeadHandedOver) {
        d->head.addLine(line);
        d->isHeadComplete = line == "\r\n" || line == "\n";
    }
    return size;
}

std::size_t HttpConnection::Private::onBody(char *data, std::size_t, std::size_t size, void *self)
{
    auto *d = static_cast<Private *>(self);
    if (isRedirect(d->head.status)) {
        d->redirectBodySize += size;
        return d->redirectBodySize <= longestRedirectBody ? size : 0;
    }
    d->lastActivity = SteadyClock::now();
    if (d->failure.ok())
        d->failure = d->handOverHead();
    if (d->failure.ok())
        d->failure = d->sink->body(data, size);
    return d->failure.ok() ? size : 0;
}

int HttpConnection::Private::onRequest(void *self, char *, char *, int, int)
{
    auto *d = static_cast<Private *>(self);
    d->lastActivity = SteadyClock::now();
    d->hasConnected = true;
    if (!d->isServerRight()) {
        d->failure = Result(ExitCode::NotTrusted, "the server's certificate is not for this address");
        return CURL_PREREQFUNC_ABORT;
    }
    d->isRequestSent = true;
    return CURL_PREREQFUNC_OK;
}

bool HttpConnection::Private::isServerRight() const
{
    return addressToCompare.empty() || KovGui::Platform::isCertificateFor(addressToCompare, easy);
}

Result HttpConnection::Private::handOverHead()
{
    if (isHeadHandedOver || isRedirect(head.status))
        return Result();
    isHeadHandedOver = true;
    return sink->head(head);
}

Result HttpConnection::Private::checkTime() const
{
    if (Process::stopRequested())
        return Result(ExitCode::Stopped, "stopped by a signal");
    const auto limit = std::chrono::seconds(options.stallLimit);
    if (isRequestSent && SteadyClock::now() - lastActivity >= limit)
        return Result(ExitCode::Interrupted,
                      "nothing arrived for " + std::to_string(options.stallLimit) + " seconds");
    return Result();
}

Result HttpConnection::Private::run(Sink &sink)
{
    int running = 1;
    CURLMcode code = CURLM_OK;
    while (failure.ok() && code == CURLM_OK) {
        code = curl_multi_perform(multi, &running);
        if (running == 0 || !failure.ok())
            break;
        failure = checkTime();
        if (failure.ok())
            failure = sink.tick();
        if (failure.ok())
            code = curl_multi_poll(multi, nullptr, 0, pollInterval, nullptr);
    }
    if (!failure.ok())
        return failure;
    int left = 0;
    const CURLMsg *message = curl_multi_info_read(multi, &left);
    if (code != CURLM_OK || !message)
        return Result(ExitCode::InternalError, "the transfer failed inside the program");
    return outcome(message->data.result);
}

Result HttpConnection::Private::outcome(CURLcode code)
{
    long tunnelStatus = 0;
    curl_easy_getinfo(easy, CURLINFO_HTTP_CONNECTCODE, &tunnelStatus);
    if (code == CURLE_OK && !isHeadComplete)
        return Result(ExitCode::Interrupted, "the connection ended inside the head of the answer");
    if (code == CURLE_OK || redirectBodySize > longestRedirectBody)
        return handOverHead();
    // The library below has room for lines of 100 KiB.
    if (code == CURLE_OUT_OF_MEMORY && isRequestSent && !isHeadComplete)
        return Result(ExitCode::BadResponse, "a line in the head of the answer is too long");
    if (code == CURLE_OUT_OF_MEMORY)
        throw std::bad_alloc();
    // The proxy's answer to the wish for a tunnel never passes through head().
    if (tunnelStatus == 407 || isLoginRefused(code))
        return Result(ExitCode::ProxyRefused, "the proxy does not accept the user or the password");
    if (tunnelStatus >= 500)
        return Result(ExitCode::NoConnection, "the proxy does not reach the server");
    if (tunnelStatus >= 400)
        return Result(ExitCode::AccessDenied, "the proxy does not allow this address");
    if (isHandshakeCut(code, errorText))
        return Result(ExitCode::Interrupted, "the connection ended while its encryption was agreed on");
    const ExitCode ours = exitCode(code);
    // Only here does the longer text add something; elsewhere it may quote what the server sent.
    const bool wantsDetail = ours == ExitCode::NotTrusted && errorText[0] != '\0';
    return Result(ours, Text::printable(wantsDetail ? errorText : curl_easy_strerror(code)));
}

/// By a SOCKS proxy, which has no status for it.
bool HttpConnection::Private::isLoginRefused(CURLcode code) const
{
    long reason = CURLPX_OK;
    curl_easy_getinfo(easy, CURLINFO_PROXY_ERROR, &reason);
    return code == CURLE_PROXY && (reason == CURLPX_NO_AUTH || reason == CURLPX_USER_REJECTED);
}

Result HttpConnection::Private::redirectTarget(const Url &from, Url &target) const
{
    const auto url = head.location.empty() ? std::nullopt : Url::parse(head.location, &from);
    if (!url)
        return Result(ExitCode::RedirectRefused, "the server redirects to something that is no HTTP address");
    if (from.isSecure() && !url->isSecure())
        return Result(ExitCode::RedirectRefused, "the server redirects from HTTPS to HTTP: " + url->masked);
    target = *url;
    return Result();
}

Result HttpConnection::Private::askOnce(const Question &question, const Url &original, Sink &sinkToUse)
{
    HeaderList headers;
    // A compressed answer could not be continued, nor its length be compared.
    headers.add("Accept-Encoding: identity");
    if (question.from > 0) {
        headers.add("Range: bytes=" + std::to_string(question.from) + "-");
        if (!question.validator.empty())
            headers.add("If-Range: " + question.validator);
    }
    const bool hasLogin = !original.user.empty() && original.hasSameOrigin(question.url);
    set(CURLOPT_URL, question.url.text.c_str());
    const bool isOurs = question.url.isSecure() && !options.caFile.empty()
                        && KovGui::Platform::hasToCompareAddress(question.url.host);
    addressToCompare = isOurs ? question.url.host : std::string();
    set(CURLOPT_SSL_VERIFYHOST, isOurs ? 0L : 2L);
    set(CURLOPT_HTTPHEADER, headers.get());
    set(CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC | CURLAUTH_DIGEST));
    set(CURLOPT_USERNAME, hasLogin ? original.user.c_str() : nullptr);
    set(CURLOPT_PASSWORD, hasLogin ? original.password.c_str() : nullptr);
    if (!unusable.ok())
        return unusable;

    sink = &sinkToUse;
    head = ResponseHead();
    failure = Result();
    headSize = 0;
    redirectBodySize = 0;
    isHeadComplete = isHeadHandedOver = isRequestSent = false;
    errorText[0] = '\0';
    lastActivity = SteadyClock::now();
    curl_multi_add_handle(multi, easy);
    const Result result = run(sinkToUse);
    curl_multi_remove_handle(multi, easy);
    set(CURLOPT_HTTPHEADER, static_cast<curl_slist *>(nullptr));
    return result;
}

HttpConnection::HttpConnection(const Options &options, const std::string &proxyPassword)
    : d(new Private(options, proxyPassword))
{ }

HttpConnection::~HttpConnection() = default;

bool HttpConnection::hasConnected() const
{
    return d->hasConnected;
}

HttpConnection::Answer HttpConnection::ask(const Question &question, Sink &sink)
{
    Answer answer;
    Question current = question;
    for (int redirects = 0; redirects <= mostRedirects; ++redirects) {
        answer.result = d->askOnce(current, question.url, sink);
        curl_off_t retryAfter = 0;
        curl_easy_getinfo(d->easy, CURLINFO_RETRY_AFTER, &retryAfter);
        answer.retryAfter = static_cast<unsigned>(std::clamp<curl_off_t>(retryAfter, 0, UINT32_MAX));
        if (!answer.result.ok() || !isRedirect(d->head.status))
            return answer;
        answer.result = d->redirectTarget(current.url, current.url);
        if (!answer.result.ok())
            return answer;
    }
    answer.result = Result(ExitCode::RedirectRefused, "the server redirects in a circle");
    return answer;
}
