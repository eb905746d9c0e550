#include "tests/programs/download/UtilityRun.h"
#include "tests/support/KovTest.h"
#include "tests/support/System.h"
#include "tests/support/TestServer.h"

using Reply = TestServer::Reply;
using Request = TestServer::Request;
using Handler = TestServer::Handler;

namespace {

const int size = 256 * 1024;
const int half = size / 2;
const int overlap = 16 * 1024;
const QByteArray tag = "\"one\"";
const QByteArray otherTag = "\"two\"";

// Zeros around the middle, so that bytes of another place look right there.
const QByteArray file = testContent(size, 1).replace(half - 20000, 40000, QByteArray(40000, '\0'));
const QByteArray other = testContent(size, 2);
// Another version that differs in nothing but a byte long downloaded: the hardest one to notice.
const QByteArray patched = QByteArray(file).replace(100, 1, "!");

QByteArray md5(const QByteArray &content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Md5).toHex();
}

Handler always(const Reply &reply)
{
    return [reply](const Request &) { return reply; };
}

// Honest about the first @p length bytes of every answer.
Handler honest(const QByteArray &content, const QByteArray &contentTag, int length = -1)
{
    return [=](const Request &request) { return TestServer::honest(request, content, contentTag, length); };
}

// Honest only from the second answer on; the first ends half way.
Handler onceHalf(TestServer::End end)
{
    return [end](const Request &request) {
        Reply reply = TestServer::honest(request, file, tag, request.number == 1 ? half : -1);
        reply.end = request.number == 1 ? end : TestServer::End::Close;
        return reply;
    };
}

// Sends @p content whole; to a question for a part, that part after @p change, whatever "If-Range" says.
Handler parts(const QByteArray &content, const QByteArray &contentTag,
              const std::function<void(Reply &)> &change, int shift = 0)
{
    return [=](const Request &request) {
        if (request.from < 0)
            return TestServer::whole(content, contentTag);
        Reply reply = TestServer::part(content, request.from + shift, size, contentTag);
        change(reply);
        return reply;
    };
}

void asItIs(Reply &) { }

} // namespace

class tst_DownloadFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { clear(); }
    void neverSucceedsWithAWrongFile_data()
    {
        // isContinued: an earlier run left the first half, tagged "one"; expected: what is under the file's
        // name afterwards; null: nothing
        Table<bool, Handler, int, QByteArray, QByteArray> table;

        const QByteArray none;
        const auto continued
            = [&table](const char *name, const Handler &fault, int exitCode, const QByteArray &expected,
                       const QByteArray &more = {}) { table(name, true, fault, exitCode, expected, more); };
        continued("nothing happened", honest(file, tag), 0, file);
        continued("changed, the server says so", honest(other, otherTag), 0, other);
        continued("changed, If-Range ignored", parts(patched, otherTag, asItIs), 0, patched);
        continued("changed, no tag in the answer", parts(patched, "", asItIs), 0, patched);
        continued("other bytes under the right tag", parts(other, tag, asItIs), 0, other);
        continued("range of another place", parts(file, tag, asItIs, 1000), 0, file);
        const auto fromTheStart = [](Reply &reply) { reply.body = file.left(reply.body.size()); };
        continued("bytes of another place", parts(file, tag, fromTheStart), 0, file);
        continued("another total",
                  parts(file, tag, [](Reply &reply) { reply.head.replace("/262144", "/262145"); }), 0, file);
        continued("no range told",
                  parts(file, tag, [](Reply &reply) { reply.head.replace("-Range", "-Other"); }), 0, file);
        continued(
            "several parts at once",
            parts(file, tag, [](Reply &reply) { reply.head += "Content-Type: multipart/byteranges\r\n"; }), 0,
            file);
        continued("another length under the right tag", always(TestServer::whole(file.left(1000), tag)), 28,
                  none);
        continued("ranges ignored", always(TestServer::whole(file, tag)), 0, file);
        const auto refuse = [](Reply &reply) {
            reply = {"416 No\r\nContent-Length: 0\r\n", "", reply.end, 0};
        };
        continued("416", parts(other.left(1000), otherTag, refuse), 0, other.left(1000));
        const Handler small = [](const Request &request) {
            return TestServer::part(file.left(int(request.from) + 60000), request.from, size, tag);
        };
        continued("range in small pieces", small, 0, file);
        const Handler unsteady = [](const Request &request) {
            return TestServer::honest(request, other, "\"v" + QByteArray::number(request.number) + "\"",
                                      half);
        };
        continued("changes again and again", unsteady, 29, none);
        const auto damage = [](Reply &reply) { reply.body[overlap + 5] = '!'; };
        continued("only the digest tells", parts(file, tag, damage), 0, file, "--md5 " + md5(file));

        const auto row
            = [&table](const char *name, const Handler &fault, int exitCode, const QByteArray &expected,
                       const QByteArray &more = {}) { table(name, false, fault, exitCode, expected, more); };
        const auto answer
            = [&](const char *name, const Reply &reply, int exitCode, const QByteArray &expected = {},
                  const QByteArray &more = {}) { row(name, always(reply), exitCode, expected, more); };
        const QByteArray empty = "Content-Length: 0\r\n";
        const auto stall = TestServer::End::Stay;
        row("less than promised, again and again", honest(file, tag, 20000), 31, none, "--retries 3");
        answer("chunks without an end", {"200 OK\r\nTransfer-Encoding: chunked\r\n", "2\r\nhi\r\n"}, 31, none,
               "--retries 0");
        answer("chunks with an end", {"200 OK\r\nTransfer-Encoding: chunked\r\n", "2\r\nhi\r\n0\r\n\r\n"}, 0,
               "hi");
        answer("end unknown", {"200 OK\r\n", file.left(half)}, 28);
        answer("end unknown, digest known", {"200 OK\r\n", file}, 0, file, "--md5 " + md5(file));
        answer("two lengths", {"200 OK\r\nContent-Length: 5\r\nContent-Length: 3\r\n", "hello"}, 28);
        answer("part that nobody asked for", TestServer::part(file, 0, size, tag), 28);
        answer("compressed unasked", {"200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 2\r\n", "hi"}, 28);
        answer("digest differs", TestServer::whole(file, tag), 30, none, "--sha256 " + QByteArray(64, '0'));
        answer("longer than the disk", {"200 OK\r\nContent-Length: 1152921504606846976\r\n", "x", stall}, 16);
        answer("empty file", {"200 OK\r\n" + empty, ""}, 0, "");
        answer("headers without an end",
               {"200 OK\r\n" + ("X: " + QByteArray(60000, 'x') + "\r\n").repeated(9), ""}, 28);
        answer("header line without an end", {"200 OK\r\nX: " + QByteArray(150000, 'x') + "\r\n", ""}, 28);
        answer("headers that drip",
               {"", "HTTP/1.1 200 OK\r\n" + QByteArray("X: y\r\n").repeated(5000), stall, 6}, 31, none,
               "--stall-limit 1 --retries 0");
        answer("no HTTP", {"", "220 mail.example\r\n\r\n"}, 28);
        answer("silence", {"200 OK\r\nContent-Length: 9\r\n", "x", stall}, 31, none,
               "--stall-limit 1 --retries 0");
        const Handler later = [=](const Request &request) {
            return request.number == 1 ? Reply{"503 Busy\r\nRetry-After: 1\r\n" + empty, ""}
                                       : TestServer::whole(file, tag);
        };
        row("later, and then", later, 0, file);
        answer("much later", {"503 Busy\r\nRetry-After: 3600\r\n" + empty, ""}, 31);
        answer("login", {"401 Who\r\nWWW-Authenticate: Basic realm=x\r\n" + empty, ""}, 21);
        answer("forbidden", {"403 No\r\n" + empty, ""}, 22);
        answer("not there", {"404 No\r\nContent-Length: 2\r\n", "no"}, 23);
        answer("no method", {"405 No\r\n" + empty, ""}, 24);
        answer("no content", {"204 No\r\n", ""}, 28);
        answer("redirect to a local file", {"302 To\r\nLocation: file:///etc/passwd\r\n" + empty, ""}, 27);
        const Handler largePage = [=](const Request &request) {
            return request.number == 1 ? Reply{"302 To\r\nLocation: other\r\nContent-Length: 1000000000\r\n",
                                               QByteArray(200000, 'x'), stall}
                                       : TestServer::whole(file, tag);
        };
        row("redirect with a page without end", largePage, 0, file);
        answer("redirect in a circle", {"302 To\r\nLocation: /file.bin\r\n" + empty, ""}, 27);
    }

    void neverSucceedsWithAWrongFile()
    {
        const auto [isContinued, fault, exitCode, expected, more]
            = cells<bool, Handler, int, QByteArray, QByteArray>();
        TestServer server(honest(file, tag, half));
        if (isContinued) {
            QCOMPARE(UtilityRun(server.url(), m_folder.path(), "--retries 0 " + more).run(), 31);
            QCOMPARE(fileContent(path(".kovupd-part")), file.left(half));
        }
        server.handler = fault;
        UtilityRun run(server.url(), m_folder.path(), more);
        QVERIFY2(run.run() == exitCode, run.errors.constData());
        QCOMPARE(fileContent(path()), expected);
        QCOMPARE(fileContent(path()).isNull(), expected.isNull());
        QCOMPARE(run.errors.contains("error: "), exitCode != 0);
        QVERIFY(!isContinued || server.requests.at(1).contains("\r\nIf-Range: " + tag + "\r\n"));
        if (exitCode == 0)
            QCOMPARE(QDir(m_folder.path()).entryList(QDir::Files), QStringList{"file.bin"});
    }

    void lostConnectionsKeepThePart_data()
    {
        Table<QByteArray, QByteArray, TestServer::End> row;
        const auto close = TestServer::End::Close;
        for (const char *answer :
             {"", "HTT", "HTTP/1.1 20", "HTTP/1.1 200 OK\r\n", "HTTP/1.1 200 OK\r\nContent-Length: 26",
              "HTTP/1.1 206 Partial Content\r\nContent-Length: 9\r\n"})
            row(answer, QByteArray(answer), "http", close);
        row("TLS, closed", "", "https", close);
        row("TLS, reset", "", "https", TestServer::End::Reset);
    }

    void lostConnectionsKeepThePart()
    {
        const auto [answer, scheme, end] = cells<QByteArray, QByteArray, TestServer::End>();
        TestServer server(honest(file, tag, half), end);
        const QByteArray digest = " --md5 " + md5(file);
        QCOMPARE(UtilityRun(server.url(), m_folder.path(), "--retries 0" + digest).run(), 31);
        server.handler = always({"", answer, end});
        const int before = server.connections;
        UtilityRun run(server.url("/file.bin", scheme), m_folder.path(), "--retries 1" + digest);
        QVERIFY2(run.run() == 31, run.errors.constData());
        QCOMPARE(server.connections, before + 2);
        QCOMPARE(fileContent(path(".kovupd-part")), file.left(half));
    }

    void fiveDroppedConnections()
    {
        const QByteArray content = testContent(1000003, 3).repeated(96);
        QByteArray sidecar;
        TestServer server([&](const Request &request) {
            sidecar = fileContent(path(".kovupd-info"));
            return TestServer::honest(request, content, tag, request.number <= 5 ? 15 * 1024 * 1024 : -1);
        });
        QCOMPARE(UtilityRun(server.url(), m_folder.path()).run(), 0);
        QVERIFY(fileContent(path()) == content);
        QCOMPARE(server.requests.size(), 6);
        QVERIFY2(server.served <= content.size() + 6 * (overlap + 1000),
                 QByteArray::number(server.served).constData());
        // A loss of power in the middle would not have cost everything.
        QVERIFY2(QRegularExpression("synced [67]\\d{7}\n").match(QString::fromUtf8(sidecar)).hasMatch(),
                 sidecar.constData());
    }

    void stallIsNoticedInTime()
    {
        QElapsedTimer sinceStall;
        qint64 waited = 0;
        TestServer server([&, inner = onceHalf(TestServer::End::Stay)](const Request &request) {
            waited = sinceStall.isValid() ? sinceStall.elapsed() : 0;
            sinceStall.start();
            return inner(request);
        });
        QCOMPARE(UtilityRun(server.url(), m_folder.path(), "--stall-limit 1").run(), 0);
        QCOMPARE(fileContent(path()), file);
        QVERIFY2(waited >= 1000 && waited < 20000, QByteArray::number(waited).constData());
    }

    /// Killed at each piece in turn, then again in what it goes on from. Every other file without a digest:
    /// nothing but the care with the files keeps those right.
    void killedAgainAndAgain()
    {
        const QByteArray content = testContent(1024 * 1024, 4);
        TestServer server([&content](const Request &request) {
            Reply reply = TestServer::honest(request, content, tag);
            reply.pieceSize = 32 * 1024;
            return reply;
        });
        for (int piece = 0; piece < 32; piece += 3) {
            const QByteArray more = piece % 2 ? "--md5 " + md5(content) : QByteArray();
            for (const int least : {piece * 32 * 1024, 900000}) {
                UtilityRun run(server.url(), m_folder.path(), more);
                run.start();
                QTRY_VERIFY(QFileInfo(path(".kovupd-part")).size() >= least || QFile::exists(path()));
                run.process.kill();
                run.wait();
                QVERIFY(!QFile::exists(path()) || fileContent(path()) == content);
            }
            QCOMPARE(UtilityRun(server.url(), m_folder.path(), more).run(), 0);
            QCOMPARE(fileContent(path()), content);
            clear();
        }
    }

    void stopsOnRequest()
    {
        TestServer server(onceHalf(TestServer::End::Stay));
        UtilityRun run(server.url(), m_folder.path());
        run.start();
        QTRY_COMPARE(fileContent(path(".kovupd-part")).size(), half);
        QVERIFY(System::askToStop(run.process));
        QCOMPARE(run.wait(), 32);
        QVERIFY(fileContent(path(".kovupd-info")).contains("synced " + QByteArray::number(half)));
        QCOMPARE(UtilityRun(server.url(), m_folder.path()).run(), 0);
        QCOMPARE(fileContent(path()), file);
        QVERIFY(server.served <= size + overlap + 1000);
    }

private:
    QString path(const char *suffix = "") const
    {
        return m_folder.filePath("file.bin" + QLatin1String(suffix));
    }
    void clear()
    {
        for (const char *suffix : {"", ".kovupd-part", ".kovupd-info", ".kovupd-temp"})
            QFile::remove(path(suffix));
    }

    QTemporaryDir m_folder;
};

KOV_TEST_MAIN(QCoreApplication, tst_DownloadFaults)
#include "tst_download_faults.moc"
