#include "programs/download_utility/Download.h"

#include "gui/platform/Digest.h"
#include "gui/tasks/download/FileName.h"
#include "programs/download_utility/Process.h"
#include "programs/download_utility/Text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <thread>

namespace {

// So much of what is on disk arrives once more with every continuation and is compared.
const std::uint64_t overlapSize = 16 * 1024;
const unsigned mostStartOvers = 3;
// A loss of power costs at most what came since the last sync.
const std::uint64_t syncStep = 64 * 1024 * 1024;
const std::chrono::seconds syncInterval(30);
// A longer wait is the caller's: it can show it and can be told to stop.
const unsigned longestWait = 60;

std::string sha256Of(const std::string &text)
{
    KovGui::Platform::Digest digest(KovGui::Platform::Digest::Kind::Sha256);
    digest.add(text.data(), text.size());
    return digest.finish();
}

void note(const std::string &text)
{
    std::fprintf(stderr, "download_utility: %s\n", text.c_str());
}

bool isWorthAnotherTry(int status)
{
    return status == 408 || status == 425 || status == 429 || status == 500 || status == 502 || status == 503
           || status == 504;
}

Result statusError(int status)
{
    const std::string number = std::to_string(status);
    if (isWorthAnotherTry(status))
        return Result(ExitCode::Interrupted, "the server is not ready (status " + number + ")");
    switch (status) {
    case 401:
        return Result(ExitCode::LoginRequired, "the server does not accept the user or the password");
    case 403:
        return Result(ExitCode::AccessDenied, "the server does not allow access");
    case 404:
    case 410:
        return Result(ExitCode::NotFound, "the file does not exist on the server");
    case 407:
        return Result(ExitCode::ProxyRefused, "the proxy does not accept the user or the password");
    default:
        break;
    }
    if (status >= 400 && status < 600)
        return Result(ExitCode::ServerError, "the server answers with status " + number);
    return Result(ExitCode::BadResponse, "the server's answer holds no file (status " + number + ")");
}

// Some servers call a packed archive an encoded one.
bool isPackedName(const std::string &path)
{
    return path.size() > 2 && path.compare(path.size() - 2, 2, "gz") == 0;
}

} // namespace

Download::Download(const Options &options, const std::string &proxyPassword)
    : m_options(options)
    , m_digests(m_storage, !options.md5.empty(), !options.sha256.empty())
    , m_progress(options.reportsProgress)
    , m_connection(options, proxyPassword)
{ }

Result Download::run()
{
    Result result = open();
    if (!result.ok())
        return result;
    result = transfer();
    if (!result.ok() && m_hasState && m_storage.partSize() > 0) {
        const Result recorded = recordState(true);
        if (!recorded.ok())
            note(recorded.text);
    }
    return result;
}

Result Download::open()
{
    const auto url = Url::parse(m_options.url);
    if (!url)
        return Result(ExitCode::AddressRefused, "the address is no HTTP or HTTPS address");
    m_url = *url;
    if (!m_digests.isPossible() || sha256Of(m_url.text).empty())
        return Result(ExitCode::InternalError,
                      "this system's cryptography refuses the digest that the file is to be compared with");
    const std::string name = FileName::fromEncodedPath(m_url.encodedPath);
    if (name.empty())
        return Result(ExitCode::FileNameRefused,
                      "the address names no file that may be written: " + m_url.masked);
    const Result result = m_storage.open(m_options.folder, name, m_options.overwrites);
    if (!result.ok())
        return result;
    std::string text;
    const Result read = m_storage.readSidecar(text);
    if (!read.ok())
        return read;
    if (const auto sidecar = Sidecar::parse(text)) {
        m_state = *sidecar;
        m_hasState = true;
    }
    takeOverPart();
    return Result();
}

void Download::takeOverPart()
{
    Sidecar fresh;
    fresh.urlDigest = sha256Of(m_url.text);
    fresh.maskedUrl = m_url.masked;
    fresh.md5 = m_options.md5;
    fresh.sha256 = m_options.sha256;
    fresh.boot = Process::bootIdentity();
    const bool isSameFile = m_hasState && m_state.urlDigest == fresh.urlDigest && m_state.md5 == fresh.md5
                            && m_state.sha256 == fresh.sha256;
    // What a crash of the system left behind the last sync may be anything.
    const bool isSameBoot = !fresh.boot.empty() && m_state.boot == fresh.boot;
    const std::uint64_t trusted
        = isSameBoot ? m_storage.partSize() : std::min(m_state.synced, m_storage.partSize());
    const bool isTooLong = m_state.size && trusted > *m_state.size;
    if (!isSameFile || isTooLong || trusted == 0 || !m_storage.truncatePart(trusted).ok()) {
        m_hasState = false;
        m_state = fresh;
        return;
    }
    m_state.boot = fresh.boot;
    m_isContinued = true;
    m_digests.advance(trusted);
}

bool Download::mayContinue() const
{
    if (!m_hasState || !m_state.trustsRanges || m_storage.partSize() <= overlapSize)
        return false;
    const bool hasValidator = !m_state.entityTag.empty() || !m_state.lastModified.empty();
    return hasValidator || !m_options.md5.empty() || !m_options.sha256.empty();
}

bool Download::isWhole() const
{
    return m_overlapLeft == 0 && (!m_state.size || m_storage.partSize() == *m_state.size);
}

HttpConnection::Question Download::nextQuestion()
{
    HttpConnection::Question question;
    question.url = m_url;
    m_overlapLeft = 0;
    m_wantsStartOver = false;
    m_exchangeStart = m_storage.partSize();
    if (mayContinue()) {
        m_overlapLeft = overlapSize;
        question.from = m_storage.partSize() - overlapSize;
        question.validator = m_state.entityTag.empty() ? m_state.lastModified : m_state.entityTag;
    }
    m_requestedFrom = question.from;
    return question;
}

Result Download::transfer()
{
    for (;;) {
        m_progress.restart(m_storage.partSize());
        HttpConnection::Answer answer = m_connection.ask(nextQuestion(), *this);
        if (answer.result.ok() && !isWhole())
            answer.result = Result(ExitCode::Interrupted, "the server ended before the end of the file");
        const Verdict verdict = judge(answer);
        if (verdict == Verdict::Give)
            return answer.result;
        if (verdict == Verdict::Complete) {
            const Result result = complete();
            if (result.ok() || !m_wantsStartOver)
                return result;
        }
        if (verdict != Verdict::Reconnect)
            continue;
        const unsigned seconds = delay(answer);
        note(answer.result.text + "; reconnecting"
             + (seconds > 0 ? " in " + std::to_string(seconds) + " s" : ""));
        const Result waited = wait(seconds);
        if (!waited.ok())
            return waited;
    }
}

Download::Verdict Download::judge(const HttpConnection::Answer &answer)
{
    if (m_wantsStartOver) {
        note(answer.result.text + "; starting over");
        return ++m_startOvers > mostStartOvers ? Verdict::Give : Verdict::StartOver;
    }
    if (answer.result.ok())
        return Verdict::Complete;
    const bool mayReconnect
        = answer.result.ok() || answer.result.code == ExitCode::Interrupted
          || (answer.result.code == ExitCode::NoConnection && m_connection.hasConnected());
    if (!mayReconnect || m_reconnects >= m_options.retries || answer.retryAfter > longestWait)
        return Verdict::Give;
    const bool hasProgress = m_storage.partSize() > m_exchangeStart;
    m_fruitless = hasProgress ? 0 : m_fruitless + 1;
    ++m_reconnects;
    m_isContinued = true;
    return Verdict::Reconnect;
}

unsigned Download::delay(const HttpConnection::Answer &answer) const
{
    if (answer.retryAfter > 0)
        return answer.retryAfter;
    if (m_fruitless < 2)
        return 0;
    return std::min(m_options.retryDelay << std::min(m_fruitless - 2, 6u), longestWait);
}

Result Download::wait(unsigned seconds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (std::chrono::steady_clock::now() < end) {
        const Result result = tick();
        if (!result.ok() || Process::stopRequested())
            return result.ok() ? Result(ExitCode::Stopped, "stopped by a signal") : result;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return Result();
}

Result Download::tick()
{
    if (m_progress.report(m_storage.partSize(), m_state.size))
        return Result();
    return Result(ExitCode::Stopped, "nobody reads the progress any more");
}

Result Download::startOver(const std::string &why)
{
    m_wantsStartOver = true;
    m_hasState = false;
    return Result(ExitCode::KeepsChanging, why);
}

Result Download::head(const ResponseHead &head)
{
    if (head.status == 416 && m_requestedFrom > 0)
        return startOver("the file on the server is shorter than before");
    if (head.status != 200 && head.status != 206)
        return statusError(head.status);
    const bool isDigestKnown = !m_options.md5.empty() || !m_options.sha256.empty();
    if (head.isMalformed || (head.isEncoded && !isDigestKnown && !isPackedName(m_url.encodedPath)))
        return Result(ExitCode::BadResponse, "the server's answer is not usable");
    if (!head.hasKnownEnd() && !isDigestKnown)
        return Result(ExitCode::BadResponse, "the server does not say where the file ends");
    if (head.status == 200)
        return beginWhole(head);
    if (m_requestedFrom == 0)
        return Result(ExitCode::BadResponse, "the server answers with a part although the whole was wanted");
    return continuePart(head);
}

Result Download::beginWhole(const ResponseHead &head)
{
    const bool isSameFile = head.entityTag == m_state.entityTag && head.lastModified == m_state.lastModified;
    const bool hasValidator = !head.entityTag.empty() || !head.lastModified.empty();
    const bool isDigestKnown = !m_options.md5.empty() || !m_options.sha256.empty();
    const bool isOtherSize
        = m_state.size && !head.isChunked && head.contentLength && *head.contentLength != *m_state.size;
    if (m_hasState && isSameFile && hasValidator && isOtherSize && !isDigestKnown)
        return Result(ExitCode::BadResponse, "the server tells two lengths for one version of the file");
    if (m_requestedFrom > 0 && isSameFile) {
        note("the server cannot continue the file; starting over");
        m_state.trustsRanges = false;
    } else if (m_requestedFrom > 0) {
        note("the file on the server changed; starting over");
        if (++m_startOvers > mostStartOvers)
            return Result(ExitCode::KeepsChanging, "the file on the server changes again and again");
    }
    // No moment may exist in which a sidecar stands beside bytes of another file.
    m_hasState = false;
    m_isContinued = false;
    m_overlapLeft = 0;
    Result result = m_storage.removeSidecar();
    m_digests.restart();
    if (result.ok())
        result = m_storage.truncatePart(0);
    m_exchangeStart = 0;
    m_state.size = head.isChunked ? std::nullopt : head.contentLength;
    m_state.entityTag = head.entityTag;
    m_state.lastModified = head.lastModified;
    if (result.ok())
        result = checkRoom();
    if (!result.ok())
        return result;
    m_hasState = true;
    m_progress.restart(0);
    return recordState(false);
}

Result Download::continuePart(const ResponseHead &head)
{
    const auto &range = head.contentRange;
    const bool isRangeRight
        = range && !head.isMultipart && range->first == m_requestedFrom
          && (!head.contentLength || head.isChunked || *head.contentLength == range->last - range->first + 1);
    if (!isRangeRight) {
        m_state.trustsRanges = false;
        return startOver("the server sends another part than the one asked for");
    }
    const bool isOtherSize = m_state.size && range->total && *range->total != *m_state.size;
    // An answer to a validator must repeat it; one that does not may be of any version.
    const bool isOtherTag = !m_state.entityTag.empty() && head.entityTag != m_state.entityTag;
    const bool isOtherTime = m_state.entityTag.empty() && !m_state.lastModified.empty()
                             && !head.lastModified.empty() && head.lastModified != m_state.lastModified;
    const bool isPastEnd = m_state.size && range->last >= *m_state.size;
    if (isOtherSize || isOtherTag || isOtherTime || isPastEnd)
        return startOver("the file on the server changed");
    if (!m_state.size)
        m_state.size = range->total;
    if (!m_state.size)
        return startOver("the server does not say how long the file is");
    return checkRoom();
}

Result Download::checkRoom() const
{
    const auto freeBytes = m_storage.freeBytes();
    const std::uint64_t needed
        = m_state.size.value_or(0) - std::min(m_state.size.value_or(0), m_storage.partSize());
    if (!freeBytes || needed <= *freeBytes)
        return Result();
    return Result(ExitCode::DiskFull, "the disk is full: " + std::to_string(needed) + " bytes are needed, "
                                          + std::to_string(*freeBytes) + " are free");
}

Result Download::recordState(bool isSynced)
{
    if (isSynced) {
        const Result result = m_storage.syncPart();
        if (!result.ok())
            return result;
    }
    m_state.synced = isSynced ? m_storage.partSize() : 0;
    m_lastSync = std::chrono::steady_clock::now();
    return m_storage.writeSidecar(m_state.toText());
}

Result Download::compareOverlap(const char *data, std::size_t size)
{
    m_overlap.resize(size);
    const long long count = m_storage.read(m_storage.partSize() - m_overlapLeft, m_overlap.data(), size);
    if (count != static_cast<long long>(size))
        return Result(ExitCode::FileError, "cannot read the part file");
    if (std::memcmp(data, m_overlap.data(), size) != 0) {
        m_state.trustsRanges = false;
        return startOver("the server sends other bytes than before");
    }
    m_overlapLeft -= size;
    return Result();
}

Result Download::body(const char *data, std::size_t size)
{
    const std::size_t compared = static_cast<std::size_t>(std::min<std::uint64_t>(m_overlapLeft, size));
    if (compared > 0) {
        const Result result = compareOverlap(data, compared);
        if (!result.ok())
            return result;
    }
    if (m_state.size && size - compared > *m_state.size - m_storage.partSize())
        return Result(ExitCode::BadResponse, "the server sends more than it promised");
    const Result result = m_storage.append(data + compared, size - compared);
    m_digests.advance(m_storage.partSize());
    if (!result.ok())
        return result;
    const bool isSyncDue = m_storage.partSize() - m_state.synced >= syncStep
                           || std::chrono::steady_clock::now() - m_lastSync >= syncInterval;
    const Result synced = isSyncDue ? recordState(true) : Result();
    return synced.ok() ? tick() : synced;
}

Result Download::verify()
{
    while (!m_digests.waitFor(std::chrono::milliseconds(200))) {
        const Result result
            = Process::stopRequested() ? Result(ExitCode::Stopped, "stopped by a signal") : tick();
        if (!result.ok())
            return result;
    }
    if (!m_digests.finish())
        return Result(ExitCode::FileError, "cannot read the part file");
    if (m_digests.md5() == m_options.md5 && m_digests.sha256() == m_options.sha256)
        return Result();
    // Pieces that do not belong together are mended by one fetch of the whole; a whole file stays wrong.
    if (m_isContinued)
        return startOver("the digest of the pieces differs");
    m_storage.discard();
    m_hasState = false;
    return Result(ExitCode::DigestMismatch, "the digest of the file differs from the expected one");
}

Result Download::complete()
{
    m_wantsStartOver = false;
    Result result = verify();
    if (m_wantsStartOver) {
        note(result.text + "; starting over");
        m_isContinued = false;
        return result;
    }
    const std::uint64_t size = m_storage.partSize();
    if (result.ok())
        result = m_storage.finish();
    if (!result.ok())
        return result;
    m_hasState = false;
    m_progress.reportComplete(size);
    return Result();
}
