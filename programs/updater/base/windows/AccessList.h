#pragma once

#include "programs/updater/base/Files.h"

#include <memory>

#include <windows.h>

/// Who may do what with files and folders. What fails leaves its reason in GetLastError().
namespace AccessList {

struct Freed
{
    void operator()(void *memory) const { LocalFree(memory); }
};
using Descriptor = std::unique_ptr<void, Freed>;

/// Full control for the user, the system and its administrators, inherited by what is made inside. Null when
/// the system does not say who the user is.
Descriptor privateDescriptor();
/// Both need a handle with WRITE_DAC; what is inherited from the parent does not count any more.
bool makePrivate(HANDLE handle);
bool copy(HANDLE from, HANDLE to);
/// Needs READ_CONTROL.
Files::Rights rightsOf(HANDLE handle);

} // namespace AccessList
