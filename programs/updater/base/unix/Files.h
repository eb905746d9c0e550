#pragma once

#include "gui/platform/unix/Descriptor.h"
#include "programs/updater/base/Files.h"
#include "programs/updater/base/InstallResult.h"

#include <QByteArray>
#include <fcntl.h>
#include <optional>

using KovGui::Platform::Descriptor;

/// Files and folders by their names inside an open folder; no link is ever followed.
namespace Files {

/// Flags of every opening; nothing that is opened can make the program wait.
constexpr int safely = O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;

/// From errno: ExitCode::NotEnoughSpace for a full disk, else ExitCode::InstallFailed.
InstallResult systemFault(const QString &what);

Descriptor openFolder(int folder, const char *name);
bool exists(int folder, const char *name);
/// The content of a regular file; nothing when there is none or it is larger than the limit.
std::optional<QByteArray> read(int folder, const char *name, qint64 limit);
/// Writes a file that is not there yet, readable for the user only; its content stands on the medium. Nothing is left
/// of one that could not be written.
InstallResult writeNew(int folder, const char *name, const char *data, qint64 size);
InstallResult writeAll(int file, const char *data, qint64 size);
/// Returns when the file or folder stands on the medium.
InstallResult sync(int descriptor);
/// Removes a file, or a folder with all that it holds; nothing to remove is success.
InstallResult remove(int folder, const char *name);

} // namespace Files
