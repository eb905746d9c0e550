#pragma once

#include <QByteArrayList>

/// What the program asks of the operating system about itself. Implemented once per operating system.
namespace Process {

/// The standard streams carry bytes as they are, and a reader that went away is an error of writing.
/// @return the program's arguments with its own name first, as Files has names
QByteArrayList prepare(int argc, char *argv[]);

/**
 * Lets another program do the work, so that whoever started the updater watches, answers and ends the right
 * one. On Unix it takes this process's place, with its standard streams and process id. On Windows it runs as
 * this process's child with the same streams, is asked to end when this one is (StopRequest.h), and dies with
 * it.
 *
 * @param path       of the program
 * @param arguments  its own name first
 * @return Windows: the program's exit code. On both: ExitCode::InternalError, with a line on standard error,
 * when it cannot be started
 */
int handOver(const QByteArray &path, const QByteArrayList &arguments);

} // namespace Process
