#include "gui/mapping/widgets/ValueScale_p.h"

#include "gui/mapping/values/Mappings.h"
#include "gui/mapping/widgets/WidgetKind_p.h"

#include <QWidget>

#include <cmath>
#include <limits>

namespace {

qint64 wholeNumber(double number)
{
    constexpr double Limit = 9.2e18;
    constexpr double Rounding = 1e-9;
    const double bounded = qBound(-Limit, number, Limit);
    const double nearest = std::round(bounded);
    const bool isMissed = std::abs(bounded - nearest) <= Rounding * qMax(1.0, std::abs(bounded));
    return qint64(isMissed ? nearest : std::trunc(bounded));
}

template <typename Number>
Number saturated(qint64 number)
{
    return Number(qBound(qint64(std::numeric_limits<Number>::min()), number,
                         qint64(std::numeric_limits<Number>::max())));
}

std::optional<qint64> wholeNumber(const QVariant &value)
{
    bool ok = false;
    // A double is rounded by QVariant, a text with a fraction refused.
    if (value.userType() != QMetaType::Double && value.userType() != QMetaType::Float) {
        if (value.userType() == QMetaType::ULongLong)
            return qint64(qMin(value.toULongLong(), quint64(std::numeric_limits<qint64>::max())));
        const qint64 number = value.toLongLong(&ok);
        if (ok)
            return number;
    }
    const double number = value.toDouble(&ok);
    return ok && !std::isnan(number) ? std::optional(wholeNumber(number)) : std::nullopt;
}

std::optional<qint64> wholeNumber(const QVariant &value, ValueScale::Type type)
{
    const std::optional<qint64> number = wholeNumber(value);
    if (!number)
        return std::nullopt;
    return type == ValueScale::UInt ? qint64(saturated<uint>(*number)) : qint64(saturated<int>(*number));
}

} // namespace

ValueScale ValueScale::of(const QWidget *widget)
{
    ValueScale scale;
    if (bindingProperty(widget, Mappings::ValueTypeUIntProp).toBool())
        scale.type = UInt;
    else if (bindingProperty(widget, Mappings::ValueTypeDoubleProp).toBool())
        scale.type = Double;
    scale.multiplier = qMax(bindingProperty(widget, Mappings::MultiplierProp).toInt(), 1);
    scale.divisor = qMax(bindingProperty(widget, Mappings::DivisorProp).toInt(), 1);
    return scale;
}

QVariant ValueScale::storedFor(int shown) const
{
    if (type == Double)
        return double(shown) * double(divisor) / double(multiplier);
    const qint64 number = qint64(shown) * divisor / multiplier;
    return type == UInt ? QVariant(saturated<uint>(number)) : QVariant(saturated<int>(number));
}

QVariant ValueScale::storedFor(double shown) const
{
    const double number = shown * double(divisor) / double(multiplier);
    switch (type) {
    case Double:
        return number;
    case UInt:
        return saturated<uint>(wholeNumber(number));
    case Int:
        break;
    }
    return saturated<int>(wholeNumber(number));
}

std::optional<int> ValueScale::shownInteger(const QVariant &stored) const
{
    if (type == Double) {
        const std::optional<double> number = shownNumber(stored);
        return number ? std::optional(saturated<int>(wholeNumber(*number))) : std::nullopt;
    }
    const std::optional<qint64> number = wholeNumber(stored, type);
    return number ? std::optional(saturated<int>(*number * multiplier / divisor)) : std::nullopt;
}

std::optional<double> ValueScale::shownNumber(const QVariant &stored) const
{
    std::optional<double> number;
    if (type == Double) {
        bool ok = false;
        const double value = stored.toDouble(&ok);
        if (ok && !std::isnan(value))
            number = value;
    } else if (const std::optional<qint64> whole = wholeNumber(stored, type)) {
        number = double(*whole);
    }
    return number ? std::optional(*number * double(multiplier) / double(divisor)) : std::nullopt;
}
