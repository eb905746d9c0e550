#pragma once

#include "programs/download_utility/CommandLine.h"
#include "programs/download_utility/DigestFollower.h"
#include "programs/download_utility/HttpConnection.h"
#include "programs/download_utility/Progress.h"
#include "programs/download_utility/Sidecar.h"
#include "programs/download_utility/Storage.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

/**
 * Brings one file into its folder, whole and right, or says why not.
 *
 * What is there already is continued only when it is certain to be a part of the same file: the address, the
 * size and the expected digests are those of the sidecar, the server confirms a strong validator (without
 * one, only an expected digest allows it), its Content-Range is the one asked for, and the last bytes on disk
 * arrive once more and are the same. Whenever one of these fails, the file is fetched from its beginning.
 *
 * Interruptions are mended by Options::retries reconnects; the first after an exchange that brought something
 * follows at once. Ends a part file in a state that the next run can continue, whatever happens.
 */
class Download : private HttpConnection::Sink
{
public:
    Download(const Options &options, const std::string &proxyPassword);

    Result run();

private:
    /// What an exchange came to, beyond its result.
    enum class Verdict { Complete, Reconnect, StartOver, Give };

    Result head(const ResponseHead &head) override;
    Result body(const char *data, std::size_t size) override;
    Result tick() override;

    Result open();
    void takeOverPart();
    Result transfer();
    Verdict judge(const HttpConnection::Answer &answer);
    HttpConnection::Question nextQuestion();
    bool mayContinue() const;
    bool isWhole() const;
    Result wait(unsigned seconds);
    unsigned delay(const HttpConnection::Answer &answer) const;

    Result beginWhole(const ResponseHead &head);
    Result continuePart(const ResponseHead &head);
    Result startOver(const std::string &why);
    Result checkRoom() const;
    Result compareOverlap(const char *data, std::size_t size);
    Result recordState(bool isSynced);

    Result complete();
    Result verify();

    const Options &m_options;
    Url m_url;
    Storage m_storage;
    DigestFollower m_digests;
    Progress m_progress;
    HttpConnection m_connection;
    Sidecar m_state;
    bool m_hasState = false; ///< m_state describes the part file
    std::chrono::steady_clock::time_point m_lastSync = std::chrono::steady_clock::now();

    std::uint64_t m_requestedFrom = 0;
    std::uint64_t m_overlapLeft = 0;
    std::uint64_t m_exchangeStart = 0; ///< size of the part file when the exchange began
    std::vector<char> m_overlap;
    bool m_wantsStartOver = false;
    bool m_isContinued = false; ///< the part file was put together from more than one exchange
    unsigned m_reconnects = 0;
    unsigned m_fruitless = 0;
    unsigned m_startOvers = 0;
};
