#include "gui/update/record/UpdatePreferences.h"

#include "gui/update/record/UpdateSettings_p.h"

#include <QSettings>

UpdatePreferences::CheckPeriod UpdatePreferences::checkPeriod(int byDefault)
{
    const int period = QSettings().value(UpdateSettings::checkForUpdates, byDefault).toInt();
    return period < Daily || period > Monthly ? Never : CheckPeriod(period);
}

void UpdatePreferences::setCheckPeriod(CheckPeriod period)
{
    QSettings().setValue(UpdateSettings::checkForUpdates, int(period));
}

bool UpdatePreferences::isDownloadAutomatic(bool byDefault)
{
    return QSettings().value(UpdateSettings::downloadAutomatically, byDefault).toBool();
}

void UpdatePreferences::setDownloadAutomatic(bool automatic)
{
    QSettings().setValue(UpdateSettings::downloadAutomatically, automatic);
}
