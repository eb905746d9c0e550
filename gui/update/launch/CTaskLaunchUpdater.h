#pragma once

#include "abstract_task/CAbstractTask.h"
#include "gui/KovGuiGlobal.h"

#include <QByteArray>
#include <QProcess>
#include <QString>

#include <memory>

/**
 * Runs the updater program once and keeps how it ended and what it printed.
 *
 * The program is started from the command line's list of arguments, never through a shell; its standard input
 * holds the password of the proxy, if there is one, and is closed. Its standard error goes to the log line by
 * line, at most 16 KiB of it.
 *
 * The task's result says whether the program ran to its end: 0 then, whatever its exit code, and also when it
 * crashed. KOV_ERR_FAILURE when it could not be started, when the command line is broken, when it printed
 * more than maximumOutputSize, and for an elevated run, which this library does not do.
 * KOV_ERR_PROXY_AUTHENTICATION_REQUIRED when the user did not give the password that the proxy wants.
 *
 * A program that printed nothing for 30 minutes hangs and is killed, which counts as a crash (the timer is
 * the child "hangTimer"). terminate() kills it without waiting for it. The same happens when the task is
 * destroyed while the program runs.
 */
class KOVGUI_EXPORT CTaskLaunchUpdater : public CAbstractTask
{
    Q_OBJECT

public:
    enum TaskStep { GetProxyInfo = 0, Launch = 1 };
    Q_ENUM(TaskStep)

    struct TaskParams
    {
        /// As CommandLineUtils::join() makes it: the updater's path in double quotes, then its arguments.
        QString commandLine;
        bool elevated = false;
        /// The address for which a proxy is to be found; empty: no proxy is looked for.
        QString proxyUrl;
        /// A proxy that wants a password may ask the user for it. Else only a saved one is used.
        bool mayAskForPassword = false;
    };

    /// Bytes of standard output; an updater that prints more is killed.
    static const int maximumOutputSize = 4 * 1024 * 1024;

    explicit CTaskLaunchUpdater(const TaskParams &params);
    ~CTaskLaunchUpdater() override;

    unsigned type() const override;

    /// -1 until the program has ended. After a crash the number of the signal or exception: look at
    /// exitStatus() first.
    int exitCode() const;
    QProcess::ExitStatus exitStatus() const;
    /// The whole standard output.
    QByteArray output() const;

Q_SIGNALS:
    /// The program tells how far its installation is, 0 to 100. Only when one of its arguments is "install".
    void progress(int percent);

protected:
    QList<int> getDefaultSubTaskList() const override;
    void finish(int result) override;

private Q_SLOTS:
    void onProxyDetectionFinished(KOV_RESULT result, CAbstractTask *task);
    void onStandardOutput();
    void onStandardError();
    void onHang();
    void onStandartRunFinished(int exitCode, QProcess::ExitStatus exitStatus);
    void onProcessError(QProcess::ProcessError error);

private:
    /// Without a proxy, or without a class that can look for one, the updater runs without the proxy's
    /// arguments.
    Q_INVOKABLE KOV_RESULT getProxyInfo();
    Q_INVOKABLE KOV_RESULT launch();
    void reportProgress(bool atEnd);

    class Private;
    const std::unique_ptr<Private> d;
};
