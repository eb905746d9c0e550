#include "gui/update/record/UpgradeUtils.h"

#include "gui/frame/Application.h"
#include "gui/frame/LibraryVersion.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/update/record/CProductUpdateInfo.h"
#include "gui/update/record/UpdateSettings_p.h"
#include "gui/update/record/UpdateUrl_p.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>

#include <iterator>

namespace {

const QLatin1String dateFormat("yyyy-MM-dd hh:mm:ss");
const int noType = -1;
const int unknownApplicationMode = 65535;

struct HostChoices
{
    bool restricted = false;
    bool appMode = false;
    QString serverBase = QStringLiteral(KOV_UPDATE_SERVER_BASE);
};

HostChoices &host()
{
    static HostChoices choices;
    return choices;
}

QString thisBuild()
{
    return QString::fromLatin1(LibraryVersion::text());
}

/// The settings take a slash, and a backslash too, for a step into a group.
QString skippedUpdateKey(QString transactionId)
{
    transactionId.replace(QLatin1Char('%'), QLatin1String("%25"));
    transactionId.replace(QLatin1Char('/'), QLatin1String("%2F"));
    transactionId.replace(QLatin1Char('\\'), QLatin1String("%5C"));
    return UpdateSettings::skippedUpdates + QLatin1Char('/') + transactionId;
}

QString transactionIdOf(QString key)
{
    key.replace(QLatin1String("%5C"), QLatin1String("\\"));
    key.replace(QLatin1String("%2F"), QLatin1String("/"));
    return key.replace(QLatin1String("%25"), QLatin1String("%"));
}

} // namespace

namespace UpgradeUtils {

bool isDownloadingUpdateInBackground()
{
    return QSettings().value(UpdateSettings::checkInBackgroundStarted).toBool();
}

void setDownloadingUpdateInBackground(bool downloading)
{
    QSettings().setValue(UpdateSettings::checkInBackgroundStarted, downloading);
}

bool isNeedToCheckUpdateOnAppStart()
{
    return QSettings().value(UpdateSettings::checkUpdateOnStart).toBool();
}

void setNeedToCheckUpdateOnAppStart(bool need)
{
    QSettings settings;
    if (need)
        settings.setValue(UpdateSettings::checkUpdateOnStart, true);
    else
        settings.remove(UpdateSettings::checkUpdateOnStart);
}

void setNeedToInstallUpdateOnAppStart(bool need, int type, bool confirm)
{
    QSettings settings;
    settings.setValue(UpdateSettings::updateTypeToInstallOnStart, need ? type : noType);
    settings.setValue(UpdateSettings::confirmInstall, confirm);
    settings.setValue(UpdateSettings::updateFromVersion, need ? thisBuild() : QString());
}

bool isNeedToInstallUpdateOnAppStart(int *type)
{
    if (type)
        *type = noType;
    if (isUpdatesRestricted())
        return false;
    const QSettings settings;
    const int storedType = settings.value(UpdateSettings::updateTypeToInstallOnStart, noType).toInt();
    if (settings.value(UpdateSettings::updateFromVersion).toString() != thisBuild())
        return false;
    if (type)
        *type = storedType;
    return storedType != noType;
}

bool isConfirmationNeededOnAppStart()
{
    return QSettings().value(UpdateSettings::confirmInstall, true).toBool();
}

void setUpdateHandedOver(const CProductUpdateInfo &info)
{
    info.store();
    QSettings settings;
    settings.setValue(UpdateSettings::installedUpdateType, int(info.updateType));
    settings.setValue(UpdateSettings::installedUpdateVersion, info.getVersion());
}

bool takeInstalledUpdate(CProductUpdateInfo *info)
{
    QSettings settings;
    if (settings.value(UpdateSettings::installedUpdateVersion).toString() != thisBuild())
        return false;
    *info = CProductUpdateInfo(
        CProductUpdateInfo::UpdateType(settings.value(UpdateSettings::installedUpdateType).toInt()));
    info->load();
    settings.remove(UpdateSettings::installedUpdateVersion);
    return true;
}

bool isUpdateSkipped(const QString &transactionId)
{
    return !transactionId.isEmpty() && QSettings().value(skippedUpdateKey(transactionId)).toBool();
}

void setUpdateSkipped(const QString &transactionId, bool skipped)
{
    if (transactionId.isEmpty()) {
        KOV_LOG_TAG("[APP_UPDATE]", 0, "(!)Error: an update without transaction id cannot be skipped.");
        return;
    }
    if (skipped)
        QSettings().setValue(skippedUpdateKey(transactionId), true);
    else
        QSettings().remove(skippedUpdateKey(transactionId));
}

QStringList skippedUpdates()
{
    QSettings settings;
    settings.beginGroup(UpdateSettings::skippedUpdates);
    QStringList ids;
    for (const QString &key : settings.childKeys()) {
        if (settings.value(key).toBool())
            ids << transactionIdOf(key);
    }
    return ids;
}

QDateTime lastCheckedOn()
{
    const QString text = QSettings().value(UpdateSettings::lastCheckedOn).toString();
    return QLocale::c().toDateTime(text, dateFormat);
}

void setLastCheckedOn(const QDateTime &time)
{
    // The user's locale may write digits that no other locale reads.
    QSettings().setValue(UpdateSettings::lastCheckedOn,
                         QLocale::c().toString(time.toLocalTime(), dateFormat));
}

bool isUpdatesRestricted()
{
    return host().restricted;
}

void setUpdatesRestricted(bool restricted)
{
    host().restricted = restricted;
}

bool runUpdaterInAppMode()
{
    return host().appMode;
}

void setRunUpdaterInAppMode(bool appMode)
{
    host().appMode = appMode;
}

bool setUpdateServerBase(const QString &address)
{
    QString base = UpdateUrl::checked(address);
    if (base.isEmpty() && !address.isEmpty()) {
        KOV_LOG_TAG("[APP_UPDATE]", 0, "(!)Error: [%s] is no address of an update server.",
                    UpdateUrl::forLog(address).constData());
        return false;
    }
    while (base.endsWith(QLatin1Char('/')))
        base.chop(1);
    host().serverBase = base;
    return true;
}

QString defaultCatalogueUrl(int applicationMode)
{
    static const char *const productLines[] = {
        "console", "server", "remote-agent", "workstation", "player", "server-tools", "mobile",
    };
    if (applicationMode == unknownApplicationMode)
        return QStringLiteral("Unknown");
    if (host().serverBase.isEmpty() || applicationMode < 0 || applicationMode >= int(std::size(productLines)))
        return QString();
    return QStringLiteral("%1/%2/v%3/tessarine/tessarine_updates.xml")
        .arg(host().serverBase, QLatin1String(productLines[applicationMode]),
             QString::number(LibraryVersion::numbers().major));
}

QString updatesFolder()
{
    const QString base = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    const QString path = base + QLatin1String("/updates");
    QDir().mkpath(path);
    const QFileInfo folder(path);
    // Only its owner can change the permissions.
    if (base.isEmpty() || folder.isSymLink() || !folder.isDir()
        || !QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner)) {
        KOV_LOG_TAG("[APP_UPDATE]", 0, "(!)Error: the folder for updates [%s] cannot be used.",
                    KovGui::logText(path).constData());
        return QString();
    }
    return path;
}

void confirmRunningVersion()
{
    QString updateMode;
    const QString updater = KovGui::getUpdaterFilePathAndUpdateMode(updateMode, QStringLiteral("ctl"));
    if (!QFileInfo(updater).isExecutable())
        return;
    // Its answer is of no use here: where there is nothing to confirm, it says so on standard error.
    QProcess process;
    process.setProgram(updater);
    process.setArguments({QStringLiteral("confirm")});
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    if (!process.startDetached())
        KOV_LOG_TAG("[APP_UPDATE]", 0, "(!)Error: %s cannot be started to confirm this version.",
                    KovGui::logText(updater).constData());
}

QString messageIssuer()
{
    return QStringLiteral("ProductUpdate");
}

} // namespace UpgradeUtils
