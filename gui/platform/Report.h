#pragma once

namespace KovGui::Platform {

/// Receives one line for the log. This folder does not write it itself.
/// @param level  0 error, 1 warning, 2 information, 3 debug
/// @param text   UTF-8, never a secret; may hold foreign text that is not escaped. Valid during the call.
using Report = void (*)(unsigned level, const char *text);

} // namespace KovGui::Platform
