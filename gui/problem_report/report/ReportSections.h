#pragma once

#include "gui/KovGuiGlobal.h"

#include <QString>

/// The sections of a problem report, and the files that hold them.
namespace ReportSections {

enum Type {
    MainDocument = 0, ///< and every number that is not listed
    AppConfig = 2,
    VmDirectory = 3,
    NetConfig = 4,
    CurrentVm = 5,
    AdvancedVmInfo = 6,
    MonitorData = 7,
    GuestOs = 8,
    PerformanceCounters = 9,
    HostInfo = 10,
    MoreHostInfo = 11,
    HostStatistics = 12,
    AllProcesses = 13,
    ClientProxyInfo = 14,
    ClientInfo = 15,
    KeyboardMouseProfiles = 16,
    InstalledSoftware = 17,
    LogGroup = 18,
    Log = 19,
    CrashDumpGroup = 20,
    CrashDump = 21,
    ScreenshotGroup = 22,
    Screenshot = 23,
};

/// Of the section that holds the picture of the host's screen; its file is a ".png".
constexpr char hostScreenshotName[] = "KovProblemReportHostScreen";

/// The file of a section; "%1" for attached files, whose name is the item's own; empty for the headings.
KOVGUI_EXPORT QString fileName(int type);

/// The section that a file is: by its name, else by its suffix (".crash", ".png"). Any other file is a log.
KOVGUI_EXPORT int typeOfFile(const QString &fileName);

/// The heading under which a section stands; -1 for one that stands under the root.
KOVGUI_EXPORT int headingOf(int type);

/// As the user reads it.
KOVGUI_EXPORT QString title(int type);

/// The host's screenshot among the files of a report.
KOVGUI_EXPORT bool isHostScreenshot(const QString &fileName);

} // namespace ReportSections
