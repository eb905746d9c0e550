#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

/// Enumerations with names at run time that the whole library and its hosts share.
namespace GUI {
Q_NAMESPACE_EXPORT(KOVGUI_EXPORT)

/**
 * Task kinds. Shared with the applications, which own the kinds that this library has no class for; numbers
 * that are not listed are theirs as well. The class of a kind is "C" followed by its key.
 *
 * CTaskManager::runTask creates a host's class, too: the host enters it in KovGui::staticMetaObjectHash()
 * under that name. For kinds of its own numbers it tells their keys once, after KovGui::init:
 *
 *     Tasks::init(QMetaEnum::fromType<Console::TaskTypes>());
 */
enum TaskTypes {
    TaskUnknown = 0,
    TaskCommitPreferences = 1,
    TaskCloseAllWindows = 2,
    TaskCloseWindow = 3,
    TaskConnectToServer = 4,
    TaskConnectUsbDevice = 5,
    TaskImportBootCampVm = 9,
    TaskCreateProblemReport = 10,
    TaskEditVmConfig = 11,
    TaskLostTaskSupport = 12,
    TaskMakeVmDesktopScreenshot = 13,
    TaskOpenVmDesktop = 14,
    TaskRaiseConfigEditor = 15,
    TaskRaiseWizard = 16,
    TaskConnectUsb = 17,
    TaskRegisterVm = 18,
    TaskRegisterVms = 19,
    TaskRepairInvalidVm = 20,
    TaskRestoreNetworkDefaults = 21,
    TaskSwitchVmDesktopView = 22,
    TaskSwitchVmDisplayView = 23,
    TaskCreateHdd = 24,
    TaskGetHddInfo = 25,
    TaskCompactHdd = 26,
    TaskCompactVm = 27,
    TaskGetSuspendedScreen = 28,
    TaskUpgradeVm = 29,
    TaskRegisterInstalledSoftware = 30,
    TaskUnregisterVm = 32,
    TaskMoveDiskToTrash = 35,
    TaskFindExternalVms = 36,
    TaskCreateVmBackup = 37,
    TaskRestoreVmBackup = 38,
    TaskRemoveVmBackup = 39,
    TaskCreateVmBundle = 40,
    TaskInstallOs = 41,
    TaskCancelInstallation = 42,
    TaskInstallUnattendedWindows = 43,
    TaskInstallUnattendedLinux = 44,
    TaskSetGuestPassword = 45,
    TaskGetProxyInfo = 46,
    TaskHttpOperation = 47,
    TaskSendHttpRequest = 48,
    TaskProductUpdatePromo = 49,
    TaskRunVideo = 50,
    TaskCheckVmValidity = 51,
    TaskValidateVmConfig = 52,
    TaskInstallAppliance = 53,
    TaskDownloadAppliancesDir = 54,
    TaskUnregisterAppliance = 55,
    TaskGetHddResizeInfo = 56,
    TaskResizeHdd = 57,
    TaskChangeVmState = 58,
    TaskInstallTools = 59,
    TaskInstallProductUpdate = 63,
    TaskInteractiveDownload = 64,
    TaskAuthorizeVm = 65,
    TaskEncryptVm = 66,
    TaskDecryptVm = 67,
    TaskChangeVmPassword = 68,
    TaskQuerySupportCode = 69,
    TaskRequestTechSupport = 70,
    TaskRetrievePassword = 71,
    TaskCheckForProductUpdate = 73,
    TaskAddSharedFolderToVm = 74,
    TaskNewVm = 75,
    TaskSwapVmHardwareSlots = 76,
    TaskConvertHdd = 77,
    TaskCreateBootcampVm = 78,
    TaskConvertVm = 79,
    TaskDeleteVm = 80,
    TaskRemoveServer = 81,
    TaskCloneVm = 82,
    TaskStartApplication = 83,
    TaskHiddenOsInstallation = 84,
    TaskOpenSnapshotDialog = 85,
    TaskTemplateConversion = 86,
    TaskDLCItemDownload = 87,
    TaskMigrateFromPC = 88,
    TaskRemoveAppContext = 89,
    TaskResumeWindow = 90,
    TaskLoadWebStoreCatalog = 91,
    TaskCreateVmFromLionRecovery = 92,
    TaskDetectOs = 93,
    TaskLockdownVmConfig = 94,
    TaskInitializeAppBundle = 95,
    TaskCheckRunningAppInstance = 96,
    TaskShowEULA = 97,
    TaskCheckIpConnections = 99,
    TaskChangeLock = 102,
    TaskPostInitApplication = 103,
    TaskRaiseAppPreferences = 104,
    TaskGrabVmDisplayScreen = 105,
    TaskGetVmList = 106,
    TaskGetServerData = 107,
    TaskTogglePresentationMode = 108,
    TaskCheckOperationAccessRights = 109,
    TaskImportVm = 110,
    TaskDropSuspendedState = 111,
    TaskSendFeedback = 112,
    TaskSmartInstall = 113,
    TaskChangeDeviceSource = 114,
    TaskSetupAntivirus = 115,
    TaskManageAntivirus = 117,
    TaskDownloadFile = 118,
    TaskLaunchUpdater = 119,
    TaskRemoveVmContext = 121,
    TaskRemoveServerContext = 122,
    TaskSearchOsImageSources = 123,
    TaskInstallQor = 124,
    TaskInstallVmWindows7Look = 125,
    TaskPrepareMaverickInstallation = 126,
    TaskChangeVmProtectedData = 127,
    TaskNewVmFromSource = 128,
    TaskCloseAllVmWindows = 129,
    TaskFacebookLogin = 130,
    TaskGoogleLogin = 131,
    TaskRaiseAcronisTrueImageWizard = 132,
    TaskInstallAcronisTrueImage = 133,
    TaskCheckPossibilityToInstallTessarineVagrant = 134,
    TaskDispatcherWebRequestBase = 135,
    TaskCreateAccount = 136,
    TaskSignIn = 137,
    TaskCheckWebPortalAvailable = 143,
    TaskPrintFromGuest = 144,
    TaskChangeRetinaResolution = 145,
    TaskPostVmLaunch = 146,
    TaskAskAccountConfirmation = 147,
    TaskResendAccountConfirmation = 148,
    TaskGetGuestNetworkSettings = 149,
    TaskCreateVmDump = 150,
    TaskPostImportVm = 151,
    TaskManageOpenInIEPlugin = 152,
    TaskSignOut = 153,
    TaskGetPortalAccountEmail = 154,
    TaskCommitSharedFolders = 155,
    TaskStartVmDebugger = 156,
    TaskAdviseToWindows10Upgrade = 158,
    TaskLastTaskType = 160,
};
Q_ENUM_NS(TaskTypes)

/// Why a wizard changes its page: by going on (or starting), or by going back.
enum DirectionType {
    Forward = 0,
    Backward = 1,
};
Q_ENUM_NS(DirectionType)

/// How new content takes the place of the old one in a content area.
enum ContentAnimationType {
    ContentAnimationNone = 0,
    ContentAnimationForward = 1, ///< it comes from where reading goes on
    ContentAnimationBackward = 2, ///< it comes from where reading began
};
Q_ENUM_NS(ContentAnimationType)

} // namespace GUI
