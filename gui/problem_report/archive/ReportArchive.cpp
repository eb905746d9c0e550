#include "gui/problem_report/archive/ReportArchive_p.h"

#include "gui/platform/Utf8Scope.h"
#include "gui/tasks/download/FileName.h"

#include <QDir>
#include <QFile>
#include <QSet>
#include <QStorageInfo>

#include <algorithm>
#include <archive.h>
#include <archive_entry.h>
#include <cerrno>

namespace ReportArchive {

namespace {

constexpr int blockSize = 64 * 1024;
constexpr qint64 spaceCheckInterval = 16 * 1024 * 1024;

Result refused(const QString &reason)
{
    return {Outcome::Refused, reason};
}

Result failed(const QString &reason)
{
    return {Outcome::Failed, reason};
}

/// Foreign text in a sentence: one line of bounded length.
QString quoted(const QString &name)
{
    QString shown = name.left(80);
    for (QChar &character : shown) {
        if (!character.isPrint())
            character = QChar::ReplacementCharacter;
    }
    return QLatin1Char('"') + shown + QLatin1Char('"');
}

QString reasonOf(archive *source)
{
    const char *const reason = archive_error_string(source);
    return reason ? QString::fromUtf8(reason).left(200) : QStringLiteral("it is no archive");
}

using Entry = std::unique_ptr<archive_entry, decltype(&archive_entry_free)>;

Entry entryNamed(const QString &name)
{
    Entry entry(archive_entry_new(), archive_entry_free);
    // Wide: the only way on every system that no locale spoils.
    archive_entry_copy_pathname_w(entry.get(), name.toStdWString().c_str());
    return entry;
}

/// Not every system's C library knows UTF-8. There libarchive takes and gives such a name only as bytes.
bool isConvertible(const QString &name)
{
    return archive_entry_pathname(entryNamed(name).get()) != nullptr;
}

class Writing
{
public:
    Writing(QIODevice &output, const Progress &progress)
        : m_archive(archive_write_new(), archive_write_free)
        , m_output(output)
        , m_progress(progress)
    { }

    Result run(const QVector<Source> &sources)
    {
        archive *const target = m_archive.get();
        m_namesAsBytes = std::any_of(sources.begin(), sources.end(),
                                     [](const Source &source) { return !isConvertible(source.name); });
        const char *const charset = m_namesAsBytes ? "pax:hdrcharset=BINARY" : nullptr;
        if (!target || archive_write_set_format_pax_restricted(target) != ARCHIVE_OK
            || archive_write_add_filter_gzip(target) != ARCHIVE_OK
            || archive_write_set_options(target, charset) < ARCHIVE_WARN
            || archive_write_set_options(target, "gzip:!timestamp,gzip:compression-level=4") < ARCHIVE_WARN
            || archive_write_open(target, this, nullptr, &Writing::onWrite, nullptr) != ARCHIVE_OK)
            return failed(QStringLiteral("libarchive could not be started"));
        for (const Source &source : sources) {
            const Result result = add(source);
            if (result.outcome != Outcome::Done)
                return result;
        }
        return archive_write_close(target) == ARCHIVE_OK ? Result() : writeFault();
    }

private:
    static la_ssize_t onWrite(archive *archive, void *self, const void *data, size_t size)
    {
        auto *const writing = static_cast<Writing *>(self);
        if (writing->m_output.write(static_cast<const char *>(data), qint64(size)) == qint64(size))
            return la_ssize_t(size);
        archive_set_error(archive, EIO, "the archive cannot be written");
        writing->m_hasRefused = true;
        return -1;
    }

    Result writeFault() const
    {
        const char *const reason = archive_error_string(m_archive.get());
        const bool isDevice = m_hasRefused || !reason;
        return failed(QStringLiteral("the archive cannot be written: %1")
                          .arg(isDevice ? m_output.errorString() : QString::fromLocal8Bit(reason)));
    }

    Result add(const Source &source)
    {
        const std::unique_ptr<QIODevice> input = source.open();
        if (!input)
            return failed(QStringLiteral("%1 cannot be read").arg(quoted(source.name)));
        const Entry entry = entryNamed(source.name);
        if (m_namesAsBytes)
            archive_entry_set_pathname(entry.get(), source.name.toUtf8().constData());
        archive_entry_set_filetype(entry.get(), AE_IFREG);
        archive_entry_set_perm(entry.get(), 0600);
        archive_entry_set_size(entry.get(), source.size);
        archive_entry_set_mtime(entry.get(), 0, 0);
        if (archive_write_header(m_archive.get(), entry.get()) < ARCHIVE_WARN)
            return writeFault();
        return addContent(source, *input);
    }

    Result addContent(const Source &source, QIODevice &input)
    {
        qint64 missing = source.size;
        while (missing > 0) {
            const qint64 count = input.read(m_block, qMin<qint64>(missing, blockSize));
            if (count < 0)
                return failed(
                    QStringLiteral("%1 cannot be read: %2").arg(quoted(source.name), input.errorString()));
            if (count == 0)
                return {Outcome::Changed, QStringLiteral("%1 became shorter").arg(quoted(source.name))};
            if (archive_write_data(m_archive.get(), m_block, size_t(count)) != la_ssize_t(count))
                return writeFault();
            missing -= count;
            m_done += count;
            if (!m_progress(m_done))
                return {Outcome::Cancelled, QStringLiteral("cancelled")};
        }
        return Result();
    }

    const std::unique_ptr<archive, decltype(&archive_write_free)> m_archive;
    QIODevice &m_output;
    const Progress &m_progress;
    qint64 m_done = 0;
    bool m_namesAsBytes = false;
    bool m_hasRefused = false;
    char m_block[blockSize];
};

class Reading
{
public:
    Reading(QIODevice &input, const Progress &progress)
        : m_archive(archive_read_new(), archive_read_free)
        , m_input(input)
        , m_progress(progress)
    { }

    Result begin()
    {
        const char *const charset
            = isConvertible(QStringLiteral("\u65e5")) ? nullptr : "tar:hdrcharset=UTF-8";
        // Formats and filters that no report needs stay unreachable.
        if (!m_archive || archive_read_support_filter_gzip(m_archive.get()) != ARCHIVE_OK
            || archive_read_support_format_tar(m_archive.get()) != ARCHIVE_OK
            || archive_read_set_options(m_archive.get(), charset) < ARCHIVE_WARN)
            return failed(QStringLiteral("libarchive could not be started"));
        if (archive_read_open(m_archive.get(), this, nullptr, &Reading::onRead, nullptr) != ARCHIVE_OK)
            return fault();
        return Result();
    }

    /// An empty name at the end of the archive.
    Result next(QString *name)
    {
        name->clear();
        archive_entry *entry = nullptr;
        const int status = archive_read_next_header(m_archive.get(), &entry);
        if (status == ARCHIVE_EOF)
            return Result();
        if (status != ARCHIVE_OK && status != ARCHIVE_WARN)
            return fault();
        const wchar_t *const path = archive_entry_pathname_w(entry);
        const QString shown = path ? QString::fromWCharArray(path) : QString();
        // A hard link has the type of a regular file.
        if (archive_entry_hardlink(entry) || archive_entry_symlink(entry) || archive_entry_hardlink_w(entry)
            || archive_entry_filetype(entry) != AE_IFREG || archive_entry_sparse_count(entry) > 0)
            return refused(QStringLiteral("%1 is no regular file").arg(quoted(shown)));
        if (!path || shown.toStdWString() != path || !isSafeName(shown))
            return refused(QStringLiteral("%1 is not allowed as the name of a file").arg(quoted(shown)));
        // What a header says is checked once more while the bytes come; here it saves writing them.
        if (archive_entry_size(entry) > maximumSize - m_size)
            return tooLarge();
        if (!m_names.contains(shown.toCaseFolded()) && ++m_entries <= maximumEntries) {
            m_names.insert(shown.toCaseFolded());
            *name = shown;
            return Result();
        }
        return refused(m_entries > maximumEntries
                           ? QStringLiteral("it holds more than %1 files").arg(maximumEntries)
                           : QStringLiteral("%1 stands in it twice").arg(quoted(shown)));
    }

    /// Up to a block; an empty one at the end of the file.
    Result read(const char **data, qint64 *size)
    {
        if (!m_progress(m_input.pos()))
            return {Outcome::Cancelled, QStringLiteral("cancelled")};
        const la_ssize_t count = archive_read_data(m_archive.get(), m_output, blockSize);
        if (count < 0)
            return fault();
        m_size += count;
        if (m_size > maximumSize)
            return tooLarge();
        *data = m_output;
        *size = count;
        return Result();
    }

private:
    static la_ssize_t onRead(archive *archive, void *self, const void **buffer)
    {
        auto *const reading = static_cast<Reading *>(self);
        *buffer = reading->m_block;
        // Asked here, too: a file that is skipped, or a header that never ends, passes no block of its own.
        const qint64 count = reading->m_progress(reading->m_input.pos())
                                 ? reading->m_input.read(reading->m_block, blockSize)
                                 : -1;
        if (count < 0)
            archive_set_error(archive, EIO, "it cannot be read");
        return la_ssize_t(count);
    }

    static Result tooLarge()
    {
        return refused(QStringLiteral("its files are larger than %1 bytes").arg(maximumSize));
    }

    Result fault() const
    {
        if (!m_progress(m_input.pos()))
            return {Outcome::Cancelled, QStringLiteral("cancelled")};
        return refused(reasonOf(m_archive.get()));
    }

    const std::unique_ptr<archive, decltype(&archive_read_free)> m_archive;
    QIODevice &m_input;
    const Progress &m_progress;
    QSet<QString> m_names;
    int m_entries = 0;
    qint64 m_size = 0;
    char m_block[blockSize];
    char m_output[blockSize];
};

class Unpacking
{
public:
    Unpacking(QIODevice &input, const QString &folder, const Progress &progress)
        : m_reading(input, progress)
        , m_folder(folder)
    { }

    Result run(QStringList *names)
    {
        Result result = m_reading.begin();
        QString name;
        while (result.outcome == Outcome::Done) {
            result = m_reading.next(&name);
            if (result.outcome != Outcome::Done || name.isEmpty())
                break;
            result = takeOut(name, names);
        }
        if (result.outcome == Outcome::Done && names->isEmpty())
            result = refused(QStringLiteral("it is empty"));
        if (result.outcome != Outcome::Done) {
            for (const QString &created : qAsConst(*names))
                QFile::remove(m_folder.filePath(created));
            names->clear();
        }
        return result;
    }

private:
    Result takeOut(const QString &name, QStringList *names)
    {
        QFile file(m_folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered))
            return failed(QStringLiteral("%1 cannot be written: %2").arg(quoted(name), file.errorString()));
        names->append(name);
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        for (;;) {
            const char *data = nullptr;
            qint64 size = 0;
            const Result result = m_reading.read(&data, &size);
            if (result.outcome != Outcome::Done || size == 0)
                return result;
            if (!hasSpace(size) || file.write(data, size) != size)
                return failed(QStringLiteral("the disk is full"));
        }
    }

    bool hasSpace(qint64 size)
    {
        m_uncheckedSize += size;
        if (m_uncheckedSize < spaceCheckInterval)
            return true;
        m_uncheckedSize = 0;
        const QStorageInfo volume(m_folder.path());
        return !volume.isValid() || volume.bytesAvailable() > reservedSpace;
    }

    Reading m_reading;
    const QDir m_folder;
    qint64 m_uncheckedSize = 0;
};

} // namespace

bool isSafeName(const QString &name)
{
    return FileName::isSafe(name.toStdString()) && name == name.normalized(QString::NormalizationForm_C)
           && !name.startsWith(QLatin1Char('.'));
}

Result pack(const QVector<Source> &sources, QIODevice &archive, const Progress &progress)
{
    const KovGui::Platform::Utf8Scope utf8;
    qint64 size = 0;
    QSet<QString> names;
    for (const Source &source : sources) {
        size += source.size;
        if (!isSafeName(source.name) || names.contains(source.name.toCaseFolded()))
            return refused(
                QStringLiteral("%1 is not allowed as the name of a file").arg(quoted(source.name)));
        names.insert(source.name.toCaseFolded());
    }
    if (sources.size() > maximumEntries || size > maximumSize)
        return refused(QStringLiteral("the files are too many or too large"));
    // Too large for the stack of a thread.
    return std::make_unique<Writing>(archive, progress)->run(sources);
}

Result unpack(QIODevice &archive, const QString &folder, const Progress &progress, QStringList *names)
{
    const KovGui::Platform::Utf8Scope utf8;
    names->clear();
    return std::make_unique<Unpacking>(archive, folder, progress)->run(names);
}

Result readFirst(QIODevice &archive, const QString &name, qint64 limit, QByteArray *content)
{
    const KovGui::Platform::Utf8Scope utf8;
    const Progress goOn = [](qint64) { return true; };
    const auto reading = std::make_unique<Reading>(archive, goOn);
    QString found;
    QByteArray text;
    Result result = reading->begin();
    if (result.outcome == Outcome::Done)
        result = reading->next(&found);
    if (result.outcome == Outcome::Done && found != name)
        return refused(QStringLiteral("it does not begin with %1").arg(name));
    while (result.outcome == Outcome::Done) {
        const char *data = nullptr;
        qint64 size = 0;
        result = reading->read(&data, &size);
        if (result.outcome != Outcome::Done || size == 0)
            break;
        text.append(data, int(size));
        if (text.size() > limit)
            return refused(QStringLiteral("%1 is larger than allowed").arg(name));
    }
    if (result.outcome == Outcome::Done)
        *content = text;
    return result;
}

} // namespace ReportArchive

#if defined(KOV_REPORT_ARCHIVE_MODULE)
extern "C" Q_DECL_EXPORT const void *kovguiFunctions()
{
    static const ReportArchive::Functions functions{ReportArchive::pack, ReportArchive::unpack,
                                                    ReportArchive::readFirst};
    return &functions;
}
#endif
