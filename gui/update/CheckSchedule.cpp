#include "gui/update/CheckSchedule_p.h"

#include "gui/frame/Clock.h"
#include "gui/log/Log.h"
#include "gui/update/record/UpdatePreferences.h"
#include "gui/update/record/UpdateSettings_p.h"
#include "gui/update/record/UpgradeUtils.h"

#include <QSettings>

#include <utility>

namespace {

constexpr int millisecondsPerMinute = 60 * 1000;
constexpr int longestPeriod = 60 * millisecondsPerMinute;

QDateTime nextCheck(const QDateTime &last, UpdatePreferences::CheckPeriod period)
{
    switch (period) {
    case UpdatePreferences::Daily:
        return last.addDays(1);
    case UpdatePreferences::Weekly:
        return last.addDays(7);
    default:
        return last.addMonths(1);
    }
}

} // namespace

int CheckSchedule::timerPeriod()
{
    const qint64 minutes = QSettings().value(UpdateSettings::checkTimeoutMinutes).toInt();
    const qint64 wanted = minutes * millisecondsPerMinute;
    const int period = wanted >= 1 && wanted <= longestPeriod ? int(wanted) : longestPeriod;
    KOV_LOG_TAG("[APP_UPDATE]", 2, "Check updates timeout: %d msec", period);
    return period;
}

bool CheckSchedule::isDue(int defaultPeriod)
{
    const UpdatePreferences::CheckPeriod period = UpdatePreferences::checkPeriod(defaultPeriod);
    if (period == UpdatePreferences::Never)
        return false;
    const QDateTime now = Clock::now();
    const QDateTime last = UpgradeUtils::lastCheckedOn();
    // Only a clock that was set back leaves a time so far ahead. Less than a day is let be: it delays one
    // check, and the hour that comes twice in autumn is no mistake.
    if (last.isValid() && last <= now.addDays(1))
        return now >= nextCheck(last, period);
    UpgradeUtils::setLastCheckedOn(now);
    m_isProvisional = true;
    return true;
}

void CheckSchedule::checkEnded(KOV_RESULT result)
{
    if (KOV_FAILED(result)) {
        takeBack();
        return;
    }
    m_isProvisional = false;
    UpgradeUtils::setLastCheckedOn(Clock::now());
}

void CheckSchedule::takeBack()
{
    if (std::exchange(m_isProvisional, false))
        QSettings().remove(UpdateSettings::lastCheckedOn);
}
