#include "programs/updater/Process.h"

#include "programs/updater/base/ExitCode.h"

#include <QVector>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <unistd.h>

QByteArrayList Process::prepare(int argc, char *argv[])
{
    std::signal(SIGPIPE, SIG_IGN);
    return QByteArrayList(argv, argv + argc);
}

int Process::handOver(const QByteArray &path, const QByteArrayList &arguments)
{
    QVector<char *> argv;
    for (const QByteArray &argument : arguments)
        argv.append(const_cast<char *>(argument.constData())); // not written to
    argv.append(nullptr);
    execv(path.constData(), argv.data());
    std::fprintf(stderr, "updater: %s cannot be started: %s\n", path.constData(), std::strerror(errno));
    return int(Updater::ExitCode::InternalError);
}
