#pragma once

/**
 * Lets another program of the same folder do the work: it takes this process's place, with its arguments, standard
 * streams and process id, so that whoever started the updater watches, answers and ends the right process.
 *
 * @param directory  of the program, in the file system's encoding
 * @param program    its name
 * @param argv       this process's arguments, null at the end
 *
 * Returns only when the program cannot be started, with a line on standard error.
 */
void handOver(const char *directory, const char *program, char *argv[]);
