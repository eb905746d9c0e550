#pragma once

#include "gui/platform/windows/Handle.h"

#include <cstdint>
#include <optional>
#include <string>

/// Files by their handles, for paths of any length. What fails leaves its reason in GetLastError().
namespace WindowsFile {

using KovGui::Platform::Handle;

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// The folder itself, which nobody moves or removes while the handle is open, with its real path.
Handle openFolder(const std::wstring &path, std::wstring &realPath);

/// Never follows a link: it is the link that is opened. A folder is not opened.
Handle openFile(const std::wstring &path, DWORD access, DWORD share, DWORD disposition);

struct Identity
{
    /// The same file with as many bytes.
    bool operator==(const Identity &other) const
    {
        return volume == other.volume && index == other.index && size == other.size;
    }
    bool isPlain() const { return !(attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)); }

    DWORD volume = 0;
    std::uint64_t index = 0;
    std::uint64_t size = 0;
    DWORD attributes = 0;
    DWORD links = 0;
};
std::optional<Identity> identity(const Handle &file);

/// Of this user, or of what this process gives files to (an administrator's belong to the administrators).
/// True as well where the volume keeps no owners. Needs READ_CONTROL.
bool hasOurOwner(const Handle &file);

/// True for a link to elsewhere, false for a file that the system only keeps in another way.
bool isLink(const std::wstring &path);

/// Both need a handle with DELETE access. A link under the new name is replaced, not followed.
bool renameFile(const Handle &file, const std::wstring &path, bool replaces);
bool removeFile(const Handle &file);

/// Tries again for a second while @p action fails because somebody holds the file: virus scanners and indexes
/// do for a moment.
template <typename Action>
bool persistently(const Action &action)
{
    for (int attempt = 0; !action(); ++attempt) {
        const DWORD error = GetLastError();
        const bool isHeld = error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED
                            || error == ERROR_USER_MAPPED_FILE;
        if (!isHeld || attempt == 20)
            return false;
        Sleep(50);
    }
    return true;
}

/// The system's words, in UTF-8.
std::string errorText(DWORD error);

} // namespace WindowsFile
