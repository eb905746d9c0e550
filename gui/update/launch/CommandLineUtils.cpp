#include "gui/update/launch/CommandLineUtils.h"

#include <algorithm>

namespace {

const QLatin1Char quote('"');

QString quoted(const QString &argument)
{
    QString escaped = argument;
    return quote + escaped.replace(quote, QLatin1String("\"\"\"")) + quote;
}

bool needsQuotes(const QString &argument)
{
    return argument.isEmpty() || std::any_of(argument.begin(), argument.end(), [](QChar c) {
               return c.isSpace() || c == quote;
           });
}

} // namespace

QString CommandLineUtils::join(const QString &program, const QStringList &arguments)
{
    QString line = quoted(program);
    for (const QString &argument : arguments)
        line += QLatin1Char(' ') + (needsQuotes(argument) ? quoted(argument) : argument);
    return line;
}

QStringList CommandLineUtils::split(const QString &commandLine)
{
    QStringList result;
    QString current;
    bool started = false;
    bool inQuotes = false;
    for (int i = 0; i < commandLine.size(); ++i) {
        const QChar c = commandLine.at(i);
        if (c.isSpace() && !inQuotes) {
            if (started)
                result << current;
            current.clear();
            started = false;
            continue;
        }
        started = true;
        if (c != quote) {
            current += c;
        } else if (commandLine.midRef(i, 3) == QLatin1String("\"\"\"")) {
            current += quote;
            i += 2;
        } else {
            inQuotes = !inQuotes;
        }
    }
    if (inQuotes)
        return QStringList();
    if (started)
        result << current;
    return result;
}
