#pragma once

#include <utility>

#include <windows.h>

namespace KovGui::Platform {

/// A handle of the kernel that closes itself; the last error survives the closing. Needs no Qt.
class Handle
{
public:
    /// @param value  null and INVALID_HANDLE_VALUE are no handle
    explicit Handle(HANDLE value = nullptr)
        : m_value(value == INVALID_HANDLE_VALUE ? nullptr : value)
    { }
    Handle(Handle &&other) noexcept
        : m_value(std::exchange(other.m_value, nullptr))
    { }
    Handle &operator=(Handle &&other) noexcept
    {
        std::swap(m_value, other.m_value);
        return *this;
    }
    ~Handle() { close(); }

    bool isOpen() const { return m_value != nullptr; }
    HANDLE get() const { return m_value; }
    void close()
    {
        const DWORD error = GetLastError();
        if (m_value)
            CloseHandle(std::exchange(m_value, nullptr));
        SetLastError(error);
    }

private:
    HANDLE m_value;
};

} // namespace KovGui::Platform
