#include "gui/frame/Application.h"

#include "gui/KovVersion.h"
#include "gui/frame/Application_p.h"
#include "gui/frame/LibraryVersion.h"
#include "gui/log/Log.h"

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

} // namespace

void KovGui::startApplication(_KOV_APPLICATION_MODE mode)
{
    if (state().initialised) {
        log("", "cmn_utils", 0,
            "Error: TessarineDirs::Init( %d ) is already called!  This call will be ignored.", int(mode));
        return;
    }
    state().initialised = true;
    state().mode = mode;
    log("", "cmn_utils", 0,
        "TessarineDirs::Init( ) was called. Current app mode = %d ( %s )%s build version: %s %s%s", int(mode),
        modeName(mode), isSandboxed() ? " (Sandbox)" : "", LibraryVersion::text(), KOV_BUILD_DATE, "");
}

_KOV_APPLICATION_MODE KovGui::applicationMode()
{
    return state().mode;
}

QString KovGui::getAppGuiName()
{
    return state().guiName.isEmpty() ? EnumUtils::clientAppNameFromAppMode(state().mode) : state().guiName;
}

void KovGui::setAppGuiName(const QString &name)
{
    state().guiName = name;
}

void KovGui::setUpdaterFilePathAndUpdateMode(const QString &filePath, const QString &updateMode,
                                             const QString &modeKey)
{
    state().updaters[modeKey] = filePath;
    state().updateMode = updateMode;
}

QString KovGui::getUpdaterFilePathAndUpdateMode(QString &updateModeOut, const QString &modeKey)
{
    if (!state().updaters.contains(modeKey))
        KOV_LOG(0, "No updater for mode [%s]", qUtf8Printable(modeKey));
    updateModeOut = state().updateMode;
    // The inserting look-up: an unknown key is reported once, not at every check.
    return state().updaters[modeKey];
}
