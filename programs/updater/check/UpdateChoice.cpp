#include "programs/updater/check/UpdateChoice.h"

#include <algorithm>
#include <tuple>

namespace {

bool isAny(const QString &text)
{
    return text.isEmpty() || text == QLatin1String("*")
           || text.compare(QLatin1String("any"), Qt::CaseInsensitive) == 0;
}

QString normalizedLocale(const QString &locale)
{
    const QString name = locale.section(QLatin1Char('.'), 0, 0).section(QLatin1Char('@'), 0, 0).toLower();
    return QString(name).replace(QLatin1Char('-'), QLatin1Char('_'));
}

/// 2 the locale itself, 1 its language, 0 any, -1 another one.
int localeCloseness(const QString &offered, const QString &wanted)
{
    if (isAny(offered))
        return 0;
    const QString offeredName = normalizedLocale(offered);
    const QString wantedName = normalizedLocale(wanted);
    if (offeredName == wantedName)
        return 2;
    return offeredName == wantedName.section(QLatin1Char('_'), 0, 0) ? 1 : -1;
}

/// 1 the system itself, 0 any, -1 another one.
int systemCloseness(const QString &offered, const QString &wanted)
{
    if (isAny(offered))
        return 0;
    return offered.compare(wanted, Qt::CaseInsensitive) == 0 ? 1 : -1;
}

bool isAncestor(const QString &ancestor, const VersionNumber &version)
{
    if (isAny(ancestor))
        return true;
    const QVector<quint32> parts = parseVersionParts(ancestor);
    return !parts.isEmpty() && std::equal(parts.begin(), parts.end(), version.begin());
}

bool descendsFrom(const QString &ancestry, const VersionNumber &version)
{
    const QStringList ancestors = ancestry.split(QLatin1Char(','));
    return std::any_of(ancestors.begin(), ancestors.end(), [&version](const QString &ancestor) {
        return isAncestor(ancestor.trimmed(), version);
    });
}

bool isOnOffer(const CUpdate &update)
{
    return update.status.compare(QLatin1String("released"), Qt::CaseInsensitive) == 0 && !update.chargeable;
}

/// The best update so far.
class Choice
{
public:
    explicit Choice(const UpdateCriteria &criteria)
        : m_criteria(criteria)
    { }

    void consider(const VersionNumber &version, const CUpdate &update)
    {
        const Rank rank{version, localeCloseness(update.localeName, m_criteria.locale),
                        systemCloseness(update.osType, m_criteria.os), update.dateTime};
        if (std::get<1>(rank) < 0 || std::get<2>(rank) < 0)
            return;
        if (!isOnOffer(update) || !descendsFrom(update.ancestry, m_criteria.currentVersion))
            return;
        if (m_chosen && !(m_rank < rank))
            return;
        m_rank = rank;
        m_chosen = ChosenUpdate{version, update};
    }

    const std::optional<ChosenUpdate> &chosen() const { return m_chosen; }

private:
    using Rank = std::tuple<VersionNumber, int, int, QDateTime>;

    const UpdateCriteria &m_criteria;
    Rank m_rank;
    std::optional<ChosenUpdate> m_chosen;
};

} // namespace

std::optional<ChosenUpdate> chooseUpdate(const CUpdates &catalogue, const UpdateCriteria &criteria)
{
    Choice choice(criteria);
    for (const CUpdProduct &product : catalogue.products) {
        if (product.productName != criteria.product || !product.updateEnabled)
            continue;
        for (const CUpdProductVersion &version : product.versions) {
            const VersionNumber number{version.major, version.minor, version.subMinor, version.subSubMinor};
            if (number <= criteria.currentVersion || criteria.rejected.contains(number))
                continue;
            for (const CUpdate &update : version.updates)
                choice.consider(number, update);
        }
    }
    return choice.chosen();
}
