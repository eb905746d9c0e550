#pragma once

#include <atomic>
#include <string>

#include <windows.h>

namespace KovGui::Platform {

/// A program without a console hears no Ctrl+C; a companion program watches an event of this name, which
/// whoever started it sets to ask it to end.
inline std::wstring stopEventName(DWORD processId)
{
    return L"Local\\tessarine-stop-" + std::to_wstring(processId);
}

/// Nothing happens when the process does not watch for it.
inline void requestStop(DWORD processId)
{
    const HANDLE event = OpenEventW(EVENT_MODIFY_STATE, FALSE, stopEventName(processId).c_str());
    if (!event)
        return;
    SetEvent(event);
    CloseHandle(event);
}

inline std::atomic<bool> isAskedToStop{false};

inline HANDLE ownStopEvent()
{
    // Manual reset: whoever looks later sees it, too.
    static const HANDLE event
        = CreateEventW(nullptr, TRUE, FALSE, stopEventName(GetCurrentProcessId()).c_str());
    return event;
}

/// From now on the event of this process, Ctrl+C, Ctrl+Break, the closing of the console, and the end of the
/// session or of the system are remembered instead of ending it.
inline void watchForStop()
{
    (void)ownStopEvent();
    SetConsoleCtrlHandler(
        [](DWORD event) -> BOOL {
            isAskedToStop = true;
            // With the window, or the session, the process ends when this returns: it gets the time, a few
            // seconds, that the system gives.
            if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
                Sleep(INFINITE);
            return TRUE;
        },
        TRUE);
}

inline bool isStopRequested()
{
    return isAskedToStop || WaitForSingleObject(ownStopEvent(), 0) == WAIT_OBJECT_0;
}

} // namespace KovGui::Platform
