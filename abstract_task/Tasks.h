#pragma once

#include "abstract_task/AbstractTaskGlobal.h"

#include <QMetaEnum>
#include <QString>

#include <functional>

/// What a process tells the task framework once, before the first task.
namespace Tasks {

/// Learns the task kinds' names. A second call replaces the first.
ABSTRACTTASK_EXPORT void init(const QMetaEnum &taskTypes);

/// The key of a kind ("TaskHttpOperation"), or the number in decimal when it has none.
ABSTRACTTASK_EXPORT QString typeName(unsigned type);

/// Gives the class to create for a class name ("CTaskHttpOperation"), null for an unknown one. The class needs an
/// invokable constructor that takes a CTaskGenericId*.
using ClassResolver = std::function<const QMetaObject *(const QString &className)>;
ABSTRACTTASK_EXPORT void setClassResolver(const ClassResolver &resolver);

/// Receives the framework's log lines: level 0 error ... 4 trace, `text` one line of UTF-8. May be called from any
/// thread. Null restores the default, which writes level 0 to standard error and drops the rest.
using LogFunction = void (*)(unsigned level, const char *text);
ABSTRACTTASK_EXPORT void setLogFunction(LogFunction function);

} // namespace Tasks
