#include "gui/platform/KnownFolders.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <shlobj.h>
#include <windows.h>

namespace KovGui::Platform {

static constexpr int longestFolder = 1024;

namespace {

/// A text that is found once. Threads that find it at the same time agree on one copy.
class CachedFolder
{
public:
    const char *known() const { return m_text.load(std::memory_order_acquire); }

    const char *keep(const char *text)
    {
        char *copy = _strdup(text);
        const char *expected = nullptr;
        if (copy && m_text.compare_exchange_strong(expected, copy, std::memory_order_acq_rel))
            return copy;
        std::free(copy);
        return expected ? expected : "";
    }

private:
    std::atomic<const char *> m_text{nullptr};
};

} // namespace

/// Cut to the buffer, on a character's border.
static bool toUtf8(const wchar_t *wide, char (&text)[longestFolder])
{
    int length = int(wcslen(wide));
    while (length > 0) {
        const int written
            = WideCharToMultiByte(CP_UTF8, 0, wide, length, text, longestFolder - 1, nullptr, nullptr);
        if (written > 0) {
            text[written] = '\0';
            return true;
        }
        --length;
    }
    return false;
}

const char *localDataFolder() noexcept
{
    static CachedFolder s_folder;
    if (const char *known = s_folder.known())
        return known;
    wchar_t wide[MAX_PATH]{};
    char folder[longestFolder];
    if (FAILED(SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, wide))
        || !toUtf8(wide, folder))
        return "";
    return s_folder.keep(folder);
}

const char *systemLogsFolder() noexcept
{
    static CachedFolder s_folder;
    if (const char *known = s_folder.known())
        return known;
    static const char logs[] = "\\Logs\\";
    char ansi[260]{};
    const UINT length = GetWindowsDirectoryA(ansi, sizeof ansi);
    if (length == 0 || length + sizeof logs > sizeof ansi)
        return "";
    std::strcat(ansi, logs);
    // Odd but kept: a success leaves the last error of an earlier call, so the folder is found at the next
    // call.
    if (CreateDirectoryA(ansi, nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
        return "";
    wchar_t wide[sizeof ansi]{};
    char folder[longestFolder];
    if (!MultiByteToWideChar(CP_ACP, 0, ansi, -1, wide, int(sizeof ansi)) || !toUtf8(wide, folder))
        return "";
    return s_folder.keep(folder);
}

} // namespace KovGui::Platform
