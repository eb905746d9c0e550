#include "gui/platform/ThisUser.h"

#define SECURITY_WIN32
#include <windows.h>

#include <security.h>

namespace KovGui::Platform {

std::string realName()
{
    wchar_t name[256];
    ULONG length = ARRAYSIZE(name);
    char text[3 * ARRAYSIZE(name)];
    const int size
        = GetUserNameExW(NameDisplay, name, &length)
              ? WideCharToMultiByte(CP_UTF8, 0, name, int(length), text, sizeof text, nullptr, nullptr)
              : 0;
    return std::string(text, size_t(size));
}

} // namespace KovGui::Platform
