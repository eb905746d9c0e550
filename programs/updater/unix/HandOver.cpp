#include "programs/updater/HandOver.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

void handOver(const QByteArray &path, char *argv[])
{
    execv(path.constData(), argv);
    std::fprintf(stderr, "updater: %s cannot be started: %s\n", path.constData(), std::strerror(errno));
}
