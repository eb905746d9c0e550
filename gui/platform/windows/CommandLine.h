#pragma once

#include <string>
#include <vector>

namespace KovGui::Platform {

/// One text of which CommandLineToArgvW and Microsoft's C run-time library make these words again. The first
/// word, the program's name, must hold no quotation mark.
inline std::wstring commandLineOf(const std::vector<std::wstring> &words)
{
    std::wstring line;
    for (const std::wstring &word : words) {
        const bool isFirst = &word == &words.front();
        line += isFirst ? L"" : L" ";
        if (!isFirst && !word.empty() && word.find_first_of(L" \t\n\v\"") == std::wstring::npos) {
            line += word;
            continue;
        }
        line += L'"';
        std::size_t backslashes = 0;
        for (const wchar_t character : word) {
            // Backslashes count twice before a quotation mark, and only there.
            if (character == L'"')
                line.append(backslashes + 1, L'\\');
            backslashes = character == L'\\' ? backslashes + 1 : 0;
            line += character;
        }
        line.append(isFirst ? 0 : backslashes, L'\\');
        line += L'"';
    }
    return line;
}

} // namespace KovGui::Platform
