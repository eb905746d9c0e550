#pragma once

#include <QObject>
#include <QTemporaryDir>

class QProcess;

/// A sample proxy: a real squid on loopback that demands a name and a password.
class SampleProxy : public QObject
{
    Q_OBJECT

public:
    explicit SampleProxy(QObject *parent = nullptr);
    ~SampleProxy() override;

    /// Starts squid, on the same port every time. False with errorText() when it cannot be started.
    bool start();
    void stop();
    bool isRunning() const;
    quint16 port() const { return m_port; }
    QString errorText() const { return m_errorText; }

    /// What the proxy accepts.
    static QString user();
    static QString password();

private:
    bool writeConfiguration();

    QTemporaryDir m_folder;
    QProcess *const m_server;
    quint16 m_port = 0;
    QString m_errorText;
};
