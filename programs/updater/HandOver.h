#pragma once

#include <QByteArray>

/**
 * Lets another program do the work: it takes this process's place, with its standard streams and process id,
 * so that whoever started the updater watches, answers and ends the right process.
 *
 * @param path  of the program, in the file system's encoding
 * @param argv  its arguments, its own name first and null at the end
 *
 * Returns only when the program cannot be started, with a line on standard error.
 */
void handOver(const QByteArray &path, char *argv[]);
