#pragma once

#include "programs/updater/base/InstallResult.h"

#include <QByteArrayList>
#include <functional>
#include <memory>
#include <optional>

/// Files and folders by their names inside an open folder; no link is ever followed. Names are as the file
/// system has them on Unix, in UTF-8 on Windows. What is made of the system's calls is in Files.cpp; the
/// calls are implemented once per operating system.
namespace Files {

/// For tests: called before every call that changes a file or a folder.
inline std::function<void()> beforeChange;
inline void changing()
{
    if (beforeChange)
        beforeChange();
}

/// An open file or folder. Copies share it; it is closed with the last of them. On Windows nobody can move or
/// remove an open folder.
class Handle
{
public:
    class Native;

    Handle() = default;
    explicit Handle(std::shared_ptr<const Native> native)
        : m_native(std::move(native))
    { }

    bool isOpen() const { return m_native != nullptr; }
    /// Only of an open one.
    const Native &native() const { return *m_native; }

private:
    std::shared_ptr<const Native> m_native;
};

/// Why the last call of this thread failed, as far as anybody asks; the system's own number tells the rest.
enum class Failure {
    Other,
    Missing,
    NotEmpty,
    Unsupported, ///< by this file system
    MountPoint, ///< something is mounted there
    InUse, ///< Windows: a program runs in the folder, or keeps the file open
};
Failure lastFailure();
/// The system's number, to be kept over other calls.
int lastError();
void setLastError(int error);
/// From the last error: ExitCode::NotEnoughSpace for a full disk, else ExitCode::InstallFailed.
InstallResult systemFault(const QString &what);

/// A name or path as it is used here, and as Qt has it.
QByteArray encoded(const QString &name);
QString decoded(const QByteArray &name);

/// Folders on the way there may be links.
Handle openPath(const QString &folder);
Handle openFolder(const Handle &parent, const QByteArray &name);
/// Makes the folder, or opens the one that is there. Others may read it and run what is in it.
/// @param model  Windows: whose access list it gets instead of its parent's
InstallResult makeFolder(const Handle &parent, const QByteArray &name, Handle *folder,
                         const Handle &model = Handle());
/// Makes a folder that only the user may look into, or opens the one that is there, as it is.
Handle makeOwnFolder(const Handle &parent, const QByteArray &name);
/// Of other users than this one, the system itself and its administrators.
struct Rights
{
    bool isOwn = false;
    bool anyOtherMayRead = true; ///< one of them, or a group
    bool anyOtherMayWrite = true;
    bool everybodyMayRead = true;
};
Rights rightsOf(const Handle &handle);
/// Of what a link leads to.
Rights rightsAt(const QString &path);
bool closeToOthers(const Handle &folder);
/// For what is to be removed or moved out: where the user took rights away from himself, he gets them back.
/// Fails with Failure::MountPoint where another file system begins.
Handle openFolderToEmpty(const Handle &parent, const QByteArray &name);
QByteArrayList names(const Handle &folder);
bool exists(const Handle &folder, const QByteArray &name);
/// Whether another file system, or another part of this one, begins here.
bool isMountPoint(const Handle &folder, const QByteArray &name);
/// Of the file system, for this user; nothing when it does not say.
std::optional<quint64> freeBytes(const Handle &folder);

/// A regular file for reading, by its path; a link as the last part of it is refused.
/// @param fault  a sentence without a full stop where there is no such file
Handle openFile(const QString &path, qint64 *size, QString *fault);
/// A regular file for reading. Not open when there is none.
Handle openFile(const Handle &folder, const QByteArray &name, qint64 *size);
enum class Kind { Private, ForAll, Program };
/// For writing; the name must be free.
Handle createFile(const Handle &folder, const QByteArray &name, Kind kind);
/// Open for writing and reading, and gone when it is closed.
/// @param name  that it has for a moment, or as long as it lives
Handle createNameless(const Handle &folder, const QByteArray &name);
InstallResult write(const Handle &file, const char *data, qint64 size);
/// How many bytes were read, 0 at the end, less than 0 on an error.
qint64 read(const Handle &file, char *data, qint64 size);
bool rewind(const Handle &file);
/// Returns when the file or folder stands on the medium.
InstallResult sync(const Handle &handle);

/// Makes or opens a file that is locked as long as it is open. ExitCode::InstallBusy when somebody else has
/// it.
InstallResult lock(const Handle &folder, const QByteArray &name, Handle *file);
/// An existing file for appending, which nobody else gets here until it is closed. Not open when somebody has
/// it.
Handle lockForAppending(const Handle &folder, const QByteArray &name);
/// Keeps it open and locked for the program that takes this process's place (handOver()).
void keepForSuccessor(const Handle &file);

/// As the system's rename; also a folder of the user's that he may not write to. On Windows it waits a moment
/// for programs that look into new files.
bool move(const Handle &fromFolder, const QByteArray &from, const Handle &toFolder, const QByteArray &to);
/// Two names change places in one step. Failure::Unsupported where the file system cannot do that.
bool exchange(const Handle &folder, const QByteArray &name, const Handle &otherFolder,
              const QByteArray &otherName);
/// A file or a link.
bool unlink(const Handle &folder, const QByteArray &name);
bool removeEmptyFolder(const Handle &parent, const QByteArray &name);

// What is made of them.

/// The content of a regular file; nothing when there is none or it is larger than the limit.
std::optional<QByteArray> read(const Handle &folder, const QByteArray &name, qint64 limit);
/// Whether it is a file, or a folder with a file anywhere below it.
bool holdsFiles(const Handle &folder, const QByteArray &name);
/// Moves a file, or every file of a folder one by one into a folder of the other name, and removes what it
/// emptied. What stays behind in folders without files is no failure. Can be repeated after a failure, both
/// ways.
bool moveFiles(const Handle &fromFolder, const QByteArray &from, const Handle &toFolder,
               const QByteArray &to);
/// Writes a file that is not there yet, readable for the user only; its content stands on the medium. Nothing
/// is left of one that could not be written.
InstallResult writeNew(const Handle &folder, const QByteArray &name, const char *data, qint64 size);
/// Removes a file, or a folder with all that it holds, on one file system: what is mounted in it stays.
/// Nothing to remove is success. What cannot be removed may lie in the folder under names of rubbish
/// afterwards.
InstallResult remove(const Handle &folder, const QByteArray &name);
/// Frees the name: what cannot be removed is reported on standard error and kept under a name of rubbish.
InstallResult discard(const Handle &folder, const QByteArray &name);
/// Tries again, and says nothing.
void removeRubbish(const Handle &folder);

// By paths. Each returns empty, or the system's reason as a sentence without a full stop.

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
