#pragma once

#include <QTcpServer>
#include <QTcpSocket>

/// A SOCKS 5 proxy on loopback (RFC 1928). Every name is one of this machine.
class SocksServer : public QTcpServer
{
public:
    /// @param login  "user:password", which it asks for then (RFC 1929)
    explicit SocksServer(const QByteArray &login = QByteArray())
        : m_login(login)
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            auto *client = nextPendingConnection();
            connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
            connect(client, &QTcpSocket::readyRead, this, [=] { greet(client, client->readAll()); });
        });
    }

    QList<QByteArray> names; ///< that were asked for, or the kind of an address that is no name
    QList<QByteArray> logins; ///< that were given, "user:password"

private:
    /// What is said arrives at once on loopback.
    void greet(QTcpSocket *client, const QByteArray &greeting)
    {
        client->disconnect(this);
        if (greeting.at(0) != 5)
            return client->abort();
        const char method = m_login.isEmpty() ? 0 : 2;
        if (!greeting.mid(2).contains(method)) {
            client->write(QByteArray("\5\xff", 2));
            return client->disconnectFromHost();
        }
        connect(client, &QTcpSocket::readyRead, this,
                [=] { method ? logIn(client, client->readAll()) : tunnel(client, client->readAll()); });
        client->write(QByteArray("\5", 1) + method);
    }

    void logIn(QTcpSocket *client, const QByteArray &request)
    {
        const QByteArray user = request.mid(2, quint8(request.at(1)));
        logins.append(user + ':' + request.mid(3 + user.size()));
        client->disconnect(this);
        if (logins.last() != m_login) {
            client->write(QByteArray("\1\1", 2));
            return client->disconnectFromHost();
        }
        connect(client, &QTcpSocket::readyRead, this, [=] { tunnel(client, client->readAll()); });
        client->write(QByteArray("\1\0", 2));
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

    const QByteArray m_login;
};
