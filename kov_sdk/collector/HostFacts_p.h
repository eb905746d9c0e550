#pragma once

#include "kov_sdk/collector/HostFacts.h"

#include <QVector>

/// What is made of the system's answers, whichever system it is.
namespace HostFacts {

struct Process
{
    quint32 id = 0;
    quint32 parent = 0;
    QString user; ///< empty where the system does not tell
    qint64 memory = 0; ///< bytes
    qint64 processorTime = 0; ///< in any unit
    QString name;
};

/// All but the user, the processor and the memory.
CHostInfo commonHostInfo();
/// Those that took most of the processor.
QVector<CProcessStatistics> busiest(QVector<Process> processes);
/// Sorted by their numbers.
QByteArray processTable(QVector<Process> processes);

} // namespace HostFacts
