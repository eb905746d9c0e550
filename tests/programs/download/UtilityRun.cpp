#include "tests/programs/download/UtilityRun.h"

#include "tests/support/System.h"

#include <QEventLoop>
#include <QTimer>

UtilityRun::UtilityRun(const QByteArray &url, const QString &folder, const QByteArray &more)
{
    QByteArray line = "download -u file -ui -fo -f " + url + " -p " + folder.toUtf8() + " " + more;
    if (!more.contains("--stall-limit"))
        line += " --stall-limit 10";
    process.setProgram(QStringLiteral(KOV_DOWNLOAD_UTILITY));
    process.setArguments(QString::fromUtf8(line).split(' ', Qt::SkipEmptyParts));
    System::prepareToStop(process);
}

UtilityRun::~UtilityRun()
{
    process.kill();
    process.waitForFinished();
}

void UtilityRun::start(const QByteArray &input)
{
    process.start();
    if (input.isNull())
        return;
    process.write(input);
    process.closeWriteChannel();
}

int UtilityRun::wait()
{
    QEventLoop loop;
    QTimer limit;
    QObject::connect(&process, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), &loop,
                     &QEventLoop::quit);
    QObject::connect(&limit, &QTimer::timeout, &loop, &QEventLoop::quit);
    limit.start(30000);
    if (process.state() != QProcess::NotRunning)
        loop.exec();
    output = process.readAllStandardOutput();
    errors = process.readAllStandardError();
    if (process.state() != QProcess::NotRunning)
        return -2;
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}
