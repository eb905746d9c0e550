#include "programs/updater/check/CheckRequest.h"
#include "programs/updater/publish/PackTool.h"
#include "programs/updater/trust/OfferStore.h"
#include "tests/programs/InstallerFixture.h"
#include "tests/support/SampleSignature.h"

#include <QProcess>
#include <QRandomGenerator>
#include <atomic>
#include <sys/mount.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int bombSize = 128 * 1024 * 1024;

} // namespace

/// What may be installed, and what is refused.
class tst_Installer : public QObject
{
    Q_OBJECT

    std::unique_ptr<InstallerFixture> m_site;

    /// Everything of the test's folder but what an updater at rest keeps for itself.
    Tree outside() const
    {
        Tree tree = treeOf(m_site->dir.path());
        tree.remove("root/.updater/lock");
        return tree;
    }

    void refuses(ExitCode code, const QString &fault)
    {
        const Tree before = outside();
        const InstallResult result = installPackage(m_site->request());
        QVERIFY2(result.fault.contains(fault), qPrintable(result.fault));
        QCOMPARE(result.code, code);
        QCOMPARE(outside(), before);
    }

private Q_SLOTS:
    void init() { m_site = std::make_unique<InstallerFixture>(); }

    void installs()
    {
        const InstallResult result = installPackage(m_site->request());
        QVERIFY2(result.ok(), qPrintable(result.fault));
        QCOMPARE(treeOf(m_site->in("current")), treeOf(newDraft()));
        QCOMPARE(treeOf(m_site->in("previous")), treeOf(oldDraft()));
        refuses(ExitCode::PackageOutdated, "is not newer than the installed");
    }

    void alteredByte()
    {
        for (const QString &path : {m_site->package, m_site->package + ".sig"}) {
            const QByteArray good = fileContent(path);
            QVERIFY(good.size() > 400);
            for (int i = 0; i <= good.size(); ++i) {
                QByteArray bad = good;
                if (i < good.size())
                    bad[i] = char(bad.at(i) ^ (1 << (i % 8)));
                else
                    bad.append('\n');
                put(path, bad);
                QCOMPARE(installPackage(m_site->request()).code, ExitCode::PackageNotTrusted);
            }
            put(path, good.left(good.size() / 2));
            refuses(ExitCode::PackageNotTrusted, QString());
            put(path, good);
        }
        QCOMPARE(treeOf(m_site->in("current")), treeOf(oldDraft()));
    }

    void refused_data()
    {
        Table<ExitCode, QString, QByteArray> row; // the last: a command
        const QByteArray counter
            = " > .updater/counter-" + Signature::fingerprint(Signature::builtInKeys().first());
        const QByteArray keep = "cd root && mkdir -m 700 .updater && echo ";
        row("signature missing", ExitCode::SignatureMissing, "its signature is missing", "rm *.sig");
        row("package missing", ExitCode::PackageNotTrusted, "cannot be opened", "rm *.gz");
        row("package is a link", ExitCode::PackageNotTrusted, "symbolic link",
            "f=`ls *.gz`; mv $f a; ln -s a $f");
        row("package is a folder", ExitCode::PackageNotTrusted, "it is no file",
            "f=`ls *.gz`; rm $f; mkdir $f");
        row("lower counter", ExitCode::PackageOutdated, "before what is installed", keep + "2" + counter);
        row("counter damaged", ExitCode::InstallFailed, "remove it to begin anew", keep + "two" + counter);
        row("private folder open to others", ExitCode::InstallFailed, "can be written by others",
            "mkdir -m 777 root/.updater");
        row("no installation", ExitCode::NoInstallation, "no installation", "rm root/current/manifest.json");
    }

    void refused()
    {
        const auto [code, fault, command] = cells<ExitCode, QString, QByteArray>();
        QCOMPARE(shell(command, m_site->dir.path()), 0);
        refuses(code, fault);
    }

    void refusedSignature_data()
    {
        using Statement = Signature::Statement;
        Table<ExitCode, QString, void (*)(Statement &)> row;
        row("unknown", ExitCode::PackageNotTrusted, "key that this program does not know",
            [](Statement &) {});
        row("of a catalogue", ExitCode::PackageNotTrusted, "of another kind",
            [](Statement &of) { of = sampleStatement(Signature::Role::Catalogue); });
        row("another product", ExitCode::PackageNotTrusted, "another product",
            [](Statement &of) { of.product = "Tessarine Studio"; });
        row("expired", ExitCode::PackageOutdated, "expired at 2026-01-01T00:00:00Z",
            [](Statement &of) { of.expires = QDateTime(QDate(2026, 1, 1), QTime(0, 0), Qt::UTC); });
        row("older under a new name", ExitCode::PackageOutdated, "its version 3.1.3-31502 is not newer",
            [](Statement &of) { of.version[2] = 3; });
        row("newer under another name", ExitCode::PackageOutdated, "its name says version 3.1.5.31502",
            [](Statement &of) { of.version[2] = 6; });
    }

    void refusedSignature()
    {
        const auto [code, fault, change] = cells<ExitCode, QString, void (*)(Signature::Statement &)>();
        Signature::Statement statement = sampleStatement(Signature::Role::Package);
        change(statement);
        const QString key = QTest::currentDataTag();
        QVERIFY(signSample(m_site->package, statement, key == "unknown" ? key : "second"));
        refuses(code, fault);
    }

    /// A counter that was set too high, or stolen with its key, is left behind with the key.
    void secondKeyStartsAnew()
    {
        const QByteArray first = "counter-" + Signature::fingerprint(Signature::builtInKeys().first());
        QVERIFY(QDir().mkpath(m_site->in(".updater")));
        put(m_site->in((".updater/" + first).constData()), "18446744073709551615\n");
        refuses(ExitCode::PackageOutdated, "before what is installed");
        QVERIFY(signSample(m_site->package, sampleStatement(Signature::Role::Package), "second"));
        QVERIFY(installPackage(m_site->request()).ok());
    }

    void brokenPackage_data()
    {
        Table<QString, std::function<void(Draft &)>> broken;
        for (const char *const path : {"../outside", "bin/../../outside", "/outside", "bin//a", "./a", "a/",
                                       "", "a\\b", "manifest.json", "NUL", "a\nb"}) {
            broken(QByteArray("path ") + path, "is not safe",
                   [path](Draft &d) { d.manifest.files[0].path = d.entries[0].path = path; });
        }
        broken("path upwards, not listed", "stands where", [](Draft &d) {
            d.entries.prepend({"../outside", "evil"});
        });
        broken("symbolic link", "\"bin/program\" is a link", [](Draft &d) {
            d.entries[0] = {"bin/program", "", AE_IFLNK, 0777, "/etc/passwd"};
        });
        broken("link to a folder, then a path through it", "\"lib\" is a link", [](Draft &d) {
            d.entries.insert(1, {"lib", "", AE_IFLNK, 0777, "../../.."});
        });
        broken("hard link", "\"bin/program\" is a link",
               [](Draft &d) { d.entries[0] = {"bin/program", "", AE_IFREG, 0644, "", "../../outside"}; });
        for (const int type : {AE_IFIFO, AE_IFCHR, AE_IFDIR}) {
            broken("of type " + QByteArray::number(type, 8), "is no regular file",
                   [type](Draft &d) { d.entries[0].type = type; });
        }
        broken("twice in the archive", "stands where",
               [](Draft &d) { d.entries.insert(1, d.entries.first()); });
        broken("twice in the manifest", "stands twice", [](Draft &d) {
            d.entries.insert(1, d.entries.first());
            d.manifest.files.insert(1, d.manifest.files.first());
        });
        broken("path through a file", "leads through a file",
               [](Draft &d) { d.manifest.files[1].path = d.entries[1].path = "bin/program/part"; });
        broken("not listed", "not listed", [](Draft &d) { d.entries.append(Entry{"zebra", "evil"}); });
        broken("missing", "\"readme\" is missing", [](Draft &d) { d.entries.removeLast(); });
        broken("larger than listed", "another size", [](Draft &d) { d.entries[2].content += '!'; });
        broken("smaller than listed", "another size", [](Draft &d) { d.entries[2].content.chop(1); });
        broken("other content", "another digest", [](Draft &d) { d.entries[2].content = "bad"; });
        broken("set-user-id", "another mode", [](Draft &d) { d.entries[0].mode = 04755; });
        broken("bomb", "another size", [](Draft &d) { d.entries[1].content = QByteArray(bombSize, '\0'); });
        broken("bomb behind the last file", "not listed", [](Draft &d) {
            d.entries.append(Entry{"zebra", QByteArray(bombSize, '\0')});
        });
        broken("bomb of a manifest", "larger than allowed",
               [](Draft &d) { d.manifestText = QByteArray(bombSize, ' '); });
        broken("larger than any package", "are larger than",
               [](Draft &d) { d.manifest.files[0].size = d.manifest.files[1].size = Q_INT64_C(3000000000); });
        broken("no manifest", "lists \"manifest.json\"", [](Draft &d) { d.hasManifest = false; });
        broken("manifest is no JSON", "no JSON", [](Draft &d) { d.manifestText = "{"; });
        broken("manifest of another version", "its manifest is for Tessarine Console 3.1.6-1", [](Draft &d) {
            d.manifest.version = VersionNumber{3, 1, 6, 1};
        });
        broken("manifest of another product", "its manifest is for P",
               [](Draft &d) { d.manifest.product = "P"; });
    }

    void brokenPackage()
    {
        const auto [fault, spoil] = cells<QString, std::function<void(Draft &)>>();
        put(m_site->dir.filePath("outside"), "precious");
        Draft draft = newDraft();
        spoil(draft);
        m_site->writePackage(packageOf(draft), sampleStatement(Signature::Role::Package));
        refuses(ExitCode::PackageBroken, fault);
    }

    void signatureOfTheOffer()
    {
        const QByteArray signature = fileContent(m_site->package + ".sig");
        OfferStore offers(m_site->dir.filePath("offers"));
        const QString product = "Tessarine Console";
        QVERIFY(offers.setOffer(product, "p-3.1.5.31502.tar.gz", "Tessarine-Signature: 1\n").isEmpty());
        InstallRequest order = m_site->request();
        order.offers = &offers;
        // What stands beside the package does not count when the check brought a signature.
        QCOMPARE(installPackage(order).code, ExitCode::PackageNotTrusted);
        QVERIFY(offers.setOffer(product, "p-3.1.5.31502.tar.gz", signature).isEmpty());
        QVERIFY(QFile::remove(m_site->package + ".sig"));
        QVERIFY(installPackage(order).ok());
    }

    void swappedDuringTheInstallation()
    {
        const QByteArray good = fileContent(m_site->package);
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
                const QString draft = m_site->dir.filePath("draft");
                QFile file(i % 3 == 2 ? m_site->package : draft);
                // Written in place every third time, else put in its place as another file.
                if (file.open(QIODevice::ReadWrite))
                    file.write(i % 2 == 0 ? good : bad);
                file.close();
                if (i % 3 != 2)
                    std::rename(qPrintable(draft), qPrintable(m_site->package));
                usleep(QRandomGenerator::global()->bounded(400));
            }
        });
        int installed = 0;
        QVector<Tree> results;
        // Until both have been seen often: how often each, depends on the machine.
        for (int i = 0, refused = 0; installed < 20 || refused < 20; ++i) {
            const bool ok = installPackage(m_site->request()).ok();
            (ok ? installed : refused) += 1;
            const Tree current = treeOf(m_site->in("current"));
            if (current != treeOf(ok ? newDraft() : oldDraft()))
                results.append(current);
            if (ok)
                m_site->makeSite(m_site->root);
        }
        isOver = true;
        attacker.join();
        QCOMPARE(results, QVector<Tree>());
    }

    void twoAtOnce()
    {
        ExitCode other = ExitCode::UpdateFound;
        InstallRequest order = m_site->request();
        order.onProgress = [this, &other](int percent) {
            if (percent > 0 && percent < 100)
                other = installPackage(m_site->request()).code;
        };
        QVERIFY(installPackage(order).ok());
        QCOMPARE(other, ExitCode::InstallBusy);
        m_site->checkRecovered();
    }

    void noSpace()
    {
        const QString place = m_site->dir.filePath("small");
        QVERIFY(QDir().mkdir(place));
        if (mount("tmpfs", qPrintable(place), "tmpfs", 0, "size=1m") != 0)
            QSKIP("A small file system cannot be mounted here.");
        m_site->makeSite(place + "/root");
        m_site->writePackage(packageOf(draftOf(newVersion, {{"zeros", QByteArray(4000000, '\0')}})),
                             sampleStatement(Signature::Role::Package));
        const InstallResult result = installPackage(m_site->request());
        const Tree current = treeOf(m_site->in("current"));
        const QStringList own = m_site->own();
        QCOMPARE(umount(qPrintable(place)), 0);
        QCOMPARE(result.code, ExitCode::NotEnoughSpace);
        QVERIFY2(result.fault.contains("there is not enough space"), qPrintable(result.fault));
        QCOMPARE(current, treeOf(oldDraft()));
        QCOMPARE(own, QStringList{"lock"});
    }

    void program()
    {
        const QString inside = m_site->in("current/bin/updater");
        QVERIFY(QFile::copy(UPDATER_PROGRAM, inside));
        const QStringList arguments{"--update", "install", "--file", m_site->package,
                                    "--not-check-postinstall"};
        const Outcome installed = run(inside, arguments);
        QCOMPARE(installed.errors, QByteArray());
        QCOMPARE(installed.exitCode, 0);
        int percent = -1;
        for (const QByteArray &line : installed.output.trimmed().split('\n')) {
            QVERIFY2(line.startsWith("installer:%") && line.mid(11).toInt() > percent, line.constData());
            percent = line.mid(11).toInt();
        }
        QCOMPARE(percent, 100);
        QCOMPARE(treeOf(m_site->in("current")), treeOf(newDraft()));

        const Outcome again = run(UPDATER_PROGRAM, arguments + QStringList{"--root", m_site->root});
        QCOMPARE(again.exitCode, int(ExitCode::PackageOutdated));
        QCOMPARE(again.errors.count('\n'), 1);
        QCOMPARE(run(UPDATER_PROGRAM, arguments).exitCode, int(ExitCode::NoInstallation));
    }

    void pack()
    {
        const QString folder = m_site->dir.filePath("folder");
        writeFiles(folder, newDraft());
        // The second output lies in the folder; what is packed is the same.
        const QString copy = folder + "/copy.tar.gz";
        const QStringList arguments{"pack",      folder,       "--product", "Tessarine Console",
                                    "--version", "3.1.5.31502"};
        for (const QString &output : {m_site->package, copy, copy}) {
            QCOMPARE(run(UPDATER_PROGRAM, arguments + QStringList{"--output", output}).exitCode, 0);
            // Later, and a version that was installed: the same package.
            put(folder + "/manifest.json", newDraft().manifest.text());
        }
        QCOMPARE(fileContent(copy), fileContent(m_site->package));
        QVERIFY(signSample(m_site->package, sampleStatement(Signature::Role::Package)));
        QVERIFY(installPackage(m_site->request()).ok());
        QCOMPARE(treeOf(m_site->in("current")), treeOf(newDraft()));
    }

    void refusedToPack_data()
    {
        Table<QString, QString> row;
        row("link", "ln -s readme link", "link is a link");
        row("name that is not UTF-8", "touch `printf 'a\\377'`", "a name that a package cannot hold");
        row("folder that may not be read", "mkdir -p lib/closed && touch lib/closed/a && chmod 0 lib/closed",
            "cannot be read completely: Permission denied");
    }

    void refusedToPack()
    {
        const auto [command, fault] = cells<QString, QString>();
        const QString folder = m_site->dir.filePath("folder");
        writeFiles(folder, newDraft());
        put(m_site->dir.filePath("out"), "as before");
        QCOMPARE(shell(command, folder), 0);
        QFile::setPermissions(m_site->dir.path(), QFile::Permissions(0x7755));
        // Nothing is closed to root.
        const QStringList asNobody{"--reuid=65534", "--clear-groups", UPDATER_PROGRAM};
        const QStringList arguments{"pack",      folder,    "--product", "P",
                                    "--version", "1.2.3.4", "--output",  m_site->dir.filePath("out")};
        const bool isRoot = geteuid() == 0;
        const Outcome outcome
            = isRoot ? run("setpriv", asNobody + arguments) : run(UPDATER_PROGRAM, arguments);
        QVERIFY2(outcome.errors.contains(fault.toUtf8()), outcome.errors.constData());
        QCOMPARE(outcome.exitCode, int(ExitCode::PackageBroken));
        QCOMPARE(fileContent(m_site->dir.filePath("out")), QByteArray("as before"));
        // Qt would leave the name behind.
        QCOMPARE(run("rm", {"-rf", folder}).exitCode, 0);
    }

    void installedVersionIsAsked()
    {
        CommandLine commandLine;
        commandLine.url = "https://updates.example/c.xml";
        PackageManifest manifest = newDraft().manifest;
        manifest.product = "Tessarine Studio";
        UpdateCriteria criteria = makeCheckRequest(commandLine, nullptr, &manifest).request.criteria;
        QCOMPARE(criteria.product, "Tessarine Studio");
        QCOMPARE(criteria.currentVersion, newVersion);
        // The version of one product says nothing about another.
        commandLine.product = "Tessarine Console";
        QVERIFY(makeCheckRequest(commandLine, nullptr, &manifest).request.criteria.currentVersion
                != newVersion);
        commandLine.product.clear();
        commandLine.currentVersion = oldVersion;
        QCOMPARE(makeCheckRequest(commandLine, nullptr, &manifest).request.criteria.currentVersion,
                 oldVersion);
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_Installer)
#include "tst_installer.moc"
