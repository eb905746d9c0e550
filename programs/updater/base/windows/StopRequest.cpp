#include "programs/updater/base/StopRequest.h"

#include "gui/platform/windows/StopEvent.h"

void StopRequest::watch()
{
    KovGui::Platform::watchForStop();
}

bool StopRequest::isPending()
{
    return KovGui::Platform::isStopRequested();
}
