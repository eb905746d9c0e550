#include "programs/updater/check/CheckRequest.h"
#include "programs/updater/install/Installer.h"
#include "programs/updater/publish/PackTool.h"
#include "programs/updater/trust/OfferStore.h"
#include "tests/support/KovTest.h"
#include "tests/support/SampleSignature.h"

#include <QProcess>
#include <QRandomGenerator>
#include <archive.h>
#include <archive_entry.h>
#include <atomic>
#include <csignal>
#include <sys/mount.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using Tree = QMap<QString, QByteArray>;

struct Entry
{
    QByteArray path;
    QByteArray content;
    int type = AE_IFREG;
    int mode = 0644;
    QByteArray symbolicLink = QByteArray();
    QByteArray hardLink = QByteArray();
};

/// A package before it is written: rows of a table spoil it.
struct Draft
{
    PackageManifest manifest;
    QVector<Entry> entries;
    /// Instead of the manifest's own text.
    QByteArray manifestText;
    bool hasManifest = true;
};

constexpr int bombSize = 128 * 1024 * 1024;

QString s(const char *text)
{
    return QString::fromUtf8(text);
}

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
        archive_entry_set_perm(header, mode_t(entry.mode));
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

Draft draftOf(const VersionNumber &version, const QVector<Entry> &entries)
{
    Draft draft;
    draft.manifest.product = s("Tessarine Console");
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

const VersionNumber oldVersion{3, 1, 4, 31301};
const VersionNumber newVersion{3, 1, 5, 31502};

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

void writeFile(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(path));
    QCOMPARE(file.write(content), qint64(content.size()));
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFiles(const QString &folder, const Draft &draft)
{
    for (const Entry &entry : draft.entries) {
        const QString path = folder + QLatin1Char('/') + QString::fromUtf8(entry.path);
        writeFile(path, entry.content);
        QVERIFY(chmod(qPrintable(path), mode_t(entry.mode)) == 0);
    }
}

/// What tar makes of a package.
Tree treeOf(const Draft &draft)
{
    Tree tree{{s("manifest.json"), draft.manifest.text()}};
    for (const Entry &entry : draft.entries)
        tree.insert(QString::fromUtf8(entry.path), (entry.mode == 0755 ? "x " : "- ") + entry.content);
    tree[s("manifest.json")].prepend("- ");
    return tree;
}

Tree treeOf(const QString &folder)
{
    Tree tree;
    QDirIterator iterator(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                          QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        const QFileInfo info(iterator.next());
        const QByteArray mode = info.isExecutable() ? "x " : "- ";
        if (!info.isDir() || info.isSymLink())
            tree.insert(QDir(folder).relativeFilePath(info.filePath()), mode + readFile(info.filePath()));
    }
    return tree;
}

} // namespace

Q_DECLARE_METATYPE(ExitCode)
Q_DECLARE_METATYPE(std::function<void(Draft &)>)
Q_DECLARE_METATYPE(std::function<void(Signature::Statement &)>)

class tst_Installer : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void installs();
    void alteredByte();
    void refused_data();
    void refused();
    void brokenPackage_data();
    void brokenPackage();
    void signatureOfTheOffer();
    void swappedDuringTheInstallation();
    void killedAtEveryMove_data();
    void killedAtEveryMove();
    void killedAtAnyTime_data() { killedAtEveryMove_data(); }
    void killedAtAnyTime();
    void stoppedAtAnyTime();
    void twoAtOnce();
    void noSpace();
    void program();
    void programIsKilled();
    void pack();
    void installedVersionIsAsked();

private:
    void makeSite(const QString &root);
    void writePackage(const QByteArray &package, Signature::Statement statement,
                      const QString &key = QStringLiteral("first"));
    InstallRequest request() const;
    /// Everything of the test's folder but what an updater at rest keeps for itself.
    Tree outside() const;
    void refuses(ExitCode code, const QString &fault);
    void checkRecovered();
    QProcess *start(const QString &program, const QStringList &arguments);

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_root;
    QString m_package;
};

void tst_Installer::init()
{
    // In memory, where there is one: a thousand installations wait for no disk.
    const QString memory = s("/dev/shm");
    const QString place = QFileInfo(memory).isWritable() ? memory : QDir::tempPath();
    m_dir = std::make_unique<QTemporaryDir>(place + s("/tst_installer-XXXXXX"));
    QVERIFY(m_dir->isValid());
    m_package = m_dir->filePath(s("p-3.1.5.31502.tar.gz"));
    makeSite(m_dir->filePath(s("root")));
    writePackage(packageOf(newDraft()), sampleStatement(Signature::Role::Package));
}

void tst_Installer::makeSite(const QString &root)
{
    m_root = root;
    QDir(root).removeRecursively();
    writeFiles(root + s("/current"), oldDraft());
    writeFile(root + s("/current/manifest.json"), oldDraft().manifest.text());
    writeFile(root + s("/previous/readme"), "older");
}

void tst_Installer::writePackage(const QByteArray &package, Signature::Statement statement,
                                 const QString &key)
{
    writeFile(m_package, package);
    QVERIFY(signSample(m_package, statement, key));
}

InstallRequest tst_Installer::request() const
{
    InstallRequest request;
    request.root = m_root;
    request.packageFile = m_package;
    request.keys = Signature::builtInKeys();
    request.now = QDateTime(QDate(2026, 1, 1), QTime(0, 0), Qt::UTC);
    return request;
}

Tree tst_Installer::outside() const
{
    Tree tree = treeOf(m_dir->path());
    tree.remove(s("root/.updater/lock"));
    return tree;
}

void tst_Installer::refuses(ExitCode code, const QString &fault)
{
    const Tree before = outside();
    const InstallResult result = installPackage(request());
    QVERIFY2(result.fault.contains(fault), qPrintable(result.fault));
    QCOMPARE(result.code, code);
    QCOMPARE(outside(), before);
}

void tst_Installer::installs()
{
    InstallRequest order = request();
    const InstallResult result = installPackage(order);
    QVERIFY2(result.ok(), qPrintable(result.fault));
    QCOMPARE(treeOf(m_root + s("/current")), treeOf(newDraft()));
    QCOMPARE(treeOf(m_root + s("/previous")), treeOf(oldDraft()));
    QCOMPARE(readFile(m_root + s("/.updater/counter")), QByteArray("1\n"));
    refuses(ExitCode::PackageOutdated, s("is not newer than the installed"));
}

void tst_Installer::alteredByte()
{
    for (const QString &path : {m_package, m_package + s(".sig")}) {
        const QByteArray good = readFile(path);
        QVERIFY(good.size() > 400);
        for (int i = 0; i <= good.size(); ++i) {
            QByteArray bad = good;
            if (i < good.size())
                bad[i] = char(bad.at(i) ^ (1 << (i % 8)));
            else
                bad.append('\n');
            writeFile(path, bad);
            QCOMPARE(installPackage(request()).code, ExitCode::PackageNotTrusted);
        }
        writeFile(path, good.left(good.size() / 2));
        refuses(ExitCode::PackageNotTrusted, QString());
        writeFile(path, good);
    }
    QCOMPARE(treeOf(m_root + s("/current")), treeOf(oldDraft()));
}

void tst_Installer::refused_data()
{
    QTest::addColumn<ExitCode>("code");
    QTest::addColumn<QString>("fault");
    QTest::addColumn<std::function<void(Signature::Statement &)>>("change");
    QTest::addColumn<QString>("key");
    using Statement = Signature::Statement;
    const auto row
        = [](
              const char *name, ExitCode code, const char *fault,
              const std::function<void(Statement &)> &change = [](Statement &) {},
              const char *key = "second") { QTest::newRow(name) << code << s(fault) << change << s(key); };
    const auto shell = [this](const char *command) {
        return [this, command](Statement &) {
            QCOMPARE(QProcess::execute(s("sh"), {s("-c"), s("cd $0 && ") + s(command), m_dir->path()}), 0);
        };
    };
    row("signature missing", ExitCode::SignatureMissing, "its signature is missing", shell("rm *.sig"));
    row("package missing", ExitCode::PackageNotTrusted, "cannot be opened", shell("rm *.gz"));
    row("package is a link", ExitCode::PackageNotTrusted, "symbolic link",
        shell("f=`ls *.gz`; mv $f a; ln -s a $f"));
    row("package is a folder", ExitCode::PackageNotTrusted, "it is no file",
        shell("f=`ls *.gz`; rm $f; mkdir $f"));
    row(
        "unknown key", ExitCode::PackageNotTrusted, "key that this program does not know", [](Statement &) {},
        "unknown");
    row("signature of a catalogue", ExitCode::PackageNotTrusted, "of another kind",
        [](Statement &statement) { statement.role = Signature::Role::Catalogue; });
    row("another product", ExitCode::PackageNotTrusted, "another product",
        [](Statement &statement) { statement.product = s("Tessarine Studio"); });
    row("expired", ExitCode::PackageOutdated, "expired at 2026-01-01T00:00:00Z",
        [this](Statement &statement) { statement.expires = request().now; });
    row("older under a new name", ExitCode::PackageOutdated, "its version 3.1.3-30000 is not newer",
        [](Statement &statement) {
            statement.version = {3, 1, 3, 30000};
        });
    row("newer under another name", ExitCode::PackageOutdated, "its name says version 3.1.5.31502",
        [](Statement &statement) {
            statement.version = {3, 1, 6, 31600};
        });
    row("lower counter", ExitCode::PackageOutdated, "before what is installed",
        shell("mkdir -m 700 root/.updater && echo 2 > root/.updater/counter"));
    row("counter damaged", ExitCode::InstallFailed, "counter is damaged",
        shell("mkdir -m 700 root/.updater && echo two > root/.updater/counter"));
    row("private folder open to others", ExitCode::InstallFailed, "can be written by others",
        shell("mkdir -m 777 root/.updater"));
    row("no installation", ExitCode::NoInstallation, "no installation",
        shell("rm root/current/manifest.json"));
}

void tst_Installer::refused()
{
    QFETCH(ExitCode, code);
    QFETCH(QString, fault);
    QFETCH(std::function<void(Signature::Statement &)>, change);
    QFETCH(QString, key);
    Signature::Statement statement = sampleStatement(Signature::Role::Package);
    change(statement);
    if (QFileInfo(m_package).isFile() && QFileInfo::exists(m_package + s(".sig")))
        QVERIFY(signSample(m_package, statement, key));
    refuses(code, fault);
}

void tst_Installer::brokenPackage_data()
{
    QTest::addColumn<std::function<void(Draft &)>>("spoil");
    QTest::addColumn<QString>("fault");
    const auto row = [](const char *name, const char *fault, const std::function<void(Draft &)> &spoil) {
        QTest::newRow(name) << spoil << s(fault);
    };
    for (const char *const path : {"../outside", "bin/../../outside", "/outside", "bin//a", "./a", "a/", "",
                                   "a\\b", "manifest.json", "NUL", "a\nb"}) {
        row((QByteArray("path ") + path).constData(), "is not safe",
            [path](Draft &d) { d.manifest.files[0].path = d.entries[0].path = path; });
    }
    row("path upwards, not listed", "stands where", [](Draft &d) {
        d.entries.prepend({"../outside", "evil"});
    });
    row("symbolic link", "\"bin/program\" is a link", [](Draft &d) {
        d.entries[0] = {"bin/program", "", AE_IFLNK, 0777, "/etc/passwd"};
    });
    row("link to a folder, then a path through it", "\"lib\" is a link", [](Draft &d) {
        d.entries.insert(1, {"lib", "", AE_IFLNK, 0777, "../../.."});
    });
    row("hard link", "\"bin/program\" is a link",
        [](Draft &d) { d.entries[0] = {"bin/program", "", AE_IFREG, 0644, "", "../../outside"}; });
    row("pipe", "is no regular file", [](Draft &d) { d.entries[0].type = AE_IFIFO; });
    row("device", "is no regular file", [](Draft &d) { d.entries[0].type = AE_IFCHR; });
    row("folder", "is no regular file", [](Draft &d) { d.entries[0].type = AE_IFDIR; });
    row("twice in the archive", "stands where", [](Draft &d) { d.entries.insert(1, d.entries.first()); });
    row("twice in the manifest", "stands twice", [](Draft &d) {
        d.entries.insert(1, d.entries.first());
        d.manifest.files.insert(1, d.manifest.files.first());
    });
    row("path through a file", "leads through a file",
        [](Draft &d) { d.manifest.files[1].path = d.entries[1].path = "bin/program/part"; });
    row("not listed", "not listed", [](Draft &d) { d.entries.append(Entry{"zebra", "evil"}); });
    row("missing", "\"readme\" is missing", [](Draft &d) { d.entries.removeLast(); });
    row("larger than listed", "another size", [](Draft &d) { d.entries[2].content += '!'; });
    row("smaller than listed", "another size", [](Draft &d) { d.entries[2].content.chop(1); });
    row("other content", "another digest", [](Draft &d) { d.entries[2].content = "bad"; });
    row("set-user-id", "another mode", [](Draft &d) { d.entries[0].mode = 04755; });
    row("bomb", "another size", [](Draft &d) { d.entries[1].content = QByteArray(bombSize, '\0'); });
    row("bomb behind the last file", "not listed", [](Draft &d) {
        d.entries.append(Entry{"zebra", QByteArray(bombSize, '\0')});
    });
    row("bomb of a manifest", "larger than allowed",
        [](Draft &d) { d.manifestText = QByteArray(bombSize, ' '); });
    row("larger than any package", "are larger than",
        [](Draft &d) { d.manifest.files[0].size = d.manifest.files[1].size = Q_INT64_C(3000000000); });
    row("no manifest", "lists \"manifest.json\"", [](Draft &d) { d.hasManifest = false; });
    row("manifest is no JSON", "no JSON", [](Draft &d) { d.manifestText = "{"; });
    row("manifest of another version", "its manifest is for Tessarine Console 3.1.6-1", [](Draft &d) {
        d.manifest.version = {3, 1, 6, 1};
    });
    row("manifest of another product", "its manifest is for P",
        [](Draft &d) { d.manifest.product = s("P"); });
}

void tst_Installer::brokenPackage()
{
    QFETCH(std::function<void(Draft &)>, spoil);
    QFETCH(QString, fault);
    writeFile(m_dir->filePath(s("outside")), "precious");
    Draft draft = newDraft();
    spoil(draft);
    writePackage(packageOf(draft), sampleStatement(Signature::Role::Package));
    refuses(ExitCode::PackageBroken, fault);
}

void tst_Installer::signatureOfTheOffer()
{
    const QByteArray signature = readFile(m_package + s(".sig"));
    OfferStore offers(m_dir->filePath(s("offers")));
    const QString product = s("Tessarine Console");
    QVERIFY(offers.setOffer(product, s("p-3.1.5.31502.tar.gz"), "Tessarine-Signature: 1\n").isEmpty());
    InstallRequest order = request();
    order.offers = &offers;
    // What stands beside the package does not count when the check brought a signature.
    QCOMPARE(installPackage(order).code, ExitCode::PackageNotTrusted);
    QVERIFY(offers.setOffer(product, s("p-3.1.5.31502.tar.gz"), signature).isEmpty());
    QVERIFY(QFile::remove(m_package + s(".sig")));
    QVERIFY(installPackage(order).ok());
}

void tst_Installer::swappedDuringTheInstallation()
{
    const QByteArray good = readFile(m_package);
    // A package that a reader would take, of the same size, so that only the digest tells.
    Draft evil = newDraft();
    QByteArray bad;
    for (int i = 0; bad.size() != good.size(); ++i) {
        QVERIFY(i < 5000);
        evil.entries[2].content = QByteArray::number(100 + i);
        evil = draftOf(newVersion, evil.entries);
        bad = packageOf(evil);
    }
    std::atomic<bool> isOver{false};
    std::thread attacker([this, &isOver, &good, &bad] {
        for (quint32 i = 0; !isOver; ++i) {
            const QString draft = m_dir->filePath(s("draft"));
            QFile file(i % 3 == 2 ? m_package : draft);
            // Written in place every third time, else put in its place as another file.
            if (file.open(QIODevice::ReadWrite))
                file.write(i % 2 == 0 ? good : bad);
            file.close();
            if (i % 3 != 2)
                std::rename(qPrintable(draft), qPrintable(m_package));
            usleep(QRandomGenerator::global()->bounded(400));
        }
    });
    int installed = 0;
    QVector<Tree> results;
    for (int i = 0; i < 1000; ++i) {
        const bool ok = installPackage(request()).ok();
        installed += ok ? 1 : 0;
        const Tree current = treeOf(m_root + s("/current"));
        if (current != treeOf(ok ? newDraft() : oldDraft()))
            results.append(current);
        if (ok)
            makeSite(m_root);
    }
    isOver = true;
    attacker.join();
    QCOMPARE(results, QVector<Tree>());
    QVERIFY2(installed > 0 && installed < 1000, qPrintable(QString::number(installed)));
}

void tst_Installer::checkRecovered()
{
    const Tree current = treeOf(m_root + s("/current"));
    const bool isNew = current == treeOf(newDraft());
    QVERIFY(isNew || current == treeOf(oldDraft()));
    QCOMPARE(treeOf(m_root + s("/previous")), isNew ? treeOf(oldDraft()) : Tree({{s("readme"), "- older"}}));
    const QStringList own = QDir(m_root + s("/.updater")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    QVERIFY2(own == (isNew ? QStringList{s("counter"), s("lock")} : QStringList{s("lock")}) || own.isEmpty(),
             qPrintable(own.join(QLatin1Char(' '))));
}

namespace {

/// Installs in a process of its own that is killed before a rename, or after a time; -1: not.
/// @return true when it was killed
bool installAndKill(InstallRequest request, int move, int microseconds)
{
    const pid_t child = fork();
    if (child == 0) {
        request.hooks.beforeMove = [move]() mutable {
            if (move-- == 0)
                raise(SIGKILL);
        };
        installPackage(request);
        _exit(0);
    }
    if (microseconds >= 0) {
        usleep(useconds_t(microseconds));
        kill(child, SIGKILL);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status);
}

} // namespace

void tst_Installer::killedAtEveryMove_data()
{
    QTest::addColumn<bool>("canExchange");
    QTest::newRow("exchange") << true;
    QTest::newRow("two renames") << false;
}

void tst_Installer::killedAtEveryMove()
{
    QFETCH(bool, canExchange);
    InstallRequest order = request();
    order.hooks.canExchange = canExchange;
    int kills = 0;
    bool isKilled = true;
    for (int first = 0; isKilled; ++first) {
        // The run that recovers is killed as well, wherever it moves something.
        bool isKilledAgain = true;
        for (int second = 0; isKilledAgain && isKilled; ++second) {
            makeSite(m_root);
            isKilled = installAndKill(order, first, -1);
            isKilledAgain = installAndKill(order, second, -1);
            ++kills;
            QVERIFY(Installation::recover(m_root).ok());
            checkRecovered();
        }
        // The old or the new version is there at every moment, but for the one between two renames.
        QVERIFY(!canExchange || Installation::installedManifest(m_root));
    }
    QVERIFY2(kills > 20, qPrintable(QString::number(kills)));
    QCOMPARE(treeOf(m_root + s("/current")), treeOf(newDraft()));
}

void tst_Installer::killedAtAnyTime()
{
    QFETCH(bool, canExchange);
    InstallRequest order = request();
    order.hooks.canExchange = canExchange;
    QElapsedTimer timer;
    timer.start();
    installAndKill(order, -1, -1);
    const int duration = int(timer.nsecsElapsed() / 1000);
    int kills = 0;
    for (int i = 0; i < 150; ++i) {
        makeSite(m_root);
        kills += installAndKill(order, -1, QRandomGenerator::global()->bounded(duration)) ? 1 : 0;
        QVERIFY(!canExchange || Installation::installedManifest(m_root));
        QVERIFY(Installation::recover(m_root).ok());
        checkRecovered();
    }
    QVERIFY(kills > 30);
}

void tst_Installer::stoppedAtAnyTime()
{
    bool isStopped = true;
    for (int questions = 0; isStopped; ++questions) {
        makeSite(m_root);
        InstallRequest order = request();
        int left = questions;
        order.shouldStop = [&left] { return left-- == 0; };
        const InstallResult result = installPackage(order);
        isStopped = !result.ok();
        QCOMPARE(result.fault, isStopped ? s("stopped by a signal") : QString());
        checkRecovered();
    }
    QCOMPARE(treeOf(m_root + s("/current")), treeOf(newDraft()));
}

void tst_Installer::twoAtOnce()
{
    ExitCode other = ExitCode::UpdateFound;
    InstallRequest order = request();
    order.onProgress = [this, &other](int percent) {
        if (percent > 0 && percent < 100)
            other = installPackage(request()).code;
    };
    QVERIFY(installPackage(order).ok());
    QCOMPARE(other, ExitCode::InstallBusy);
    checkRecovered();
}

void tst_Installer::noSpace()
{
    const QString place = m_dir->filePath(s("small"));
    QVERIFY(QDir().mkdir(place));
    if (mount("tmpfs", qPrintable(place), "tmpfs", 0, "size=1m") != 0)
        QSKIP("A small file system cannot be mounted here.");
    makeSite(place + s("/root"));
    writePackage(packageOf(draftOf(newVersion, {{"zeros", QByteArray(4000000, '\0')}})),
                 sampleStatement(Signature::Role::Package));
    const InstallResult result = installPackage(request());
    const Tree current = treeOf(m_root + s("/current"));
    const QStringList own = QDir(m_root + s("/.updater")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    QCOMPARE(umount(qPrintable(place)), 0);
    QCOMPARE(result.code, ExitCode::NotEnoughSpace);
    QVERIFY2(result.fault.contains(s("there is not enough space")), qPrintable(result.fault));
    QCOMPARE(current, treeOf(oldDraft()));
    QCOMPARE(own, QStringList{s("lock")});
}

QProcess *tst_Installer::start(const QString &program, const QStringList &arguments)
{
    auto *const process = new QProcess(this);
    process->start(program, arguments);
    return process;
}

void tst_Installer::program()
{
    const QString inside = m_root + s("/current/bin/updater");
    QVERIFY(QFile::copy(s(UPDATER_PROGRAM), inside));
    const QStringList arguments{s("--update"), s("install"), s("--file"), m_package,
                                s("--not-check-postinstall")};
    std::unique_ptr<QProcess> process(start(inside, arguments));
    QVERIFY(process->waitForFinished());
    QCOMPARE(process->readAllStandardError(), QByteArray());
    QCOMPARE(process->exitCode(), 0);
    int percent = -1;
    for (const QByteArray &line : process->readAllStandardOutput().trimmed().split('\n')) {
        QVERIFY2(line.startsWith("installer:%") && line.mid(11).toInt() > percent, line.constData());
        percent = line.mid(11).toInt();
    }
    QCOMPARE(percent, 100);
    QCOMPARE(treeOf(m_root + s("/current")), treeOf(newDraft()));

    process.reset(start(s(UPDATER_PROGRAM), arguments + QStringList{s("--root"), m_root}));
    QVERIFY(process->waitForFinished());
    QCOMPARE(process->exitCode(), int(ExitCode::PackageOutdated));
    QCOMPARE(
        process->readAllStandardError(),
        QByteArray("updater: the package is not installed: its version 3.1.5-31502 is not newer than the "
                   "installed 3.1.5-31502\n"));
    process.reset(start(s(UPDATER_PROGRAM), arguments));
    QVERIFY(process->waitForFinished());
    QCOMPARE(process->exitCode(), int(ExitCode::NoInstallation));
}

void tst_Installer::programIsKilled()
{
    const QStringList root{s("--root"), m_root};
    const QStringList install{s("--update"), s("install"), s("--file"), m_package};
    const QStringList check{s("--update"), s("check"), s("--url"), s("http://127.0.0.1:1/")};
    QElapsedTimer timer;
    timer.start();
    std::unique_ptr<QProcess> process(start(s(UPDATER_PROGRAM), install + root));
    QVERIFY(process->waitForFinished());
    const int duration = int(timer.nsecsElapsed() / 1000);
    for (int i = 0; i < 40; ++i) {
        makeSite(m_root);
        process.reset(start(s(UPDATER_PROGRAM), install + root));
        QVERIFY(process->waitForStarted());
        usleep(useconds_t(duration / 2 + QRandomGenerator::global()->bounded(duration / 2)));
        process->kill();
        QVERIFY(process->waitForFinished());
        process.reset(start(s(UPDATER_PROGRAM), check + root));
        QVERIFY(process->waitForFinished());
        QCOMPARE(process->exitCode(), int(ExitCode::NoConnection));
        checkRecovered();
    }
}

void tst_Installer::pack()
{
    const QString folder = m_dir->filePath(s("folder"));
    writeFiles(folder, newDraft());
    const QString copy = m_dir->filePath(s("copy"));
    for (const QString &output : {m_package, copy}) {
        const std::unique_ptr<QProcess> process(
            start(s(UPDATER_PROGRAM), {s("pack"), folder, s("--product"), s("Tessarine Console"),
                                       s("--version"), s("3.1.5.31502"), s("--output"), output}));
        QVERIFY(process->waitForFinished());
        QCOMPARE(process->exitCode(), 0);
        // Later, and a version that was installed: the same package.
        writeFile(folder + s("/manifest.json"), newDraft().manifest.text());
    }
    QCOMPARE(readFile(copy), readFile(m_package));
    QVERIFY(signSample(m_package, sampleStatement(Signature::Role::Package)));
    QVERIFY(installPackage(request()).ok());
    QCOMPARE(treeOf(m_root + s("/current")), treeOf(newDraft()));

    QVERIFY(QFile::link(s("readme"), folder + s("/link")));
    const InstallResult result = packFolder(folder, s("P"), newVersion, copy);
    QCOMPARE(result.code, ExitCode::PackageBroken);
    QVERIFY(result.fault.contains(s("folder/link is a link")));
    QCOMPARE(readFile(copy), readFile(m_package));
}

void tst_Installer::installedVersionIsAsked()
{
    CommandLine commandLine;
    commandLine.url = s("https://updates.example/c.xml");
    PackageManifest manifest = newDraft().manifest;
    manifest.product = s("Tessarine Studio");
    UpdateCriteria criteria = makeCheckRequest(commandLine, nullptr, &manifest).request.criteria;
    QCOMPARE(criteria.product, s("Tessarine Studio"));
    QCOMPARE(criteria.currentVersion, newVersion);
    // The version of one product says nothing about another.
    commandLine.product = s("Tessarine Console");
    QVERIFY(makeCheckRequest(commandLine, nullptr, &manifest).request.criteria.currentVersion != newVersion);
    commandLine.product.clear();
    commandLine.currentVersion = oldVersion;
    QCOMPARE(makeCheckRequest(commandLine, nullptr, &manifest).request.criteria.currentVersion, oldVersion);
}

KOV_TEST_MAIN(QCoreApplication, tst_Installer)

#include "tst_installer.moc"
