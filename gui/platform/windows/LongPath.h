#pragma once

#include <string>

#include <windows.h>

namespace KovGui::Platform {

/// The same file in the way in which the system takes more than 260 characters; relative paths count from the
/// working directory. Empty when the system does not understand it. Needs no Qt.
inline std::wstring longPath(const std::wstring &path)
{
    const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring full(size, L'\0');
    full.resize(GetFullPathNameW(path.c_str(), size, full.data(), nullptr));
    if (full.empty() || full.rfind(L"\\\\?\\", 0) == 0 || full.rfind(L"\\\\.\\", 0) == 0)
        return full;
    return full.rfind(L"\\\\", 0) == 0 ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

} // namespace KovGui::Platform
