#include "tests/programs/InstallerFixture.h"

#include "tests/support/SampleSignature.h"
#include "tests/support/System.h"

#include <archive.h>

namespace {

QByteArray archiveOf(const QVector<Entry> &entries)
{
    QByteArray bytes(1024 * 1024, '\0');
    size_t used = 0;
    archive *const target = archive_write_new();
    archive_write_set_format_pax_restricted(target);
    archive_write_add_filter_gzip(target);
    archive_write_set_filter_option(target, "gzip", "timestamp", nullptr);
    archive_write_open_memory(target, bytes.data(), size_t(bytes.size()), &used);
    for (const Entry &entry : entries) {
        archive_entry *const header = archive_entry_new();
        archive_entry_set_pathname(header, entry.path.constData());
        archive_entry_set_filetype(header, unsigned(entry.type));
        archive_entry_set_perm(header, decltype(archive_entry_perm(header))(entry.mode));
        archive_entry_set_size(header, entry.content.size());
        if (!entry.symbolicLink.isEmpty())
            archive_entry_set_symlink(header, entry.symbolicLink.constData());
        if (!entry.hardLink.isEmpty())
            archive_entry_set_hardlink(header, entry.hardLink.constData());
        archive_write_header(target, header);
        archive_write_data(target, entry.content.constData(), size_t(entry.content.size()));
        archive_entry_free(header);
    }
    archive_write_free(target);
    return bytes.left(int(used));
}

/// In memory, where there is one: a thousand installations wait for no disk.
QString place()
{
    return (QFileInfo("/dev/shm").isWritable() ? "/dev/shm" : QDir::tempPath()) + "/tst_installer-XXXXXX";
}

} // namespace

Draft draftOf(const VersionNumber &version, const QVector<Entry> &entries)
{
    Draft draft;
    draft.manifest.product = "Tessarine Console";
    draft.manifest.version = version;
    for (const Entry &entry : entries)
        draft.manifest.files.append({entry.path, entry.content.size(), entry.mode == 0755,
                                     QCryptographicHash::hash(entry.content, QCryptographicHash::Sha256)});
    draft.entries = entries;
    return draft;
}

QByteArray packageOf(const Draft &draft)
{
    QVector<Entry> entries = draft.entries;
    if (draft.hasManifest)
        entries.prepend(
            {"manifest.json", draft.manifestText.isEmpty() ? draft.manifest.text() : draft.manifestText});
    return archiveOf(entries);
}

Draft oldDraft()
{
    return draftOf(oldVersion, {{"bin/program", "old program", AE_IFREG, 0755}, {"readme", "old"}});
}

Draft newDraft()
{
    return draftOf(newVersion, {{"bin/program", "new program", AE_IFREG, 0755},
                                {"lib/deep/part", QByteArray(3000, 'x')},
                                {"readme", "new"}});
}

Outcome run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(program, arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() == QProcess::CrashExit)
        return Outcome();
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

int shell(const QString &command, const QString &folder)
{
    return run("sh", {"-c", "cd $0 && " + command, folder}).exitCode;
}

void put(const QString &path, const QByteArray &content)
{
    QVERIFY2(QDir().mkpath(QFileInfo(path).path()) && writeFile(path, content), qPrintable(path));
}

void writeFiles(const QString &folder, const Draft &draft)
{
    for (const Entry &entry : draft.entries) {
        const QString path = folder + '/' + QString::fromUtf8(entry.path);
        put(path, entry.content);
        const auto forAll = QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther;
        QVERIFY(entry.mode != 0755 || QFile::setPermissions(path, QFile::permissions(path) | forAll));
    }
}

/// What tar makes of a package.
Tree treeOf(const Draft &draft)
{
    Tree tree{{"manifest.json", draft.manifest.text()}};
    for (const Entry &entry : draft.entries)
        tree.insert(QString::fromUtf8(entry.path),
                    (System::hasModes && entry.mode == 0755 ? "x " : "- ") + entry.content);
    tree["manifest.json"].prepend("- ");
    return tree;
}

Tree treeOf(const QString &folder)
{
    Tree tree;
    QDirIterator iterator(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                          QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        const QFileInfo info(iterator.next());
        const QByteArray mode = System::hasModes && info.isExecutable() ? "x " : "- ";
        if (!info.isDir() || info.isSymLink())
            tree.insert(QDir(folder).relativeFilePath(info.filePath()), mode + fileContent(info.filePath()));
    }
    return tree;
}

InstallerFixture::InstallerFixture()
    : dir(place())
    , package(dir.filePath("p-3.1.5.31502.tar.gz"))
{
    makeSite(dir.filePath("root"));
    writePackage(packageOf(newDraft()), sampleStatement(Signature::Role::Package));
}

void InstallerFixture::makeSite(const QString &path)
{
    root = path;
    QDir(root).removeRecursively();
    writeFiles(in("current"), oldDraft());
    put(in("current/manifest.json"), oldDraft().manifest.text());
    put(in("previous/readme"), "older");
}

void InstallerFixture::writePackage(const QByteArray &bytes, Signature::Statement statement,
                                    const QString &key)
{
    put(package, bytes);
    QVERIFY(signSample(package, statement, key));
}

InstallRequest InstallerFixture::request() const
{
    InstallRequest request;
    request.root = root;
    request.packageFile = package;
    request.keys = Signature::builtInKeys();
    request.now = QDateTime(QDate(2026, 1, 1), QTime(0, 0), Qt::UTC);
    return request;
}

QStringList InstallerFixture::own() const
{
    return QDir(in(".updater")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
}

void InstallerFixture::checkRecovered() const
{
    const Tree current = treeOf(in("current"));
    const bool isNew = current == treeOf(newDraft());
    QVERIFY(isNew || current == treeOf(oldDraft()));
    QCOMPARE(treeOf(in("previous")), isNew ? treeOf(oldDraft()) : Tree({{"readme", "- older"}}));
    const QString counter = "counter-" + Signature::fingerprint(Signature::builtInKeys().first());
    const QStringList kept = isNew ? QStringList{counter, "lock", "trial"} : QStringList{"lock"};
    QVERIFY2(own() == kept || own().isEmpty(), qPrintable(own().join(' ')));
}
