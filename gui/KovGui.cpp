#include "gui/KovGui.h"

#include "abstract_task/Tasks.h"
#include "gui/GUI.h"
#include "gui/KovVersion.h"
#include "gui/LibraryVersion_p.h"
#include "gui/log/Log.h"
#include "gui/messages/CMessageBoxBuilder.h"
#include "gui/messages/CMessageDataProvider.h"
#include "gui/messages/CMessageProcessor.h"
#include "gui/messages/CSearchParentHelper.h"
#include "gui/tasks/CTaskGetProxyInfo.h"
#include "gui/update/CAppUpdateWorker.h"
#include "gui/update/CTaskCheckForProductUpdate.h"
#include "gui/update/CTaskInstallProductUpdate.h"
#include "gui/update/UpdateTypes_p.h"
#include "kov_sdk/KovSdk.h"

#include <QCoreApplication>
#include <QMetaEnum>

namespace {

struct ProcessState
{
    bool initialised = false;
    _KOV_APPLICATION_MODE mode = KAM_CONSOLE;
    QString guiName;
    QHash<QString, QString> updaters;
    QString updateMode;
};

ProcessState &state()
{
    static ProcessState instance;
    return instance;
}

const char *modeName(int mode)
{
    switch (mode) {
    case KAM_CONSOLE:
        return "CONSOLE";
    case KAM_SERVER:
        return "SERVER";
    case KAM_AGENT:
        return "AGENT";
    case KAM_WORKSTATION:
        return "WORKSTATION";
    case KAM_PLAYER:
        return "PLAYER";
    case KAM_SERVER_TOOLS:
        return "SERVER_TOOLS";
    case KAM_MOBILE:
        return "MOBILE";
    default:
        return "UNKNOWN";
    }
}

bool isSandboxed()
{
    return false;
}

void initDirectories(_KOV_APPLICATION_MODE mode)
{
    if (state().initialised) {
        KovGui::log("", "cmn_utils", 0,
                    "Error: TessarineDirs::Init( %d ) is already called!  This call will be ignored.",
                    int(mode));
        return;
    }
    state().initialised = true;
    state().mode = mode;
    KovGui::log("", "cmn_utils", 0,
                "TessarineDirs::Init( ) was called. Current app mode = %d ( %s )%s build version: %s %s%s",
                int(mode), modeName(mode), isSandboxed() ? " (Sandbox)" : "", LibraryVersion::text(),
                KOV_BUILD_DATE, "");
}

template <typename Class>
void enter()
{
    const QMetaObject &metaObject = Class::staticMetaObject;
    KovGui::staticMetaObjectHash()[QString::fromLatin1(metaObject.className())] = &metaObject;
}

void fillRegistry()
{
    enter<CTaskGetProxyInfo>();
    enter<CMessageDataProvider>();
    enter<CMessageBoxBuilder>();
    enter<CSearchParentHelper>();
    enter<CMessageProcessor>();
    enter<CTaskCheckForProductUpdate>();
    enter<CTaskInstallProductUpdate>();
    enter<CAppUpdateWorker>();
}

void registerValueTypes()
{
    qRegisterMetaType<KOV_RESULT>("KOV_RESULT");
    qRegisterMetaType<Messaging::ButtonID>("Messaging::ButtonID");
    registerUpdateTypes();
}

void forwardLog(unsigned level, const char *text)
{
    KOV_LOG(int(level), "%s", text);
}

} // namespace

namespace KovGui {

void init(_KOV_APPLICATION_MODE mode)
{
    // First, so that whatever the steps below report is in the log.
    Tasks::setLogFunction(forwardLog, KovGui::logVerbosity);
    KovApi_SetLogFunction(forwardLog);

    initDirectories(mode);
    fillRegistry();
    registerValueTypes();
    Tasks::setClassResolver([](const QString &className) { return staticMetaObjectHash().value(className); });
    Tasks::init(QMetaEnum::fromType<GUI::TaskTypes>());

    if (QCoreApplication::organizationName().isEmpty())
        QCoreApplication::setOrganizationName(QStringLiteral("Tessarine"));
    if (QCoreApplication::applicationName().isEmpty())
        QCoreApplication::setApplicationName(EnumUtils::clientAppNameFromAppMode(state().mode));
}

_KOV_APPLICATION_MODE applicationMode()
{
    return state().mode;
}

QString getAppGuiName()
{
    return state().guiName.isEmpty() ? EnumUtils::clientAppNameFromAppMode(state().mode) : state().guiName;
}

void setAppGuiName(const QString &name)
{
    state().guiName = name;
}

void setUpdaterFilePathAndUpdateMode(const QString &filePath, const QString &updateMode,
                                     const QString &modeKey)
{
    state().updaters[modeKey] = filePath;
    state().updateMode = updateMode;
}

QString getUpdaterFilePathAndUpdateMode(QString &updateModeOut, const QString &modeKey)
{
    if (!state().updaters.contains(modeKey))
        KOV_LOG(0, "No updater for mode [%s]", qUtf8Printable(modeKey));
    updateModeOut = state().updateMode;
    // The inserting look-up: an unknown key is reported once, not at every check.
    return state().updaters[modeKey];
}

} // namespace KovGui
