#pragma once

namespace KovGui::Platform {

/// Puts the calling thread's errno, and on Windows its last error too, back to what they were at
/// construction.
class LastErrorKeeper
{
public:
    LastErrorKeeper() noexcept;
    ~LastErrorKeeper();
    LastErrorKeeper(const LastErrorKeeper &) = delete;
    LastErrorKeeper &operator=(const LastErrorKeeper &) = delete;

private:
    const unsigned long m_lastError; ///< Windows only
    const int m_errno;
};

} // namespace KovGui::Platform
