#include "examples/console/sample/SampleSite.h"

#include "examples/console/sample/LoopbackServer.h"
#include "gui/data_model/documents/CUpdates.h"
#include "gui/update/record/CProductUpdateInfo.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>

namespace {

constexpr int fileBytes = 24 * 1024 * 1024;

/// What stands for a file: bytes that are the same in every run.
QByteArray sampleBytes(int size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    quint32 state = 31301;
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
    // A download that was interrupted goes on after the console's next start, from the same address.
    const QString portKey = QStringLiteral("SampleSite/Port");
    m_port = LoopbackServer::freePort(quint16(QSettings().value(portKey).toUInt()));
    QSettings().setValue(portKey, m_port);
    // An installation lies in ROOT/current/bin, what its site publishes in ROOT/sample.
    m_sample.setPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../../sample"));
    const QDir packages(m_sample.filePath(QStringLiteral("packages")));
    m_packageName = packages.entryList({QStringLiteral("*.tar.gz")}, QDir::Files).value(0);
    const QStringList numbers = CProductUpdateInfo::getVersionFromFileName(m_packageName)
                                    .split(QRegularExpression(QStringLiteral("[.-]")));
    if (numbers.size() == 4)
        m_packageVersion
            = CAppVersion(numbers[0].toUInt(), numbers[1].toUInt(), numbers[2].toUInt(), numbers[3].toUInt());
    connect(m_server, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [this] { Q_EMIT runningChanged(false); });
}

SampleSite::~SampleSite()
{
    m_server->disconnect(this);
    stop();
}

QString SampleSite::path(const QByteArray &name) const
{
    return m_folder.filePath(QString::fromLatin1(name));
}

bool SampleSite::writePages()
{
    const QByteArray file = sampleBytes(fileBytes);
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

QUrl SampleSite::statisticsUrl() const
{
    return urlOf("/statistics");
}

int SampleSite::statisticsReceived() const
{
    QFile log(path("statistics.log"));
    return log.open(QIODevice::ReadOnly) ? log.readAll().count('\n') : 0;
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
        = QStringLiteral(
              "daemon off;\nmaster_process off;\npid %1/nginx.pid;\nerror_log stderr;\n"
              "events {}\nhttp {\n  access_log off;\n  client_body_temp_path %1/body;\n"
              "  proxy_temp_path %1/proxy;\n  fastcgi_temp_path %1/fastcgi;\n"
              "  uwsgi_temp_path %1/uwsgi;\n  scgi_temp_path %1/scgi;\n"
              "  server {\n    listen 127.0.0.1:%2;\n    root %1/site;\n"
              // The catalogue of every product line is the same one here.
              "    location ~ /tessarine_updates\\.xml$ {\n"
              "      if (-f %1/slow) { set $limit_rate 200; }\n"
              "      rewrite ^ /catalogue.xml break;\n    }\n"
              "    location ~ /tessarine_updates\\.xml\\.sig$ { rewrite ^ /catalogue.xml.sig break; }\n"
              "    location = /statistics { access_log %1/statistics.log; return 204; }\n"
              "    location /packages/ { limit_rate 5m; }\n"
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
    if (!publishPackage())
        return false;
    QByteArray document = catalogueText(catalogue != Catalogue::UpToDate);
    // Yesterday's catalogue is as genuine as today's.
    const QStringList age = catalogue == Catalogue::Replayed
                                ? QStringList{QStringLiteral("--counter"), QStringLiteral("1")}
                                : QStringList();
    if (!save("site/catalogue.xml", document)
        || !sign("site/catalogue.xml", "catalogue",
                 age + QStringList{QStringLiteral("--line"), QStringLiteral("console/v3")}))
        return false;
    if (catalogue == Catalogue::Damaged) {
        document.truncate(document.size() / 2);
        return save("site/catalogue.xml", document);
    }
    if (catalogue == Catalogue::Slow)
        return save("slow", QByteArray());
    QFile::remove(path("slow"));
    return true;
}

bool SampleSite::publishPackage()
{
    const QString place = path("site/packages/") + m_packageName;
    if (m_packageName.isEmpty()) {
        m_errorText = tr("There is no package to offer: start the console with ./run.");
        return false;
    }
    if (QFile::exists(place + QLatin1String(".sig")))
        return true;
    QFile original(m_sample.filePath(QLatin1String("packages/") + m_packageName));
    QFile package(place);
    QDir(m_folder.path()).mkpath(QStringLiteral("site/packages"));
    package.remove();
    if (!original.copy(place) || !package.open(QIODevice::ReadOnly)) {
        m_errorText
            = tr("The package %1 cannot be published: %2").arg(original.fileName(), original.errorString());
        return false;
    }
    QCryptographicHash md5(QCryptographicHash::Md5);
    md5.addData(&package);
    m_packageMd5 = QString::fromLatin1(md5.result().toHex());
    m_packageSize = package.size();
    return sign("site/packages/" + m_packageName.toLatin1(), "package",
                {QStringLiteral("--version"), m_packageVersion.toString()});
}

bool SampleSite::sign(const QByteArray &file, const char *role, const QStringList &more)
{
    QFile::remove(path(file + ".sig"));
    QProcess updater;
    const QDateTime expires = QDateTime::currentDateTimeUtc().addDays(7);
    updater.start(QCoreApplication::applicationDirPath() + QStringLiteral("/updater"),
                  QStringList{QStringLiteral("sign"), path(file), QStringLiteral("--key"),
                              m_sample.filePath(QStringLiteral("first.key")), QStringLiteral("--role"),
                              QLatin1String(role), QStringLiteral("--product"),
                              QStringLiteral("Tessarine Console"), QStringLiteral("--expires"),
                              expires.toString(Qt::ISODate)}
                      + more);
    if (updater.waitForFinished() && updater.exitStatus() == QProcess::NormalExit && updater.exitCode() == 0)
        return true;
    m_errorText
        = tr("The site's files cannot be signed: %1").arg(QString::fromUtf8(updater.readAllStandardError()));
    return false;
}

QByteArray SampleSite::catalogueText(bool withUpdate) const
{
    CUpdProductVersion version;
    version.major = m_packageVersion.majorVersion();
    version.minor = m_packageVersion.minorVersion();
    version.subMinor = m_packageVersion.patchLevel();
    version.subSubMinor = m_packageVersion.buildNumber();
    version.stringRepresentation = m_packageVersion.toString();

    CUpdate update;
    update.uuid = QStringLiteral("5b1cb8a8-57a4-4a43-9bd6-0f3e55f3a1c2");
    update.updateName = tr("Tessarine Console %1").arg(version.stringRepresentation);
    update.updateDescription
        = tr("Machines start faster.\nA lost connection is reported once, not three times.\n"
             "Snapshots can be named.");
    update.filePath = baseUrl().toString() + QStringLiteral("/packages/") + m_packageName;
    update.fileSize = m_packageSize;
    update.localeName = QStringLiteral("any");
    update.osType = QStringLiteral("any");
    update.dateTime = QDateTime(QDate(2026, 11, 2), QTime(9, 30), Qt::UTC);
    update.distributorName = QStringLiteral("Tessarine");
    update.status = QStringLiteral("released");
    update.checkSum = m_packageMd5;
    if (withUpdate)
        version.updates = {update};

    CUpdProduct product;
    product.productName = QStringLiteral("Tessarine Console");
    product.updateEnabled = true;
    product.versions = {version};
    CUpdates updates;
    updates.products = {product};
    return updates.write();
}

bool SampleSite::save(const QByteArray &name, const QByteArray &bytes)
{
    if (LoopbackServer::save(path(name), bytes))
        return true;
    m_errorText = tr("The site's folder cannot be written.");
    return false;
}
