#pragma once

#include <functional>

namespace KovGui::Platform {

/// The desktop's file browser: the module "filebrowser". Any thread, blocks for some seconds at most.
struct FileBrowserFunctions
{
    /// As revealFile().
    bool (*showItem)(const char *path, const std::function<bool()> &goOn);
};

} // namespace KovGui::Platform
