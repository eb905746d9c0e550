#pragma once

#include "gui/platform/unix/Descriptor.h"
#include "programs/updater/base/Files.h"
#include "programs/updater/base/InstallResult.h"

#include <QByteArray>
#include <fcntl.h>
#include <functional>
#include <optional>

using KovGui::Platform::Descriptor;

/// Files and folders by their names inside an open folder; no link is ever followed.
namespace Files {

/// For tests: called before every call that changes a file or a folder.
inline std::function<void()> beforeChange;
inline void changing()
{
    if (beforeChange)
        beforeChange();
}

/// Flags of every opening; nothing that is opened can make the program wait.
constexpr int safely = O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;

/// From errno: ExitCode::NotEnoughSpace for a full disk, else ExitCode::InstallFailed.
InstallResult systemFault(const QString &what);

Descriptor openFolder(int folder, const char *name);
bool exists(int folder, const char *name);
/// Whether another file system, or another part of this one, begins here.
bool isMountPoint(int folder, const char *name);
/// The content of a regular file; nothing when there is none or it is larger than the limit.
std::optional<QByteArray> read(int folder, const char *name, qint64 limit);
/// Writes a file that is not there yet, readable for the user only; its content stands on the medium. Nothing
/// is left of one that could not be written.
InstallResult writeNew(int folder, const char *name, const char *data, qint64 size);
InstallResult writeAll(int file, const char *data, qint64 size);
/// Returns when the file or folder stands on the medium.
InstallResult sync(int descriptor);
/// As the system's rename; also a folder of the user's that he may not write to.
bool move(int fromFolder, const char *from, int toFolder, const char *to);
/// Two names change places in one step. False with errno EINVAL where the file system cannot do that.
bool exchange(int folder, const char *name, int otherFolder, const char *otherName);
/// Removes a file, or a folder with all that it holds, on one file system: what is mounted in it stays.
/// Nothing to remove is success. What cannot be removed may lie in the folder under names of rubbish
/// afterwards.
InstallResult remove(int folder, const char *name);
/// Frees the name: what cannot be removed is reported on standard error and kept under a name of rubbish.
InstallResult discard(int folder, const char *name);
/// Tries again, and says nothing.
void removeRubbish(int folder);

} // namespace Files
