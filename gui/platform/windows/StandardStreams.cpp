#include "gui/platform/StandardStreams.h"

#include <cstdio>
#include <fcntl.h>
#include <initializer_list>
#include <io.h>

void KovGui::Platform::useBinaryStreams()
{
    for (std::FILE *const stream : {stdin, stdout, stderr})
        _setmode(_fileno(stream), _O_BINARY);
}
