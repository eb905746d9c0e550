#pragma once

#include "gui/update/record/CAppVersion.h"

#include <QDir>
#include <QObject>
#include <QTemporaryDir>
#include <QUrl>

class QProcess;

/**
 * A sample update site: a real nginx on loopback with a catalogue and a package, so that the console has
 * something to check against. Stopping it is what a lost connection looks like.
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
        Replayed, ///< a genuine one of long ago
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
    QUrl pageUrl() const;
    /// A file that takes some seconds to arrive, and its MD5 as 32 hexadecimal digits.
    QUrl fileUrl() const;
    QString fileMd5() const { return m_fileMd5; }
    /// Says that everybody is in Switzerland.
    QUrl countryServiceUrl() const;
    /// Receives statistics, and counts what arrived in this run.
    QUrl statisticsUrl() const;
    int statisticsReceived() const;

Q_SIGNALS:
    void runningChanged(bool running);

private:
    bool writeConfiguration();
    bool writePages();
    bool publishPackage();
    bool sign(const QByteArray &file, const char *role, const QStringList &more);
    QByteArray catalogueText(bool withUpdate) const;
    bool save(const QByteArray &name, const QByteArray &bytes);
    QUrl urlOf(const char *path) const;
    QString path(const QByteArray &name) const;

    QTemporaryDir m_folder;
    QProcess *const m_server;
    quint16 m_port = 0;
    QString m_fileMd5;
    /// Where the packages and the key lie that this installation's sample site works with.
    QDir m_sample;
    QString m_packageName;
    CAppVersion m_packageVersion;
    QString m_packageMd5;
    qint64 m_packageSize = 0;
    QString m_errorText;
};
