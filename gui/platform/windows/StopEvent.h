#pragma once

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

} // namespace KovGui::Platform
