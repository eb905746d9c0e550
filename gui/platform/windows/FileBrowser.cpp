#include "gui/platform/FileBrowser.h"

#include "gui/platform/windows/WideText.h"

#include <shellapi.h>

namespace KovGui::Platform {

bool revealFile(const std::string &path, const std::function<bool()> &, Report report)
{
    std::wstring file = toWide(path).value_or(std::wstring());
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
