#pragma once

#include <QIODevice>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>
#include <memory>

/**
 * The archive of a problem report: a gzipped tar file of regular files without folders.
 *
 * Used by the library through its module "reportarchive" and by the collector of the embedded service. Every
 * function blocks, for a worker thread, and keeps no more than some blocks in memory.
 */
namespace ReportArchive {

/// A report has at most this many files.
constexpr int maximumEntries = 1000;
/// Bytes of all files together: 4 GiB.
constexpr qint64 maximumSize = Q_INT64_C(4) << 30;
/// Bytes that a disk keeps free whatever an archive holds.
constexpr qint64 reservedSpace = Q_INT64_C(64) << 20;

enum class Outcome {
    Done,
    Cancelled,
    Refused, ///< the archive is damaged or breaks a rule
    Changed, ///< a file became shorter while it was packed
    Failed, ///< a disk or a file could not be read or written
};

struct Result
{
    Outcome outcome = Outcome::Done;
    QString reason = {}; ///< in English, foreign names in quotes; empty when done
};

/// Told the bytes that went through so far, after each block; false cancels.
using Progress = std::function<bool(qint64 bytes)>;

/// A file to be packed.
struct Source
{
    QString name;
    qint64 size = 0; ///< exactly what is packed; what was added to the file since then is left out
    std::function<std::unique_ptr<QIODevice>()> open; ///< ready to be read, or null
};

/// Whether a file of an archive may have this name: valid on every system, without a folder, in the composed
/// form.
bool isSafeName(const QString &name);

/// Writes no owner, no machine and no time of the files.
/// @param archive  open for writing
Result pack(const QVector<Source> &sources, QIODevice &archive, const Progress &progress);

/**
 * Takes the files out into a folder that exists, is empty and belongs to the caller alone.
 *
 * Anything but regular files with safe names that differ in more than case is refused, and so are archives
 * beyond the limits above; the bytes are counted, not believed. Files are created anew, never overwritten.
 * Without success the folder is empty again. The progress tells bytes of the archive.
 *
 * @param names  receives the files in their order
 */
Result unpack(QIODevice &archive, const QString &folder, const Progress &progress, QStringList *names);

/// The content of the first file of the archive, if it has this name and at most `limit` bytes.
Result readFirst(QIODevice &archive, const QString &name, qint64 limit, QByteArray *content);

/// What the module offers.
struct Functions
{
    decltype(&ReportArchive::pack) pack;
    decltype(&ReportArchive::unpack) unpack;
    decltype(&ReportArchive::readFirst) readFirst;
};

} // namespace ReportArchive
