#include "programs/updater/base/Files.h"
#include "tests/programs/InstallerFixture.h"
#include "tests/support/SampleSignature.h"

#include <QProcess>
#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Does the work in a process of its own, which is killed before its n-th change of a file or folder; -1:
/// not.
/// @return true when it was killed
template <class Work>
bool killedBefore(int change, const Work &work)
{
    const pid_t child = fork();
    if (child == 0) {
        Files::beforeChange = [change]() mutable {
            if (change-- == 0)
                raise(SIGKILL);
        };
        work();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status);
}

Outcome updater(const QStringList &arguments)
{
    return run(UPDATER_PROGRAM, arguments);
}

} // namespace

/// Whatever interrupts an installation, and the way back to the version before.
class tst_Recovery : public QObject
{
    Q_OBJECT

    std::unique_ptr<InstallerFixture> m_site;
    int m_firstWithJournal = 0;

    void install()
    {
        const InstallResult result = installPackage(m_site->request());
        QVERIFY2(result.ok(), qPrintable(result.fault));
    }

    bool isNewInUse() const { return treeOf(m_site->in("current")) == treeOf(newDraft()); }

    /// As a menu entry does, or as the application does that starts itself anew.
    Outcome start(bool anew = false)
    {
        return anew ? updater({"run", m_site->in("current/bin/program")})
                    : updater({"run", "--root", m_site->root, "bin/program"});
    }

private Q_SLOTS:
    void init() { m_site = std::make_unique<InstallerFixture>(); }

    void killedAtEveryChange_data()
    {
        Table<bool, bool> row;
        row("exchange", true, true);
        row("three renames", false, true);
        row("file by file", false, false);
    }

    void killedAtEveryChange()
    {
        const auto [canExchange, canMoveFolders] = cells<bool, bool>();
        InstallRequest order = m_site->request();
        order.hooks.canExchange = canExchange;
        order.hooks.canMoveFolders = canMoveFolders;
        const auto install = [&order] { installPackage(order); };
        const auto recover = [this] { (void)Installation::recover(m_site->root); };
        // File by file there are many more places.
        const int step = canMoveFolders ? 2 : 9;
        // Before the journal is written, both ways are the same.
        int first = canExchange ? 0 : m_firstWithJournal;
        for (bool isKilled = true; isKilled; ++first) {
            // The run that recovers is killed as well. Without a journal it only clears up: then one such
            // place will do.
            bool isKilledAgain = true;
            for (int second = first % step; isKilledAgain && isKilled; second += step) {
                m_site->makeSite(m_site->root);
                isKilled = killedBefore(first, install);
                const bool hasJournal = QFileInfo::exists(m_site->in(".updater/journal"));
                if (hasJournal && m_firstWithJournal == 0)
                    m_firstWithJournal = first;
                isKilledAgain = killedBefore(hasJournal ? second : first % 5, recover) && hasJournal;
                QVERIFY(!canExchange || Installation::installedManifest(m_site->root));
                QVERIFY(Installation::recover(m_site->root).ok());
                m_site->checkRecovered();
            }
        }
        QVERIFY2(first > 50, qPrintable(QString::number(first)));
        QVERIFY(isNewInUse());
    }

    void stepBackKilledAtEveryChange_data() { killedAtEveryChange_data(); }

    void stepBackKilledAtEveryChange()
    {
        const auto [canExchange, canMoveFolders] = cells<bool, bool>();
        Installation::Hooks hooks;
        hooks.canExchange = canExchange;
        hooks.canMoveFolders = canMoveFolders;
        const auto stepBack = [this, hooks] {
            Installation installation(hooks);
            if (installation.open(m_site->root).ok())
                (void)installation.stepBack("test");
        };
        bool isKilled = true;
        for (int change = 0; isKilled; ++change) {
            m_site->makeSite(m_site->root);
            install();
            isKilled = killedBefore(change, stepBack);
            QVERIFY(Installation::recover(m_site->root).ok());
            const bool isNew = isNewInUse();
            QCOMPARE(treeOf(m_site->in(isNew ? "previous" : "current")), treeOf(oldDraft()));
            QCOMPARE(treeOf(m_site->in(isNew ? "current" : "previous")), treeOf(newDraft()));
            QCOMPARE(Installation::rejectedVersions(m_site->root).size(), isNew ? 0 : 1);
        }
        QVERIFY(!isNewInUse());
    }

    void stoppedAtAnyTime()
    {
        bool isStopped = true;
        for (int questions = 0; isStopped; ++questions) {
            m_site->makeSite(m_site->root);
            InstallRequest order = m_site->request();
            int left = questions;
            order.shouldStop = [&left] { return left-- == 0; };
            const InstallResult result = installPackage(order);
            isStopped = !result.ok();
            QCOMPARE(result.fault, isStopped ? QString("stopped by a signal") : QString());
            m_site->checkRecovered();
        }
        QVERIFY(isNewInUse());
    }

    /// What is told is what is there, also when the disk refuses at the last moment.
    void diskThatRefuses_data() { killedAtEveryChange_data(); }

    void diskThatRefuses()
    {
        const auto [canExchange, canMoveFolders] = cells<bool, bool>();
        for (int round = 0; round < 8; ++round) {
            m_site->makeSite(m_site->root);
            InstallRequest order = m_site->request();
            order.hooks.canExchange = canExchange;
            order.hooks.canMoveFolders = canMoveFolders;
            int left = round / 2;
            order.hooks.canSync = [&left] { return left-- > 0; };
            const bool ok = installPackage(order).ok();
            QCOMPARE(isNewInUse(), ok);
            // What came up is on trial no more, whatever was left for the next run to do.
            const bool isConfirmed = round % 2 == 1;
            QVERIFY(!isConfirmed || Installation::confirmVersion(m_site->root).ok());
            QVERIFY(Installation::recover(m_site->root).ok());
            if (isConfirmed)
                QVERIFY(!QFileInfo::exists(m_site->in(".updater/trial")));
            else
                m_site->checkRecovered();
        }
    }

    /// It cannot be moved: that is told by its name, and nothing is lost.
    void mountedVersion_data()
    {
        Table<QString, bool> row;
        row("in use", "current", true);
        row("in use, three renames", "current", false);
        row("the one before, three renames", "previous", false);
    }

    void mountedVersion()
    {
        const auto [version, canExchange] = cells<QString, bool>();
        if (geteuid() != 0)
            QSKIP("Only root can mount.");
        InstallRequest order = m_site->request();
        order.hooks.canExchange = canExchange;
        QCOMPARE(shell("mount --bind " + version + ' ' + version, m_site->root), 0);
        const InstallResult result = installPackage(order);
        QCOMPARE(shell("umount " + version, m_site->root), 0);
        QCOMPARE(result.code, ExitCode::InstallFailed);
        QVERIFY2(result.fault.contains(" on " + m_site->in(qPrintable(version)) + ", unmount"),
                 qPrintable(result.fault));
        m_site->checkRecovered();
        install();
        m_site->checkRecovered();
    }

    /// Between two renames there is no `current`; only the version that the journal names may take its place.
    void anotherVersionIsNotPutBack()
    {
        InstallRequest order = m_site->request();
        order.hooks.canExchange = false;
        for (int change = 0; QFileInfo::exists(m_site->in("current")); ++change) {
            m_site->makeSite(m_site->root);
            QVERIFY(killedBefore(change, [&order] { installPackage(order); }));
        }
        QCOMPARE(shell("mv previous kept && mkdir previous && cp kept/manifest.json previous && "
                       "echo >> previous/manifest.json",
                       m_site->root),
                 0);
        QCOMPARE(Installation::recover(m_site->root).code, ExitCode::InstallFailed);
        QVERIFY(!QFileInfo::exists(m_site->in("current")));
        QCOMPARE(shell("rm -r previous && mv kept previous", m_site->root), 0);
        QVERIFY(Installation::recover(m_site->root).ok());
        m_site->checkRecovered();
    }

    void damagedJournal()
    {
        install();
        put(m_site->in(".updater/journal"), "before \n");
        QVERIFY(Installation::recover(m_site->root).ok());
        QVERIFY(isNewInUse());
        put(m_site->in(".updater/journal"), "before \n");
        QVERIFY(QDir(m_site->in("current")).removeRecursively());
        QCOMPARE(Installation::recover(m_site->root).code, ExitCode::InstallFailed);
        // A check goes on nevertheless: it finds what mends the installation.
        const Outcome check
            = updater({"--update", "check", "--root", m_site->root, "--url", "http://127.0.0.1:1/"});
        QCOMPARE(check.exitCode, int(ExitCode::NoConnection));
        QVERIFY(check.errors.contains("journal"));
    }

    void rubbish_data()
    {
        // spoil: in the version before; mend: empty: the updater removes it by itself
        Table<QString, QString> row;
        row("closed folders", "mkdir -p a/b && touch a/b/c && chmod 555 a/b a .", "");
        row("deep tree", "i=0; while [ $i -lt 600 ]; do mkdir d && cd d && i=$((i+1)); done; touch f", "");
        row("wide tree", "mkdir `seq 300` && for i in `seq 300`; do mkdir $i/a; done", "");
        row("folder of root's", "mkdir a && touch a/precious", "rm -r .updater/rubbish-1/a");
        row("mounted volume", "mkdir -p a/v && mount -t tmpfs none a/v && touch a/v/precious",
            "umount .updater/rubbish-1/a/v && rm -r .updater/rubbish-1/a");
        row("the version is a mounted folder", "mount --bind . . && cd . && touch precious",
            "umount previous");
    }

    void rubbish()
    {
        const auto [spoil, mend] = cells<QString, QString>();
        const bool isRoot = geteuid() == 0;
        if (!mend.isEmpty() && !isRoot)
            QSKIP("Only root can do this.");
        // Nothing is closed to root, so the updater is somebody else.
        const QString as = isRoot ? "setpriv --reuid=65534 --clear-groups " : "";
        QVERIFY(!isRoot || shell("chmod 755 . && chown -R 65534 .", m_site->dir.path()) == 0);
        QCOMPARE(shell((mend.isEmpty() ? as : "") + "sh -c '" + spoil + "'", m_site->in("previous")), 0);
        // Fewer descriptors than the tree is deep.
        const auto updaterAs = [&as](const QString &arguments) {
            return run("sh", {"-c", "ulimit -n 64; exec " + as + UPDATER_PROGRAM + ' ' + arguments});
        };
        const Outcome installed
            = updaterAs("--update install --file " + m_site->package + " --root " + m_site->root);
        const Outcome checked = updaterAs("--update check --url http://127.0.0.1:1/ --root " + m_site->root);
        const bool isKept = mend.isEmpty() || shell("find . -name precious | grep -q .", m_site->root) == 0;
        const bool isMended = shell(mend.isEmpty() ? "true" : mend, m_site->root) == 0;
        const Outcome afterwards
            = updaterAs("--update check --url http://127.0.0.1:1/ --root " + m_site->root);
        QVERIFY2(installed.exitCode == 0, installed.errors.constData());
        QVERIFY(isNewInUse());
        // Reported once: the line of a check is about its connection.
        QVERIFY2(installed.errors.count('\n') == (mend.isEmpty() ? 0 : 1), installed.errors.constData());
        for (const Outcome &check : {checked, afterwards}) {
            QCOMPARE(check.exitCode, int(ExitCode::NoConnection));
            QVERIFY2(check.errors.count('\n') == 1, check.errors.constData());
        }
        QVERIFY(isKept && isMended);
        QCOMPARE(m_site->own().filter("rubbish"), QStringList());
    }

    void rollback()
    {
        QCOMPARE(updater({"rollback", "--root", m_site->root}).exitCode, int(ExitCode::NothingBefore));
        install();
        const Outcome done = updater({"rollback", "--root", m_site->root, "--reason", "It\nis slow."});
        QCOMPARE(done.errors, QByteArray());
        QCOMPARE(done.exitCode, 0);
        QCOMPARE(treeOf(m_site->in("current")), treeOf(oldDraft()));
        const QVector<RejectedVersion> rejected = Installation::rejectedVersions(m_site->root);
        QCOMPARE(rejected.size(), 1);
        QCOMPARE(rejected.first().version, newVersion);
        QCOMPARE(rejected.first().reason, "It is slow.");
        // Not forth again; by hand it can be installed all the same.
        QCOMPARE(updater({"rollback", "--root", m_site->root}).exitCode, int(ExitCode::NothingBefore));
        install();
        QVERIFY(isNewInUse());
    }

    void versionThatDoesNotComeUp_data()
    {
        // output: of each start
        Table<QByteArray, bool, QByteArrayList> row;
        const QByteArray script = "#!/bin/sh\necho ";
        row("fails twice", script + "new", false, QByteArrayList{"new\n", "new\n", "old\n", "old\n"});
        row("cannot be started", QByteArray("nonsense"), false, QByteArrayList{"", "", "old\n", "old\n"});
        row("comes up", script + "new", true, QByteArrayList{"new\n", "new\n", "new\n", "new\n"});
    }

    void versionThatDoesNotComeUp()
    {
        const auto [program, isConfirmed, output] = cells<QByteArray, bool, QByteArrayList>();
        Draft draft = newDraft();
        draft.entries[0].content = program;
        draft = draftOf(newVersion, draft.entries);
        m_site->writePackage(packageOf(draft), sampleStatement(Signature::Role::Package));
        put(m_site->in("current/bin/program"), "#!/bin/sh\necho old");
        install();
        for (const QByteArray &expected : output) {
            const Outcome started = start(&expected == &output.first());
            QCOMPARE(started.output, expected);
            if (isConfirmed)
                QCOMPARE(updater({"confirm", "--root", m_site->root}).exitCode, 0);
        }
        QCOMPARE(Installation::rejectedVersions(m_site->root).size(), isConfirmed ? 0 : 1);
    }

    /// Two windows at once are no failed start.
    void startWhileAnotherRuns()
    {
        Draft draft = newDraft();
        draft.entries[0].content = "#!/bin/sh\necho up; read line";
        draft = draftOf(newVersion, draft.entries);
        m_site->writePackage(packageOf(draft), sampleStatement(Signature::Role::Package));
        install();
        QProcess first;
        first.start(UPDATER_PROGRAM, {"run", "--root", m_site->root, "bin/program"});
        QVERIFY(first.waitForReadyRead(60000));
        for (int i = 0; i < 3; ++i)
            QCOMPARE(start().output, QByteArray("up\n"));
        QVERIFY(Installation::rejectedVersions(m_site->root).isEmpty());
        first.closeWriteChannel();
        QVERIFY(first.waitForFinished(60000));
    }

    void programIsFoundForOthersToo()
    {
        for (const QString program : {"../previous/readme", "/bin/sh", ""})
            QCOMPARE(updater({"run", "--root", m_site->root, program}).exitCode, int(ExitCode::UsageError));
        QCOMPARE(updater({"run", "bin/program"}).exitCode, int(ExitCode::NoInstallation));
        // A folder of the updater that is not this user's to use does not keep the program from starting.
        put(m_site->in("current/bin/program"), "#!/bin/sh\necho \"$0 $1\"");
        QVERIFY(QDir().mkdir(m_site->in(".updater")) && chmod(qPrintable(m_site->in(".updater")), 0777) == 0);
        QCOMPARE(updater({"run", "--root", m_site->root, "bin/program", "a b"}).output,
                 m_site->in("current/bin/program").toUtf8() + " a b\n");
        QCOMPARE(updater({"run", "/bin/echo", "in no installation"}).output, "in no installation\n");
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_Recovery)
#include "tst_recovery.moc"
