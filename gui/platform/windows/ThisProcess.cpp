#include "gui/platform/ThisProcess.h"

#include <windows.h>

namespace KovGui::Platform {

unsigned processId() noexcept
{
    return GetCurrentProcessId();
}

unsigned threadId() noexcept
{
    return GetCurrentThreadId();
}

LocalTime localTime() noexcept
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    return {now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds};
}

} // namespace KovGui::Platform
