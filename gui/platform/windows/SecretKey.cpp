#include "gui/platform/SecretKey.h"

#include "gui/platform/KnownFolders.h"
#include "gui/platform/windows/WideText.h"

#include <cstring>
#include <string>
#include <vector>

#include <windows.h>

#include <bcrypt.h>
#include <wincrypt.h>

namespace KovGui::Platform {

namespace {

/// A sealed key is about 200 bytes.
constexpr DWORD maxFileSize = 4096;

bool unprotect(std::vector<BYTE> &sealed, SecretKey &key)
{
    DATA_BLOB in{DWORD(sealed.size()), sealed.data()};
    DATA_BLOB out{};
    if (!CryptUnprotectData(&in, nullptr, nullptr, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &out))
        return false;
    const bool isKey = out.cbData == key.size();
    if (isKey)
        std::memcpy(key.data(), out.pbData, key.size());
    SecureZeroMemory(out.pbData, out.cbData);
    LocalFree(out.pbData);
    return isKey;
}

bool protect(SecretKey &key, std::vector<BYTE> &sealed)
{
    DATA_BLOB in{DWORD(key.size()), key.data()};
    DATA_BLOB out{};
    if (!CryptProtectData(&in, L"Tessarine", nullptr, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &out))
        return false;
    sealed.assign(out.pbData, out.pbData + out.cbData);
    LocalFree(out.pbData);
    return true;
}

enum class FileState { Read, Missing, Refused };

FileState readKeyFile(const std::wstring &path, SecretKey &key)
{
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? FileState::Missing
                                                                              : FileState::Refused;
    }
    std::vector<BYTE> sealed(maxFileSize);
    DWORD size = 0;
    const BOOL isRead = ReadFile(file, sealed.data(), maxFileSize, &size, nullptr);
    CloseHandle(file);
    sealed.resize(size);
    return isRead && size > 0 && unprotect(sealed, key) ? FileState::Read : FileState::Refused;
}

bool writeWhole(const std::wstring &path, const std::vector<BYTE> &sealed)
{
    const HANDLE file
        = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    DWORD size = 0;
    const BOOL isWritten = WriteFile(file, sealed.data(), DWORD(sealed.size()), &size, nullptr);
    CloseHandle(file);
    return isWritten && size == sealed.size();
}

bool createKeyFile(const std::wstring &path, SecretKey &key)
{
    std::vector<BYTE> sealed;
    const std::wstring draft = path + L'.' + std::to_wstring(GetCurrentProcessId());
    const bool isMade = BCRYPT_SUCCESS(BCryptGenRandom(nullptr, key.data(), ULONG(key.size()),
                                                       BCRYPT_USE_SYSTEM_PREFERRED_RNG))
                        && protect(key, sealed) && writeWhole(draft, sealed);
    // Does not replace the file of another program that came first.
    if (isMade && !MoveFileW(draft.c_str(), path.c_str()))
        DeleteFileW(draft.c_str());
    return isMade && readKeyFile(path, key) == FileState::Read;
}

} // namespace

bool secretKey(SecretKey &key, Report report)
{
    const std::string data = localDataFolder();
    const std::wstring folder = toWide(data + "\\tessarine").value_or(std::wstring());
    const std::wstring path = folder + L"\\passwords.key";
    const FileState state = data.empty() ? FileState::Refused : readKeyFile(path, key);
    if (state == FileState::Read)
        return true;
    if (state == FileState::Missing) {
        CreateDirectoryW(folder.c_str(), nullptr);
        if (createKeyFile(path, key))
            return true;
    }
    report(0, "(!)Error: the key for stored passwords cannot be read or made.");
    SecureZeroMemory(key.data(), key.size());
    return false;
}

} // namespace KovGui::Platform
