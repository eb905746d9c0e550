#pragma once

/// A request to end the program: a signal from the terminal or the service manager; on Windows Ctrl+C,
/// Ctrl+Break, the closing of the console, or the event of gui/platform/windows/StopEvent.h. Implemented once
/// per operating system.
namespace StopRequest {

/// From now on a request no longer ends the program but is remembered, and a file that grows past a limit of
/// the process is an error of the call.
void watch();
bool isPending();

} // namespace StopRequest
