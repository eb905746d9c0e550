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

ExitCode printText(const QString &text, ExitCode code)
{
    const QByteArray bytes = text.toUtf8();
    const size_t size = size_t(bytes.size());
    const bool ok = std::fwrite(bytes.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0;
    return ok ? code : fail(ExitCode::OutputError, QStringLiteral("standard output cannot be written"));
}
