#pragma once

#include <QVariant>

#include <optional>

class QWidget;

/**
 * Between the number that is stored and the one that a widget shows: shown = stored * multiplier / divisor,
 * and back.
 *
 * Whole numbers are computed in 64 bits and divided as such; what does not fit the type is its nearest value.
 * A computed double becomes a whole number by leaving out its fraction, unless it misses the next one by
 * rounding only.
 */
struct ValueScale
{
    enum Type { Int, UInt, Double };

    /// What the widget's properties say. Factors below 1 count as 1.
    static ValueScale of(const QWidget *widget);

    QVariant storedFor(int shown) const;
    QVariant storedFor(double shown) const;
    /// Nothing for a value that is no number.
    std::optional<int> shownInteger(const QVariant &stored) const;
    std::optional<double> shownNumber(const QVariant &stored) const;

    Type type = Int;
    qint64 multiplier = 1;
    qint64 divisor = 1;
};
