#include "programs/updater/Commands.h"
#include "programs/updater/Process.h"
#include "programs/updater/Updater.h"
#include "programs/updater/base/Files.h"
#include "programs/updater/install/TrialTool.h"

#include <QCoreApplication>
#include <cstdio>
#include <new>

int main(int argc, char *argv[])
{
    try {
        const QByteArrayList words = Process::prepare(argc, argv);
        const QCoreApplication application(argc, argv);
        const QString directory = application.applicationDirPath();
        const bool asksForHelp = words.value(2) == "--help";
        // Applications know one companion program; downloads have one of their own beside it.
        if (words.value(1) == "download")
            return Process::handOver(Files::encoded(directory) + "/download_utility", words);
        if (words.value(1) == "run" && !asksForHelp) {
            QByteArray path;
            QByteArrayList arguments;
            const ExitCode code = prepareRun(words, directory, &path, &arguments);
            return code == ExitCode::UpdateFound ? Process::handOver(path, arguments) : int(code);
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
