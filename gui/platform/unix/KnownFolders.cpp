#include "gui/platform/KnownFolders.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

namespace KovGui::Platform {

static constexpr std::size_t longestFolder = 1024;

static bool compose(char (&folder)[longestFolder])
{
    // secure_getenv: whoever starts a privileged program must not choose where it writes.
    const char *home = secure_getenv("XDG_DATA_HOME");
    const char *rest = "";
    if (!home || *home != '/') {
        home = secure_getenv("HOME");
        rest = "/.local/share";
    }
    if (!home || *home != '/')
        return false;
    const int length = std::snprintf(folder, sizeof folder, "%s%s", home, rest);
    return length > 0 && std::size_t(length) < sizeof folder;
}

/// With its parent at most: a home that does not exist is not ours to make.
static void create(const char *folder)
{
    char parent[longestFolder];
    std::snprintf(parent, sizeof parent, "%s", folder);
    char *end = std::strrchr(parent, '/');
    if (end && end != parent) {
        *end = '\0';
        mkdir(parent, 0700);
    }
    mkdir(folder, 0700);
}

const char *localDataFolder() noexcept
{
    static std::atomic<const char *> s_folder{nullptr};
    const char *known = s_folder.load(std::memory_order_acquire);
    if (!known) {
        char folder[longestFolder];
        if (!compose(folder))
            return "";
        char *copy = strdup(folder);
        if (!copy)
            return "";
        if (s_folder.compare_exchange_strong(known, copy, std::memory_order_acq_rel))
            known = copy;
        else
            std::free(copy);
    }
    struct stat status;
    if (stat(known, &status) != 0)
        create(known);
    return known;
}

const char *systemLogsFolder() noexcept
{
    static const char folder[] = "/var/log/tessarine/";
    // The mode given to mkdir() passes the umask, so it is set once more; only on a folder that is ours.
    if (mkdir(folder, 0755) == 0)
        chmod(folder, 01777);
    return folder;
}

} // namespace KovGui::Platform
