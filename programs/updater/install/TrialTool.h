#pragma once

#include "programs/updater/base/ExitCode.h"

#include <QByteArrayList>
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
 * @param words  the arguments of this process, its own name first
 * @param path   receives the program's, as Files has names
 * @param next   receives the program's arguments, its own name first
 * @return UpdateFound when the program is to be started
 */
ExitCode prepareRun(const QByteArrayList &words, const QString &programDirectory, QByteArray *path,
                    QByteArrayList *next);
