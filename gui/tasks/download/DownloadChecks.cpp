#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/tasks/download/DownloadChecks_p.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QUrl>

#include <algorithm>

namespace {

constexpr int mostDamagedFiles = 100;

bool isInside(const QString &folder, const QString &parent)
{
    return !parent.isEmpty() && (folder == parent || folder.startsWith(parent + QLatin1Char('/')));
}

bool isInApplicationFolder(const QString &path)
{
    const QString folder = QFileInfo(path).absoluteDir().canonicalPath();
    const QList<QStandardPaths::StandardLocation> own = {
        QStandardPaths::AppDataLocation, QStandardPaths::AppLocalDataLocation, QStandardPaths::CacheLocation};
    return std::any_of(own.begin(), own.end(), [&folder](QStandardPaths::StandardLocation location) {
        // The generic folder is everybody's.
        const bool hasName = !QCoreApplication::applicationName().isEmpty();
        return hasName
               && isInside(folder, QFileInfo(QStandardPaths::writableLocation(location)).canonicalFilePath());
    });
}

} // namespace

QString DownloadChecks::checksumUrl(const QString &url)
{
    QUrl changed(url);
    changed.setPath(changed.path(QUrl::FullyEncoded) + QLatin1String(".md5"), QUrl::TolerantMode);
    changed.setFragment(QString());
    return changed.toString(QUrl::FullyEncoded);
}

QString DownloadChecks::digestFrom(const QByteArray &text)
{
    const QByteArray word = text.simplified().split(' ').constFirst().toLower();
    static const QRegularExpression digest(QStringLiteral("\\A[0-9a-f]{32}\\z"));
    const QString found = QString::fromLatin1(word);
    return digest.match(found).hasMatch() ? found : QString();
}

QString DownloadChecks::digestFromFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        KOV_LOG(0, "(!)Error: Cannot open download content checksum file %s !",
                KovGui::logText(path).constData());
        return QString();
    }
    const QString digest = digestFrom(file.read(maximumChecksumFileSize));
    if (digest.isEmpty())
        KOV_LOG(0, "(!)Error: the checksum file %s holds no MD5 digest.", KovGui::logText(path).constData());
    return digest;
}

qint64 DownloadChecks::contentLength(const QNetworkReply &reply)
{
    bool isNumber = false;
    // "bytes 0-99/100"; the total may be "*".
    const QByteArray range = reply.rawHeader("Content-Range");
    const qint64 total = range.mid(range.indexOf('/') + 1).trimmed().toLongLong(&isNumber);
    if (range.contains('/') && isNumber && total >= 0)
        return total;
    const qint64 length = reply.rawHeader("Content-Length").trimmed().toLongLong(&isNumber);
    return range.isEmpty() && isNumber && length >= 0 ? length : -1;
}

bool DownloadChecks::isHeadUnsupported(const QNetworkReply &reply)
{
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    return status == 405 || status == 501 || status == 416;
}

bool DownloadChecks::isSpaceEnough(qint64 free, qint64 total, qint64 downloadedByFar)
{
    return total <= 0 || free >= total || free >= total - downloadedByFar;
}

bool DownloadChecks::removeOrPutAside(const QString &path)
{
    if (isInApplicationFolder(path))
        return QFile::remove(path);
    for (int i = 1; i <= mostDamagedFiles; ++i) {
        const QString number = i == 1 ? QString() : QString::number(i);
        // Replaces nothing.
        if (QFile::rename(path, path + QLatin1String(".damaged") + number))
            return true;
    }
    return false;
}
