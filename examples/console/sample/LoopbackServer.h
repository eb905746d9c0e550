#pragma once

#include <QByteArray>
#include <QString>

class QProcess;

/// What the sample servers of the console have in common.
namespace LoopbackServer {

/// A port of 127.0.0.1 that nobody listens on now, the preferred one if it is free; 0 when there is none.
quint16 freePort(quint16 preferred = 0);
/// A server's program; Debian keeps them out of an ordinary user's path. Empty when it is not installed.
QString program(const char *name);
bool save(const QString &path, const QByteArray &bytes);
/// Waits some seconds until the port answers; false when it does not, or the server ends.
bool waitUntilReady(QProcess *server, quint16 port);
/// Asks the server to end, and ends it.
void stop(QProcess *server);

} // namespace LoopbackServer
