#pragma once

#include <string>

namespace KovGui::Platform {

/// The full name of the user of this process as the system knows it, UTF-8; empty when it knows none. May ask
/// a directory on the network. Any thread.
std::string realName();

} // namespace KovGui::Platform
