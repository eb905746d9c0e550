#include "programs/updater/base/StopRequest.h"

#include "gui/platform/windows/StopEvent.h"

namespace StopRequest {

namespace {

HANDLE stopEvent()
{
    // Manual reset: whoever looks later sees it, too.
    static const HANDLE event
        = CreateEventW(nullptr, TRUE, FALSE, KovGui::Platform::stopEventName(GetCurrentProcessId()).c_str());
    return event;
}

BOOL WINAPI onControl(DWORD)
{
    SetEvent(stopEvent());
    return TRUE;
}

} // namespace

void watch()
{
    if (stopEvent())
        SetConsoleCtrlHandler(onControl, TRUE);
}

bool isPending()
{
    return stopEvent() && WaitForSingleObject(stopEvent(), 0) == WAIT_OBJECT_0;
}

} // namespace StopRequest
