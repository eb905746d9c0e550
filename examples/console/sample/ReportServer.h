#pragma once

#include <QObject>
#include <QTemporaryDir>
#include <QUrl>

class QProcess;

/// The sample service for problem reports, a process on loopback. What it got lies in its folder.
class ReportServer : public QObject
{
    Q_OBJECT

public:
    enum class Manner {
        Takes, ///< reports
        IsBusy, ///< receives a report and does not take it
        SendsElsewhere, ///< redirects to another host
        Stopped,
    };

    explicit ReportServer(QObject *parent = nullptr);
    ~ReportServer() override;

    /// Not every build for Windows has the library that the service stands on.
    static bool isInstalled();
    /// Sets the library's address of the service as well. False with errorText() when it cannot be started.
    bool setManner(Manner manner);
    QString errorText() const { return m_errorText; }
    /// The archive that the service has of a report; empty when it has none.
    QString archiveOf(const QString &id) const;

private:
    bool start();

    QTemporaryDir m_folder;
    QProcess *const m_server;
    quint16 m_port = 0;
    QString m_errorText;
};
