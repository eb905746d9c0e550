#pragma once

#include <QByteArray>
#include <QString>

class QNetworkReply;

/// What an interactive download knows about servers' answers and about folders; it keeps nothing.
namespace DownloadChecks {

/// More than any checksum file needs.
constexpr qint64 maximumChecksumFileSize = 4096;

/// The address with ".md5" behind its path.
QString checksumUrl(const QString &url);
/// The first word of a checksum file in lower case; empty unless it is 32 hexadecimal digits.
QString digestFrom(const QByteArray &text);
/// The same for what the file holds. One that cannot be read is logged.
QString digestFromFile(const QString &path);

/// Bytes of the whole file, from a HEAD's answer; -1 when it does not say.
qint64 contentLength(const QNetworkReply &reply);
/// True for answers that only tell that the server does not do this: no HEAD, no such range.
bool isHeadUnsupported(const QNetworkReply &reply);

/// Whether the disk has room for what is still to come. @param total  below 1: unknown, which is enough
bool isSpaceEnough(qint64 free, qint64 total, qint64 downloadedByFar);

/// Gets a file out of the way that nobody can be asked about: see CTaskInteractiveDownload.
bool removeOrPutAside(const QString &path);

} // namespace DownloadChecks
