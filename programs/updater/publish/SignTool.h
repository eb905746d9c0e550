#pragma once

#include "programs/updater/base/ExitCode.h"

#include <QStringList>

/**
 * The part of the program for those who publish: "sign" writes the signature file of a catalogue or a package,
 * "generate-key" makes a private key. docs/reference/update-signatures.md
 *
 * @param arguments  without the program's name, the command first
 */
ExitCode runSignTool(const QStringList &arguments);

/// True for the name of a command of runSignTool().
bool isSignToolCommand(const QString &name);
