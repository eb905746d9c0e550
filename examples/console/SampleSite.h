#pragma once

#include <QObject>
#include <QTemporaryDir>
#include <QUrl>

class QProcess;

/**
 * A sample update site: a real nginx on loopback with a catalogue and a package, so that the console has something to
 * check against. Stopping it is what a lost connection looks like.
 */
class SampleSite : public QObject
{
    Q_OBJECT

public:
    enum class Catalogue {
        UpdateAvailable, ///< holds a newer version
        UpToDate, ///< holds the version that runs
        Damaged, ///< ends in the middle
        Slow, ///< holds a newer version, and takes its time
    };

    explicit SampleSite(QObject *parent = nullptr);
    ~SampleSite() override;

    /// Starts nginx, on the same port every time. False with errorText() when it cannot be started.
    bool start();
    void stop();
    bool isRunning() const;
    QString errorText() const { return m_errorText; }

    /// What the site serves from now on.
    bool setCatalogue(Catalogue catalogue);
    /// The address under which the catalogues of the product lines lie.
    QUrl baseUrl() const;

Q_SIGNALS:
    void runningChanged(bool running);

private:
    bool writeConfiguration();
    bool waitUntilReady();
    QString path(const char *name) const;

    QTemporaryDir m_folder;
    QProcess *const m_server;
    quint16 m_port = 0;
    QString m_errorText;
};
