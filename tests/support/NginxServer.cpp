#include "tests/support/NginxServer.h"

#include "tests/support/System.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>

namespace {

QString program()
{
    const QString found = QStandardPaths::findExecutable(QStringLiteral("nginx"));
    // /usr/sbin is not on every user's path.
    return found.isEmpty()
               ? QStandardPaths::findExecutable(QStringLiteral("nginx"), {QStringLiteral("/usr/sbin")})
               : found;
}

QString configuration(const QString &directory, const QString &body)
{
    // Started by root, the worker would be another user, who cannot read the caller's temporary folders.
    const QString user = System::isRoot() ? QStringLiteral("user root;\n") : QString();
    const QString text
        = QStringLiteral("daemon off;\nworker_processes 1;\npid %1/pid;\nerror_log %1/error.log;\n"
                         "events { worker_connections 64; }\n"
                         "http {\n"
                         "    access_log off;\n"
                         "    default_type application/octet-stream;\n"
                         "    client_body_temp_path %1/body;\n    proxy_temp_path %1/proxy;\n"
                         "    fastcgi_temp_path %1/fastcgi;\n    uwsgi_temp_path %1/uwsgi;\n"
                         "    scgi_temp_path %1/scgi;\n"
                         "    server {\n%2\n    }\n"
                         "}\n");
    return user + text.arg(directory, body);
}

} // namespace

NginxServer::NginxServer() = default;

NginxServer::~NginxServer()
{
    stop();
}

bool NginxServer::start(const QString &rootDirectory, const QString &serverBlock,
                        const QString &listenOptions)
{
    stop();
    m_rootDirectory = rootDirectory;
    m_serverBlock = serverBlock;
    m_listenOptions = listenOptions;
    // Somebody else may take a free port before the server does.
    for (int i = 0; i < 3; ++i) {
        m_port = freePort();
        if (restart())
            return true;
    }
    return false;
}

bool NginxServer::restart()
{
    if (program().isEmpty() || !writeConfiguration()) {
        m_error = QStringLiteral("nginx is not installed, or its configuration cannot be written");
        return false;
    }
    const QString directory = m_directory.path();
    m_process = std::make_unique<QProcess>();
    m_process->setProcessChannelMode(QProcess::MergedChannels);
    System::startServer(*m_process, program(),
                        {QStringLiteral("-p"), directory, QStringLiteral("-c"),
                         directory + QStringLiteral("/nginx.conf"), QStringLiteral("-e"),
                         directory + QStringLiteral("/error.log")});
    QDeadlineTimer deadline(10000);
    while (!deadline.hasExpired() && !m_process->waitForFinished(20)) {
        if (isAnswering())
            return true;
        if (m_process->state() == QProcess::NotRunning)
            break;
    }
    m_error = QStringLiteral("nginx does not come up: ") + QString::fromUtf8(m_process->readAll());
    stop();
    return false;
}

void NginxServer::stop()
{
    if (!m_process)
        return;
    System::stopServer(*m_process);
    m_process.reset();
}

quint16 NginxServer::port() const
{
    return m_port;
}

QString NginxServer::url(const QString &path) const
{
    const bool isSecure = m_listenOptions.contains(QLatin1String("ssl"));
    const QString scheme = isSecure ? QStringLiteral("https") : QStringLiteral("http");
    return QStringLiteral("%1://127.0.0.1:%2/%3").arg(scheme).arg(m_port).arg(path);
}

QString NginxServer::errorString() const
{
    return m_error;
}

quint16 NginxServer::freePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

bool NginxServer::writeConfiguration()
{
    const QString body = QStringLiteral("listen 127.0.0.1:%1 %2;\nroot \"%3\";\n%4")
                             .arg(m_port)
                             .arg(m_listenOptions, m_rootDirectory, m_serverBlock);
    QFile file(m_directory.filePath(QStringLiteral("nginx.conf")));
    const QByteArray text = configuration(m_directory.path(), body).toUtf8();
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

bool NginxServer::isAnswering() const
{
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), m_port);
    return socket.waitForConnected(500);
}
