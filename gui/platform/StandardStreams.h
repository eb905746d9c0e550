#pragma once

namespace KovGui::Platform {

/// From now on standard input, output and error carry bytes as they are: Windows translates line ends
/// otherwise.
void useBinaryStreams();

} // namespace KovGui::Platform
