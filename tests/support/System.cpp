#include "tests/support/System.h"

#include <QProcess>

void System::stopServer(QProcess &process)
{
    // Heard on Windows by what stands for a server under Wine (windows/ProgramBeside.cpp).
    process.terminate();
    if (process.state() != QProcess::NotRunning && !process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished();
    }
}
