#pragma once

#include <unistd.h>
#include <utility>

/// A file descriptor that closes itself.
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
        if (m_number >= 0)
            ::close(m_number);
    }

    bool isOpen() const { return m_number >= 0; }
    int number() const { return m_number; }
    /// The caller closes it from now on.
    int release() { return std::exchange(m_number, -1); }

private:
    int m_number;
};
