#include "kov_sdk/collector/HostFacts_p.h"

#include <QLocale>
#include <QStorageInfo>
#include <QSysInfo>
#include <QTextStream>
#include <QTimeZone>

#include <algorithm>

namespace HostFacts {

namespace {

constexpr int busiestProcesses = 10;
constexpr qint64 kibi = 1024;

} // namespace

CHostInfo commonHostInfo()
{
    CHostInfo info;
    info.osName = QSysInfo::prettyProductName();
    info.osVersion = QSysInfo::productVersion();
    info.kernelVersion = QSysInfo::kernelVersion();
    info.architecture = QSysInfo::currentCpuArchitecture();
    info.hostName = QSysInfo::machineHostName();
    info.locale = QLocale::system().name();
    info.timeZone = QString::fromLatin1(QTimeZone::systemTimeZoneId());
    for (const QStorageInfo &volume : QStorageInfo::mountedVolumes()) {
        if (!volume.isValid() || !volume.isReady() || volume.bytesTotal() <= 0)
            continue;
        CHostVolume entry;
        entry.mountPoint = volume.rootPath();
        entry.fileSystem = QString::fromUtf8(volume.fileSystemType());
        entry.size = qint64(volume.bytesTotal());
        entry.freeSize = qint64(volume.bytesAvailable());
        entry.isReadOnly = volume.isReadOnly();
        info.volumes.append(entry);
    }
    return info;
}

QVector<CProcessStatistics> busiest(QVector<Process> processes)
{
    std::sort(processes.begin(), processes.end(),
              [](const Process &a, const Process &b) { return a.processorTime > b.processorTime; });
    QVector<CProcessStatistics> statistics;
    for (const Process &process : processes.mid(0, busiestProcesses)) {
        CProcessStatistics entry;
        entry.id = process.id;
        entry.name = process.name;
        entry.memoryUsed = process.memory;
        statistics.append(entry);
    }
    return statistics;
}

QByteArray processTable(QVector<Process> processes)
{
    std::sort(processes.begin(), processes.end(),
              [](const Process &a, const Process &b) { return a.id < b.id; });
    QByteArray text;
    QTextStream stream(&text);
    stream.setCodec("UTF-8");
    stream << "    PID    PPID USER              KIB NAME\n";
    for (const Process &process : processes) {
        stream << QString::number(process.id).rightJustified(7) << ' '
               << QString::number(process.parent).rightJustified(7) << ' ' << process.user.leftJustified(12)
               << ' ' << QString::number(process.memory / kibi).rightJustified(8) << ' ' << process.name
               << '\n';
    }
    stream.flush();
    return text;
}

} // namespace HostFacts
