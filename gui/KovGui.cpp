#include "gui/KovGui.h"

#include "abstract_task/Tasks.h"
#include "gui/frame/Application_p.h"
#include "gui/frame/GUI.h"
#include "gui/log/Log.h"
#include "gui/messages/CMessageBoxBuilder.h"
#include "gui/messages/CMessageProcessor.h"
#include "gui/messages/CSearchParentHelper.h"
#include "gui/messages/record/CMessageDataProvider.h"
#include "gui/platform/KnownFolders.h"
#include "gui/tasks/proxy/CTaskGetProxyInfo.h"
#include "gui/update/CAppUpdateWorker.h"
#include "gui/update/UpdateTypes_p.h"
#include "gui/update/check/CTaskCheckForProductUpdate.h"
#include "gui/update/install/CTaskInstallProductUpdate.h"
#include "kov_sdk/KovSdk.h"

#include <QCoreApplication>
#include <QMetaEnum>

#include <atomic>

namespace {

// Kept for a host's sake; the record writer does not ask it.
std::atomic<bool> s_loggingSwitch{false};

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

    startApplication(mode);
    fillRegistry();
    registerValueTypes();
    Tasks::setClassResolver([](const QString &className) { return staticMetaObjectHash().value(className); });
    Tasks::init(QMetaEnum::fromType<GUI::TaskTypes>());

    if (QCoreApplication::organizationName().isEmpty())
        QCoreApplication::setOrganizationName(QStringLiteral("Tessarine"));
    if (QCoreApplication::applicationName().isEmpty())
        QCoreApplication::setApplicationName(EnumUtils::clientAppNameFromAppMode(applicationMode()));
}

void setupLogging(bool flag)
{
    s_loggingSwitch = flag;
    const bool perUser = applicationMode() == KAM_CONSOLE || applicationMode() == KAM_AGENT;
    setLogDirectory(perUser ? Platform::localDataFolder() : Platform::systemLogsFolder());
}

} // namespace KovGui
