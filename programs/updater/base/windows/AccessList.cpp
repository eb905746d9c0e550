#include "programs/updater/base/windows/AccessList.h"

#include <aclapi.h>
#include <sddl.h>
#include <string>

namespace {

constexpr ACCESS_MASK readingRights = FILE_READ_DATA | GENERIC_READ | GENERIC_ALL;
constexpr ACCESS_MASK writingRights = FILE_WRITE_DATA | FILE_APPEND_DATA | FILE_DELETE_CHILD | DELETE
                                      | WRITE_DAC | WRITE_OWNER | GENERIC_WRITE | GENERIC_ALL;

/// The user that this process runs as; empty when the system does not say.
std::wstring userSid()
{
    HANDLE token = nullptr;
    alignas(TOKEN_USER) char buffer[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    DWORD size = 0;
    wchar_t *text = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token))
        return std::wstring();
    if (GetTokenInformation(token, TokenUser, buffer, sizeof buffer, &size))
        ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER *>(buffer)->User.Sid, &text);
    CloseHandle(token);
    const AccessList::Descriptor owner(text);
    return text ? std::wstring(text) : std::wstring();
}

bool isUser(PSID sid)
{
    wchar_t *text = nullptr;
    if (!ConvertSidToStringSidW(sid, &text))
        return false;
    const AccessList::Descriptor owner(text);
    return userSid() == text;
}

/// The system and those who administer it reach everything anyway; an owner's rights are judged by the owner.
bool isTrusted(PSID sid)
{
    return IsWellKnownSid(sid, WinLocalSystemSid) || IsWellKnownSid(sid, WinBuiltinAdministratorsSid)
           || IsWellKnownSid(sid, WinCreatorOwnerSid) || IsWellKnownSid(sid, WinCreatorOwnerRightsSid);
}

bool isEverybody(PSID sid)
{
    return IsWellKnownSid(sid, WinWorldSid) || IsWellKnownSid(sid, WinAuthenticatedUserSid)
           || IsWellKnownSid(sid, WinBuiltinUsersSid) || IsWellKnownSid(sid, WinInteractiveSid);
}

AccessList::Descriptor descriptorFrom(const std::wstring &text)
{
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ConvertStringSecurityDescriptorToSecurityDescriptorW(text.c_str(), SDDL_REVISION_1, &descriptor, nullptr);
    return AccessList::Descriptor(descriptor);
}

bool setList(HANDLE handle, PACL list)
{
    const DWORD error = SetSecurityInfo(handle, SE_FILE_OBJECT,
                                        DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
                                        nullptr, nullptr, list, nullptr);
    SetLastError(error);
    return error == ERROR_SUCCESS;
}

} // namespace

AccessList::Descriptor AccessList::privateDescriptor()
{
    const std::wstring user = userSid();
    return user.empty() ? AccessList::Descriptor()
                        : descriptorFrom(L"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;FA;;;" + user + L")");
}

bool AccessList::makePrivate(HANDLE handle)
{
    const Descriptor descriptor = privateDescriptor();
    BOOL hasList = FALSE;
    BOOL isDefault = FALSE;
    PACL list = nullptr;
    return descriptor && GetSecurityDescriptorDacl(descriptor.get(), &hasList, &list, &isDefault)
           && setList(handle, list);
}

bool AccessList::copy(HANDLE from, HANDLE to)
{
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD error = GetSecurityInfo(from, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                        &list, nullptr, &descriptor);
    const Descriptor kept(descriptor);
    SetLastError(error);
    return error == ERROR_SUCCESS && setList(to, list);
}

Files::Rights AccessList::rightsOf(HANDLE handle)
{
    Files::Rights rights;
    PSID owner = nullptr;
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (GetSecurityInfo(handle, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                        &owner, nullptr, &list, nullptr, &descriptor)
        != ERROR_SUCCESS)
        return rights;
    const Descriptor kept(descriptor);
    // What an administrator makes belongs to the administrators.
    rights.isOwn = isUser(owner) || IsWellKnownSid(owner, WinBuiltinAdministratorsSid);
    // No list at all lets everybody do everything.
    rights.anyOtherMayRead = rights.anyOtherMayWrite = rights.everybodyMayRead = !list;
    for (DWORD i = 0; list && i < list->AceCount; ++i) {
        void *entry = nullptr;
        if (!GetAce(list, i, &entry))
            return Files::Rights{rights.isOwn};
        const auto *const allowed = static_cast<const ACCESS_ALLOWED_ACE *>(entry);
        if (allowed->Header.AceType == ACCESS_DENIED_ACE_TYPE)
            continue;
        // Of other kinds of entries nothing is known: they count as rights of somebody else.
        const bool isPlain = allowed->Header.AceType == ACCESS_ALLOWED_ACE_TYPE;
        const PSID sid = isPlain ? const_cast<DWORD *>(&allowed->SidStart) : nullptr;
        if (isPlain && (isUser(sid) || isTrusted(sid)))
            continue;
        const ACCESS_MASK mask = isPlain ? allowed->Mask : GENERIC_ALL;
        rights.anyOtherMayRead |= (mask & readingRights) != 0;
        rights.anyOtherMayWrite |= (mask & writingRights) != 0;
        rights.everybodyMayRead |= isPlain && (mask & readingRights) != 0 && isEverybody(sid);
    }
    return rights;
}
