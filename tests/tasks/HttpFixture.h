#pragma once

#include "abstract_task/CAbstractTask.h"
#include "gui/log/Log.h"

#include <QFile>
#include <QPointer>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

inline QString s(const char *text)
{
    return QString::fromUtf8(text);
}

/// Keeps the log's records up to verbosity 3 while it lives. One at a time.
class RecordedLog
{
public:
    RecordedLog()
    {
        text().clear();
        KovGui::setLogVerbosity(3);
        KovGui::setLogOutputFunction(
            [](const char *record, std::size_t n) { text().append(record, int(n)); });
    }
    ~RecordedLog()
    {
        KovGui::setLogOutputFunction(nullptr);
        KovGui::setLogVerbosity(1);
    }
    static QByteArray &text()
    {
        static QByteArray records;
        return records;
    }
};

/// Runs the task; its result, or 1 when it does not end.
inline KOV_RESULT resultOf(CAbstractTask &task)
{
    QSignalSpy finished(&task, &CAbstractTask::taskFinished);
    task.execute();
    return finished.wait(20000) ? finished.first().first().value<KOV_RESULT>() : 1;
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

/// A certificate authority of this test run.
class TestAuthority
{
public:
    TestAuthority()
    {
        openssl(s("req -x509 -nodes -newkey rsa:2048 -subj /CN=Test -keyout ca.key -out ca.pem"));
    }

    QByteArray certificate() const
    {
        QFile file(m_directory.filePath(s("ca.pem")));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    /// Issues a server's certificate; the directives with which nginx uses it.
    QString issue(const QString &subject, const QString &alternativeName)
    {
        const QString path = m_directory.filePath(QString::number(++m_count));
        openssl(s("req -nodes -newkey rsa:2048 -subj %1 -addext subjectAltName=%2 -keyout %3.key -out %3.csr")
                    .arg(subject, alternativeName, path));
        openssl(
            s("x509 -req -copy_extensions copy -CA ca.pem -CAkey ca.key -in %1.csr -out %1.pem").arg(path));
        return s("ssl_certificate %1.pem; ssl_certificate_key %1.key;").arg(path);
    }

private:
    void openssl(const QString &arguments)
    {
        QProcess process;
        process.setWorkingDirectory(m_directory.path());
        process.start(s("openssl"), arguments.split(QLatin1Char(' ')));
        if (!process.waitForFinished() || process.exitCode() != 0)
            qFatal("openssl: %s", process.readAllStandardError().constData());
    }

    QTemporaryDir m_directory;
    int m_count = 0;
};
