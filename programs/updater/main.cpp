#include "programs/updater/HandOver.h"
#include "programs/updater/Updater.h"
#include "programs/updater/publish/PackTool.h"
#include "programs/updater/publish/SignTool.h"

#include <QCoreApplication>
#include <QFile>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <new>

int main(int argc, char *argv[])
{
#ifdef SIGPIPE
    // A reader that went away is reported as an error of writing. An interrupt ends the program at once, but
    // for an installation: what it keeps is replaced as a whole.
    std::signal(SIGPIPE, SIG_IGN);
#endif
    try {
        const QCoreApplication application(argc, argv);
        // Applications know one companion program; downloads have one of their own beside it.
        if (argc > 1 && std::strcmp(argv[1], "download") == 0) {
            handOver(QFile::encodeName(application.applicationDirPath()).constData(), "download_utility",
                     argv);
            return int(ExitCode::InternalError);
        }
        const QStringList arguments = application.arguments().mid(1);
        if (isSignToolCommand(arguments.value(0)))
            return int(runSignTool(arguments));
        if (isPackToolCommand(arguments.value(0)))
            return int(runPackTool(arguments));
        return int(runUpdater(arguments, application.applicationDirPath()));
    } catch (const std::bad_alloc &) {
        std::fputs("updater: out of memory\n", stderr);
        return int(ExitCode::InternalError);
    }
}
