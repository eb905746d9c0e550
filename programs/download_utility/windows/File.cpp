#include "programs/download_utility/windows/File.h"

#include "gui/platform/windows/LongPath.h"
#include "gui/platform/windows/WideText.h"

#include <aclapi.h>
#include <vector>

namespace WindowsFile {

namespace {

std::vector<std::byte> tokenInformation(const Handle &token, TOKEN_INFORMATION_CLASS kind)
{
    DWORD size = 0;
    GetTokenInformation(token.get(), kind, nullptr, 0, &size);
    std::vector<std::byte> information(size);
    if (!GetTokenInformation(token.get(), kind, information.data(), size, &size))
        information.clear();
    return information;
}

bool isOurs(PSID owner)
{
    HANDLE opened = nullptr;
    OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened);
    const Handle token(opened);
    auto user = tokenInformation(token, TokenUser);
    auto heir = tokenInformation(token, TokenOwner);
    return (!user.empty() && EqualSid(owner, reinterpret_cast<TOKEN_USER *>(user.data())->User.Sid))
           || (!heir.empty() && EqualSid(owner, reinterpret_cast<TOKEN_OWNER *>(heir.data())->Owner));
}

} // namespace

Handle openFolder(const std::wstring &path, std::wstring &realPath)
{
    realPath = KovGui::Platform::longPath(path);
    Handle folder(CreateFileW(realPath.c_str(), FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES,
                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                              FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    const auto found = folder.isOpen() ? identity(folder) : std::nullopt;
    if (!found)
        return Handle();
    if (!(found->attributes & FILE_ATTRIBUTE_DIRECTORY)) {
        SetLastError(ERROR_DIRECTORY);
        return Handle();
    }
    // Some drivers know no real path; then the path is as good as the links in it.
    std::wstring real(32768, L'\0');
    const DWORD size = GetFinalPathNameByHandleW(folder.get(), real.data(), DWORD(real.size()), 0);
    if (size > 0 && size < real.size())
        realPath = real.substr(0, size);
    if (realPath.back() == L'\\')
        realPath.pop_back();
    return folder;
}

Handle openFile(const std::wstring &path, DWORD access, DWORD share, DWORD disposition)
{
    return Handle(CreateFileW(path.c_str(), access, share, nullptr, disposition,
                              FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
}

std::optional<Identity> identity(const Handle &file)
{
    BY_HANDLE_FILE_INFORMATION found = {};
    if (!GetFileInformationByHandle(file.get(), &found))
        return std::nullopt;
    const auto whole = [](DWORD high, DWORD low) { return static_cast<std::uint64_t>(high) << 32 | low; };
    Identity identity;
    identity.volume = found.dwVolumeSerialNumber;
    identity.index = whole(found.nFileIndexHigh, found.nFileIndexLow);
    identity.size = whole(found.nFileSizeHigh, found.nFileSizeLow);
    identity.attributes = found.dwFileAttributes;
    identity.links = found.nNumberOfLinks;
    return identity;
}

bool hasOurOwner(const Handle &file)
{
    DWORD flags = 0;
    if (GetVolumeInformationByHandleW(file.get(), nullptr, 0, nullptr, nullptr, &flags, nullptr, 0)
        && !(flags & FILE_PERSISTENT_ACLS))
        return true;
    PSID owner = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD error = GetSecurityInfo(file.get(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner,
                                        nullptr, nullptr, nullptr, &descriptor);
    const bool isOk = error == ERROR_SUCCESS && owner && isOurs(owner);
    if (error == ERROR_SUCCESS)
        LocalFree(descriptor);
    return isOk;
}

bool isLink(const std::wstring &path)
{
    const Handle file(CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, shareAll, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    FILE_ATTRIBUTE_TAG_INFO found = {};
    return !GetFileInformationByHandleEx(file.get(), FileAttributeTagInfo, &found, sizeof found)
           || ((found.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT)
               && IsReparseTagNameSurrogate(found.ReparseTag));
}

bool renameFile(const Handle &file, const std::wstring &path, bool replaces)
{
    const std::size_t bytes = path.size() * sizeof(wchar_t);
    // Room for the terminator, which some versions read although the length is told.
    std::vector<std::byte> buffer(sizeof(FILE_RENAME_INFO) + bytes + sizeof(wchar_t));
    auto *const information = reinterpret_cast<FILE_RENAME_INFO *>(buffer.data());
    information->ReplaceIfExists = replaces;
    information->FileNameLength = DWORD(bytes);
    path.copy(information->FileName, path.size());
    return SetFileInformationByHandle(file.get(), FileRenameInfo, information, DWORD(buffer.size()));
}

bool removeFile(const Handle &file)
{
    FILE_DISPOSITION_INFO information = {TRUE};
    return SetFileInformationByHandle(file.get(), FileDispositionInfo, &information, sizeof information);
}

std::string errorText(DWORD error)
{
    wchar_t text[512];
    DWORD size = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0,
                                text, DWORD(std::size(text)), nullptr);
    while (size > 0 && (text[size - 1] <= L' ' || text[size - 1] == L'.'))
        --size;
    return size > 0 ? KovGui::Platform::toUtf8({text, size}) : "error " + std::to_string(error);
}

} // namespace WindowsFile
