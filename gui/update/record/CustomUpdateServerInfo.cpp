#include "gui/update/record/CustomUpdateServerInfo.h"

#include "gui/update/record/UpdateSettings_p.h"

#include <QSettings>

namespace {

QString storedPolicy()
{
    return QSettings().value(UpdateSettings::updatePolicy).toString();
}

} // namespace

CustomUpdateServerInfo::Policy CustomUpdateServerInfo::policy()
{
    const QString text = storedPolicy();
    if (text == QLatin1String("None"))
        return NoServer;
    if (text.isEmpty() || text == QLatin1String("Tessarine"))
        return TessarineServer;
    return CustomServer;
}

QString CustomUpdateServerInfo::url()
{
    return policy() == CustomServer ? storedPolicy() : QString();
}
