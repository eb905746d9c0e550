#pragma once

#include "kov_sdk/KovTypes.h"

/// When periodic checks for updates are due, by local wall time and the user's settings.
class CheckSchedule
{
public:
    /// Milliseconds from one look at the schedule to the next, 1 minute to 1 hour.
    static int timerPeriod();

    /// True a day, seven days or a calendar month after the last check. A time that is missing, that cannot
    /// be read or lies more than a day ahead counts as due and is replaced by the present one, until the
    /// check has ended.
    /// @param defaultPeriod  0 never, 1 daily, 2 weekly, 3 monthly
    bool isDue(int defaultPeriod);
    /// Stores the time of a check that answered; takes the time of any other back.
    void checkEnded(KOV_RESULT result);
    /// Removes what isDue() stored for a check that was not made.
    void takeBack();

private:
    bool m_isProvisional = false;
};
