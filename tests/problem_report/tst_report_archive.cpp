#include "gui/problem_report/archive/ReportArchive_p.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"
#include "tests/support/System.h"

#include <QBuffer>

#include <archive.h>
#include <archive_entry.h>

using ReportArchive::Outcome;

namespace {

/// An entry as no honest packer writes it.
struct Entry
{
    QByteArray name;
    QByteArray content = "content";
    unsigned type = AE_IFREG;
    QByteArray link = {};
};

QByteArray archiveOf(const QVector<Entry> &entries)
{
    QByteArray bytes(16 << 20, '\0');
    size_t used = 0;
    archive *const target = archive_write_new();
    archive_write_set_format_pax(target);
    archive_write_add_filter_gzip(target);
    archive_write_set_options(target, "hdrcharset=BINARY");
    archive_write_open_memory(target, bytes.data(), size_t(bytes.size()), &used);
    for (const Entry &row : entries) {
        archive_entry *const entry = archive_entry_new();
        archive_entry_set_pathname(entry, row.name.constData());
        archive_entry_set_filetype(entry, row.type);
        archive_entry_set_perm(entry, 0644);
        archive_entry_set_size(entry, row.type == AE_IFREG && row.link.isEmpty() ? row.content.size() : 0);
        if (row.type == AE_IFLNK)
            archive_entry_set_symlink(entry, row.link.constData());
        else if (!row.link.isEmpty())
            archive_entry_set_hardlink(entry, row.link.constData());
        archive_write_header(target, entry);
        if (archive_entry_size(entry) > 0)
            archive_write_data(target, row.content.constData(), size_t(row.content.size()));
        archive_entry_free(entry);
    }
    archive_write_close(target);
    archive_write_free(target);
    bytes.truncate(int(used));
    return bytes;
}

/// A tar file of an empty file and one that says to have this size, which is not there.
QByteArray saidToHold(qint64 size)
{
    QByteArray bytes(64 * 1024, '\0');
    size_t used = 0;
    archive *const target = archive_write_new();
    archive_write_set_format_pax(target);
    archive_write_set_bytes_per_block(target, 0);
    archive_write_open_memory(target, bytes.data(), size_t(bytes.size()), &used);
    for (const qint64 content : {qint64(0), size}) {
        archive_entry *const entry = archive_entry_new();
        archive_entry_set_pathname(entry, content ? "b.log" : "a.log");
        archive_entry_set_filetype(entry, AE_IFREG);
        archive_entry_set_size(entry, content);
        archive_write_header(target, entry);
        archive_entry_free(entry);
    }
    archive_write_free(target); // what it fills up with has no room
    bytes.truncate(int(used));
    return bytes;
}

ReportArchive::Source source(const QString &name, const QByteArray &content, qint64 missing = 0)
{
    return {name, content.size() + missing, [content] {
                auto buffer = std::make_unique<QBuffer>();
                buffer->setData(content);
                buffer->open(QIODevice::ReadOnly);
                return buffer;
            }};
}

bool goOn(qint64)
{
    return true;
}

} // namespace

/// Runs in the C locale, where libarchive by itself loses every name that is not ASCII.
class tst_ReportArchive : public QObject
{
    Q_OBJECT

private:
    /// Unpacks into one of several folders, and says what has become of all of them.
    ReportArchive::Result unpack(QByteArray bytes, const ReportArchive::Progress &progress = goOn)
    {
        m_place = std::make_unique<QTemporaryDir>();
        QDir(m_place->path()).mkpath(QStringLiteral("in/report"));
        writeFile(m_place->filePath(QStringLiteral("victim")), "untouched");
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        return ReportArchive::unpack(buffer, folder(), progress, &m_names);
    }
    QString folder() const { return m_place->filePath(QStringLiteral("in/report")); }
    /// Every file and folder there is.
    QString everything() const
    {
        QStringList found;
        for (QDirIterator it(m_place->path(), QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                             QDirIterator::Subdirectories);
             it.hasNext();)
            found.append(QDir(m_place->path()).relativeFilePath(it.next()));
        found.sort();
        return found.join(QLatin1Char(' '));
    }

    std::unique_ptr<QTemporaryDir> m_place;
    QStringList m_names;

private Q_SLOTS:
    void comesBackAsItWas()
    {
        const QString name = QString::fromUtf8("Pr\xc3\xbc\x66ung \xe6\x97\xa5.log");
        const QVector<ReportArchive::Source> sources{source(QStringLiteral("Report.xml"), "<Report/>"),
                                                     source(name, QByteArray(300000, 'x')),
                                                     source(QStringLiteral("empty.txt"), QByteArray())};
        QBuffer archive;
        archive.open(QIODevice::ReadWrite);
        QCOMPARE(ReportArchive::pack(sources, archive, goOn).reason, QString());
        QCOMPARE(unpack(archive.data()).reason, QString());
        QCOMPARE(m_names, QStringList({sources.at(0).name, sources.at(1).name, sources.at(2).name}));
        QCOMPARE(fileContent(folder() + QLatin1Char('/') + sources.at(1).name), QByteArray(300000, 'x'));
        QByteArray document;
        archive.seek(0);
        QCOMPARE(ReportArchive::readFirst(archive, QStringLiteral("Report.xml"), 9, &document).reason,
                 QString());
        QCOMPARE(document, QByteArray("<Report/>"));
        archive.seek(0);
        QCOMPARE(ReportArchive::readFirst(archive, QStringLiteral("Report.xml"), 8, &document).outcome,
                 Outcome::Refused);
    }

    void refusesWhatIsNoReport_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const auto add = [](const char *name, const QVector<Entry> &entries) {
            row(name, archiveOf(QVector<Entry>{{"first.log"}} + entries));
        };
        add("a way up", {{"../victim"}});
        add("a way up inside", {{"a/../../victim"}});
        add("an absolute path", {{"/tmp/kov-report-escape"}});
        add("a folder", {{"folder/file.log"}});
        add("a directory", {{"folder", "", AE_IFDIR}});
        add("a link and a file through it", {{"link", "", AE_IFLNK, "../../victim"}, {"link"}});
        add("a hard link", {{"hard.log", "", AE_IFREG, "../../victim"}});
        add("a device", {{"device", "", AE_IFCHR}});
        add("a pipe", {{"pipe", "", AE_IFIFO}});
        add("a device of Windows", {{"nul.log"}});
        add("a stream of Windows", {{"file.log:stream"}});
        add("a path of Windows", {{"..\\victim"}});
        add("a name with a line feed", {{"a\nb.log"}});
        add("a hidden name", {{".profile"}});
        add("the same name", {{"first.log"}});
        add("the same name in other letters", {{"FIRST.log"}});
        // Such archives cannot be made everywhere.
        if (QDir::listSeparator() == ':') {
            add("a name of bytes", {{"\xff\xfe.log"}});
            add("a decomposed name", {{"u\xcc\x88.log"}});
        }
        QVector<Entry> many(ReportArchive::maximumEntries + 1);
        for (int i = 0; i < many.size(); ++i)
            many[i].name = QByteArray::number(i);
        add("too many", many);
        const QByteArray whole = archiveOf({{"a.log", QByteArray(100000, 'x')}, {"b.log"}});
        row("cut off", whole.left(whole.size() / 2));
        row("nothing", QByteArray());
        row("no archive", QByteArray("<Report/>"));
        row("no files", archiveOf({}));
    }
    void refusesWhatIsNoReport()
    {
        QFETCH(QByteArray, bytes);
        const ReportArchive::Result result = unpack(bytes);
        QCOMPARE(result.outcome, Outcome::Refused);
        QVERIFY(!result.reason.isEmpty() && !result.reason.contains(QLatin1Char('\n')));
        QCOMPARE(everything(), QStringLiteral("in in/report victim"));
        QCOMPARE(fileContent(m_place->filePath(QStringLiteral("victim"))), QByteArray("untouched"));
        QVERIFY(!QFile::exists(QStringLiteral("/tmp/kov-report-escape")));
    }

    /// Not a byte of it is written, however well it is compressed.
    void tooLarge()
    {
        const QString reason = QStringLiteral("larger than");
        QVERIFY(unpack(saidToHold(ReportArchive::maximumSize + 1)).reason.contains(reason));
        QVERIFY(!unpack(saidToHold(ReportArchive::maximumSize)).reason.contains(reason));
    }

    void fullDisk()
    {
        m_place = std::make_unique<QTemporaryDir>();
        if (!System::mountSmall(m_place->path(), 1 << 20))
            QSKIP("A small file system cannot be mounted: that is for root, and for containers that may.");
        QByteArray bytes = archiveOf({{"a.log"}, {"b.log", QByteArray(9 << 20, 'x')}});
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        const auto result = ReportArchive::unpack(buffer, m_place->path(), goOn, &m_names);
        const QString left = everything();
        QVERIFY(System::unmount(m_place->path()));
        QCOMPARE(result.outcome, Outcome::Failed);
        QCOMPARE(result.reason, QStringLiteral("the disk is full"));
        QCOMPARE(left, QString());
    }

    void stopsInTheMiddle()
    {
        const QByteArray bytes = archiveOf({{"a.log", QByteArray(9 << 20, 'x')}, {"b.log"}});
        int calls = 0;
        const auto result = unpack(bytes, [&calls](qint64) { return ++calls < 20; });
        QCOMPARE(result.outcome, Outcome::Cancelled);
        QCOMPARE(everything(), QStringLiteral("in in/report victim"));
    }

    void overwritesNothing()
    {
        m_place = std::make_unique<QTemporaryDir>();
        QVERIFY(writeFile(m_place->filePath(QStringLiteral("victim")), "untouched"));
        QVERIFY(QFile::link(m_place->filePath(QStringLiteral("victim")),
                            m_place->filePath(QStringLiteral("a.log"))));
        QByteArray bytes = archiveOf({{"a.log"}});
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        QCOMPARE(ReportArchive::unpack(buffer, m_place->path(), goOn, &m_names).outcome, Outcome::Failed);
        QCOMPARE(fileContent(m_place->filePath(QStringLiteral("victim"))), QByteArray("untouched"));
    }

    void packingFails_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<qint64>("missing");
        QTest::addColumn<bool>("fullDisk");
        QTest::addColumn<int>("outcome");
        row("a file that became shorter", "a.log", qint64(1), false, int(Outcome::Changed));
        row("a path for a name", "../a.log", qint64(0), false, int(Outcome::Refused));
        row("a full disk", "a.log", qint64(0), true, int(Outcome::Failed));
    }
    void packingFails()
    {
        QFETCH(QString, name);
        QFETCH(qint64, missing);
        QFETCH(bool, fullDisk);
        QBuffer memory;
        QFile full(QStringLiteral("/dev/full"));
        QIODevice &output = fullDisk ? static_cast<QIODevice &>(full) : memory;
        QVERIFY(output.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        QTEST(
            int(ReportArchive::pack({source(name, QByteArray(1 << 20, 'x'), missing)}, output, goOn).outcome),
            "outcome");
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_ReportArchive)
#include "tst_report_archive.moc"
