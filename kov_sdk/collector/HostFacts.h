#pragma once

#include "gui/data_model/documents/CHostInfo.h"
#include "gui/data_model/documents/CHostStatistics.h"
#include "gui/data_model/documents/CMoreHostInfo.h"
#include "gui/data_model/documents/CNetConfig.h"

#include <QIODevice>

#include <memory>

/// What the system tells about this machine. Facts that it does not tell are absent. No command line of any
/// process is among them: people put passwords there.
namespace HostFacts {

CHostInfo hostInfo();
CMoreHostInfo moreHostInfo();
CHostStatistics hostStatistics();
CNetConfig netConfig();

/// A table, one process a line: number, parent, user, memory in KiB, name.
QByteArray allProcesses();
/// The system's counters as it writes them.
QByteArray performanceCounters();
/// A table, one package a line: name and version; empty where the system keeps no such list.
QByteArray installedSoftware();

/// A regular file, opened for reading; null for anything else and for a symbolic link, which may lead into a
/// file that its planter cannot read.
std::unique_ptr<QIODevice> openAttachment(const QString &path);

} // namespace HostFacts
