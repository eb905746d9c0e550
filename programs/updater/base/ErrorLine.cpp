#include "programs/updater/base/ErrorLine.h"

#include <cstdio>

void printError(const QString &text)
{
    QString line = text;
    for (QChar &character : line) {
        if (!character.isPrint())
            character = QLatin1Char(' ');
    }
    std::fprintf(stderr, "updater: %s\n", line.toUtf8().constData());
}

ExitCode fail(ExitCode code, const QString &text)
{
    printError(text);
    return code;
}
