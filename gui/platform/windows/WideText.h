#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <windows.h>

namespace KovGui::Platform {

/// UTF-8 as UTF-16; nothing for a text that is no UTF-8.
inline std::optional<std::wstring> toWide(std::string_view text)
{
    if (text.empty())
        return std::wstring();
    const int size
        = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), int(text.size()), nullptr, 0);
    std::wstring wide(std::size_t(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), int(text.size()), wide.data(), size);
    return size > 0 ? std::optional(wide) : std::nullopt;
}

/// UTF-16 as UTF-8; half a pair becomes U+FFFD.
inline std::string toUtf8(std::wstring_view wide)
{
    if (wide.empty())
        return std::string();
    const int size
        = WideCharToMultiByte(CP_UTF8, 0, wide.data(), int(wide.size()), nullptr, 0, nullptr, nullptr);
    std::string text(std::size_t(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), int(wide.size()), text.data(), size, nullptr, nullptr);
    return text;
}

} // namespace KovGui::Platform
