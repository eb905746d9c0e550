#include "gui/tasks/progress/CTimeEstimator.h"

#include "gui/tasks/progress/FormatUtils.h"

#include <QDateTime>

#include <cmath>
#include <optional>

namespace {

constexpr qint64 longestDuration = 24 * 60 * 60 * 1000 - 1;

QTime duration(qint64 msecs)
{
    return QTime::fromMSecsSinceStartOfDay(int(qBound(qint64(0), msecs, longestDuration)));
}

/// Halves upwards; what no duration can hold is cut, as a cast of it would be undefined.
qint64 rounded(double msecs)
{
    return qint64(std::floor(qBound(-1e15, msecs, 1e15) + 0.5));
}

} // namespace

class CTimeEstimator::Private
{
public:
    ClockFunction now = QDateTime::currentMSecsSinceEpoch;
    std::optional<qint64> start;
    std::optional<qint64> estimatedEnd;
    qint64 min = 0;
    qint64 max = 0;
};

CTimeEstimator::CTimeEstimator(QObject *parent)
    : QObject(parent)
    , d(new Private)
{ }

CTimeEstimator::~CTimeEstimator() = default;

void CTimeEstimator::setRange(qint64 min, qint64 max)
{
    d->min = min;
    d->max = max;
}

qint64 CTimeEstimator::minValue() const
{
    return d->min;
}

qint64 CTimeEstimator::maxValue() const
{
    return d->max;
}

void CTimeEstimator::setClock(ClockFunction clock)
{
    d->now = clock ? clock : QDateTime::currentMSecsSinceEpoch;
}

void CTimeEstimator::start()
{
    d->start = d->now();
}

void CTimeEstimator::setProgress(qint64 value)
{
    if (!d->start)
        return;
    const qint64 now = d->now();
    if (value == d->min) {
        d->estimatedEnd = now;
        return;
    }
    // Differences of 64-bit numbers may need 65 bits; a double's precision is enough for a guess.
    const double ratio = (double(d->max) - double(d->min)) / (double(value) - double(d->min));
    d->estimatedEnd = *d->start + rounded(double(now - *d->start) * ratio);
}

QTime CTimeEstimator::elapsedTime() const
{
    return duration(d->start ? d->now() - *d->start : 0);
}

QTime CTimeEstimator::estimatedTime() const
{
    return d->estimatedEnd ? duration(*d->estimatedEnd - d->now()) : QTime();
}

QString CTimeEstimator::getTextForProgress(qint64 done, qint64 total)
{
    if (done <= 0 || total <= 0)
        return QString();
    setProgress(done);
    const QTime remaining = estimatedTime();
    QString text = tr("%1 of %2").arg(FormatUtils::dataSize(done), FormatUtils::dataSize(total));
    if (remaining.isValid()) {
        text += tr(" - %3").arg(
            FormatUtils::duration(remaining.msecsSinceStartOfDay() / 1000, FormatUtils::ShortForm));
    }
    return text;
}
