#include "gui/platform/ThisUser.h"

#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace KovGui::Platform {

std::string realName()
{
    std::vector<char> texts(16 * 1024);
    passwd entry{};
    passwd *found = nullptr;
    if (getpwuid_r(getuid(), &entry, texts.data(), texts.size(), &found) != 0 || !found || !found->pw_gecos)
        return std::string();
    // The office and telephone numbers follow it.
    const std::string all = found->pw_gecos;
    return all.substr(0, all.find(','));
}

} // namespace KovGui::Platform
