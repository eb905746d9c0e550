#pragma once

#include <QString>

/// Folders and files that only the user may look into. Implemented once per operating system. Each function
/// returns empty, or the system's reason as a sentence without a full stop.
namespace Files {

/// Makes the folder with all above it, or closes one of the user's own to others. One of another user is
/// refused.
QString makePrivateFolder(const QString &path);

/// Writes a file that is not there yet, readable for the user only, and returns when it is on the medium.
QString createPrivate(const QString &path, const char *data, qint64 size);

/// The same for a file that may be there: a reader, also after a power cut, finds the old content or the new
/// one. A file beside it, with ".new" behind its name, is used up; two writers of one file have to take
/// turns.
QString replacePrivate(const QString &path, const char *data, qint64 size);

} // namespace Files
