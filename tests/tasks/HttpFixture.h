#pragma once

#include "tests/support/Files.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestAuthority.h"
#include "tests/tasks/TaskFixture.h"

#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

inline QString s(const char *text)
{
    return QString::fromUtf8(text);
}

/// A server that misbehaves: every request gets the same bytes, or none, and the connection stays open.
class RawServer : public QTcpServer
{
public:
    explicit RawServer(const QByteArray &answer = QByteArray(), bool close = false)
    {
        connect(this, &QTcpServer::newConnection, this, [this, answer, close] {
            QTcpSocket *socket = nextPendingConnection();
            ++connections;
            connect(socket, &QTcpSocket::disconnected, this, [this] { ++disconnections; });
            connect(socket, &QTcpSocket::readyRead, this, [this, socket, answer, close] {
                received += socket->readAll();
                socket->write(answer);
                if (close)
                    socket->disconnectFromHost();
            });
        });
        listen(QHostAddress::LocalHost);
    }
    QString url(const QString &path = QString()) const
    {
        return QStringLiteral("http://127.0.0.1:%1/%2").arg(serverPort()).arg(path);
    }

    QByteArray received;
    int connections = 0;
    int disconnections = 0;
};

/// An HTTP proxy for CONNECT that takes every host for one port of this machine.
class TunnelProxy : public QTcpServer
{
public:
    explicit TunnelProxy(quint16 port)
    {
        connect(this, &QTcpServer::newConnection, this, [this, port] {
            QTcpSocket *client = nextPendingConnection();
            auto *server = new QTcpSocket(client);
            const auto relay = [](QTcpSocket *from, QTcpSocket *to) {
                connect(from, &QTcpSocket::readyRead, to, [from, to] { to->write(from->readAll()); });
                connect(from, &QTcpSocket::disconnected, to, &QTcpSocket::disconnectFromHost);
            };
            connect(client, &QTcpSocket::readyRead, server, [client, server, port, relay] {
                client->disconnect(server);
                client->readAll();
                server->connectToHost(QHostAddress::LocalHost, port);
                server->waitForConnected();
                relay(client, server);
                relay(server, client);
                client->write("HTTP/1.1 200 Connected\r\n\r\n");
            });
        });
        listen(QHostAddress::LocalHost);
    }
};
