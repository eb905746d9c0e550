#pragma once

#include "tests/support/Files.h"

#include <QByteArray>
#include <QProcess>

/// One run of the utility as a child process, while the test's event loop (and so its servers) keeps going.
class UtilityRun
{
public:
    /// @param folder  "-p"; "-ui", "-fo" and a stall limit are always given
    /// @param more    further arguments, separated by blanks
    UtilityRun(const QByteArray &url, const QString &folder, const QByteArray &more = QByteArray());
    ~UtilityRun();

    /// Starts with @p input on standard input, or with one that never ends when it is null.
    void start(const QByteArray &input = QByteArray(""));
    /// The exit code; -1 after a crash or a signal, -2 when it does not end within 30 seconds.
    int wait();
    int run(const QByteArray &input = QByteArray("")) { return start(input), wait(); }

    QProcess process;
    QByteArray output;
    QByteArray errors;
};
