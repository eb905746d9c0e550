#pragma once

#include <cerrno>
#include <cstddef>
#include <unistd.h>
#include <utility>

namespace KovGui::Platform {

/// A file descriptor that closes itself; errno survives the closing. Needs no Qt.
class Descriptor
{
public:
    explicit Descriptor(int number = -1)
        : m_number(number)
    { }
    Descriptor(Descriptor &&other) noexcept
        : m_number(std::exchange(other.m_number, -1))
    { }
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(m_number, other.m_number);
        return *this;
    }
    ~Descriptor()
    {
        const int error = errno;
        if (m_number >= 0)
            ::close(m_number);
        errno = error;
    }

    bool isOpen() const { return m_number >= 0; }
    int number() const { return m_number; }
    /// The caller closes it from now on.
    int release() { return std::exchange(m_number, -1); }

private:
    int m_number;
};

/// Writes all of it, whatever the system takes at a time. False with errno when it refuses.
inline bool writeAll(int descriptor, const char *data, std::size_t size)
{
    while (size > 0) {
        const ssize_t count = ::write(descriptor, data, size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count == 0)
            errno = ENOSPC;
        if (count <= 0)
            return false;
        data += count;
        size -= std::size_t(count);
    }
    return true;
}

} // namespace KovGui::Platform
