#pragma once

#include "programs/updater/base/ExitCode.h"

#include <QString>

/// Prints "updater: " and the text as one line on standard error. Foreign texts are part of such lines; what
/// could look like a line of its own, or steer a terminal, becomes a blank.
void printError(const QString &text);

/// Prints the text, returns the code.
ExitCode fail(ExitCode code, const QString &text);

/// Writes to standard output. @return the code, or OutputError with a line on standard error: a cut report is
/// no report
ExitCode printText(const QString &text, ExitCode code);
