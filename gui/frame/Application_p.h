#pragma once

#include "kov_sdk/KovTypes.h"

namespace KovGui {

/// Keeps the mode of the process and writes the start-up line; a second call changes nothing but is logged.
void startApplication(_KOV_APPLICATION_MODE mode);

} // namespace KovGui
