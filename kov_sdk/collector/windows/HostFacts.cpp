#include "kov_sdk/collector/HostFacts_p.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QSysInfo>

#include <algorithm>
#include <cpuid.h>
#include <fcntl.h>
#include <io.h>

#include <winsock2.h>
#include <ws2tcpip.h>

// After the sockets' header, which has to come before the system's own.
#include "gui/platform/windows/Handle.h"

#include <iphlpapi.h>
#include <psapi.h>
#include <setupapi.h>
#include <tlhelp32.h>

namespace HostFacts {

namespace {

using KovGui::Platform::Handle;

/// The processor's own busy share is looked at for this long.
constexpr DWORD sampleMilliseconds = 100;

QString registryText(const char *key, const char *name)
{
    const QSettings settings(QLatin1String("HKEY_LOCAL_MACHINE\\") + QLatin1String(key),
                             QSettings::NativeFormat);
    return settings.value(QLatin1String(name)).toString().trimmed();
}

qint64 numberOf(const FILETIME &time)
{
    return qint64((quint64(time.dwHighDateTime) << 32) | time.dwLowDateTime);
}

/// The account of a process that this user may ask about, else empty.
QString userOf(HANDLE process)
{
    HANDLE opened = nullptr;
    if (!OpenProcessToken(process, TOKEN_QUERY, &opened))
        return QString();
    const Handle token(opened);
    alignas(TOKEN_USER) char buffer[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    DWORD size = 0;
    wchar_t name[256];
    wchar_t domain[256];
    DWORD nameLength = ARRAYSIZE(name);
    DWORD domainLength = ARRAYSIZE(domain);
    SID_NAME_USE use;
    if (!GetTokenInformation(token.get(), TokenUser, buffer, sizeof buffer, &size)
        || !LookupAccountSidW(nullptr, reinterpret_cast<const TOKEN_USER *>(buffer)->User.Sid, name,
                              &nameLength, domain, &domainLength, &use))
        return QString();
    return QString::fromWCharArray(name, int(nameLength));
}

QVector<Process> processes()
{
    QVector<Process> all;
    const Handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL isOne = snapshot.isOpen() && Process32FirstW(snapshot.get(), &entry); isOne;
         isOne = Process32NextW(snapshot.get(), &entry)) {
        Process process;
        process.id = entry.th32ProcessID;
        process.parent = entry.th32ParentProcessID;
        process.name = QString::fromWCharArray(entry.szExeFile);
        const Handle opened(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, entry.th32ProcessID));
        PROCESS_MEMORY_COUNTERS memory{};
        FILETIME begin, end, kernel, user;
        if (opened.isOpen() && GetProcessMemoryInfo(opened.get(), &memory, sizeof memory))
            process.memory = qint64(memory.WorkingSetSize);
        if (opened.isOpen() && GetProcessTimes(opened.get(), &begin, &end, &kernel, &user))
            process.processorTime = numberOf(kernel) + numberOf(user);
        if (opened.isOpen())
            process.user = userOf(opened.get());
        all.append(process);
    }
    return all;
}

/// Zero when the system does not say.
quint32 processorCores()
{
    DWORD size = 0;
    GetLogicalProcessorInformation(nullptr, &size);
    QVector<SYSTEM_LOGICAL_PROCESSOR_INFORMATION> entries(
        int(size / sizeof(SYSTEM_LOGICAL_PROCESSOR_INFORMATION)));
    if (entries.isEmpty() || !GetLogicalProcessorInformation(entries.data(), &size))
        return 0;
    return quint32(std::count_if(entries.begin(), entries.end(), [](const auto &entry) {
        return entry.Relationship == RelationProcessorCore;
    }));
}

bool runsOnHypervisor()
{
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    return __get_cpuid(1, &a, &b, &c, &d) && (c >> 31) != 0;
}

/// Busy since a moment ago, from 0 to 1.
double processorLoad()
{
    FILETIME idle[2];
    FILETIME kernel[2];
    FILETIME user[2];
    if (!GetSystemTimes(&idle[0], &kernel[0], &user[0]))
        return 0;
    Sleep(sampleMilliseconds);
    if (!GetSystemTimes(&idle[1], &kernel[1], &user[1]))
        return 0;
    // The kernel's time holds the idle time.
    const qint64 all = numberOf(kernel[1]) - numberOf(kernel[0]) + numberOf(user[1]) - numberOf(user[0]);
    const qint64 waited = numberOf(idle[1]) - numberOf(idle[0]);
    return all > 0 ? qBound(0.0, 1.0 - double(waited) / double(all), 1.0) : 0;
}

BOOL CALLBACK addPageFile(void *sum, ENUM_PAGE_FILE_INFORMATION *file, const wchar_t *)
{
    *static_cast<qint64 *>(sum) += qint64(file->TotalInUse);
    return TRUE;
}

QString textOf(const SOCKET_ADDRESS &address)
{
    char text[INET6_ADDRSTRLEN] = {};
    const sockaddr *const any = address.lpSockaddr;
    if (any->sa_family == AF_INET)
        inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in *>(any)->sin_addr, text, sizeof text);
    else if (any->sa_family == AF_INET6)
        inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6 *>(any)->sin6_addr, text, sizeof text);
    return QString::fromLatin1(text);
}

CNetAdapter adapterFrom(const IP_ADAPTER_ADDRESSES &found)
{
    CNetAdapter adapter;
    adapter.name = QString::fromWCharArray(found.FriendlyName);
    adapter.isUp = found.OperStatus == IfOperStatusUp;
    adapter.kind = found.IfType == IF_TYPE_SOFTWARE_LOOPBACK ? QStringLiteral("loopback") : QString();
    const QByteArray address(reinterpret_cast<const char *>(found.PhysicalAddress),
                             int(found.PhysicalAddressLength));
    adapter.macAddress = QString::fromLatin1(address.toHex(':'));
    if (found.Mtu != 0 && found.Mtu != DWORD(-1))
        adapter.mtu = found.Mtu;
    for (const auto *entry = found.FirstUnicastAddress; entry; entry = entry->Next) {
        adapter.addresses.append(
            QStringLiteral("%1/%2").arg(textOf(entry->Address)).arg(int(entry->OnLinkPrefixLength)));
    }
    return adapter;
}

} // namespace

CHostInfo hostInfo()
{
    CHostInfo info = commonHostInfo();
    info.userName = userOf(GetCurrentProcess());
    const char processor[] = "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
    info.cpuModel = registryText(processor, "ProcessorNameString");
    if (const double megahertz = registryText(processor, "~MHz").toDouble(); megahertz > 0)
        info.cpuFrequency = qint64(megahertz * 1e6);
    if (const DWORD threads = GetActiveProcessorCount(ALL_PROCESSOR_GROUPS))
        info.cpuThreads = threads;
    if (const quint32 cores = processorCores())
        info.cpuCores = cores;
    info.hasHardwareVirtualization = IsProcessorFeaturePresent(PF_VIRT_FIRMWARE_ENABLED) != FALSE;
    MEMORYSTATUSEX memory{};
    memory.dwLength = sizeof memory;
    if (GlobalMemoryStatusEx(&memory))
        info.memorySize = qint64(memory.ullTotalPhys);
    return info;
}

CMoreHostInfo moreHostInfo()
{
    const char firmware[] = "HARDWARE\\DESCRIPTION\\System\\BIOS";
    CMoreHostInfo info;
    info.manufacturer = registryText(firmware, "SystemManufacturer");
    info.model = registryText(firmware, "SystemProductName");
    info.firmwareVersion
        = (registryText(firmware, "BIOSVendor") + QLatin1Char(' ') + registryText(firmware, "BIOSVersion"))
              .trimmed();
    info.isVirtual = runsOnHypervisor();
    const HDEVINFO devices = SetupDiGetClassDevsW(nullptr, L"USB", nullptr, DIGCF_PRESENT | DIGCF_ALLCLASSES);
    if (devices == INVALID_HANDLE_VALUE)
        return info;
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof device;
    for (DWORD i = 0; SetupDiEnumDeviceInfo(devices, i, &device); ++i) {
        wchar_t id[512] = L"";
        wchar_t name[512] = L"";
        unsigned vendor = 0;
        unsigned product = 0;
        if (!SetupDiGetDeviceInstanceIdW(devices, &device, id, ARRAYSIZE(id), nullptr)
            || swscanf(id, L"USB\\VID_%4x&PID_%4x", &vendor, &product) != 2)
            continue;
        SetupDiGetDeviceRegistryPropertyW(devices, &device, SPDRP_DEVICEDESC, nullptr,
                                          reinterpret_cast<BYTE *>(name), sizeof name - sizeof *name,
                                          nullptr);
        CUsbDevice entry;
        entry.vendorId = vendor;
        entry.productId = product;
        entry.name = QString::fromWCharArray(name);
        info.usbDevices.append(entry);
    }
    SetupDiDestroyDeviceInfoList(devices);
    return info;
}

CHostStatistics hostStatistics()
{
    CHostStatistics statistics;
    statistics.collectedOn = QDateTime::currentDateTimeUtc();
    statistics.uptime = qint64(GetTickCount64() / 1000);
    statistics.processorLoad = processorLoad();
    MEMORYSTATUSEX memory{};
    memory.dwLength = sizeof memory;
    if (GlobalMemoryStatusEx(&memory)) {
        statistics.memoryFree = qint64(memory.ullAvailPhys);
        statistics.memoryUsed = qint64(memory.ullTotalPhys - memory.ullAvailPhys);
    }
    SYSTEM_INFO system{};
    GetSystemInfo(&system);
    qint64 pages = 0;
    if (EnumPageFilesW(addPageFile, &pages))
        statistics.swapUsed = pages * qint64(system.dwPageSize);
    statistics.processes = busiest(processes());
    return statistics;
}

CNetConfig netConfig()
{
    CNetConfig config;
    config.hostName = QSysInfo::machineHostName();
    QByteArray buffer(32 * 1024, '\0');
    ULONG size = ULONG(buffer.size());
    const ULONG flags = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST;
    const auto list = [&buffer] { return reinterpret_cast<IP_ADAPTER_ADDRESSES *>(buffer.data()); };
    ULONG error = GetAdaptersAddresses(AF_UNSPEC, flags, nullptr, list(), &size);
    if (error == ERROR_BUFFER_OVERFLOW) {
        buffer.resize(int(size));
        error = GetAdaptersAddresses(AF_UNSPEC, flags, nullptr, list(), &size);
    }
    if (error != ERROR_SUCCESS)
        return config;
    for (const IP_ADAPTER_ADDRESSES *found = list(); found; found = found->Next) {
        config.adapters.append(adapterFrom(*found));
        for (const auto *server = found->FirstDnsServerAddress; server; server = server->Next) {
            const QString text = textOf(server->Address);
            if (!config.nameServers.contains(text))
                config.nameServers.append(text);
        }
    }
    return config;
}

QByteArray allProcesses()
{
    return processTable(processes());
}

QByteArray performanceCounters()
{
    QByteArray text;
    const auto add = [&text](const char *name, quint64 value) {
        text += QByteArray(name) + ' ' + QByteArray::number(value) + '\n';
    };
    PERFORMANCE_INFORMATION all{};
    if (GetPerformanceInfo(&all, sizeof all)) {
        add("page_size", all.PageSize);
        add("commit_pages", all.CommitTotal);
        add("commit_limit_pages", all.CommitLimit);
        add("commit_peak_pages", all.CommitPeak);
        add("physical_pages", all.PhysicalTotal);
        add("physical_available_pages", all.PhysicalAvailable);
        add("system_cache_pages", all.SystemCache);
        add("kernel_paged_pages", all.KernelPaged);
        add("kernel_nonpaged_pages", all.KernelNonpaged);
        add("handles", all.HandleCount);
        add("processes", all.ProcessCount);
        add("threads", all.ThreadCount);
    }
    FILETIME idle, kernel, user;
    if (GetSystemTimes(&idle, &kernel, &user)) {
        add("idle_100ns", quint64(numberOf(idle)));
        add("kernel_with_idle_100ns", quint64(numberOf(kernel)));
        add("user_100ns", quint64(numberOf(user)));
    }
    return text;
}

QByteArray installedSoftware()
{
    QByteArrayList lines;
    for (const char *const key :
         {"HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall",
          "HKEY_LOCAL_MACHINE\\SOFTWARE\\WOW6432Node\\Microsoft\\Windows\\CurrentVersion\\Uninstall",
          "HKEY_CURRENT_USER\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall"}) {
        QSettings settings(QLatin1String(key), QSettings::NativeFormat);
        for (const QString &entry : settings.childGroups()) {
            settings.beginGroup(entry);
            const QString name = settings.value(QStringLiteral("DisplayName")).toString();
            const QString version = settings.value(QStringLiteral("DisplayVersion")).toString();
            settings.endGroup();
            if (!name.isEmpty())
                lines.append((name + QLatin1Char(' ') + version).trimmed().toUtf8() + '\n');
        }
    }
    std::sort(lines.begin(), lines.end());
    return lines.join();
}

std::unique_ptr<QIODevice> openAttachment(const QString &path)
{
    const HANDLE handle = CreateFileW(QDir::toNativeSeparators(path).toStdWString().c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return nullptr;
    BY_HANDLE_FILE_INFORMATION information;
    const bool isFile
        = GetFileType(handle) == FILE_TYPE_DISK && GetFileInformationByHandle(handle, &information)
          && !(information.dwFileAttributes & (FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY));
    const int number = isFile ? _open_osfhandle(intptr_t(handle), _O_RDONLY | _O_BINARY) : -1;
    if (number < 0) {
        CloseHandle(handle);
        return nullptr;
    }
    auto file = std::make_unique<QFile>();
    if (!file->open(number, QIODevice::ReadOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle))
        return nullptr;
    return file;
}

} // namespace HostFacts
