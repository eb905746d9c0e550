#pragma once

#include "gui/tasks/download/CDownloadThread.h"
#include "gui/tasks/download/CTaskDownloadFile.h"
#include "tests/support/KovTest.h"
#include "tests/tasks/TaskFixture.h"

/// What a task tells, in order: states, and the end.
class DownloadEvents : public QObject
{
public:
    explicit DownloadEvents(CTaskDownloadFile *task)
    {
        connect(task, &CTaskDownloadFile::stateChanged, this,
                [this](CTaskDownloadFile::State state) { list << QString("state %1").arg(state); });
        connect(
            task, &CTaskDownloadFile::downloadFinished, this,
            [this](const QString &path, int error, int canceled) {
                const QString name = path.section('/', -1);
                list
                    << QString("finished %1 %2 %3").arg(name.isEmpty() ? "-" : name).arg(error).arg(canceled);
            });
        connect(task, &CAbstractTask::taskFinished, this,
                [this](KOV_RESULT result) { list << QString("result 0x%1").arg(unsigned(result), 0, 16); });
    }
    QString text() const { return list.join(", "); }

    QStringList list;
};

inline QTimer *reconnectTimer(CTaskDownloadFile &task)
{
    return task.findChild<QTimer *>("reconnectTimer");
}

/// The reconnect's time has come.
inline void fireReconnect(CTaskDownloadFile &task)
{
    reconnectTimer(task)->start(0);
}
