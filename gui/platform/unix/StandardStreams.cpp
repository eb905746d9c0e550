#include "gui/platform/StandardStreams.h"

void KovGui::Platform::useBinaryStreams() { }
