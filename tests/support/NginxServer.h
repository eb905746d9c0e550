#pragma once

#include <QString>
#include <QTemporaryDir>
#include <memory>

class QProcess;

/**
 * A private nginx on 127.0.0.1 that serves a folder: a real server for tests and for the guided tour. It runs
 * as the current user, in the foreground, with all its files in a temporary folder, and ends with the object,
 * or with the process that owns it.
 */
class NginxServer
{
public:
    NginxServer();
    ~NginxServer();

    /**
     * Starts serving and waits until the server answers.
     *
     * @param rootDirectory  served as "/"
     * @param serverBlock    further directives inside "server { }", such as a location
     * @param listenOptions  after the address in "listen", such as "ssl"
     * @return false, with errorString(), if nginx is missing or does not come up within ten seconds
     */
    bool start(const QString &rootDirectory, const QString &serverBlock = QString(),
               const QString &listenOptions = QString());
    /// Ends the server and waits for that. Connections are refused from then on.
    void stop();
    /// After stop(): the same server on the same port.
    bool restart();

    quint16 port() const;
    /// "http://127.0.0.1:port/" with the path behind it; "https" if listenOptions say "ssl".
    QString url(const QString &path = QString()) const;
    QString errorString() const;

    /// A port of 127.0.0.1 that nobody listens on at present.
    static quint16 freePort();

private:
    bool writeConfiguration();
    bool isAnswering() const;

    QTemporaryDir m_directory;
    std::unique_ptr<QProcess> m_process;
    QString m_rootDirectory;
    QString m_serverBlock;
    QString m_listenOptions;
    QString m_error;
    quint16 m_port = 0;
};
