#include "programs/download_utility/Progress.h"

#include "programs/download_utility/Process.h"

#include <algorithm>
#include <climits>

namespace {

const auto reportInterval = std::chrono::milliseconds(250);
const auto rateWindow = std::chrono::seconds(3);

// The reader keeps rate, estimate and percentage in an int.
std::uint64_t toInt(std::uint64_t value)
{
    return std::min<std::uint64_t>(value, INT_MAX);
}

std::string line(const char *key, std::uint64_t value)
{
    return std::string(key) + std::to_string(value) + "\n";
}

} // namespace

Progress::Progress(bool isWanted)
    : m_isWanted(isWanted)
{
    restart(0);
}

void Progress::restart(std::uint64_t done)
{
    m_samples.assign(1, Sample{Clock::now(), done});
}

std::uint64_t Progress::rate(std::uint64_t done, Clock::time_point now)
{
    m_samples.push_back(Sample{now, done});
    while (m_samples.size() > 2 && now - m_samples[1].time >= rateWindow)
        m_samples.pop_front();
    const Sample &first = m_samples.front();
    const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(now - first.time).count();
    if (elapsed <= 0 || done < first.done)
        return 0;
    return static_cast<std::uint64_t>(static_cast<double>(done - first.done) * 1000.0
                                      / static_cast<double>(elapsed));
}

std::string Progress::text(std::uint64_t done, std::optional<std::uint64_t> size, Clock::time_point now)
{
    const std::uint64_t bytesPerSecond = rate(done, now);
    std::string text = size ? line("FILE_SIZE: ", *size) : std::string();
    text += line("DOWNLOADING_RATE: ", toInt(bytesPerSecond));
    text += line("DOWNLOADED_BYTES: ", done);
    if (!size)
        return text;
    const std::uint64_t left = *size - std::min(done, *size);
    if (left == 0 || bytesPerSecond > 0)
        text += line("ESTIMATED_TIME: ", toInt(left == 0 ? 0 : (left - 1) / bytesPerSecond + 1));
    const double percent = *size == 0 ? 0.0 : 100.0 * static_cast<double>(done) / static_cast<double>(*size);
    return text + line("PROGRESS: ", std::min<std::uint64_t>(static_cast<std::uint64_t>(percent), 99));
}

bool Progress::report(std::uint64_t done, std::optional<std::uint64_t> size, Clock::time_point now)
{
    if (!m_isWanted || (m_lastReport && now - *m_lastReport < reportInterval))
        return true;
    m_lastReport = now;
    return Process::writeReport(text(done, size, now)) != Process::Report::ReaderGone;
}

bool Progress::reportComplete(std::uint64_t size)
{
    if (!m_isWanted)
        return true;
    std::string last = text(size, size, Clock::now());
    last.erase(last.find("PROGRESS: "));
    return Process::writeReport(last + line("PROGRESS: ", 100)) != Process::Report::ReaderGone;
}
