#pragma once

#include "gui/KovGuiGlobal.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

class CProductUpdateInfo;

/**
 * The bookkeeping of updates in the application's default settings, and what a host tells the update
 * subsystem once at start. GUI thread only. Settings that are missing read as false, 0 or empty.
 */
namespace UpgradeUtils {

/// A background download of an update was started.
KOVGUI_EXPORT bool isDownloadingUpdateInBackground();
KOVGUI_EXPORT void setDownloadingUpdateInBackground(bool downloading);

/// Check for updates when the application starts the next time.
KOVGUI_EXPORT bool isNeedToCheckUpdateOnAppStart();
KOVGUI_EXPORT void setNeedToCheckUpdateOnAppStart(bool need);

/**
 * Install a downloaded update when the application starts the next time.
 * @param type     CProductUpdateInfo::UpdateType of the update; ignored when need is false
 * @param confirm  ask the user before
 */
KOVGUI_EXPORT void setNeedToInstallUpdateOnAppStart(bool need, int type, bool confirm);
/// True when an installation was asked for by this very build; a request of another build is ignored. Always
/// false where updates are restricted.
/// @param type  when given, receives the update's type, or -1 when the answer is false
KOVGUI_EXPORT bool isNeedToInstallUpdateOnAppStart(int *type = nullptr);

/// Whether the installation at the next start is to be offered first; true unless it was stored otherwise.
KOVGUI_EXPORT bool isConfirmationNeededOnAppStart();

/// An update goes to the updater program now. Kept for the version that starts next: the application may be
/// gone when the installation has ended.
KOVGUI_EXPORT void setUpdateHandedOver(const CProductUpdateInfo &info);
/// True once, in the first run of the version that was handed over last. For a host that tells its user.
/// @param info  receives the update
KOVGUI_EXPORT bool takeInstalledUpdate(CProductUpdateInfo *info);

/// To be called once, when the application has come up: it runs, and its installation need not go back to the
/// version before. Told by the updater program in the background; does nothing without one.
KOVGUI_EXPORT void confirmRunningVersion();

/// The user chose not to be offered this update again. An empty id is never skipped and never stored.
KOVGUI_EXPORT bool isUpdateSkipped(const QString &transactionId);
KOVGUI_EXPORT void setUpdateSkipped(const QString &transactionId, bool skipped);
/// The ids of all skipped updates, in no particular order. CProductUpdateInfo finds a version in an id.
KOVGUI_EXPORT QStringList skippedUpdates();

/// Local time of the last periodic check; invalid when there was none or the stored text cannot be read.
KOVGUI_EXPORT QDateTime lastCheckedOn();
KOVGUI_EXPORT void setLastCheckedOn(const QDateTime &time);

/// The application runs in a mode in which updates are not offered: checks and installations are refused.
/// Initially false; the host decides.
KOVGUI_EXPORT bool isUpdatesRestricted();
KOVGUI_EXPORT void setUpdatesRestricted(bool restricted);

/// The updater runs in its "app" mode instead of "ctl", which decides the program (KovGui's table) and its
/// arguments. Initially false.
KOVGUI_EXPORT bool runUpdaterInAppMode();
KOVGUI_EXPORT void setRunUpdaterInAppMode(bool appMode);

/**
 * The address below which the catalogues of all products lie, for example "https://updates.example.com/feed".
 * A slash at its end does not matter. Initially what the build was configured with (KOV_UPDATE_SERVER_BASE),
 * empty by default: then the updater uses the server of its own configuration.
 * @return false, with a logged error and nothing changed, for anything but an http or https address without
 * password. An empty address is accepted.
 */
KOVGUI_EXPORT bool setUpdateServerBase(const QString &address);
/// The catalogue of an application mode, "BASE/console/v3/tessarine/tessarine_updates.xml". Empty without a
/// base and for a mode without product line; "Unknown" for mode 65535.
KOVGUI_EXPORT QString defaultCatalogueUrl(int applicationMode);

/**
 * The folder for update packages, "updates" in the application's local data, for this user alone. Created
 * when it is missing.
 * @return empty, with a logged error, when it cannot be had: a file or a symbolic link in its place, or a
 * folder that belongs to somebody else. Never use the empty text as a folder then: it would stand for another
 * one.
 */
KOVGUI_EXPORT QString updatesFolder();

/// Whose the messages of the update cycle are: they neither wait behind others nor make others wait.
KOVGUI_EXPORT QString messageIssuer();

} // namespace UpgradeUtils
