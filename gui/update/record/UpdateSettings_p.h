#pragma once

#include <QLatin1String>

/// The keys of the update subsystem in the application's default settings
/// (docs/reference/update-settings.md).
namespace UpdateSettings {

// The record of a pending update: one group per update type inside this one.
const QLatin1String productUpdateGroup("ProductUpdate");
const QLatin1String majorUpgradeGroup("MajorUpgrade");
const QLatin1String minorUpdateGroup("MinorUpdate");
const QLatin1String transactionId("TransactionId");
const QLatin1String purchaseUrl("PurchaseUrl");
const QLatin1String updateDescription("UpdateDescription");
const QLatin1String downloadUrl("DownloadUrl");
const QLatin1String destinationFolder("DestinationFolder");
const QLatin1String updateSize("UpdateSize");
const QLatin1String updateMd5("UpdateMD5");

const QLatin1String checkUpdateOnStart("ProductUpdate/CheckUpdateOnStart");
const QLatin1String updateTypeToInstallOnStart("ProductUpdate/UpdateTypeToInstallOnStart");
const QLatin1String confirmInstall("ProductUpdate/ConfirmInstall");
const QLatin1String updateFromVersion("ProductUpdate/UpdateFromVersion");
const QLatin1String skippedUpdates("ProductUpdate/SkippedUpdates");
const QLatin1String installedUpdateType("ProductUpdate/UpdateType");
const QLatin1String installedUpdateVersion("ProductUpdate/UpdateToVersion");

const QLatin1String checkInBackgroundStarted("User Preferences/Update/CheckInBackgroundStarted");
const QLatin1String lastCheckedOn("User Preferences/Update/Last Checked On");
const QLatin1String checkTimeoutMinutes("User Preferences/Update/Check Updates Timeout Minutes");
const QLatin1String checkOnApplicationStart("User Preferences/Update/Check on Application Start");

const QLatin1String showWelcomeScreen("User Preferences/Show Welcome Screen");

const QLatin1String checkForUpdates("Application preferences/Check for updates");
const QLatin1String downloadAutomatically("Application preferences/Download updates automatically");
const QLatin1String updatePolicy("Application preferences/VolumeLicenseUpdatePolicy");

} // namespace UpdateSettings
