#include "programs/updater/Commands.h"
#include "programs/updater/HandOver.h"
#include "programs/updater/Updater.h"
#include "programs/updater/install/TrialTool.h"

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
        const QString directory = application.applicationDirPath();
        const bool asksForHelp = argc > 2 && std::strcmp(argv[2], "--help") == 0;
        // Applications know one companion program; downloads have one of their own beside it.
        if (argc > 1 && std::strcmp(argv[1], "download") == 0) {
            handOver(QFile::encodeName(directory) + "/download_utility", argv);
            return int(ExitCode::InternalError);
        }
        if (argc > 1 && std::strcmp(argv[1], "run") == 0 && !asksForHelp) {
            QByteArray path;
            char **next = nullptr;
            const ExitCode code = prepareRun(argv, directory, &path, &next);
            if (code != ExitCode::UpdateFound)
                return int(code);
            handOver(path, next);
            return int(ExitCode::InternalError);
        }
        const QStringList arguments = application.arguments().mid(1);
        if (const Command *const command = findCommand(arguments.value(0)))
            return int(runCommand(*command, arguments.mid(1), directory));
        return int(runUpdater(arguments, directory));
    } catch (const std::bad_alloc &) {
        std::fputs("updater: out of memory\n", stderr);
        return int(ExitCode::InternalError);
    }
}
