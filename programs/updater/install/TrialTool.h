#pragma once

#include "programs/updater/base/ExitCode.h"

#include <QStringList>

/// "rollback [--root DIR] [--reason TEXT]": goes back to the version before.
ExitCode runRollbackTool(const QStringList &arguments, const QString &programDirectory);

/// "confirm [--root DIR]": the version in use came up.
ExitCode runConfirmTool(const QStringList &arguments, const QString &programDirectory);

/**
 * "run [--root DIR] PROGRAM [ARGUMENT...]", where PROGRAM is a path inside a version. Counts the start of a
 * version that is on trial, and goes back when too many have failed. Where that is not this user's to do, it
 * only finds the program. Without --root, PROGRAM may be an absolute path, too: of a program in the version
 * in use of any installation, or of one that lies in none and is only started.
 *
 * @param argv  of this process; null at the end
 * @param next  receives the program's arguments, its own path first
 * @return UpdateFound when the program is to be started
 */
ExitCode prepareRun(char *argv[], const QString &programDirectory, QByteArray *path, char ***next);
