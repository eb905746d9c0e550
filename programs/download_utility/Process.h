#pragma once

#include "programs/download_utility/Result.h"

#include <string>

/// What the program asks of the operating system about itself. Implemented once per operating system.
namespace Process {

/// A request to end (a signal from the terminal or the service manager) sets stopRequested() from now on; a
/// broken pipe and a file that grows past a limit become errors of the call instead of ending the process.
/// Memory images of a crash are switched off, for they could hold a password.
void prepare();
bool stopRequested();

/// Gives way to other programs on processor and disk.
void lowerPriority();

/// Reads one line from standard input, without its line feed; the end of the input ends the line too. Byte by
/// byte, so that nothing behind the line is taken. ExitCode::PasswordMissing when no line arrives within 30
/// seconds, or it is longer than 4096 bytes or holds a zero byte; ExitCode::Stopped when asked to end.
Result readLine(std::string &line);

/// What became of a text for standard output.
enum class Report { Written, ReaderBusy, ReaderGone };
/// Writes @p text (at most 512 bytes) in one piece, or not at all when that would block.
Report writeReport(const std::string &text);

/// Changes with every start of the system; empty when the system does not say.
std::string bootIdentity();

} // namespace Process
