#include "gui/tasks/download/FileDownloadInfo.h"

#include "gui/tasks/download/FileName.h"

#include <QDir>
#include <QFileInfo>
#include <QUrl>

FileDownloadInfo::FileDownloadInfo(const QString &destinationDirectory)
    : destinationDirectory(destinationDirectory)
{
    chooseDirectory(QDir::homePath());
}

void FileDownloadInfo::chooseDirectory(const QString &directory)
{
    if (destinationDirectory.isEmpty())
        destinationDirectory = directory;
}

bool FileDownloadInfo::isSafeFileName(const QString &name)
{
    return FileName::isSafe(name.toStdString());
}

QString FileDownloadInfo::destinationFileNameFromUrl(const QString &url)
{
    const QByteArray path = QUrl(url).path(QUrl::FullyEncoded).toLatin1();
    return QString::fromStdString(FileName::fromEncodedPath(path.toStdString()));
}

QString FileDownloadInfo::destinationFileName() const
{
    return destinationFileNameFromUrl(url);
}

QString FileDownloadInfo::destinationFilePath() const
{
    const QString name = destinationFileName();
    if (name.isEmpty() || destinationDirectory.isEmpty())
        return QString();
    return destinationDirectory + QDir::separator() + name;
}

QString FileDownloadInfo::destinationFilePartPath() const
{
    const QString path = destinationFilePath();
    return path.isEmpty() ? QString() : path + QLatin1String(FileName::partSuffix);
}

bool FileDownloadInfo::isCutOff() const
{
    const QString path = destinationFilePath();
    return !path.isEmpty() && !QFileInfo(path).isFile() && QFileInfo(destinationFilePartPath()).isFile();
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
