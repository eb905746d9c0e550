#include "gui/platform/FileBrowser.h"

#include "gui/platform/Module.h"
#include "gui/platform/unix/FileBrowserService.h"

namespace KovGui::Platform {

bool revealFile(const std::string &path, const std::function<bool()> &goOn, Report report)
{
    static const auto *const browser
        = static_cast<const FileBrowserFunctions *>(moduleFunctions("filebrowser", report));
    if (browser && browser->showItem(path.c_str(), goOn))
        return true;
    report(2, "No file browser offers to show a file; its folder is opened.");
    return false;
}

} // namespace KovGui::Platform
