#pragma once

#include "tests/support/Files.h"
#include "tests/support/NginxServer.h"
#include "tests/support/System.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

/// A private squid on 127.0.0.1 that lets one user through, by basic authentication. It ends with the object,
/// or with the process that owns it.
class SquidServer
{
public:
    ~SquidServer() { System::stopServer(m_process); }

    bool start(const QByteArray &user, const QByteArray &password)
    {
        if (!writeFile(path("passwords"), user + ':' + hash(password)))
            return false;
        QFile::setPermissions(path("passwords"), QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther);
        m_port = NginxServer::freePort();
        if (!writeFile(path("squid.conf"), text()))
            return false;
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        QString program = QStandardPaths::findExecutable("squid");
        if (program.isEmpty())
            program = QStandardPaths::findExecutable("squid", {"/usr/sbin"});
        // Those of one name share memory, which another user's cannot open.
        const QString name = "test" + QString::number(m_port);
        // Squid wants another user than root for itself.
        if (!System::startServer(m_process, program, {"-N", "-n", name, "-f", path("squid.conf")},
                                 m_directory.path()))
            return false;
        return QTest::qWaitFor([this] { return isAnswering(); }, 20000);
    }

    quint16 port() const { return m_port; }
    QByteArray errorText() { return m_process.readAll(); }
    QByteArray accessLog() const { return fileContent(path("access.log")); }
    void clearAccessLog() { QFile::resize(path("access.log"), 0); }

    /// The user's name in each request that was answered by 407; "-" for a request without credentials.
    QByteArrayList refusedUsers() const
    {
        QByteArrayList users;
        for (const QByteArray &line : accessLog().split('\n')) {
            if (line.contains("/407 "))
                users << line.simplified().split(' ').value(7);
        }
        return users;
    }

private:
    QString path(const char *name) const { return m_directory.filePath(QLatin1String(name)); }

    static QByteArray hash(const QByteArray &password)
    {
        QProcess openssl;
        openssl.start("openssl", {"passwd", "-apr1", "-stdin"});
        openssl.write(password + '\n');
        openssl.closeWriteChannel();
        openssl.waitForFinished();
        return openssl.readAllStandardOutput();
    }

    QByteArray text() const
    {
        return QByteArray("http_port 127.0.0.1:PORT\n"
                          "pid_filename DIR/pid\n"
                          "access_log stdio:DIR/access.log\n"
                          "cache_log DIR/cache.log\n"
                          "cache deny all\n"
                          "coredump_dir DIR\n"
                          "netdb_filename none\n"
                          "shutdown_lifetime 0 seconds\n"
                          "auth_param basic program /usr/lib/squid/basic_ncsa_auth DIR/passwords\n"
                          "auth_param basic children 1 startup=1\n"
                          "auth_param basic realm test\n"
                          "acl known proxy_auth REQUIRED\n"
                          "http_access allow known\n"
                          "http_access deny all\n")
            .replace("PORT", QByteArray::number(m_port))
            .replace("DIR", QFile::encodeName(m_directory.path()));
    }

    bool isAnswering() const
    {
        QTcpSocket socket;
        socket.connectToHost("127.0.0.1", m_port);
        return socket.waitForConnected(200);
    }

    QTemporaryDir m_directory;
    QProcess m_process;
    quint16 m_port = 0;
};
