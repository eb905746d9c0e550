#include "gui/problem_report/report/ReportSections.h"

#include <QCoreApplication>

namespace ReportSections {

namespace {

struct Row
{
    int type;
    const char *file;
    const char *title;
};

const char context[] = "ReportSections";

const Row table[] = {
    {MainDocument, "Report.xml", QT_TRANSLATE_NOOP("ReportSections", "Problem Details")},
    {AppConfig, "AppConfig.xml", QT_TRANSLATE_NOOP("ReportSections", "Application Configuration")},
    {VmDirectory, "VmDirectory.xml", QT_TRANSLATE_NOOP("ReportSections", "Virtual Machines")},
    {NetConfig, "NetConfig.xml", QT_TRANSLATE_NOOP("ReportSections", "Network Configuration")},
    {CurrentVm, "CurrentVm.xml", QT_TRANSLATE_NOOP("ReportSections", "Virtual Machine")},
    {AdvancedVmInfo, "AdvancedVmInfo.xml",
     QT_TRANSLATE_NOOP("ReportSections", "More about the Virtual Machine")},
    {MonitorData, "MonitorData.txt", QT_TRANSLATE_NOOP("ReportSections", "Monitor Data")},
    {GuestOs, "GuestOs.xml", QT_TRANSLATE_NOOP("ReportSections", "Guest Operating System")},
    {PerformanceCounters, "PerformanceCounters.txt",
     QT_TRANSLATE_NOOP("ReportSections", "Performance Counters")},
    {HostInfo, "HostInfo.xml", QT_TRANSLATE_NOOP("ReportSections", "Computer")},
    {MoreHostInfo, "MoreHostInfo.xml", QT_TRANSLATE_NOOP("ReportSections", "Hardware")},
    {HostStatistics, "HostStatistics.xml", QT_TRANSLATE_NOOP("ReportSections", "Computer Statistics")},
    {AllProcesses, "AllProcesses.txt", QT_TRANSLATE_NOOP("ReportSections", "Running Programs")},
    {ClientProxyInfo, "ClientProxyInfo.txt", QT_TRANSLATE_NOOP("ReportSections", "Proxy Settings")},
    {ClientInfo, "ClientInfo.xml", QT_TRANSLATE_NOOP("ReportSections", "Application")},
    {KeyboardMouseProfiles, "KeyboardMouseProfiles.xml",
     QT_TRANSLATE_NOOP("ReportSections", "Keyboard and Mouse Profiles")},
    {InstalledSoftware, "InstalledSoftware.txt", QT_TRANSLATE_NOOP("ReportSections", "Installed Software")},
    {LogGroup, "", QT_TRANSLATE_NOOP("ReportSections", "Logs")},
    {Log, "%1", ""},
    {CrashDumpGroup, "", "CrashDump"},
    {CrashDump, "%1", ""},
    {ScreenshotGroup, "", QT_TRANSLATE_NOOP("ReportSections", "Screenshots")},
    {Screenshot, "%1", ""},
};

const Row &rowOf(int type)
{
    for (const Row &row : table) {
        if (row.type == type)
            return row;
    }
    return table[0];
}

} // namespace

QString fileName(int type)
{
    return QString::fromLatin1(rowOf(type).file);
}

int typeOfFile(const QString &fileName)
{
    for (const Row &row : table) {
        if (*row.file && fileName == QLatin1String(row.file))
            return row.type;
    }
    if (fileName.endsWith(QLatin1String(".crash"), Qt::CaseInsensitive))
        return CrashDump;
    if (fileName.endsWith(QLatin1String(".png"), Qt::CaseInsensitive))
        return Screenshot;
    return Log;
}

int headingOf(int type)
{
    return type == Log || type == CrashDump || type == Screenshot ? type - 1 : -1;
}

QString title(int type)
{
    return QCoreApplication::translate(context, rowOf(type).title);
}

bool isHostScreenshot(const QString &fileName)
{
    return fileName == QLatin1String(hostScreenshotName) + QLatin1String(".png");
}

} // namespace ReportSections
