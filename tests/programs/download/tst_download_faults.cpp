#include "tests/programs/download/FaultServer.h"
#include "tests/programs/download/UtilityRun.h"
#include "tests/support/KovTest.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTimer>

using Reply = FaultServer::Reply;
using Request = FaultServer::Request;
using Handler = FaultServer::Handler;

Q_DECLARE_METATYPE(FaultServer::Handler)

namespace {

const int fileSize = 256 * 1024;
const int half = fileSize / 2;
const int overlap = 16 * 1024;
const QByteArray tag = "\"one\"";
const QByteArray otherTag = "\"two\"";

QByteArray file()
{
    static const QByteArray content = testContent(fileSize, 1);
    return content;
}

// Another version of the same length: the hardest one to notice.
QByteArray other()
{
    static const QByteArray content = testContent(fileSize, 2);
    return content;
}

QByteArray md5(const QByteArray &content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Md5).toHex();
}

// @p answer for a question with a range, an honest @p content for every other.
Handler onRange(const QByteArray &content, const QByteArray &contentTag, const Handler &answer)
{
    return [=](const Request &request) {
        return request.from >= 0 ? answer(request) : FaultServer::whole(content, contentTag);
    };
}

Handler always(const Reply &reply)
{
    return [reply](const Request &) { return reply; };
}

Handler status(const QByteArray &head)
{
    return always({head + "Content-Length: 2\r\n", "no"});
}

} // namespace

class tst_DownloadFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(m_folder.isValid()); }
    void cleanup() { clear(); }
    void neverSucceedsWithAWrongFile_data();
    void neverSucceedsWithAWrongFile();
    void fiveDroppedConnections();
    void continuesWithoutSendingTwice();
    void stallIsNoticedInTime();
    void twoHundredKills();
    void stopsOnRequest();

private:
    QString path(const char *suffix = "") const
    {
        return m_folder.filePath(QStringLiteral("file.bin") + QLatin1String(suffix));
    }
    void clear()
    {
        for (const char *suffix : {"", ".kovupd-part", ".kovupd-info", ".kovupd-temp"})
            QFile::remove(path(suffix));
    }

    QTemporaryDir m_folder;
};

void tst_DownloadFaults::neverSucceedsWithAWrongFile_data()
{
    QTest::addColumn<Handler>("fault");
    QTest::addColumn<bool>("isContinued"); // an earlier run left the first half, tagged "one"
    QTest::addColumn<QString>("more");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("expected"); // what is under the file's name afterwards; null: nothing

    const QByteArray none;
    const auto row = [](const char *name, const Handler &fault, int exitCode, const QByteArray &expected,
                        const QByteArray &more = "") {
        QTest::newRow(name) << fault << false << QString::fromLatin1(more) << exitCode << expected;
    };
    const auto continued = [](const char *name, const Handler &fault, int exitCode,
                              const QByteArray &expected, const QByteArray &more = "") {
        QTest::newRow(name) << fault << true << QString::fromLatin1(more) << exitCode << expected;
    };

    continued(
        "changed, the server says so",
        [](const Request &request) { return FaultServer::honest(request, other(), otherTag); }, 0, other());
    continued("changed, If-Range ignored",
              onRange(other(), otherTag,
                      [](const Request &request) {
                          return FaultServer::part(other(), request.from, fileSize, otherTag);
                      }),
              0, other());
    continued("changed, no tag in the answer",
              onRange(other(), otherTag,
                      [](const Request &request) {
                          return FaultServer::part(other(), request.from, fileSize, "");
                      }),
              0, other());
    continued("other bytes under the right tag",
              onRange(file(), tag,
                      [](const Request &request) {
                          return FaultServer::part(other(), request.from, fileSize, tag);
                      }),
              0, file());
    continued("range of another place",
              onRange(file(), tag,
                      [](const Request &request) {
                          return FaultServer::part(file(), request.from + 1000, fileSize, tag);
                      }),
              0, file());
    continued("bytes of another place, range as asked",
              onRange(file(), tag,
                      [](const Request &request) {
                          Reply reply = FaultServer::part(file(), request.from, fileSize, tag);
                          reply.body = file().left(reply.body.size());
                          return reply;
                      }),
              0, file());
    continued("another total",
              onRange(file(), tag,
                      [](const Request &request) {
                          return FaultServer::part(file(), request.from, fileSize + 1, tag);
                      }),
              0, file());
    continued("part without its range",
              onRange(file(), tag,
                      [](const Request &request) {
                          return Reply{"206 Partial Content\r\nETag: " + tag + "\r\nContent-Length: "
                                           + QByteArray::number(fileSize - request.from) + "\r\n",
                                       file().mid(int(request.from))};
                      }),
              0, file());
    continued("several parts at once",
              onRange(file(), tag,
                      [](const Request &request) {
                          Reply reply = FaultServer::part(file(), request.from, fileSize, tag);
                          reply.head += "Content-Type: multipart/byteranges; boundary=x\r\n";
                          return reply;
                      }),
              0, file());
    continued("ranges ignored", always(FaultServer::whole(file(), tag)), 0, file());
    continued("416",
              onRange(other().left(1000), otherTag,
                      [](const Request &) {
                          return Reply{"416 Range Not Satisfiable\r\nContent-Length: 0\r\n", ""};
                      }),
              0, other().left(1000));
    continued(
        "range in small pieces",
        [](const Request &request) {
            return FaultServer::part(file().left(int(request.from) + 60000), request.from, fileSize, tag);
        },
        0, file());
    continued(
        "changes again and again",
        [](const Request &request) {
            return FaultServer::honest(request, testContent(fileSize, quint32(request.number)),
                                       "\"v" + QByteArray::number(request.number) + "\"", 100 * 1024);
        },
        29, none);
    continued("pieces that only the digest tells apart",
              onRange(file(), tag,
                      [](const Request &request) {
                          Reply reply = FaultServer::part(file(), request.from, fileSize, tag);
                          reply.body[overlap + 5] = char(reply.body[overlap + 5] + 1);
                          return reply;
                      }),
              0, file(), "--md5 " + md5(file()));

    row(
        "less than promised, again and again",
        [](const Request &request) { return FaultServer::honest(request, file(), tag, 20000); }, 31, none,
        "--retries 3");
    row(
        "less than promised, no validator",
        [](const Request &request) {
            return FaultServer::honest(request, file(), "", request.number < 3 ? half : -1);
        },
        0, file());
    row("chunks without an end", always({"200 OK\r\nTransfer-Encoding: chunked\r\n", "5\r\nhello\r\n"}), 31,
        none, "--retries 0");
    row("chunks with an end", always({"200 OK\r\nTransfer-Encoding: chunked\r\n", "5\r\nhello\r\n0\r\n\r\n"}),
        0, "hello");
    row("end unknown", always({"200 OK\r\n", file().left(half)}), 28, none);
    row("end unknown, digest known", always({"200 OK\r\n", file()}), 0, file(), "--md5 " + md5(file()));
    row("two lengths", always({"200 OK\r\nContent-Length: 5\r\nContent-Length: 3\r\n", "hello"}), 28, none);
    row("part that nobody asked for", always(FaultServer::part(file(), 0, fileSize, tag)), 28, none);
    row("compressed unasked", always({"200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 5\r\n", "hello"}),
        28, none);
    row("digest differs", always(FaultServer::whole(file(), tag)), 30, none,
        "--sha256 " + QByteArray(64, '0'));
    row("longer than the disk",
        always({"200 OK\r\nContent-Length: 1152921504606846976\r\n", "x", FaultServer::End::Stall}), 16,
        none);
    row("empty file", always({"200 OK\r\nContent-Length: 0\r\n", ""}), 0, "");
    row("headers without an end",
        always({"200 OK\r\n" + QByteArray("X: " + QByteArray(60000, 'x') + "\r\n").repeated(9), ""}), 28,
        none);
    row("no HTTP", always({"", ""}), 28, none);
    row("silence", always({"200 OK\r\nContent-Length: 9\r\n", "x", FaultServer::End::Stall}), 31, none,
        "--stall-limit 1 --retries 0");
    row(
        "later, and then",
        [](const Request &request) {
            return request.number == 1 ? Reply{"503 Busy\r\nRetry-After: 1\r\nContent-Length: 0\r\n", ""}
                                       : FaultServer::whole(file(), tag);
        },
        0, file());
    row("much later", status("503 Busy\r\nRetry-After: 3600\r\n"), 31, none);
    row("login", status("401 Who\r\nWWW-Authenticate: Basic realm=x\r\n"), 21, none);
    row("forbidden", status("403 No\r\n"), 22, none);
    row("not there", status("404 No\r\n"), 23, none);
    row("no method", status("405 No\r\n"), 24, none);
    row("no content", status("204 No\r\n"), 28, none);
    row("redirect to a local file", status("302 To\r\nLocation: file:///etc/passwd\r\n"), 27, none);
    row("redirect in a circle", status("302 To\r\nLocation: /file.bin\r\n"), 27, none);
}

void tst_DownloadFaults::neverSucceedsWithAWrongFile()
{
    QFETCH(Handler, fault);
    QFETCH(bool, isContinued);
    QFETCH(QString, more);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, expected);
    const QStringList arguments = more.split(QLatin1Char(' '), Qt::SkipEmptyParts);

    FaultServer server(
        [](const Request &request) { return FaultServer::honest(request, file(), tag, half); });
    if (isContinued) {
        UtilityRun first(server.url(), m_folder.path(),
                         QStringList{QStringLiteral("--retries"), QStringLiteral("0")} + arguments);
        QCOMPARE(first.run(), 31);
        QCOMPARE(fileContent(path(".kovupd-part")), file().left(half));
    }
    server.handler = fault;
    UtilityRun run(server.url(), m_folder.path(), arguments);
    QVERIFY2(run.run() == exitCode, run.errors.constData());
    QCOMPARE(fileContent(path()), expected);
    QCOMPARE(fileContent(path()).isNull(), expected.isNull());
    QCOMPARE(run.errors.contains("error: "), exitCode != 0);
    if (exitCode == 0)
        QCOMPARE(QDir(m_folder.path()).entryList(QDir::Files), QStringList{QStringLiteral("file.bin")});
}

void tst_DownloadFaults::fiveDroppedConnections()
{
    const QByteArray content = testContent(64 * 1024 * 1024, 3);
    FaultServer server([&content](const Request &request) {
        return FaultServer::honest(request, content, tag, request.number <= 5 ? 11 * 1024 * 1024 : -1);
    });
    UtilityRun run(server.url(), m_folder.path());
    QCOMPARE(run.run(), 0);
    QVERIFY(fileContent(path()) == content);
    QCOMPARE(server.requests.size(), 6);
    QVERIFY2(server.served <= qint64(64.4 * 1024 * 1024), QByteArray::number(server.served).constData());
}

void tst_DownloadFaults::continuesWithoutSendingTwice()
{
    FaultServer server([](const Request &request) {
        return FaultServer::honest(request, file(), tag, request.number == 1 ? half : -1);
    });
    QCOMPARE(
        UtilityRun(server.url(), m_folder.path(), {QStringLiteral("--retries"), QStringLiteral("0")}).run(),
        31);
    const qint64 before = server.served;

    QCOMPARE(UtilityRun(server.url(), m_folder.path()).run(), 0);
    QCOMPARE(fileContent(path()), file());
    QVERIFY(server.requests.last().contains("\r\nIf-Range: " + tag + "\r\n"));
    QVERIFY(server.served - before <= half + overlap + 300);
}

void tst_DownloadFaults::stallIsNoticedInTime()
{
    QElapsedTimer sinceStall;
    qint64 waited = 0;
    FaultServer server([&](const Request &request) {
        waited = sinceStall.isValid() ? sinceStall.elapsed() : 0;
        sinceStall.start();
        Reply reply = FaultServer::honest(request, file(), tag, request.number == 1 ? half : -1);
        reply.end = request.number == 1 ? FaultServer::End::Stall : FaultServer::End::Close;
        return reply;
    });
    UtilityRun run(server.url(), m_folder.path(), {QStringLiteral("--stall-limit"), QStringLiteral("1")});
    QCOMPARE(run.run(), 0);
    QCOMPARE(fileContent(path()), file());
    QVERIFY2(waited >= 1000 && waited < 2000, QByteArray::number(waited).constData());
}

void tst_DownloadFaults::twoHundredKills()
{
    const QByteArray content = testContent(1024 * 1024, 4);
    FaultServer server([&content](const Request &request) {
        Reply reply = FaultServer::honest(request, content, tag);
        reply.pieceSize = 32 * 1024;
        return reply;
    });
    QElapsedTimer whole;
    whole.start();
    QCOMPARE(UtilityRun(server.url(), m_folder.path()).run(), 0);
    const int runTime = int(whole.elapsed());

    int kills = 0;
    int completed = 0;
    QRandomGenerator random(5);
    while (kills < 200) {
        UtilityRun run(server.url(), m_folder.path(),
                       {QStringLiteral("--md5"), QString::fromLatin1(md5(content))});
        QTimer::singleShot(random.bounded(runTime), &run.process, &QProcess::kill);
        run.start();
        const int exitCode = run.wait();
        QVERIFY2(exitCode == -1 || exitCode == 0, run.errors.constData());
        const QByteArray result = fileContent(path());
        QVERIFY(exitCode == -1 || !result.isNull());
        QVERIFY(result.isNull() || result == content);
        kills += exitCode == -1;
        if (result.isNull())
            continue;
        ++completed;
        clear();
    }
    QVERIFY(completed > 0);
    UtilityRun last(server.url(), m_folder.path());
    QCOMPARE(last.run(), 0);
    QVERIFY(fileContent(path()) == content);
}

void tst_DownloadFaults::stopsOnRequest()
{
    FaultServer server([](const Request &request) {
        Reply reply = FaultServer::honest(request, file(), tag, request.number == 1 ? half : -1);
        reply.end = request.number == 1 ? FaultServer::End::Stall : FaultServer::End::Close;
        return reply;
    });
    UtilityRun run(server.url(), m_folder.path());
    run.start();
    QTRY_COMPARE(fileContent(path(".kovupd-part")).size(), half);
    run.process.terminate();
    QCOMPARE(run.wait(), 32);
    QVERIFY(fileContent(path(".kovupd-info")).contains("synced " + QByteArray::number(half)));
    QCOMPARE(UtilityRun(server.url(), m_folder.path()).run(), 0);
    QCOMPARE(fileContent(path()), file());
}

KOV_TEST_MAIN(QCoreApplication, tst_DownloadFaults)
#include "tst_download_faults.moc"
