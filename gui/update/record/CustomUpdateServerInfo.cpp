#include "gui/update/record/CustomUpdateServerInfo.h"

#include "gui/log/Log.h"
#include "gui/update/record/UpdateSettings_p.h"
#include "gui/update/record/UpdateUrl_p.h"

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

bool CustomUpdateServerInfo::setUrl(const QString &address)
{
    if (!address.isEmpty() && UpdateUrl::checked(address).isEmpty()) {
        KOV_LOG_TAG("[APP_UPDATE]", 0, "(!)Error: [%s] is no address of an update catalogue.",
                    UpdateUrl::forLog(address).constData());
        return false;
    }
    QSettings().setValue(UpdateSettings::updatePolicy, address);
    return true;
}

QString CustomUpdateServerInfo::url()
{
    return policy() == CustomServer ? storedPolicy() : QString();
}
