#include "kov_sdk/collector/HostFacts_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>

#include <algorithm>
#include <arpa/inet.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace HostFacts {

namespace {

constexpr qint64 kibi = 1024;

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString line(const QString &path)
{
    return QString::fromUtf8(content(path)).trimmed();
}

/// The first value of a line "key: value" or "key value".
QByteArray valueOf(const QByteArray &text, const QByteArray &key)
{
    for (const QByteArray &entry : text.split('\n')) {
        if (!entry.startsWith(key))
            continue;
        const QByteArray rest = entry.mid(key.size()).trimmed();
        return rest.startsWith(':') ? rest.mid(1).trimmed() : rest;
    }
    return QByteArray();
}

std::optional<qint64> kibibytesOf(const QByteArray &text, const QByteArray &key)
{
    bool ok = false;
    const qint64 value = valueOf(text, key).split(' ').value(0).toLongLong(&ok);
    return ok ? std::optional<qint64>(value * kibi) : std::nullopt;
}

QString userName(uint id)
{
    const passwd *const entry = getpwuid(id);
    return entry ? QString::fromLocal8Bit(entry->pw_name) : QString::number(id);
}

QVector<Process> processes()
{
    QVector<Process> all;
    const auto folders = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &folder : folders) {
        bool isNumber = false;
        Process process;
        process.id = folder.toUInt(&isNumber);
        if (!isNumber)
            continue;
        const QByteArray state = content(QStringLiteral("/proc/%1/stat").arg(folder));
        // "1 (name) S 0 ..."; a name may hold blanks and brackets.
        const int end = state.lastIndexOf(')');
        const int begin = state.indexOf('(');
        const QList<QByteArray> fields = state.mid(end + 2).split(' ');
        if (begin < 0 || end < begin || fields.size() < 22)
            continue; // gone meanwhile
        process.name = QString::fromUtf8(state.mid(begin + 1, end - begin - 1));
        process.parent = fields.at(1).toUInt();
        process.processorTime = fields.at(11).toLongLong() + fields.at(12).toLongLong();
        process.memory = fields.at(21).toLongLong() * qint64(sysconf(_SC_PAGESIZE));
        process.user = userName(QFileInfo(QStringLiteral("/proc/%1").arg(folder)).ownerId());
        all.append(process);
    }
    return all;
}

qint64 uptime()
{
    return qint64(content(QStringLiteral("/proc/uptime")).split(' ').value(0).toDouble());
}

void addAddress(const ifaddrs &found, CNetAdapter *adapter)
{
    char text[INET6_ADDRSTRLEN] = {};
    int prefix = 0;
    const auto count = [&prefix](const unsigned char *mask, int size) {
        for (int i = 0; mask && i < size * 8; ++i)
            prefix += (mask[i / 8] >> (7 - i % 8)) & 1;
    };
    if (found.ifa_addr->sa_family == AF_INET) {
        inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in *>(found.ifa_addr)->sin_addr, text, sizeof text);
        if (found.ifa_netmask)
            count(reinterpret_cast<unsigned char *>(
                      &reinterpret_cast<sockaddr_in *>(found.ifa_netmask)->sin_addr),
                  4);
    } else if (found.ifa_addr->sa_family == AF_INET6) {
        inet_ntop(AF_INET6, &reinterpret_cast<sockaddr_in6 *>(found.ifa_addr)->sin6_addr, text, sizeof text);
        if (found.ifa_netmask)
            count(reinterpret_cast<unsigned char *>(
                      &reinterpret_cast<sockaddr_in6 *>(found.ifa_netmask)->sin6_addr),
                  16);
    } else {
        return;
    }
    adapter->addresses.append(QStringLiteral("%1/%2").arg(QString::fromLatin1(text)).arg(prefix));
}

} // namespace

CHostInfo hostInfo()
{
    CHostInfo info = commonHostInfo();
    info.userName = userName(getuid());
    const QByteArray cpu = content(QStringLiteral("/proc/cpuinfo"));
    info.cpuModel = QString::fromUtf8(valueOf(cpu, "model name"));
    if (const long threads = sysconf(_SC_NPROCESSORS_ONLN); threads > 0)
        info.cpuThreads = quint32(threads);
    if (const uint cores = valueOf(cpu, "cpu cores").toUInt())
        info.cpuCores = cores;
    if (const double megahertz = valueOf(cpu, "cpu MHz").toDouble(); megahertz > 0)
        info.cpuFrequency = qint64(megahertz * 1e6);
    const QByteArray flags = ' ' + valueOf(cpu, "flags") + ' ';
    info.hasHardwareVirtualization = flags.contains(" vmx ") || flags.contains(" svm ");
    info.memorySize = kibibytesOf(content(QStringLiteral("/proc/meminfo")), "MemTotal");
    return info;
}

CMoreHostInfo moreHostInfo()
{
    const QString folder = QStringLiteral("/sys/class/dmi/id/");
    CMoreHostInfo info;
    info.manufacturer = line(folder + QStringLiteral("sys_vendor"));
    info.model = line(folder + QStringLiteral("product_name"));
    info.firmwareVersion = (line(folder + QStringLiteral("bios_vendor")) + QLatin1Char(' ')
                            + line(folder + QStringLiteral("bios_version")))
                               .trimmed();
    info.isVirtual = content(QStringLiteral("/proc/cpuinfo")).contains(" hypervisor");
    const auto devices
        = QDir(QStringLiteral("/sys/bus/usb/devices")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &name : devices) {
        const QString device = QStringLiteral("/sys/bus/usb/devices/%1/").arg(name);
        const QString vendor = line(device + QStringLiteral("idVendor"));
        if (vendor.isEmpty())
            continue;
        CUsbDevice entry;
        entry.vendorId = vendor.toUInt(nullptr, 16);
        entry.productId = line(device + QStringLiteral("idProduct")).toUInt(nullptr, 16);
        entry.name = line(device + QStringLiteral("product"));
        info.usbDevices.append(entry);
    }
    return info;
}

CHostStatistics hostStatistics()
{
    CHostStatistics statistics;
    statistics.collectedOn = QDateTime::currentDateTimeUtc();
    statistics.uptime = uptime();
    const long threads = std::max(1L, sysconf(_SC_NPROCESSORS_ONLN));
    const double load = content(QStringLiteral("/proc/loadavg")).split(' ').value(0).toDouble();
    statistics.processorLoad = std::min(1.0, load / double(threads));
    const QByteArray memory = content(QStringLiteral("/proc/meminfo"));
    statistics.memoryFree = kibibytesOf(memory, "MemAvailable");
    const auto total = kibibytesOf(memory, "MemTotal");
    if (total && statistics.memoryFree && *total >= *statistics.memoryFree)
        statistics.memoryUsed = *total - *statistics.memoryFree;
    const auto swapTotal = kibibytesOf(memory, "SwapTotal");
    const auto swapFree = kibibytesOf(memory, "SwapFree");
    if (swapTotal && swapFree && *swapTotal >= *swapFree)
        statistics.swapUsed = *swapTotal - *swapFree;
    statistics.processes = busiest(processes());
    return statistics;
}

CNetConfig netConfig()
{
    CNetConfig config;
    config.hostName = QSysInfo::machineHostName();
    for (const QByteArray &entry : content(QStringLiteral("/etc/resolv.conf")).split('\n')) {
        if (entry.startsWith("nameserver "))
            config.nameServers.append(QString::fromUtf8(entry.mid(11).trimmed()));
    }
    ifaddrs *list = nullptr;
    if (getifaddrs(&list) != 0)
        return config;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> guard(list, freeifaddrs);
    for (const ifaddrs *found = list; found; found = found->ifa_next) {
        const QString name = QString::fromLocal8Bit(found->ifa_name);
        auto adapter = std::find_if(config.adapters.begin(), config.adapters.end(),
                                    [&](const CNetAdapter &known) { return known.name == name; });
        if (adapter == config.adapters.end()) {
            CNetAdapter fresh;
            fresh.name = name;
            fresh.isUp = (found->ifa_flags & IFF_RUNNING) != 0;
            fresh.kind = (found->ifa_flags & IFF_LOOPBACK) != 0 ? QStringLiteral("loopback") : QString();
            const QString folder = QStringLiteral("/sys/class/net/%1/").arg(name);
            fresh.macAddress = line(folder + QStringLiteral("address"));
            if (const uint mtu = line(folder + QStringLiteral("mtu")).toUInt())
                fresh.mtu = mtu;
            config.adapters.append(fresh);
            adapter = config.adapters.end() - 1;
        }
        if (found->ifa_addr)
            addAddress(*found, &*adapter);
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
    for (const char *name : {"/proc/stat", "/proc/vmstat", "/proc/diskstats", "/proc/net/dev"})
        text += QByteArray(name) + '\n' + content(QString::fromLatin1(name)) + '\n';
    return text;
}

QByteArray installedSoftware()
{
    QFile list(QStringLiteral("/var/lib/dpkg/status"));
    QByteArray text;
    if (!list.open(QIODevice::ReadOnly))
        return text;
    QByteArray name;
    while (!list.atEnd()) {
        const QByteArray entry = list.readLine();
        if (entry.startsWith("Package: "))
            name = entry.mid(9).trimmed();
        else if (entry.startsWith("Version: "))
            text += name + ' ' + entry.mid(9).trimmed() + '\n';
    }
    return text;
}

std::unique_ptr<QIODevice> openAttachment(const QString &path)
{
    // Non-blocking, so that a planted pipe cannot hold us.
    const int number
        = open(QFile::encodeName(path).constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
    struct stat status;
    if (number < 0 || fstat(number, &status) != 0 || !S_ISREG(status.st_mode)) {
        if (number >= 0)
            close(number);
        return nullptr;
    }
    auto file = std::make_unique<QFile>();
    if (!file->open(number, QIODevice::ReadOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle))
        return nullptr;
    return file;
}

} // namespace HostFacts
