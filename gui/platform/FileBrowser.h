#pragma once

#include "gui/platform/Report.h"

#include <functional>
#include <string>

namespace KovGui::Platform {

/**
 * Shows a file in the system's file browser, with its folder open and itself selected. Blocks for some
 * seconds at most: for a worker thread.
 *
 * @param path  absolute, UTF-8
 * @param goOn  asked often: false ends the waiting for the file browser, which may show the file all the same
 * @return false, reported, when no file browser took it; on Unix where none offers that service
 */
bool revealFile(const std::string &path, const std::function<bool()> &goOn, Report report);

} // namespace KovGui::Platform
