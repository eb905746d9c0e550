#include "gui/platform/LogFile.h"

#include "gui/platform/windows/LogAccess.h"

#include <atomic>
#include <cstdint>

namespace KovGui::Platform::LogFile {

static std::atomic<HANDLE> s_handle{nullptr}; // null rather than INVALID_HANDLE_VALUE: it is a constant

// A replaced handle is closed when no thread can be writing to it any more: its value may be given out again
// at once.
static std::atomic<int> s_inFlight{0};
static constexpr int mostRetired = 16;
static std::atomic<HANDLE> s_retired[mostRetired];
static std::atomic<int> s_retiredCount{0};

static void retire(HANDLE handle)
{
    if (!handle)
        return;
    for (std::atomic<HANDLE> &place : s_retired) {
        HANDLE expected = nullptr;
        if (place.compare_exchange_strong(expected, handle)) {
            ++s_retiredCount;
            return;
        }
    }
    // Sixteen files within one write: one of them stays open rather than any record going astray.
}

static void closeRetired()
{
    for (std::atomic<HANDLE> &place : s_retired) {
        HANDLE handle = place.exchange(nullptr);
        if (!handle)
            continue;
        --s_retiredCount;
        // Taken out before the count is read: whoever could still hold the handle is in that count.
        if (s_inFlight == 0)
            CloseHandle(handle);
        else
            retire(handle);
    }
}

namespace {

class InFlight
{
public:
    InFlight() { ++s_inFlight; }
    ~InFlight()
    {
        if (--s_inFlight == 0 && s_retiredCount > 0)
            closeRetired();
    }
    InFlight(const InFlight &) = delete;
    InFlight &operator=(const InFlight &) = delete;
};

class WidePath
{
public:
    explicit WidePath(const char *path)
    {
        m_valid = MultiByteToWideChar(CP_UTF8, 0, path, -1, m_text, Longest) > 0;
    }
    /// Null if the path was no text.
    const wchar_t *get() const { return m_valid ? m_text : nullptr; }

private:
    static constexpr int Longest = 1024;
    wchar_t m_text[Longest];
    bool m_valid;
};

} // namespace

static constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

bool isOpen() noexcept
{
    return s_handle.load() != nullptr;
}

bool isAt(const char *path) noexcept
{
    const WidePath wide(path);
    if (!wide.get())
        return false;
    HANDLE present = CreateFileW(wide.get(), GENERIC_READ, shareAll, nullptr, OPEN_EXISTING,
                                 FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (present == INVALID_HANDLE_VALUE)
        return false;
    BY_HANDLE_FILE_INFORMATION there;
    const bool known = GetFileInformationByHandle(present, &there);
    CloseHandle(present);

    const InFlight use;
    HANDLE handle = s_handle.load();
    BY_HANDLE_FILE_INFORMATION ours;
    return known && handle && GetFileInformationByHandle(handle, &ours)
           && ours.dwVolumeSerialNumber == there.dwVolumeSerialNumber
           && ours.nFileIndexHigh == there.nFileIndexHigh && ours.nFileIndexLow == there.nFileIndexLow;
}

static void letInteractiveUsersWrite(HANDLE file)
{
    PACL present = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (GetSecurityInfo(file, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &present, nullptr,
                        &descriptor)
        != ERROR_SUCCESS)
        return;
    if (const PACL opened = openedToInteractiveUsers(present)) {
        SetSecurityInfo(file, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, opened, nullptr);
        LocalFree(opened);
    }
    LocalFree(descriptor);
}

static HANDLE openForAppending(const wchar_t *path, DWORD extraAccess)
{
    SetLastError(ERROR_SUCCESS);
    return CreateFileW(path, GENERIC_WRITE | FILE_APPEND_DATA | READ_CONTROL | extraAccess, shareAll, nullptr,
                       OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

static bool isPlainFile(HANDLE file)
{
    BY_HANDLE_FILE_INFORMATION information;
    return GetFileType(file) == FILE_TYPE_DISK && GetFileInformationByHandle(file, &information)
           && !(information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool open(const char *path) noexcept
{
    const WidePath wide(path);
    if (!wide.get())
        return false;
    HANDLE fresh = openForAppending(wide.get(), WRITE_DAC);
    // Another user's file grants us reading and writing, not its access list.
    const bool denied = fresh == INVALID_HANDLE_VALUE && GetLastError() == ERROR_ACCESS_DENIED;
    if (denied)
        fresh = openForAppending(wide.get(), 0);
    if (fresh == INVALID_HANDLE_VALUE)
        return false;
    const bool created = GetLastError() != ERROR_ALREADY_EXISTS;
    if (!isPlainFile(fresh)) {
        CloseHandle(fresh);
        return false;
    }
    if (created && !denied)
        letInteractiveUsersWrite(fresh);
    const InFlight use;
    retire(s_handle.exchange(fresh));
    return true;
}

void close() noexcept
{
    const InFlight use;
    retire(s_handle.exchange(nullptr));
}

bool append(const char *record, std::size_t length) noexcept
{
    const InFlight use;
    HANDLE handle = s_handle.load();
    if (!handle)
        return false;
    OVERLAPPED end{};
    end.Offset = 0xFFFFFFFF;
    end.OffsetHigh = 0xFFFFFFFF;
    DWORD written = 0;
    WriteFile(handle, record, DWORD(length), &written, &end);
    return true;
}

} // namespace KovGui::Platform::LogFile
