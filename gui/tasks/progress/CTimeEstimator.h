#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>
#include <QTime>

#include <memory>

/**
 * Turns a count that runs through a range into the time that remains, and into a text that says so.
 *
 * The estimate is linear: what is left takes as long for each unit as what is done did, from start() on.
 *
 * Durations are QTime values: times after midnight, at least 00:00:00.000 and at most 23:59:59.999. They do
 * not wrap: a longer duration is cut to that, and one that has gone negative (the estimate has passed, or the
 * system's clock was set back) to zero. An operation may run across midnight.
 */
class KOVGUI_EXPORT CTimeEstimator : public QObject
{
    Q_OBJECT

public:
    /// The present time in milliseconds; the zero is anywhere. A test sets its own.
    using ClockFunction = qint64 (*)();

    explicit CTimeEstimator(QObject *parent = nullptr);
    ~CTimeEstimator() override;

    /// The range of the count, at first 0 to 0; nothing is recomputed. Any two values are legal: for a count
    /// outside the range, and a range that runs backwards or is empty, the remaining time is zero.
    void setRange(qint64 min, qint64 max);
    qint64 minValue() const;
    qint64 maxValue() const;

    /// Since start(); zero before it.
    QTime elapsedTime() const;
    /// What remained at the last setProgress(), less what has passed since then. Invalid before it.
    QTime estimatedTime() const;

    /**
     * Takes `done` as setProgress() does and says "3.0 MB of 12.0 MB - 2 min 10 s" in the user's language and
     * number format; without the time when there is no estimate.
     *
     * @param done,total  bytes; the text is empty unless both are above 0. `total` is only shown: what is
     * estimated is the range.
     */
    QString getTextForProgress(qint64 done, qint64 total);

    /// For tests; null restores the system's clock.
    void setClock(ClockFunction clock);

public Q_SLOTS:
    /// Takes the present time as the beginning. An earlier estimate stays until the next setProgress().
    void start();
    /// Estimates anew. At the minimum nothing is known yet, and the remaining time is zero. Before start()
    /// it is ignored.
    void setProgress(qint64 value);

private:
    class Private;
    const std::unique_ptr<Private> d;
};
