#include "gui/platform/StandardStreams.h"

#include <cstdio>
#include <initializer_list>
#include <fcntl.h>
#include <io.h>

void KovGui::Platform::useBinaryStreams()
{
    for (std::FILE *const stream : {stdin, stdout, stderr})
        _setmode(_fileno(stream), _O_BINARY);
}
