#pragma once

#include <cstddef>

/// Which file the records go to: the directory, the fall-backs, and the look once a second whether it is
/// still there.
namespace KovGui::LogDestination {

/// As KovGui::setLogDirectory().
void setDirectory(const char *directory) noexcept;

/// As KovGui::logFilePath().
const char *filePath() noexcept;

/// The default output function. May change the thread's last error.
void write(const char *record, std::size_t length) noexcept;

} // namespace KovGui::LogDestination
