#include "gui/KovGui.h"
#include "gui/log/Log.h"
#include "gui/platform/KnownFolders.h"

#include <atomic>

namespace KovGui {

// Kept for a host's sake; the record writer does not ask it.
static std::atomic<bool> s_loggingSwitch{false};

void setupLogging(bool flag)
{
    s_loggingSwitch = flag;
    const bool perUser = applicationMode() == KAM_CONSOLE || applicationMode() == KAM_AGENT;
    setLogDirectory(perUser ? Platform::localDataFolder() : Platform::systemLogsFolder());
}

} // namespace KovGui
