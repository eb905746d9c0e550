#include "examples/console/sample/CrashNote.h"

#include <QDir>

#include <cstdio>
#include <cstdlib>

#include <windows.h>

namespace CrashNote {

namespace {

constexpr int deepest = 64;
/// Made at the start: nothing may be allocated in a crash.
wchar_t notePath[1024];

void writeLine(HANDLE file, const char *before, unsigned long long number, const char *after)
{
    char line[MAX_PATH + 64];
    const int length = std::snprintf(line, sizeof line, "%s0x%llx%s\n", before, number, after);
    DWORD written = 0;
    if (length > 0)
        WriteFile(file, line, DWORD(qMin<int>(length, sizeof line - 1)), &written, nullptr);
}

LONG WINAPI onCrash(EXCEPTION_POINTERS *crash)
{
    const HANDLE file
        = CreateFileW(notePath, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return EXCEPTION_CONTINUE_SEARCH;
    writeLine(file, "Tessarine Console crashed: exception ", crash->ExceptionRecord->ExceptionCode, "");
    void *calls[deepest];
    const USHORT count = CaptureStackBackTrace(0, deepest, calls, nullptr);
    for (USHORT i = 0; i < count; ++i) {
        HMODULE module = nullptr;
        char path[MAX_PATH] = " ";
        GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS
                               | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           static_cast<const char *>(calls[i]), &module);
        GetModuleFileNameA(module, path + 1, MAX_PATH - 2);
        writeLine(file, "+", reinterpret_cast<ULONG_PTR>(calls[i]) - reinterpret_cast<ULONG_PTR>(module),
                  path);
    }
    CloseHandle(file);
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

void install()
{
    const std::wstring path = QDir::toNativeSeparators(newPath()).toStdWString();
    path.copy(notePath, ARRAYSIZE(notePath) - 1);
    SetUnhandledExceptionFilter(onCrash);
}

void crash()
{
    auto *volatile nowhere = reinterpret_cast<int *>(16);
    *nowhere = 1;
    std::abort();
}

} // namespace CrashNote
