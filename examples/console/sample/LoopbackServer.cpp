#include "examples/console/sample/LoopbackServer.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>

quint16 LoopbackServer::freePort(quint16 preferred)
{
    QTcpServer server;
    if (preferred != 0 && server.listen(QHostAddress::LocalHost, preferred))
        return preferred;
    return server.listen(QHostAddress::LocalHost) ? server.serverPort() : 0;
}

QString LoopbackServer::program(const char *name)
{
    const QString found = QStandardPaths::findExecutable(QString::fromLatin1(name));
    return found.isEmpty()
               ? QStandardPaths::findExecutable(QString::fromLatin1(name), {QStringLiteral("/usr/sbin")})
               : found;
}

bool LoopbackServer::save(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
}

bool LoopbackServer::waitUntilReady(QProcess *server, quint16 port)
{
    QElapsedTimer clock;
    clock.start();
    while (server->state() == QProcess::Running && clock.elapsed() < 5000) {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, port);
        if (socket.waitForConnected(200))
            return true;
        server->waitForFinished(50);
    }
    return false;
}

void LoopbackServer::stop(QProcess *server)
{
    if (server->state() == QProcess::NotRunning)
        return;
    server->terminate();
    // Not every system has a way to ask for it.
    if (!server->waitForFinished(1000)) {
        server->kill();
        server->waitForFinished(3000);
    }
}
