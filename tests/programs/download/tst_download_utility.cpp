#include "gui/tasks/download/FileName.h"
#include "programs/download_utility/CommandLine.h"
#include "programs/download_utility/ResponseHead.h"
#include "programs/download_utility/Sidecar.h"
#include "tests/programs/download/UtilityRun.h"
#include "tests/support/KovTest.h"
#include "tests/support/TestServer.h"

#include <unistd.h>

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
        // By what command of the shell.
        Table<int> row;
        row("ln -s victim file.bin", 14);
        row("ln -s nothing file.bin", 14);
        row("mkdir file.bin", 14);
        row("ln -s victim file.bin.kovupd-part", 14);
        row("ln victim file.bin.kovupd-part", 14);
        row("mkfifo file.bin.kovupd-part", 14);
        row("mkdir file.bin.kovupd-part", 14);
        row("ln -s victim file.bin.kovupd-info", 14);
        row("install -m 600 /dev/null file.bin.kovupd-part; chmod 777 .", 14); // another user's
        row("ln -s victim file.bin.kovupd-temp", 0);
        row("echo old >file.bin", 0);
        row("ln victim file.bin", 0);
        row("seq 99999 >file.bin.kovupd-part", 0);
        row("rm -r ../$(basename $PWD)", 12);
    }

    void filesInTheWay()
    {
        const auto [exitCode] = cells<int>();
        TestServer server(honest);
        QProcess shell;
        shell.setWorkingDirectory(m_folder->path());
        shell.start("sh", {"-c", QByteArray("echo mine >victim; ") + QTest::currentDataTag()});
        QVERIFY(shell.waitForFinished() && shell.exitCode() == 0);
        const QStringList before
            = QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::System | QDir::Hidden);

        UtilityRun run(server.url(), m_folder->path());
        if (QByteArray(QTest::currentDataTag()).startsWith("install")) {
            if (geteuid() != 0)
                QSKIP("Only root can be two users.");
            run.process.setArguments(QStringList{"--reuid=65534", "--clear-groups", run.process.program()}
                                     + run.process.arguments());
            run.process.setProgram("setpriv");
        }
        QVERIFY2(run.run() == exitCode, run.errors.constData());
        if (exitCode == 12)
            return;
        QCOMPARE(fileContent(m_folder->filePath("victim")), QByteArray("mine\n"));
        if (exitCode == 0)
            QVERIFY(fileContent(path()) == file() && !QFileInfo(path()).isSymLink());
        else
            QCOMPARE(QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::System | QDir::Hidden),
                     before);
    }

    /// As on a system that is restricted to approved methods.
    void refusedDigest()
    {
        TestServer server(honest);
        QVERIFY(writeFile(path(".cnf"), "openssl_conf = a\n[a]\nalg_section = b\n"
                                        "[b]\ndefault_properties = fips=yes\n"));
        UtilityRun run(server.url(), m_folder->path(), "--md5 " + QByteArray(32, 'a'));
        run.process.setArguments(QStringList{"OPENSSL_CONF=" + path(".cnf"), run.process.program()}
                                 + run.process.arguments());
        run.process.setProgram("env");
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
        const QString script = QString("(\"$@\"; echo $? >%1) | head -c 1").arg(path(".code"));
        run.process.setArguments(QStringList{"-c", script, "sh", run.process.program()}
                                 + run.process.arguments());
        run.process.setProgram("sh");
        QCOMPARE(run.run(), 0);
        QCOMPARE(fileContent(path(".code")), QByteArray("32\n"));
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
