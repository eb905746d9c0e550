#include "gui/tasks/download/DownloadOutput_p.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace {

const int longestLine = 4096;
// Holds the longest key with the longest number.
const int longestReport = 64;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::optional<qint64> lastNumber(const QByteArray &text, const char *key, qint64 most, bool atEnd)
{
    const int keyLength = int(qstrlen(key));
    // QByteArray counts a negative start from the end.
    for (int at = text.lastIndexOf(key); at >= 0; at = at > 0 ? text.lastIndexOf(key, at - 1) : -1) {
        const auto begin = text.cbegin() + at + keyLength;
        const auto end = std::find_if_not(begin, text.cend(), isDigit);
        if (begin == end || (end == text.cend() && !atEnd))
            continue;
        bool fits = false;
        const qint64 number = QByteArray(begin, int(end - begin)).toLongLong(&fits);
        return fits && number <= most ? std::optional<qint64>(number) : std::nullopt;
    }
    return std::nullopt;
}

} // namespace

void DownloadOutput::add(const QByteArray &chunk)
{
    m_unfinished += chunk;
    read(false);
    m_unfinished.remove(0, m_unfinished.lastIndexOf('\n') + 1);
    if (m_unfinished.size() > longestLine)
        m_unfinished = m_unfinished.right(longestReport);
}

bool DownloadOutput::finish()
{
    if (m_unfinished.isEmpty())
        return false;
    read(true);
    m_unfinished.clear();
    return true;
}

void DownloadOutput::read(bool atEnd)
{
    const qint64 anyBytes = std::numeric_limits<qint64>::max();
    const qint64 anyInt = std::numeric_limits<int>::max();
    const auto take = [&](const char *key, auto &field, qint64 most) {
        if (const auto number = lastNumber(m_unfinished, key, most, atEnd))
            field = std::decay_t<decltype(field)>(*number);
    };
    take("FILE_SIZE: ", m_progress.fileSize, anyBytes);
    take("DOWNLOADING_RATE: ", m_progress.downloadingRate, anyInt);
    take("DOWNLOADED_BYTES: ", m_progress.downloadedBytes, anyBytes);
    take("ESTIMATED_TIME: ", m_progress.estimatedTime, anyInt);
    take("PROGRESS: ", m_progress.progress, anyInt);
    m_progress.progress = std::min(m_progress.progress, 100);
}
