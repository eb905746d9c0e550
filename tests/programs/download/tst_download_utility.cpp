#include "gui/tasks/download/FileName.h"
#include "programs/download_utility/CommandLine.h"
#include "programs/download_utility/ResponseHead.h"
#include "programs/download_utility/Sidecar.h"
#include "tests/programs/download/UtilityRun.h"
#include "tests/support/KovTest.h"
#include "tests/support/System.h"
#include "tests/support/TestServer.h"

using Reply = TestServer::Reply;
using Request = TestServer::Request;

namespace {

const QByteArray tag = "\"one\"";

QByteArray file()
{
    static const QByteArray content = testContent(256 * 1024, 1);
    return content;
}

Reply honest(const Request &request)
{
    return TestServer::honest(request, file(), tag);
}

Reply stalling(const Request &request)
{
    Reply reply = TestServer::honest(request, file(), tag, 1000);
    reply.end = TestServer::End::Stay;
    return reply;
}

} // namespace

/// Everything but the faults of servers: arguments, names, files in the way, progress, what is told to whom.
class tst_DownloadUtility : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder.reset(new QTemporaryDir);
        QVERIFY(m_folder->isValid());
    }

    void fileNames()
    {
        const auto name
            = [](const QByteArray &path) { return FileName::fromEncodedPath(path.toStdString()); };
        QCOMPARE(name("/a/b/setup.exe"), std::string("setup.exe"));
        QCOMPARE(name("/a/se%20t%C3%BCp"), std::string("se t\xc3\xbcp"));
        QCOMPARE(name("/%252e%252e"), std::string("%2e%2e"));
        QCOMPARE(name("/100%"), std::string("100%"));
        QCOMPARE(name("/.profile"), std::string(".profile"));
        QCOMPARE(name("/" + QByteArray(243, 'x')), std::string(243, 'x'));
        const QByteArray refused(
            "|/|/a/|/..|/.|/%2e%2e|/%2E.|/a%2fb|/..%2F..%2Fb|/a\\b|/..%5Cb|/c%3Ab|/a:b|/a%00b|"
            "/a%0Ab|/a%7f|/a.|/a%20|/nul|/Com1.exe|/LPT9|/con%20.txt|/%ff|/%c0%ae%c0%ae|"
            "/x.kovupd-part|/x.KOVUPD-INFO");
        for (const QByteArray &path : refused.split('|'))
            QVERIFY2(name(path).empty(), path.constData());
        QVERIFY(name("/" + QByteArray(244, 'x')).empty());
    }

    void contentRanges()
    {
        const QByteArray right("bytes 0-0/1|Bytes 5-9/10|bytes 5-9/*|bytes 0-8/18446744073709551615");
        for (const QByteArray &text : right.split('|'))
            QVERIFY2(ResponseHead::parseContentRange(text.toStdString()), text.constData());
        const QByteArray wrong(
            "|bytes|bytes */10|bytes 9-5/10|bytes 5-9/9|bytes 5-9|bytes 5/9-10|bytes -5-9/10|"
            "bytes 5-9/10, 11-12/20|bytes 5-18446744073709551616/*|items 5-9/10|bytes 0x5-9/10");
        for (const QByteArray &text : wrong.split('|'))
            QVERIFY2(!ResponseHead::parseContentRange(text.toStdString()), text.constData());
    }

    void damagedSidecars()
    {
        Sidecar sidecar;
        sidecar.urlDigest = "ab";
        sidecar.size = 10;
        sidecar.synced = 5;
        sidecar.entityTag = "\"x y\"";
        const std::string text = sidecar.toText();
        const auto parsed = Sidecar::parse(text);
        QVERIFY(parsed && parsed->size == 10u && parsed->synced == 5 && parsed->entityTag == "\"x y\""
                && parsed->trustsRanges);
        // Whatever a torn write leaves is noticed.
        for (std::size_t length = 0; length < text.size(); ++length)
            QVERIFY2(!Sidecar::parse(text.substr(0, length)), text.substr(0, length).c_str());
        QVERIFY(!Sidecar::parse(text + text));
        QVERIFY(!Sidecar::parse(text.substr(0, text.size() - 4) + "size 11\nend\n"));
        QVERIFY(!Sidecar::parse(text.substr(0, text.size() - 4) + "url a\rb\nend\n"));
    }

    void commandLines()
    {
        const auto parse = [](const QByteArray &line) {
            std::vector<std::string> arguments;
            for (const QByteArray &argument : line.simplified().split(' '))
                arguments.push_back(argument.toStdString());
            Options options;
            return parseCommandLine(arguments, options).code;
        };
        const QByteArray base = "download -u file -f http://h/x -p D ";
        QCOMPARE(parse("--help"), ExitCode::Success);
        QCOMPARE(parse(base + "-ui -fo -bd --proxy-server ::1 --proxy-port 3128 -pu me --proxy-try-count 1"),
                 ExitCode::Success);
        const QByteArray wrong(
            "-x|-f http://h/y|-u folder|download|--proxy-port 0|--proxy-server h|--proxy-port 80|"
            "--proxy-server u@h --proxy-port 80|--proxy-server h --proxy-port 65536|-pu me|"
            "--md5 12|--md5 g0000000000000000000000000000000|--stall-limit 0|--stall-limit 5s|"
            "--ca-file");
        for (const QByteArray &more : wrong.split('|'))
            QVERIFY2(parse(base + more) == ExitCode::BadUsage, more.constData());
        for (const char *line : {"", "-u file -f http://h/x -p D", "download -u file -f http://h/x"})
            QVERIFY2(parse(line) == ExitCode::BadUsage, line);
    }

    void filesInTheWay_data()
    {
        using Maker = std::function<bool(const QDir &)>;
        const auto link = [](const QString &target, const QString &name) -> Maker {
            return [=](const QDir &dir) {
                return System::makeSymbolicLink(dir.filePath(target), dir.filePath(name));
            };
        };
        const auto hardLink = [](const QString &name) -> Maker {
            return [=](const QDir &dir) {
                return System::makeHardLink(dir.filePath("victim"), dir.filePath(name));
            };
        };
        const auto folder
            = [](const QString &name) -> Maker { return [=](const QDir &dir) { return dir.mkdir(name); }; };
        const auto content = [](const QString &name) -> Maker {
            return [=](const QDir &dir) { return writeFile(dir.filePath(name), testContent(99999, 7)); };
        };
        Table<Maker, int> row;
        row("a link", link("victim", "file.bin"), 14);
        row("a link to nothing", link("nothing", "file.bin"), 14);
        row("a folder", folder("file.bin"), 14);
        row("part: a link", link("victim", "file.bin.kovupd-part"), 14);
        row("part: a link to a folder", link(".", "file.bin.kovupd-part"), 14);
        row("part: a second name", hardLink("file.bin.kovupd-part"), 14);
        const Maker fifo
            = [](const QDir &dir) { return System::makeFifo(dir.filePath("file.bin.kovupd-part")); };
        row("part: a pipe", fifo, 14);
        row("part: a folder", folder("file.bin.kovupd-part"), 14);
        row("sidecar: a link", link("victim", "file.bin.kovupd-info"), 14);
        row("sidecar: a second name", hardLink("file.bin.kovupd-info"), 14);
        const Maker others = [](const QDir &dir) {
            const QString name = dir.filePath("file.bin.kovupd-part");
            return writeFile(name, "") && QFile::setPermissions(name, QFile::ReadOwner)
                   && QFile::setPermissions(dir.path(), QFile::Permissions(0x7777));
        };
        row("part: another user's", others, 14);
        row("draft: a link", link("victim", "file.bin.kovupd-temp"), 0);
        row("an old file", content("file.bin"), 0);
        row("a second name of another file", hardLink("file.bin"), 0);
        row("part: of nobody knows what", content("file.bin.kovupd-part"), 0);
        row(
            "no folder", [](QDir dir) { return dir.removeRecursively(); }, 12);
    }

    void filesInTheWay()
    {
        const auto [make, exitCode] = cells<std::function<bool(const QDir &)>, int>();
        TestServer server(honest);
        const QDir dir(m_folder->path());
        QVERIFY(writeFile(dir.filePath("victim"), "mine"));
        UtilityRun run(server.url(), m_folder->path());
        if (!make(dir))
            QSKIP("Nothing of this kind can be made here.");
        const bool isOthers = QByteArray(QTest::currentDataTag()).contains("user");
        if (isOthers && !System::runAsAnotherUser(run.process))
            QSKIP("This user cannot be two.");
        const auto everything = QDir::AllEntries | QDir::System | QDir::Hidden;
        const QStringList before = dir.entryList(everything);

        QVERIFY2(run.run() == exitCode, run.errors.constData());
        if (exitCode == 12)
            return;
        QCOMPARE(fileContent(dir.filePath("victim")), QByteArray("mine"));
        if (exitCode == 0)
            QVERIFY(fileContent(path()) == file() && !QFileInfo(path()).isSymLink());
        else
            QCOMPARE(dir.entryList(everything), before);
    }

    void namesOfAllKinds()
    {
        TestServer server(honest);
        const QString folder = m_folder->filePath(QString("\u00e4\u0416\u4e2d/").repeated(100));
        QVERIFY(QDir().mkpath(folder));
        UtilityRun run(server.url("/%E4%B8%AD%C3%A4-%F0%9F%8E%88.bin"), folder);
        QVERIFY2(run.run() == 0, run.errors.constData());
        QCOMPARE(fileContent(folder + QString::fromUtf8("\u4e2d\u00e4-\U0001f388.bin")), file());
    }

    void readersOfWhatIsReplaced_data()
    {
        Table<QByteArray> row; // what somebody reads while the download ends
        row("the part file", ".kovupd-part");
        row("the old file", "");
    }

    void readersOfWhatIsReplaced()
    {
        const auto [name] = cells<QByteArray>();
        QFile held(path(name.constData()));
        TestServer server([&held](const Request &request) {
            held.open(QIODevice::ReadOnly);
            return honest(request);
        });
        QVERIFY(writeFile(path(), "old"));
        UtilityRun run(server.url(), m_folder->path());
        QCOMPARE(run.run(), System::renamesOpenFiles ? 0 : 17);
        QVERIFY(held.isOpen());
        held.close();
        if (!System::renamesOpenFiles) {
            QCOMPARE(fileContent(path()), QByteArray("old"));
            QVERIFY(fileContent(path(".kovupd-info")).contains("synced 262144\n"));
        }
        // Nothing is lost: the next run fetches no more than what it compares.
        UtilityRun again(server.url(), m_folder->path());
        server.handler = honest;
        QCOMPARE(again.run(), 0);
        QCOMPARE(fileContent(path()), file());
        QVERIFY(System::renamesOpenFiles || server.requests.last().contains("Range: bytes=245760-"));
    }

    /// As on a system that is restricted to approved methods.
    void refusedDigest()
    {
        if (QSysInfo::kernelType() == "winnt")
            QSKIP("Only OpenSSL is told by a file what to refuse.");
        TestServer server(honest);
        QVERIFY(writeFile(path(".cnf"), "openssl_conf = a\n[a]\nalg_section = b\n"
                                        "[b]\ndefault_properties = fips=yes\n"));
        UtilityRun run(server.url(), m_folder->path(), "--md5 " + QByteArray(32, 'a'));
        run.process.setEnvironment(QProcess::systemEnvironment() << "OPENSSL_CONF=" + path(".cnf"));
        QCOMPARE(run.run(), 1);
        QVERIFY2(run.errors.contains("refuses the digest"), run.errors.constData());
        QVERIFY(server.requests.isEmpty());
    }

    void oneWriterOnly()
    {
        TestServer server(stalling);
        UtilityRun first(server.url(), m_folder->path());
        first.start();
        QTRY_COMPARE(fileContent(path(".kovupd-part")).size(), 1000);
        QCOMPARE(UtilityRun(server.url(), m_folder->path()).run(), 15);
        QCOMPARE(fileContent(path(".kovupd-part")).size(), 1000);
    }

    void partOfAnotherFile()
    {
        TestServer server([](const Request &request) {
            return TestServer::honest(request, file(), tag, request.number == 1 ? 100000 : -1);
        });
        QCOMPARE(UtilityRun(server.url("/old/file.bin"), m_folder->path(), "--retries 0").run(), 31);
        // The tag is the same by chance: only the address tells them apart.
        QCOMPARE(UtilityRun(server.url("/new/file.bin"), m_folder->path()).run(), 0);
        QVERIFY(!server.requests.last().contains("Range: "));
        QCOMPARE(fileContent(path()), file());
    }

    void progress()
    {
        TestServer server([](const Request &request) {
            Reply reply = honest(request);
            reply.pieceSize = 500;
            return reply;
        });
        UtilityRun run(server.url(), m_folder->path());
        QElapsedTimer elapsed;
        elapsed.start();
        QCOMPARE(run.run(), 0);
        const qint64 mostReports = elapsed.elapsed() / 250 + 2;
        const QString text = QString::fromUtf8(run.output);
        const QRegularExpression lines(
            "^((FILE_SIZE|DOWNLOADING_RATE|DOWNLOADED_BYTES|ESTIMATED_TIME|PROGRESS): \\d+\n)+$");
        QVERIFY2(lines.match(text).hasMatch(), run.output.constData());
        QVector<int> percents;
        for (auto matches = QRegularExpression("PROGRESS: (\\d+)\n").globalMatch(text); matches.hasNext();)
            percents += matches.next().captured(1).toInt();
        // Half a second and more of transfer, four reports a second.
        QVERIFY2(percents.size() >= 2 && percents.size() <= mostReports, run.output.constData());
        QVERIFY(std::is_sorted(percents.cbegin(), percents.cend()));
        QCOMPARE(percents.count(100), 1);
        QVERIFY(text.contains("FILE_SIZE: 262144\n"));
        QVERIFY(text.endsWith("DOWNLOADED_BYTES: 262144\nESTIMATED_TIME: 0\nPROGRESS: 100\n"));
    }

    void nobodyReads()
    {
        TestServer server(stalling);
        UtilityRun run(server.url(), m_folder->path());
        // Reads the first line, as a password, and is gone.
        UtilityRun reader(server.url(), m_folder->path(),
                          "--proxy-server 127.0.0.1 --proxy-port 1 -pu me --proxy-try-count 1");
        reader.process.setArguments(reader.process.arguments().replaceInStrings("/file.bin", "/reader.bin"));
        run.process.setStandardOutputProcess(&reader.process);
        reader.start(QByteArray());
        QCOMPARE(run.run(), 32);
        QCOMPARE(reader.wait(), 25);
        QCOMPARE(fileContent(path(".kovupd-part")).size(), 1000);
    }

    void loginStaysWithItsServer()
    {
        TestServer foreign(
            [](const Request &request) { return TestServer::honest(request, file(), tag, 100000); });
        TestServer server([&foreign](const Request &request) {
            return request.head.contains("\r\nAuthorization: ")
                       ? Reply{"302 To\r\nContent-Length: 0\r\nLocation: "
                                   + foreign.url("/token?query-secret") + "\r\n",
                               ""}
                       : Reply{"401 Who\r\nWWW-Authenticate: Basic realm=x\r\nContent-Length: 0\r\n", ""};
        });
        UtilityRun run(server.url("/file.bin?query-secret").replace("http://", "http://me:path-secret@"),
                       m_folder->path(), "--retries 1");
        QCOMPARE(run.run(), 31);
        QVERIFY(server.requests.last().contains("Authorization: Basic "
                                                + QByteArray("me:path-secret").toBase64()));
        QCOMPARE(foreign.requests.size(), 2);
        for (const QByteArray &request : qAsConst(foreign.requests))
            QVERIFY2(!request.contains("Authorization") && !request.contains("path-secret"),
                     request.constData());
        QVERIFY2(!run.errors.contains("secret") && run.errors.contains("reconnecting"),
                 run.errors.constData());
        const QByteArray sidecar = fileContent(path(".kovupd-info"));
        QVERIFY2(sidecar.contains("/file.bin\n") && !sidecar.contains("secret"), sidecar.constData());
    }

    void noConnection()
    {
        QByteArray url;
        {
            TestServer gone;
            url = gone.url();
        }
        UtilityRun run(url, m_folder->path());
        QCOMPARE(run.run(), 25);
        QVERIFY(QDir(m_folder->path()).isEmpty());
        QCOMPARE(UtilityRun("http://name.invalid/file.bin", m_folder->path()).run(), 25);
        // What is a path to one reader is a login to another.
        for (const char *address :
             {"http:/joe:secret@127.0.0.1/file.bin", "http:///joe:secret@127.0.0.1/file.bin"}) {
            UtilityRun odd(address, m_folder->path());
            QCOMPARE(odd.run(), 10);
            QVERIFY(!odd.errors.contains("secret"));
        }
        QCOMPARE(UtilityRun("ftp://127.0.0.1/file.bin", m_folder->path()).run(), 10);
        QCOMPARE(UtilityRun("http://127.0.0.1/a/..%2f", m_folder->path()).run(), 11);
    }

private:
    QString path(const char *suffix = "") const
    {
        return m_folder->filePath("file.bin" + QLatin1String(suffix));
    }

    QScopedPointer<QTemporaryDir> m_folder;
};

KOV_TEST_MAIN(QCoreApplication, tst_DownloadUtility)
#include "tst_download_utility.moc"
