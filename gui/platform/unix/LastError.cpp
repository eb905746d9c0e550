#include "gui/platform/LastError.h"

#include <cerrno>

namespace KovGui::Platform {

LastErrorKeeper::LastErrorKeeper() noexcept
    : m_lastError(0)
    , m_errno(errno)
{ }

LastErrorKeeper::~LastErrorKeeper()
{
    errno = m_errno;
}

} // namespace KovGui::Platform
