#pragma once

#include <QTcpServer>
#include <QTcpSocket>

/// A SOCKS 5 proxy on loopback that asks for no password. Every name is one of this machine.
class SocksServer : public QTcpServer
{
public:
    SocksServer()
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            auto *client = nextPendingConnection();
            connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
            connect(client, &QTcpSocket::readyRead, this, [=] { greet(client, client->readAll()); });
        });
    }

    QList<QByteArray> names; ///< that were asked for, or the kind of an address that is no name

private:
    /// What is said arrives at once on loopback.
    void greet(QTcpSocket *client, const QByteArray &greeting)
    {
        client->disconnect(this);
        if (greeting.at(0) != 5)
            return client->abort();
        connect(client, &QTcpSocket::readyRead, this, [=] { tunnel(client, client->readAll()); });
        client->write(QByteArray("\5\0", 2));
    }

    void tunnel(QTcpSocket *client, const QByteArray &request)
    {
        const bool isName = request.size() > 5 && request.at(3) == 3;
        names.append(isName ? request.mid(5, request.at(4)) : request.mid(3, 1).toHex());
        const auto port = quint16(quint8(request.at(request.size() - 2)) * 256 + quint8(request.back()));
        client->disconnect(this);
        auto *server = new QTcpSocket(client);
        connect(client, &QTcpSocket::readyRead, server, [=] { server->write(client->readAll()); });
        connect(server, &QTcpSocket::readyRead, client, [=] { client->write(server->readAll()); });
        connect(server, &QTcpSocket::disconnected, client, &QTcpSocket::disconnectFromHost);
        connect(server, &QTcpSocket::connected, client,
                [=] { client->write(QByteArray("\5\0\0\1\0\0\0\0\0\0", 10)); });
        server->connectToHost(QHostAddress::LocalHost, port);
    }
};
