#pragma once

#include "abstract_task/AbstractTaskGlobal.h"

#include <QMetaEnum>
#include <QString>

#include <functional>

/// What a process tells the task framework once, on its main thread, before the first task.
namespace Tasks {

/// Learns the task kinds' names. Further calls add kinds; a kind that is known already gets the new name.
ABSTRACTTASK_EXPORT void init(const QMetaEnum &taskTypes);

/// The key of a kind ("TaskHttpOperation"), or the number in decimal when it has none.
ABSTRACTTASK_EXPORT QString typeName(unsigned type);

/// Gives the class to create for a class name ("CTaskHttpOperation"), null for an unknown one. The class
/// needs an invokable constructor that takes a CTaskGenericId*.
using ClassResolver = std::function<const QMetaObject *(const QString &className)>;
ABSTRACTTASK_EXPORT void setClassResolver(const ClassResolver &resolver);

/// Receives the framework's log lines: level 0 error, 1 warning, 2 information, 3 debug (the life of every
/// task, with its address), 4 trace (every step); `text` is one line of UTF-8. May be called from any thread.
using LogFunction = void (*)(unsigned level, const char *text);
/// The highest level that is wanted at present. Called before each line above level 0, from any thread.
using VerbosityFunction = int (*)();

/**
 * Replaces the log function.
 *
 * @param function   null restores the default, which writes level 0 to standard error and drops the rest
 * @param verbosity  lines above it are not even formatted; without one, every line is formatted and handed
 * over
 */
ABSTRACTTASK_EXPORT void setLogFunction(LogFunction function, VerbosityFunction verbosity = nullptr);

} // namespace Tasks
