#include "gui/platform/Module.h"

#include <string>

#include <windows.h>

namespace KovGui::Platform {

const void *moduleFunctions(const char *name, Report report)
{
    HMODULE library = nullptr;
    wchar_t buffer[32768] = L"";
    if (GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            reinterpret_cast<LPCWSTR>(reinterpret_cast<const void *>(&moduleFunctions)), &library))
        GetModuleFileNameW(library, buffer, 32767);
    const std::wstring path = buffer;
    const std::string narrow = name;
    const std::wstring module = path.substr(0, path.find_last_of(L'\\') + 1) + L"kovgui\\"
                                + std::wstring(narrow.begin(), narrow.end()) + L".dll";
    using Entry = const void *(*)();
    const HMODULE handle = LoadLibraryExW(
        module.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    const auto entry
        = handle
              ? reinterpret_cast<Entry>(reinterpret_cast<void *>(GetProcAddress(handle, "kovguiFunctions")))
              : nullptr;
    if (entry)
        return entry();
    report(0, ("(!)Error: a part of the library is missing: kovgui\\" + narrow + ".dll").c_str());
    return nullptr;
}

} // namespace KovGui::Platform
