#include "gui/tasks/FileDownloadInfo.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>

namespace {

const QLatin1String partSuffix(".kovupd-part");
const int longestFileName = 255;

bool isForbidden(QChar c)
{
    return c.unicode() < 0x20 || c.unicode() == 0x7f || c == QLatin1Char('/') || c == QLatin1Char('\\')
           || c == QLatin1Char(':');
}

} // namespace

FileDownloadInfo::FileDownloadInfo(const QString &destinationDirectory)
    : destinationDirectory(destinationDirectory.isEmpty() ? QDir::homePath() : destinationDirectory)
{ }

bool FileDownloadInfo::isSafeFileName(const QString &name)
{
    // Windows opens a device for these names in any folder, with any extension.
    static const QRegularExpression deviceName(QStringLiteral("^(con|prn|aux|nul|com\\d|lpt\\d) *(\\..*)?$"),
                                               QRegularExpression::CaseInsensitiveOption);
    if (name.isEmpty() || name.toUtf8().size() + partSuffix.size() > longestFileName)
        return false;
    // This refuses "." and ".." as well.
    if (name.endsWith(QLatin1Char('.')) || name.endsWith(QLatin1Char(' ')))
        return false;
    return std::none_of(name.begin(), name.end(), isForbidden) && !deviceName.match(name).hasMatch();
}

QString FileDownloadInfo::destinationFileNameFromUrl(const QString &url)
{
    // Cut first, decode then: an encoded slash belongs to the name and makes it unsafe.
    const QString encoded = QUrl(url).path(QUrl::FullyEncoded).section(QLatin1Char('/'), -1);
    const QString name = QUrl::fromPercentEncoding(encoded.toLatin1());
    return isSafeFileName(name) ? name : QString();
}

QString FileDownloadInfo::destinationFileName() const
{
    return destinationFileNameFromUrl(url);
}

QString FileDownloadInfo::destinationFilePath() const
{
    const QString name = destinationFileName();
    if (name.isEmpty())
        return QString();
    return (destinationDirectory.isEmpty() ? QDir::homePath() : destinationDirectory) + QDir::separator()
           + name;
}

QString FileDownloadInfo::destinationFilePartPath() const
{
    const QString path = destinationFilePath();
    return path.isEmpty() ? QString() : path + partSuffix;
}

qint64 FileDownloadInfo::downloadedByFar() const
{
    for (const QString &path : {destinationFilePath(), destinationFilePartPath()}) {
        const QFileInfo file(path);
        if (!path.isEmpty() && file.isFile())
            return file.size();
    }
    return 0;
}
