#include "programs/updater/Updater.h"

#include <QCoreApplication>
#include <csignal>
#include <cstdio>
#include <new>

int main(int argc, char *argv[])
{
#ifdef SIGPIPE
    // A reader that went away is reported as an error of writing. An interrupt ends the program at once: it
    // keeps nothing that could be left half done.
    std::signal(SIGPIPE, SIG_IGN);
#endif
    try {
        const QCoreApplication application(argc, argv);
        return int(runUpdater(application.arguments().mid(1), application.applicationDirPath()));
    } catch (const std::bad_alloc &) {
        std::fputs("updater: out of memory\n", stderr);
        return int(ExitCode::InternalError);
    }
}
