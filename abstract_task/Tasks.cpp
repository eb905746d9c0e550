#include "abstract_task/Tasks.h"

#include "abstract_task/ClassLookup_p.h"
#include "abstract_task/TasksLog_p.h"
#include "kov_sdk/KovTypes.h"

#include <QHash>
#include <QMetaType>

#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace {

// Slots and step methods are declared with the typedef's name; without the alias Qt would not know it as an
// int.
void registerResultType()
{
    qRegisterMetaType<KOV_RESULT>("KOV_RESULT");
}
Q_CONSTRUCTOR_FUNCTION(registerResultType)

void writeToStandardError(unsigned, const char *text)
{
    std::fprintf(stderr, "%s\n", text);
}

int errorsOnly()
{
    return 0;
}

std::atomic<Tasks::LogFunction> logFunction{writeToStandardError};
std::atomic<Tasks::VerbosityFunction> verbosityFunction{errorsOnly};

struct ProcessState
{
    /// By kind: "C" and its key. Qt looks a key up by walking over all of them.
    QHash<unsigned, QString> classNames;
    Tasks::ClassResolver resolver;
};

ProcessState &state()
{
    static ProcessState instance;
    return instance;
}

} // namespace

namespace Tasks {

void init(const QMetaEnum &taskTypes)
{
    for (int i = taskTypes.keyCount() - 1; i >= 0; --i)
        state().classNames.insert(unsigned(taskTypes.value(i)),
                                  QLatin1Char('C') + QString::fromLatin1(taskTypes.key(i)));
}

QString typeName(unsigned type)
{
    const QString name = state().classNames.value(type);
    return name.isEmpty() ? QString::number(type) : name.mid(1);
}

void setClassResolver(const ClassResolver &resolver)
{
    state().resolver = resolver;
}

QString className(unsigned type)
{
    return state().classNames.value(type);
}

const QMetaObject *resolveClass(const QString &className)
{
    return state().resolver ? state().resolver(className) : nullptr;
}

void setLogFunction(LogFunction function, VerbosityFunction verbosity)
{
    verbosityFunction = function ? verbosity : errorsOnly;
    logFunction = function ? function : writeToStandardError;
}

bool isLogged(unsigned level)
{
    const VerbosityFunction verbosity = verbosityFunction.load(std::memory_order_relaxed);
    return level == 0 || !verbosity || verbosity() >= int(level);
}

void log(unsigned level, const char *format, ...)
{
    if (!isLogged(level))
        return;
    char line[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    for (char *c = line; *c; ++c) {
        if (static_cast<unsigned char>(*c) < 0x20 || *c == 0x7f)
            *c = ' ';
    }
    logFunction.load(std::memory_order_acquire)(level, line);
}

} // namespace Tasks
