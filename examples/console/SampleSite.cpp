#include "examples/console/SampleSite.h"

#include "examples/console/LoopbackServer.h"
#include "gui/KovVersion.h"
#include "gui/update/catalogue/CUpdates.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QProcess>

namespace {

constexpr int PackageBytes = 3 * 1024 * 1024;
constexpr int FileBytes = 24 * 1024 * 1024;

/// What stands for packages and files: bytes that are the same in every run.
QByteArray sampleBytes(int size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    quint32 state = KOV_VERSION_BUILD;
    for (char &byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = char(state >> 24);
    }
    return bytes;
}

} // namespace

SampleSite::SampleSite(QObject *parent)
    : QObject(parent)
    , m_server(new QProcess(this))
{
    QDir(m_folder.path()).mkpath(QStringLiteral("site/files"));
    m_port = LoopbackServer::freePort();
    connect(m_server, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [this] { Q_EMIT runningChanged(false); });
}

SampleSite::~SampleSite()
{
    m_server->disconnect(this);
    stop();
}

QString SampleSite::path(const char *name) const
{
    return m_folder.filePath(QString::fromLatin1(name));
}

bool SampleSite::writePages()
{
    const QByteArray file = sampleBytes(FileBytes);
    m_fileMd5 = QString::fromLatin1(QCryptographicHash::hash(file, QCryptographicHash::Md5).toHex());
    return LoopbackServer::save(path("site/files/tools.iso"), file)
           && LoopbackServer::save(path("site/index.html"), "<p>This page comes from the sample site.</p>\n")
           && LoopbackServer::save(path("site/country.xml"),
                                   "<r><Result>0</Result><Country>CH</Country></r>\n");
}

QUrl SampleSite::urlOf(const char *path) const
{
    QUrl url = baseUrl();
    url.setPath(QString::fromLatin1(path));
    return url;
}

QUrl SampleSite::pageUrl() const
{
    return urlOf("/index.html");
}

QUrl SampleSite::fileUrl() const
{
    return urlOf("/files/tools.iso");
}

QUrl SampleSite::countryServiceUrl() const
{
    return urlOf("/country.xml");
}

QUrl SampleSite::baseUrl() const
{
    QUrl url;
    url.setScheme(QStringLiteral("http"));
    url.setHost(QStringLiteral("127.0.0.1"));
    url.setPort(m_port);
    return url;
}

bool SampleSite::isRunning() const
{
    return m_server->state() == QProcess::Running;
}

bool SampleSite::writeConfiguration()
{
    // One process, owned by whoever runs the console, with every file in the private folder.
    const QString text
        = QStringLiteral("daemon off;\nmaster_process off;\npid %1/nginx.pid;\nerror_log stderr;\n"
                         "events {}\nhttp {\n  access_log off;\n  client_body_temp_path %1/body;\n"
                         "  proxy_temp_path %1/proxy;\n  fastcgi_temp_path %1/fastcgi;\n"
                         "  uwsgi_temp_path %1/uwsgi;\n  scgi_temp_path %1/scgi;\n"
                         "  server {\n    listen 127.0.0.1:%2;\n    root %1/site;\n"
                         // The catalogue of every product line is the same one here.
                         "    location ~ /tessarine_updates\\.xml$ {\n"
                         "      if (-f %1/slow) { set $limit_rate 200; }\n"
                         "      rewrite ^ /catalogue.xml break;\n    }\n"
                         "    location /files/ { limit_rate 6m; }\n"
                         "  }\n}\n")
              .arg(m_folder.path(), QString::number(m_port));
    return LoopbackServer::save(path("nginx.conf"), text.toUtf8());
}

bool SampleSite::start()
{
    if (isRunning())
        return true;
    const QString program = LoopbackServer::program("nginx");
    if (program.isEmpty() || !writeConfiguration() || !writePages()) {
        m_errorText = program.isEmpty() ? tr("nginx is not installed; ./setup installs it.")
                                        : tr("The site's folder cannot be written.");
        return false;
    }
    m_server->start(program, {QStringLiteral("-c"), path("nginx.conf"), QStringLiteral("-p"), m_folder.path(),
                              QStringLiteral("-e"), QStringLiteral("stderr")});
    if (!m_server->waitForStarted() || !LoopbackServer::waitUntilReady(m_server, m_port)) {
        m_errorText
            = tr("nginx did not start: %1").arg(QString::fromLocal8Bit(m_server->readAllStandardError()));
        stop();
        return false;
    }
    m_errorText.clear();
    Q_EMIT runningChanged(true);
    return true;
}

void SampleSite::stop()
{
    LoopbackServer::stop(m_server);
}

bool SampleSite::setCatalogue(Catalogue catalogue)
{
    CUpdProductVersion version;
    version.major = KOV_VERSION_MAJOR;
    version.minor = KOV_VERSION_MINOR;
    version.subMinor = KOV_VERSION_PATCH + 1;
    version.subSubMinor = KOV_VERSION_BUILD + 201;
    version.stringRepresentation = QStringLiteral("%1.%2.%3-%4")
                                       .arg(version.major)
                                       .arg(version.minor)
                                       .arg(version.subMinor)
                                       .arg(version.subSubMinor);

    const QByteArray package = sampleBytes(PackageBytes);
    const QString name
        = QStringLiteral("Tessarine-Console-%1.tar.gz")
              .arg(QString(version.stringRepresentation).replace(QLatin1Char('-'), QLatin1Char('.')));
    CUpdate update;
    update.uuid = QStringLiteral("5b1cb8a8-57a4-4a43-9bd6-0f3e55f3a1c2");
    update.updateName = tr("Tessarine Console %1").arg(version.stringRepresentation);
    update.updateDescription
        = tr("Machines start faster.\nA lost connection is reported once, not three times.\n"
             "Snapshots can be named.");
    update.filePath = baseUrl().toString() + QStringLiteral("/packages/") + name;
    update.fileSize = package.size();
    update.localeName = QStringLiteral("any");
    update.osType = QStringLiteral("any");
    update.dateTime = QDateTime(QDate(2026, 11, 2), QTime(9, 30), Qt::UTC);
    update.distributorName = QStringLiteral("Tessarine");
    update.status = QStringLiteral("released");
    update.checkSum = QString::fromLatin1(QCryptographicHash::hash(package, QCryptographicHash::Md5).toHex());
    if (catalogue != Catalogue::UpToDate)
        version.updates = {update};

    CUpdProduct product;
    product.productName = QStringLiteral("Tessarine Console");
    product.updateEnabled = true;
    product.versions = {version};
    CUpdates updates;
    updates.products = {product};

    QByteArray document = updates.write();
    if (catalogue == Catalogue::Damaged)
        document.truncate(document.size() / 2);
    QDir(m_folder.path()).mkpath(QStringLiteral("site/packages"));
    if (catalogue == Catalogue::Slow)
        LoopbackServer::save(path("slow"), QByteArray());
    else
        QFile::remove(path("slow"));
    if (LoopbackServer::save(path("site/packages/") + name, package)
        && LoopbackServer::save(path("site/catalogue.xml"), document))
        return true;
    m_errorText = tr("The site's folder cannot be written.");
    return false;
}
