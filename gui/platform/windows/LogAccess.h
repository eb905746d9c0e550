#pragma once

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

namespace KovGui::Platform {

/// The access list with an entry that lets interactive users read and write, for LocalFree(); null when the
/// system refuses. Needs no Qt.
/// @param present  null: none
inline PACL openedToInteractiveUsers(PACL present) noexcept
{
    PSID users = nullptr;
    if (!ConvertStringSidToSidW(L"IU", &users))
        return nullptr;
    EXPLICIT_ACCESSW entry{};
    entry.grfAccessPermissions = GENERIC_READ | GENERIC_WRITE;
    entry.grfAccessMode = SET_ACCESS;
    entry.grfInheritance = NO_INHERITANCE;
    entry.Trustee.TrusteeForm = TRUSTEE_IS_SID;
    entry.Trustee.TrusteeType = TRUSTEE_IS_WELL_KNOWN_GROUP;
    entry.Trustee.ptstrName = static_cast<LPWSTR>(users);
    PACL opened = nullptr;
    if (SetEntriesInAclW(1, &entry, present, &opened) != ERROR_SUCCESS)
        opened = nullptr;
    LocalFree(users);
    return opened;
}

} // namespace KovGui::Platform
