#pragma once

#include "programs/download_utility/Result.h"

#include <string>
#include <vector>

/// What the program asks of the operating system about itself. Implemented once per operating system.
namespace Process {

/// The first call. Returns the arguments in UTF-8 on every system, without the program's name; from now on
/// the standard streams carry bytes as they are, with line feeds alone.
std::vector<std::string> start(int argc, char *argv[]);

/// A request to end sets stopRequested() from now on. On Unix that is SIGTERM, SIGINT or SIGHUP; on Windows
/// the event of gui/platform/windows/StopEvent.h, Ctrl+C, Ctrl+Break, and the closing of the console, the end
/// of the session or of the system, which give the program a few seconds. A broken pipe and a file that grows
/// past a limit become errors of the call instead of ending the process. Memory images of a crash are
/// switched off, for they could hold a password.
void prepare();
bool stopRequested();

/// Gives way to other programs on processor and disk; on Windows with its memory as well.
void lowerPriority();

/// Reads one line from standard input, without its line feed (on Windows without a carriage return before it
/// as well); the end of the input ends the line too. Byte by byte, so that nothing behind the line is taken.
/// ExitCode::PasswordMissing when no line arrives within 30 seconds, or it is longer than 4096 bytes or holds
/// a zero byte; ExitCode::Stopped when asked to end. Once in a process.
Result readLine(std::string &line);

/// What became of a text for standard output.
enum class Report { Written, ReaderBusy, ReaderGone };
/// Writes @p text (at most 512 bytes) in one piece, or not at all when that would block. On Windows the text
/// may be on its way when this returns: that the reader is gone is then told by the next call, and the end of
/// the program waits at most a second for the last text.
Report writeReport(const std::string &text);

/// Changes with every start of the system; empty when the system does not say.
std::string bootIdentity();

} // namespace Process
