#pragma once

#include "programs/updater/base/ExitCode.h"

#include <QStringList>

/// "sign": writes the signature file of a catalogue or a package, which an updater has to be able to take
/// apart. docs/reference/update-signatures.md
ExitCode runSignTool(const QStringList &arguments, const QString &programDirectory);

/// "generate-key": makes a private key, and prints the public one.
ExitCode runKeyTool(const QStringList &arguments, const QString &programDirectory);
