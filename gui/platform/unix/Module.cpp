#include "gui/platform/Module.h"

#include <dlfcn.h>
#include <string>

namespace KovGui::Platform {

const void *moduleFunctions(const char *name, Report report)
{
    Dl_info library{};
    dladdr(reinterpret_cast<const void *>(&moduleFunctions), &library);
    const std::string path = library.dli_fname ? library.dli_fname : "";
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    using Entry = const void *(*)();
    void *handle = nullptr;
    // Beside the library, or where a program finds it that holds this code itself.
    for (const char *place : {"kovgui/", "../lib/kovgui/"}) {
        if (!handle)
            handle = dlopen((folder + place + name + ".so").c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    }
    const auto entry = handle ? reinterpret_cast<Entry>(dlsym(handle, "kovguiFunctions")) : nullptr;
    if (entry)
        return entry();
    const char *const reason = dlerror();
    report(0, (std::string("(!)Error: a part of the library is missing: ") + (reason ? reason : "")).c_str());
    return nullptr;
}

} // namespace KovGui::Platform
