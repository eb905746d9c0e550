#include "programs/updater/HandOver.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>

void handOver(const char *directory, const char *program, char *argv[])
{
    const std::string path = std::string(directory) + '/' + program;
    execv(path.c_str(), argv);
    std::fprintf(stderr, "updater: %s cannot be started: %s\n", path.c_str(), std::strerror(errno));
}
