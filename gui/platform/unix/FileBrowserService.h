#pragma once

namespace KovGui::Platform {

/// The desktop's file browser: the module "filebrowser". Any thread, blocks for some seconds at most.
struct FileBrowserFunctions
{
    /// @param path  absolute, UTF-8
    bool (*showItem)(const char *path);
};

} // namespace KovGui::Platform
