#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

/**
 * Reports a download on standard output: the five keys, each followed by digits, one a line, all of one
 * moment in one piece. At most four reports a second; a report that the reader has no room for is left out.
 *
 * Bytes for sizes, bytes a second for the rate (over the last three seconds), seconds for the estimate. The
 * size, the estimate and the percentage are left out while they are unknown.
 */
class Progress
{
public:
    using Clock = std::chrono::steady_clock;

    explicit Progress(bool isWanted);

    /// Forgets the rate: the transfer begins anew at @p done bytes.
    void restart(std::uint64_t done);
    /// False when nobody reads any more.
    bool report(std::uint64_t done, std::optional<std::uint64_t> size, Clock::time_point now = Clock::now());
    /// The last report, complete: 100 percent, whatever the limit of reports says.
    bool reportComplete(std::uint64_t size);

    /// The text of one report; 99 percent at most, since only a checked file under its name is complete.
    std::string text(std::uint64_t done, std::optional<std::uint64_t> size, Clock::time_point now);

private:
    struct Sample
    {
        Clock::time_point time;
        std::uint64_t done = 0;
    };

    std::uint64_t rate(std::uint64_t done, Clock::time_point now);

    const bool m_isWanted;
    std::optional<Clock::time_point> m_lastReport;
    std::deque<Sample> m_samples;
};
