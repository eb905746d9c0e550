#include "gui/log/Log.h"

#include <cstdarg>
#include <cstdio>

namespace KovGui {

static int s_verbosity = 1;

void log(const char *category, const char *module, unsigned level, const char *format, ...)
{
    std::fprintf(stderr, "%u %s%s/%s/ ", level & 15, category, *category ? " " : "", module);
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fputc('\n', stderr);
}

int logVerbosity()
{
    return s_verbosity;
}

void setLogVerbosity(int level)
{
    s_verbosity = level;
}

} // namespace KovGui
