#pragma once

#include "programs/updater/base/ExitCode.h"

#include <QStringList>

/// A command that is named by its first argument, beside the checks and installations of "--update".
struct Command
{
    QLatin1String name;
    /// Its arguments, for a person.
    QLatin1String usage;
    QLatin1String help;
    /// @param arguments  without the command's name
    ExitCode (*run)(const QStringList &arguments, const QString &programDirectory);
};

/// Null when there is none of this name.
const Command *findCommand(const QString &name);

/// Prints the command's own help when that is asked for, else runs it.
ExitCode runCommand(const Command &command, const QStringList &arguments, const QString &programDirectory);

/// One line a command, for the help of the program.
QString commandList();
