#include "gui/platform/LastError.h"

#include <cerrno>
#include <windows.h>

namespace KovGui::Platform {

// The system's value first: the C library may touch it.
LastErrorKeeper::LastErrorKeeper() noexcept
    : m_lastError(GetLastError())
    , m_errno(errno)
{ }

LastErrorKeeper::~LastErrorKeeper()
{
    errno = m_errno;
    SetLastError(m_lastError);
}

} // namespace KovGui::Platform
