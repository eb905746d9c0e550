#include "gui/update/DownloadRetry_p.h"

namespace {

constexpr int firstPause = 10;
constexpr int longestPause = 4 * 60;
constexpr int millisecondsPerMinute = 60 * 1000;

} // namespace

DownloadRetry::DownloadRetry(QObject *parent)
    : QTimer(parent)
{
    setObjectName(QStringLiteral("downloadRetryTimer"));
    setSingleShot(true);
}

void DownloadRetry::schedule()
{
    m_minutes = qBound(firstPause, 2 * m_minutes, longestPause);
    start(m_minutes * millisecondsPerMinute);
}

void DownloadRetry::reset()
{
    stop();
    m_minutes = 0;
}
