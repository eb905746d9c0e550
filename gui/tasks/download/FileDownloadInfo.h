#pragma once

#include "gui/KovGuiGlobal.h"

#include <QMetaType>
#include <QString>

/**
 * A file to download: where from, into which folder, and how to verify it. A value type.
 *
 * The address is foreign text. File names made from it are checked (isSafeFileName()): an address that names
 * no safe file yields empty names and paths, never a path outside the folder.
 */
class KOVGUI_EXPORT FileDownloadInfo
{
public:
    /// @param destinationDirectory  empty: the user's home directory
    explicit FileDownloadInfo(const QString &destinationDirectory = QString());

    /// The last component of the address's path, percent escapes decoded. Empty for an empty address, one
    /// that ends in a slash, and a name that is not safe.
    static QString destinationFileNameFromUrl(const QString &url);
    /// True for a name that stays inside its folder on every system: see FileName::isSafe(), which the
    /// download utility asks as well.
    static bool isSafeFileName(const QString &name);

    QString destinationFileName() const;
    /// Directory, separator, name; empty when the name is empty, or no directory is chosen.
    QString destinationFilePath() const;
    /// The same with ".kovupd-part" appended: what is downloaded so far.
    QString destinationFilePartPath() const;
    /// Makes this the directory when none is chosen yet: never is a file looked for, or written, by its name
    /// alone.
    void chooseDirectory(const QString &directory);
    /// Bytes on disk: of the finished file if it exists, else of the partial file, else 0.
    qint64 downloadedByFar() const;
    /// A download was cut off, by the application's end for instance: there is a partial file and no finished
    /// one, and another download to this directory goes on from it.
    bool isCutOff() const;

    /// The address, or the path of a local file.
    QString url;
    QString destinationDirectory; ///< empty: not chosen yet
    /// MD5 digest in hexadecimal digits; empty when unknown.
    QString md5;
    /// Bytes; 0 when unknown.
    qint64 size = 0;
};

Q_DECLARE_METATYPE(FileDownloadInfo)
