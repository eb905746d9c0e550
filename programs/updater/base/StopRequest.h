#pragma once

/// A request to end the program (a signal from the terminal or the service manager). Implemented once per
/// operating system.
namespace StopRequest {

/// From now on a request no longer ends the program but is remembered, and a file that grows past a limit of
/// the process is an error of the call.
void watch();
bool isPending();

} // namespace StopRequest
