#include "gui/platform/FileBrowser.h"

#include <windows.h>

#include <shellapi.h>
#include <vector>

namespace KovGui::Platform {

bool revealFile(const std::string &path, const std::function<bool()> &, Report report)
{
    std::vector<wchar_t> wide(path.size() + 1);
    MultiByteToWideChar(CP_UTF8, 0, path.c_str(), -1, wide.data(), int(wide.size()));
    std::wstring file(wide.data());
    for (wchar_t &character : file)
        character = character == L'/' ? L'\\' : character;
    // A file's name holds no quotation mark on this system.
    const std::wstring arguments = L"/select,\"" + file + L"\"";
    const auto result = reinterpret_cast<INT_PTR>(
        ShellExecuteW(nullptr, nullptr, L"explorer.exe", arguments.c_str(), nullptr, SW_SHOWNORMAL));
    if (result > 32)
        return true;
    report(1, "(!)Warning: the file browser cannot be started.");
    return false;
}

} // namespace KovGui::Platform
