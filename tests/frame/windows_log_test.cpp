// The log and the folders on Windows, without Qt: windows_log_test FOLDER (absolute, empty, made by the
// caller).

#include "gui/log/Log.h"
#include "gui/platform/KnownFolders.h"
#include "gui/platform/windows/LogAccess.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

static int s_failures = 0;

#define CHECK(condition)                                                                                     \
    if (!(condition)) {                                                                                      \
        std::printf("FAILED line %d: %s (last error %lu)\n", __LINE__, #condition, GetLastError());          \
        ++s_failures;                                                                                        \
    }

static std::string contentOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

static int linesOf(const std::string &path)
{
    const std::string text = contentOf(path);
    return int(std::count(text.begin(), text.end(), '\n'));
}

static void writesRecords(const std::string &folder)
{
    KovGui::setLogDirectory(folder.c_str());
    SetLastError(4711);
    KovGui::log("net", "KovGui", 1, "%d", 42);
    CHECK(GetLastError() == 4711);
    const std::string expected = " W net /KovGui:" + std::to_string(GetCurrentProcessId()) + ":";
    const std::string text = contentOf(folder + "/tessarine-qor.log");
    CHECK(text.find(expected) == 18 && text.substr(text.size() - 5) == "/ 42\n");
}

/// Not from several threads: Wine does not append in one step as Windows does.
static void keepsEveryRecord(const std::string &folder)
{
    KovGui::setLogDirectory(folder.c_str());
    const std::string file = folder + "/tessarine-qor.log";
    const std::string moved = folder + "/moved.log";
    int written = linesOf(file);
    const auto writeFor = [&written](DWORD milliseconds) {
        for (const DWORD start = GetTickCount(); GetTickCount() - start < milliseconds; ++written)
            KOV_LOG(0, "%0100d", written);
    };
    writeFor(100);
    CHECK(MoveFileA(file.c_str(), moved.c_str())); // the open file does not hinder that
    writeFor(1100);
    CHECK(linesOf(file) > 0);
    CHECK(linesOf(file) + linesOf(moved) == written);
}

/// Directories change while other threads write: nothing crashes, and the handles that were replaced are
/// closed.
static void closesReplacedHandles(const std::string &folder)
{
    DWORD before = 0, after = 0;
    GetProcessHandleCount(GetCurrentProcess(), &before);
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([] {
            for (int record = 0; record < 500; ++record)
                KOV_LOG(0, "%d", record);
        });
    for (int i = 0; i < 200; ++i) {
        KovGui::setLogDirectory((folder + (i % 2 ? "/a" : "/b")).c_str());
        KOV_LOG(0, "changed");
    }
    for (std::thread &thread : threads)
        thread.join();
    KovGui::setLogDirectory(folder.c_str());
    GetProcessHandleCount(GetCurrentProcess(), &after);
    CHECK(after < before + 20);
    CHECK(DeleteFileA((folder + "/a/tessarine-qor.log").c_str())
          && RemoveDirectoryA((folder + "/a").c_str()));
}

/// The entry for interactive users, read back from the list that a new file is given: Wine keeps none.
static void letsInteractiveUsersWrite()
{
    for (const wchar_t *before : {L"D:(A;;FA;;;SY)", L"D:(A;;FR;;;IU)(A;;FA;;;SY)"}) {
        PSECURITY_DESCRIPTOR descriptor = nullptr;
        PACL list = nullptr;
        BOOL hasList = FALSE;
        BOOL isDefault = FALSE;
        CHECK(ConvertStringSecurityDescriptorToSecurityDescriptorW(before, SDDL_REVISION_1, &descriptor,
                                                                   nullptr)
              && GetSecurityDescriptorDacl(descriptor, &hasList, &list, &isDefault));
        const PACL opened = KovGui::Platform::openedToInteractiveUsers(list);
        SECURITY_DESCRIPTOR now{};
        wchar_t *text = nullptr;
        CHECK(InitializeSecurityDescriptor(&now, SECURITY_DESCRIPTOR_REVISION)
              && SetSecurityDescriptorDacl(&now, TRUE, opened, FALSE)
              && ConvertSecurityDescriptorToStringSecurityDescriptorW(
                  &now, SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &text, nullptr));
        const std::wstring entries(text ? text : L"");
        CHECK(entries.find(L"(A;;GWGR;;;IU)") != std::wstring::npos
              || entries.find(L"(A;;GRGW;;;IU)") != std::wstring::npos);
        CHECK(entries.find(L"(A;;FA;;;SY)") != std::wstring::npos);
        CHECK(entries.find(L";;;IU)") == entries.rfind(L";;;IU)"));
        LocalFree(text);
        LocalFree(opened);
        LocalFree(descriptor);
    }
}

static void systemLogsFolderIsFoundAtTheSecondCall()
{
    const std::string logs = "C:\\windows\\Logs\\";
    RemoveDirectoryA(logs.c_str());
    SetLastError(ERROR_SUCCESS);
    CHECK(std::string(KovGui::Platform::systemLogsFolder()).empty());
    CHECK(GetFileAttributesA(logs.c_str()) & FILE_ATTRIBUTE_DIRECTORY);
    CHECK(_stricmp(KovGui::Platform::systemLogsFolder(), logs.c_str()) == 0);
    // The empty text means that no directory is set.
    KovGui::setLogDirectory("");
    KOV_LOG(0, "in the system's logs");
    CHECK(linesOf(logs + "tessarine-qor.log") == 1);
    KovGui::setLogDirectory(nullptr);
    DeleteFileA((logs + "tessarine-qor.log").c_str());
}

static void fallsBackToLocalData(const std::string &folder)
{
    const std::string local = KovGui::Platform::localDataFolder();
    CHECK(!local.empty() && local.back() != '\\');
    const std::string file = local + "/tessarine-qor.log";
    DeleteFileA(file.c_str());
    KovGui::setLogDirectory((folder + "/missing").c_str());
    KOV_LOG(0, "first");
    CreateDirectoryA((folder + "/trap").c_str(), nullptr);
    CreateDirectoryA((folder + "/trap/tessarine-qor.log").c_str(), nullptr);
    KovGui::setLogDirectory((folder + "/trap").c_str());
    KOV_LOG(0, "second");
    CHECK(linesOf(file) == 2);
    KovGui::setLogDirectory(folder.c_str());
    DeleteFileA(file.c_str());
}

int main(int argc, char *argv[])
{
    if (argc != 2)
        return 2;
    const std::string folder = argv[1];
    systemLogsFolderIsFoundAtTheSecondCall();
    for (const wchar_t *name : {L"\\a", L"\\b", L"\\\u00e4\u4e2d"})
        CreateDirectoryW((std::wstring(folder.begin(), folder.end()) + name).c_str(), nullptr);
    writesRecords(folder);
    KovGui::setLogDirectory((folder + "\\\xc3\xa4\xe4\xb8\xad").c_str());
    KOV_LOG(0, "a name in another script");
    CHECK(GetFileAttributesW(
              (std::wstring(folder.begin(), folder.end()) + L"\\\u00e4\u4e2d/tessarine-qor.log").c_str())
          != INVALID_FILE_ATTRIBUTES);
    letsInteractiveUsersWrite();
    keepsEveryRecord(folder);
    closesReplacedHandles(folder);
    fallsBackToLocalData(folder);
    std::printf(s_failures ? "%d checks failed\n" : "all checks passed\n", s_failures);
    return s_failures ? 1 : 0;
}
