#pragma once

namespace KovGui::Platform {

/// While it lives, texts of the C library on this thread are UTF-8, whatever locale the process runs in: a
/// library that converts names by the locale would lose them in the C locale. Needs nothing on Windows.
class Utf8Scope
{
public:
    Utf8Scope() noexcept;
    ~Utf8Scope();
    Utf8Scope(const Utf8Scope &) = delete;
    Utf8Scope &operator=(const Utf8Scope &) = delete;

private:
    void *m_scope = nullptr;
    void *m_before = nullptr;
};

} // namespace KovGui::Platform
