#pragma once

#include "gui/KovGuiGlobal.h"

/// Registers the value types of the update subsystem, so that they travel through queued and named calls.
/// KovGui::init calls it; calling it again does nothing.
KOVGUI_EXPORT void registerUpdateTypes();
