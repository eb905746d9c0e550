#pragma once

#include "programs/updater/base/ExitCode.h"

#include <QStringList>

/**
 * The program: reads the command line and the configuration, asks the update server and reports on standard
 * output, or installs a package. Either way it first clears up after an installation that was interrupted.
 * Errors are one line each on standard error.
 *
 * @param arguments         without the program's name
 * @param programDirectory  where the configuration file is looked for
 */
ExitCode runUpdater(const QStringList &arguments, const QString &programDirectory);
