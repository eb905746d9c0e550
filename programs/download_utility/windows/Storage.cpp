#include "programs/download_utility/Storage.h"

#include "gui/platform/windows/WideText.h"
#include "programs/download_utility/Sidecar.h"
#include "programs/download_utility/StorageNames.h"
#include "programs/download_utility/windows/File.h"

#include <algorithm>
#include <vector>

using namespace WindowsFile;

namespace {

const DWORD partAccess = GENERIC_READ | GENERIC_WRITE;
// The headers of some compilers miss it.
const DWORD diskQuotaExceeded = 1295;

Result systemError(const std::string &what)
{
    const DWORD error = GetLastError();
    if (error == ERROR_DISK_FULL || error == ERROR_HANDLE_DISK_FULL || error == diskQuotaExceeded)
        return StorageNames::diskFull();
    // A star, a question mark or the like.
    if (error == ERROR_INVALID_NAME)
        return Result(ExitCode::FileNameRefused, "the system does not allow the file's name");
    return Result(ExitCode::FileError, what + ": " + errorText(error));
}

bool isMissing(DWORD error)
{
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

bool isOurs(const Handle &file)
{
    const auto found = identity(file);
    return found && found->isPlain() && found->links == 1 && hasOurOwner(file);
}

/// By a program that writes into it; one that only reads it lets us read.
bool isBeingWritten(const std::wstring &path)
{
    return !openFile(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_EXISTING).isOpen()
           && GetLastError() == ERROR_SHARING_VIOLATION;
}

/// Offsets rather than the handle's position, which a read on another thread moves.
OVERLAPPED at(std::uint64_t offset)
{
    OVERLAPPED place = {};
    place.Offset = DWORD(offset);
    place.OffsetHigh = DWORD(offset >> 32);
    return place;
}

} // namespace

class Storage::Private
{
public:
    std::wstring path(const std::string &name) const
    {
        // A safe name is UTF-8.
        return root + L'\\' + KovGui::Platform::toWide(name).value_or(L"?");
    }
    Result checkFinal() const;
    Result openPart(DWORD disposition);
    Result partError() const;
    Result takeHold(Handle &hold);
    bool setPartSize(std::uint64_t bytes);

    Handle folder;
    std::wstring root; ///< of the folder, without links
    Handle part; ///< what it shares with others is the lock
    StorageNames names;
    bool overwrites = false;
    bool isSidecarOurs = false;
    std::uint64_t size = 0;
};

Result Storage::Private::checkFinal() const
{
    const DWORD attributes = GetFileAttributesW(path(names.file).c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return isMissing(GetLastError()) ? Result() : systemError("cannot look at the file");
    const bool isPlain = !(attributes & FILE_ATTRIBUTE_DIRECTORY)
                         && (!(attributes & FILE_ATTRIBUTE_REPARSE_POINT) || !isLink(path(names.file)));
    if (!isPlain)
        return StorageNames::foreign(names.file);
    return overwrites ? Result() : names.exists();
}

/// Why the part file could not be opened.
Result Storage::Private::partError() const
{
    const DWORD error = GetLastError();
    const std::wstring file = path(names.part);
    const DWORD attributes = GetFileAttributesW(file.c_str());
    if (error == ERROR_ACCESS_DENIED && attributes == INVALID_FILE_ATTRIBUTES)
        return Result(ExitCode::FolderUnusable, "cannot write to the folder: " + errorText(error));
    const bool isForeign = attributes != INVALID_FILE_ATTRIBUTES
                           && ((attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT))
                               || (error == ERROR_ACCESS_DENIED
                                   && !hasOurOwner(openFile(file, READ_CONTROL, shareAll, OPEN_EXISTING))));
    SetLastError(error);
    return isForeign ? StorageNames::foreign(names.part) : systemError("cannot open the part file");
}

Result Storage::Private::openPart(DWORD disposition)
{
    bool isNew = false;
    bool isWritten = false;
    persistently([&] {
        // Readers are welcome, another writer is not: that is the lock. Who may remove the file would shut
        // readers out.
        part = openFile(path(names.part), partAccess, FILE_SHARE_READ, disposition);
        const DWORD error = GetLastError();
        isNew = part.isOpen() && error != ERROR_ALREADY_EXISTS && disposition == OPEN_ALWAYS;
        isWritten = error == ERROR_SHARING_VIOLATION && isBeingWritten(path(names.part));
        SetLastError(error);
        return part.isOpen() || isWritten;
    });
    if (isWritten)
        return StorageNames::writtenByAnother();
    if (!part.isOpen())
        return partError();
    const auto found = identity(part);
    if (!found)
        return systemError("cannot look at the part file");
    // A share of another system may know its users by other names: what was made here is ours anyway.
    if (GetFileType(part.get()) != FILE_TYPE_DISK || !found->isPlain() || (!isNew && !isOurs(part)))
        return StorageNames::foreign(names.part);
    size = found->size;
    return Result();
}

/// Gives up the lock for the right to rename and to remove the part file, which shuts writers out as well. In
/// the moment between the two another run may come first: its file is left to it. When a reader is in the
/// way, the lock is taken back before the next try.
Result Storage::Private::takeHold(Handle &hold)
{
    const auto before = identity(part);
    for (int attempt = 0; attempt < 20; ++attempt) {
        part.close();
        hold = openFile(path(names.part), DELETE | GENERIC_WRITE, FILE_SHARE_READ, OPEN_EXISTING);
        if (hold.isOpen()) {
            const auto now = identity(hold);
            return before && now && *before == *now ? Result() : StorageNames::foreign(names.part);
        }
        if (isMissing(GetLastError()))
            return StorageNames::foreign(names.part);
        const Result locked = openPart(OPEN_EXISTING);
        if (!locked.ok())
            return locked;
        Sleep(50);
    }
    return Result(ExitCode::FileError, "another program holds the part file open");
}

bool Storage::Private::setPartSize(std::uint64_t bytes)
{
    FILE_END_OF_FILE_INFO end = {};
    end.EndOfFile.QuadPart = static_cast<LONGLONG>(bytes);
    return SetFileInformationByHandle(part.get(), FileEndOfFileInfo, &end, sizeof end);
}

Storage::Storage()
    : d(new Private)
{ }

Storage::~Storage()
{
    if (!d->part.isOpen() || d->size > 0)
        return;
    Handle hold;
    if (!d->takeHold(hold).ok() || !removeFile(hold))
        return;
    if (d->isSidecarOurs)
        (void)removeSidecar();
}

Result Storage::open(const std::string &folder, const std::string &name, bool overwrites)
{
    d->names = StorageNames(name);
    d->overwrites = overwrites;
    const auto wideFolder = KovGui::Platform::toWide(folder);
    if (!wideFolder)
        return Result(ExitCode::FolderUnusable, "the folder's name is no text");
    d->folder = openFolder(*wideFolder, d->root);
    if (!d->folder.isOpen())
        return Result(ExitCode::FolderUnusable, "cannot open the folder: " + errorText(GetLastError()));
    const Result result = d->checkFinal();
    if (!result.ok())
        return result;
    const Result opened = d->openPart(OPEN_ALWAYS);
    if (!opened.ok())
        d->part.close();
    return opened;
}

std::uint64_t Storage::partSize() const
{
    return d->size;
}

Result Storage::truncatePart(std::uint64_t size)
{
    if (!d->setPartSize(size))
        return systemError("cannot shorten the part file");
    d->size = size;
    return Result();
}

Result Storage::append(const char *data, std::size_t size)
{
    while (size > 0) {
        OVERLAPPED end = at(d->size);
        DWORD written = 0;
        const auto piece = DWORD(std::min<std::size_t>(size, 1 << 30));
        if (!WriteFile(d->part.get(), data, piece, &written, &end)) {
            const Result result = systemError("cannot write the part file");
            // What a refused write may have made longer holds no bytes of ours.
            d->setPartSize(d->size);
            return result;
        }
        d->size += written;
        data += written;
        size -= written;
    }
    return Result();
}

long long Storage::read(std::uint64_t offset, char *data, std::size_t size) const
{
    OVERLAPPED place = at(offset);
    DWORD count = 0;
    if (ReadFile(d->part.get(), data, DWORD(std::min<std::size_t>(size, 1 << 30)), &count, &place))
        return count;
    return GetLastError() == ERROR_HANDLE_EOF ? 0 : -1;
}

Result Storage::syncPart()
{
    return FlushFileBuffers(d->part.get()) ? Result() : systemError("cannot sync the part file");
}

std::optional<std::uint64_t> Storage::freeBytes() const
{
    ULARGE_INTEGER available = {};
    ULARGE_INTEGER total = {};
    // A share wants the backslash.
    if (!GetDiskFreeSpaceExW((d->root + L'\\').c_str(), &available, &total, nullptr) || total.QuadPart == 0)
        return std::nullopt;
    return available.QuadPart;
}

Result Storage::readSidecar(std::string &text) const
{
    text.clear();
    Handle file;
    const std::wstring path = d->path(d->names.sidecar);
    persistently([&] {
        file = openFile(path, GENERIC_READ, shareAll, OPEN_EXISTING);
        return file.isOpen();
    });
    if (!file.isOpen() && isMissing(GetLastError()))
        return Result();
    if (!file.isOpen() && GetLastError() == ERROR_SHARING_VIOLATION)
        return systemError("cannot read the sidecar");
    if (!file.isOpen() || !isOurs(file))
        return StorageNames::foreign(d->names.sidecar);
    d->isSidecarOurs = true;
    char buffer[Sidecar::longestText + 1];
    DWORD count = 0;
    if (ReadFile(file.get(), buffer, sizeof buffer, &count, nullptr) && count <= Sidecar::longestText)
        text.assign(buffer, count);
    return Result();
}

Result Storage::writeSidecar(const std::string &text)
{
    // The lock is ours, so a draft can only be a left-over or a trap; deleting removes a link, not what it
    // names.
    DeleteFileW(d->path(d->names.draft).c_str());
    const Handle file = openFile(d->path(d->names.draft), GENERIC_WRITE | DELETE, 0, CREATE_NEW);
    if (!file.isOpen())
        return systemError("cannot write the sidecar");
    d->isSidecarOurs = true;
    const std::wstring path = d->path(d->names.sidecar);
    DWORD written = 0;
    if (WriteFile(file.get(), text.data(), DWORD(text.size()), &written, nullptr)
        && FlushFileBuffers(file.get()) && persistently([&] { return renameFile(file, path, true); }))
        return Result();
    const Result result = systemError("cannot write the sidecar");
    removeFile(file);
    return result;
}

Result Storage::removeSidecar()
{
    const std::wstring path = d->path(d->names.sidecar);
    if (persistently([&] { return DeleteFileW(path.c_str()) || isMissing(GetLastError()); }))
        return Result();
    return systemError("cannot remove the sidecar");
}

Result Storage::finish()
{
    Result result = syncPart();
    if (result.ok())
        result = d->checkFinal();
    Handle hold;
    if (result.ok())
        result = d->takeHold(hold);
    if (!result.ok())
        return result;
    const std::wstring path = d->path(d->names.file);
    if (!persistently([&] { return renameFile(hold, path, d->overwrites); })) {
        const DWORD error = GetLastError();
        result = error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS
                     ? d->names.exists()
                     : systemError("cannot rename the part file");
        hold.close();
        (void)d->openPart(OPEN_EXISTING);
        return result;
    }
    result = removeSidecar();
    // With the file goes the record of its new name.
    if (!FlushFileBuffers(hold.get()))
        return systemError("cannot sync the file");
    return result;
}

void Storage::discard()
{
    // The sidecar goes last: alone it is harmless, a part file without it is simply not continued.
    Handle hold;
    if (d->takeHold(hold).ok())
        removeFile(hold);
    DeleteFileW(d->path(d->names.sidecar).c_str());
    DeleteFileW(d->path(d->names.draft).c_str());
    d->part.close();
}
