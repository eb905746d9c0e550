#include "programs/updater/base/Files.h"

#include "gui/platform/windows/LongPath.h"
#include "programs/updater/base/windows/AccessList.h"

#include <QDir>
#include <QVector>
#include <limits>
#include <string>

#include <windows.h>

class Files::Handle::Native
{
public:
    Native(HANDLE opened, std::wstring name)
        : handle(opened)
        , path(std::move(name))
    { }
    ~Native()
    {
        const DWORD error = GetLastError();
        CloseHandle(handle);
        SetLastError(error);
    }
    Native(const Native &) = delete;
    Native &operator=(const Native &) = delete;

    const HANDLE handle;
    /// Without limit of length, and without links as long as the folder is open.
    const std::wstring path;
};

namespace {

constexpr DWORD diskQuotaExceeded = 1295; // not named in every header of the system
constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
/// Folders, too, and links themselves.
constexpr DWORD asItIs = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;

/// How long a new file may be looked into by others, such as a virus scanner.
constexpr int mostAttempts = 20;
constexpr DWORD pauseMilliseconds = 50;

std::wstring wide(const QByteArray &name)
{
    return QDir::toNativeSeparators(QString::fromUtf8(name)).toStdWString();
}

std::wstring longPath(const QString &path)
{
    return KovGui::Platform::longPath(QDir::toNativeSeparators(path).toStdWString());
}

HANDLE handleOf(const Files::Handle &handle)
{
    return handle.isOpen() ? handle.native().handle : INVALID_HANDLE_VALUE;
}

std::wstring in(const Files::Handle &folder, const QByteArray &name)
{
    // Nothing is found below a folder that could not be opened.
    return (folder.isOpen() ? folder.native().path : std::wstring(L"\\\\?\\")) + L'\\' + wide(name);
}

Files::Handle open(const std::wstring &path, DWORD access, DWORD share, DWORD disposition, DWORD flags,
                   SECURITY_ATTRIBUTES *security = nullptr)
{
    const HANDLE handle = CreateFileW(path.c_str(), access, share, security, disposition, flags, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return Files::Handle();
    return Files::Handle(std::make_shared<const Files::Handle::Native>(handle, path));
}

DWORD attributesOf(const Files::Handle &handle)
{
    BY_HANDLE_FILE_INFORMATION information;
    return GetFileInformationByHandle(handleOf(handle), &information) ? information.dwFileAttributes
                                                                      : FILE_ATTRIBUTE_REPARSE_POINT;
}

/// A folder and no link to one, else nothing.
Files::Handle asFolder(const Files::Handle &handle)
{
    const DWORD attributes = handle.isOpen() ? attributesOf(handle) : 0;
    if (!handle.isOpen()
        || (attributes & FILE_ATTRIBUTE_DIRECTORY && !(attributes & FILE_ATTRIBUTE_REPARSE_POINT)))
        return handle;
    SetLastError(ERROR_DIRECTORY);
    return Files::Handle();
}

bool isTransient(DWORD error)
{
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION || error == ERROR_ACCESS_DENIED
           || error == ERROR_USER_MAPPED_FILE;
}

template <class Call>
bool withPatience(int attempts, const Call &call)
{
    while (!call()) {
        if (--attempts <= 0 || !isTransient(GetLastError()))
            return false;
        Sleep(pauseMilliseconds);
    }
    return true;
}

} // namespace

Files::Failure Files::lastFailure()
{
    switch (GetLastError()) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
        return Failure::Missing;
    case ERROR_DIR_NOT_EMPTY:
        return Failure::NotEmpty;
    case ERROR_NOT_SUPPORTED:
        return Failure::Unsupported;
    case ERROR_BUSY:
        return Failure::MountPoint;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_USER_MAPPED_FILE:
    case ERROR_ALREADY_EXISTS: // a folder that a program stands in, emptied but not removed
    case ERROR_FILE_EXISTS:
        return Failure::InUse;
    default:
        return Failure::Other;
    }
}

int Files::lastError()
{
    return int(GetLastError());
}

void Files::setLastError(int error)
{
    SetLastError(DWORD(error));
}

InstallResult Files::systemFault(const QString &what)
{
    const DWORD error = GetLastError();
    if (error == ERROR_DISK_FULL || error == ERROR_HANDLE_DISK_FULL || error == diskQuotaExceeded)
        return {ExitCode::NotEnoughSpace, QStringLiteral("there is not enough space on the disk")};
    QString reason = qt_error_string(int(error)).trimmed();
    if (reason.endsWith(QLatin1Char('.')))
        reason.chop(1);
    return {ExitCode::InstallFailed, QStringLiteral("%1: %2").arg(what, reason)};
}

QByteArray Files::encoded(const QString &name)
{
    return name.toUtf8();
}

QString Files::decoded(const QByteArray &name)
{
    return QString::fromUtf8(name);
}

Files::Handle Files::openPath(const QString &folder)
{
    const Handle handle
        = ::open(longPath(folder), FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES | READ_CONTROL,
                 FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    if (!asFolder(handle).isOpen())
        return Handle();
    std::wstring path(32768, L'\0');
    const DWORD length = GetFinalPathNameByHandleW(handleOf(handle), path.data(), DWORD(path.size()),
                                                   FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    if (length == 0 || length >= path.size())
        return Handle();
    path.resize(length);
    return ::open(path, FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES | READ_CONTROL,
                  FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
}

Files::Handle Files::openFolder(const Handle &parent, const QByteArray &name)
{
    return asFolder(::open(in(parent, name), FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES | READ_CONTROL,
                           FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, asItIs));
}

Files::Handle Files::openFolderToEmpty(const Handle &parent, const QByteArray &name)
{
    if (isMountPoint(parent, name)) {
        SetLastError(ERROR_BUSY);
        return Handle();
    }
    return openFolder(parent, name);
}

InstallResult Files::makeFolder(const Handle &parent, const QByteArray &name, Handle *folder,
                                const Handle &model)
{
    changing();
    const QString fault = QStringLiteral("a folder cannot be made");
    if (!CreateDirectoryW(in(parent, name).c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
        return systemFault(fault);
    *folder = openFolder(parent, name);
    if (!folder->isOpen())
        return systemFault(fault);
    if (!model.isOpen())
        return InstallResult();
    const Handle changed = ::open(in(parent, name), WRITE_DAC | READ_CONTROL,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, asItIs);
    return changed.isOpen() && AccessList::copy(handleOf(model), handleOf(changed)) ? InstallResult()
                                                                                    : systemFault(fault);
}

Files::Handle Files::makeOwnFolder(const Handle &parent, const QByteArray &name)
{
    const AccessList::Descriptor descriptor = AccessList::privateDescriptor();
    SECURITY_ATTRIBUTES security{sizeof security, descriptor.get(), FALSE};
    if (!descriptor)
        return Handle();
    if (!CreateDirectoryW(in(parent, name).c_str(), &security) && GetLastError() != ERROR_ALREADY_EXISTS)
        return Handle();
    return openFolder(parent, name);
}

Files::Rights Files::rightsOf(const Handle &handle)
{
    return AccessList::rightsOf(handleOf(handle));
}

Files::Rights Files::rightsAt(const QString &path)
{
    const Handle handle
        = ::open(longPath(path), READ_CONTROL, shareAll, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    return handle.isOpen() ? rightsOf(handle) : Rights();
}

bool Files::closeToOthers(const Handle &folder)
{
    if (!folder.isOpen())
        return false;
    const Handle changed = ::open(folder.native().path, WRITE_DAC | READ_CONTROL,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, asItIs);
    return changed.isOpen() && AccessList::makePrivate(handleOf(changed));
}

QByteArrayList Files::names(const Handle &folder)
{
    QByteArrayList names;
    WIN32_FIND_DATAW entry;
    const HANDLE listing = FindFirstFileW(in(folder, "*").c_str(), &entry);
    if (listing == INVALID_HANDLE_VALUE)
        return names;
    do {
        const QByteArray name = QString::fromWCharArray(entry.cFileName).toUtf8();
        if (name != "." && name != "..")
            names.append(name);
    } while (FindNextFileW(listing, &entry));
    FindClose(listing);
    return names;
}

bool Files::exists(const Handle &folder, const QByteArray &name)
{
    return GetFileAttributesW(in(folder, name).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool Files::isMountPoint(const Handle &folder, const QByteArray &name)
{
    wchar_t volume[64];
    const std::wstring path = in(folder, name);
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT)
           && GetVolumeNameForVolumeMountPointW((path + L'\\').c_str(), volume, ARRAYSIZE(volume));
}

std::optional<quint64> Files::freeBytes(const Handle &folder)
{
    ULARGE_INTEGER free{};
    if (!folder.isOpen()
        || !GetDiskFreeSpaceExW((folder.native().path + L'\\').c_str(), &free, nullptr, nullptr))
        return std::nullopt;
    return free.QuadPart;
}

Files::Handle Files::openFile(const QString &path, qint64 *size, QString *fault)
{
    const Handle file = ::open(longPath(path), GENERIC_READ, shareAll, OPEN_EXISTING, asItIs);
    const DWORD attributes = file.isOpen() ? attributesOf(file) : 0;
    LARGE_INTEGER length{};
    if (!file.isOpen() || !GetFileSizeEx(handleOf(file), &length))
        *fault = qt_error_string(int(GetLastError())).trimmed();
    else if (attributes & FILE_ATTRIBUTE_REPARSE_POINT)
        *fault = QStringLiteral("it is a symbolic link");
    else if (attributes & FILE_ATTRIBUTE_DIRECTORY || GetFileType(handleOf(file)) != FILE_TYPE_DISK)
        *fault = QStringLiteral("it is no file");
    if (fault->endsWith(QLatin1Char('.')))
        fault->chop(1);
    *size = length.QuadPart;
    return fault->isEmpty() ? file : Handle();
}

Files::Handle Files::openFile(const Handle &folder, const QByteArray &name, qint64 *size)
{
    const Handle file = ::open(in(folder, name), GENERIC_READ, shareAll, OPEN_EXISTING, asItIs);
    LARGE_INTEGER length{};
    if (!file.isOpen() || attributesOf(file) & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)
        || !GetFileSizeEx(handleOf(file), &length))
        return Handle();
    *size = length.QuadPart;
    return file;
}

Files::Handle Files::createFile(const Handle &folder, const QByteArray &name, Kind kind)
{
    changing();
    const AccessList::Descriptor descriptor
        = kind == Kind::Private ? AccessList::privateDescriptor() : AccessList::Descriptor();
    SECURITY_ATTRIBUTES security{sizeof security, descriptor.get(), FALSE};
    if (kind == Kind::Private && !descriptor)
        return Handle();
    return ::open(in(folder, name), GENERIC_WRITE, FILE_SHARE_READ, CREATE_NEW, FILE_ATTRIBUTE_NORMAL,
                  descriptor ? &security : nullptr);
}

Files::Handle Files::createNameless(const Handle &folder, const QByteArray &name)
{
    return ::open(in(folder, name), GENERIC_READ | GENERIC_WRITE | DELETE, 0, CREATE_NEW,
                  FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE);
}

InstallResult Files::write(const Handle &file, const char *data, qint64 size)
{
    changing();
    while (size > 0) {
        const DWORD piece = DWORD(qMin<qint64>(size, std::numeric_limits<LONG>::max()));
        DWORD written = 0;
        if (!WriteFile(handleOf(file), data, piece, &written, nullptr) || written == 0)
            return systemFault(QStringLiteral("a file cannot be written"));
        data += written;
        size -= written;
    }
    return InstallResult();
}

qint64 Files::read(const Handle &file, char *data, qint64 size)
{
    const DWORD piece = DWORD(qMin<qint64>(size, std::numeric_limits<LONG>::max()));
    DWORD count = 0;
    return ReadFile(handleOf(file), data, piece, &count, nullptr) ? qint64(count) : -1;
}

bool Files::rewind(const Handle &file)
{
    return SetFilePointerEx(handleOf(file), LARGE_INTEGER{}, nullptr, FILE_BEGIN);
}

InstallResult Files::sync(const Handle &handle)
{
    changing();
    // Names are written through where they change; a folder has nothing else to sync.
    if (attributesOf(handle) & FILE_ATTRIBUTE_DIRECTORY || FlushFileBuffers(handleOf(handle)))
        return InstallResult();
    return systemFault(QStringLiteral("the disk did not take what was written"));
}

InstallResult Files::lock(const Handle &folder, const QByteArray &name, Handle *file)
{
    *file = ::open(in(folder, name), GENERIC_READ | GENERIC_WRITE, 0, OPEN_ALWAYS, asItIs);
    if (file->isOpen())
        return InstallResult();
    if (GetLastError() == ERROR_SHARING_VIOLATION)
        return {ExitCode::InstallBusy, QStringLiteral("another installation is under way")};
    return systemFault(QStringLiteral("the installation cannot be locked"));
}

Files::Handle Files::lockForAppending(const Handle &folder, const QByteArray &name)
{
    // Whoever confirms the version removes the file meanwhile.
    return ::open(in(folder, name), FILE_APPEND_DATA | SYNCHRONIZE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                  OPEN_EXISTING, asItIs);
}

void Files::keepForSuccessor(const Handle &file)
{
    // This process stays as long as the other one runs.
    HANDLE kept = nullptr;
    DuplicateHandle(GetCurrentProcess(), handleOf(file), GetCurrentProcess(), &kept, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
}

bool Files::move(const Handle &fromFolder, const QByteArray &from, const Handle &toFolder,
                 const QByteArray &to)
{
    changing();
    const std::wstring source = in(fromFolder, from);
    const std::wstring target = in(toFolder, to);
    const DWORD attributes = GetFileAttributesW(source.c_str());
    // A folder that is in use stays so; its files may only be looked into for a moment.
    const bool isFolder = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
    return withPatience(isFolder ? mostAttempts / 4 : mostAttempts, [&] {
        return MoveFileExW(source.c_str(), target.c_str(),
                           MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
    });
}

bool Files::exchange(const Handle &, const QByteArray &, const Handle &, const QByteArray &)
{
    SetLastError(ERROR_NOT_SUPPORTED);
    return false;
}

bool Files::unlink(const Handle &folder, const QByteArray &name)
{
    changing();
    const std::wstring path = in(folder, name);
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY)) {
        // A link to a folder goes without what it leads to.
        if (attributes & FILE_ATTRIBUTE_REPARSE_POINT && !isMountPoint(folder, name))
            return RemoveDirectoryW(path.c_str());
        SetLastError(ERROR_DIRECTORY);
        return false;
    }
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY))
        SetFileAttributesW(path.c_str(), attributes & ~DWORD(FILE_ATTRIBUTE_READONLY));
    return DeleteFileW(path.c_str());
}

bool Files::removeEmptyFolder(const Handle &parent, const QByteArray &name)
{
    changing();
    if (isMountPoint(parent, name)) {
        SetLastError(ERROR_BUSY);
        return false;
    }
    return RemoveDirectoryW(in(parent, name).c_str());
}
