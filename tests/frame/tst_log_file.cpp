#include "gui/KovGui.h"
#include "gui/log/Log.h"
#include "tests/frame/LogMessages.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"

#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

static QByteArray s_record;

static void capture(const char *record, std::size_t length)
{
    s_record = QByteArray(record, int(length));
}

/// The file that is logged to, and who else has to do with it.
class tst_LogFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        KovGui::setLogOutputFunction(capture);
    }

    void cleanup()
    {
        KovGui::setLogOutputFunction(capture);
        m_folder.reset();
    }

    void timeIsLocal()
    {
        qputenv("TZ", "Asia/Kathmandu");
        tzset();
        const QDateTime before = QDateTime::currentDateTime();
        // A thread of its own has no second remembered from before the change of the zone.
        std::thread([] { KOV_LOG(0, "x"); }).join();
        const QString written
            = QString::number(before.date().year()) + QString::fromLatin1(s_record.left(18));
        const QDateTime time = QDateTime::fromString(written, "yyyyMM-dd HH:mm:ss.zzz");
        QVERIFY2(time >= before && time <= QDateTime::currentDateTime(), s_record.constData());
    }

    void setupLoggingChoosesTheUsersFolder()
    {
        KovGui::setLogOutputFunction(nullptr);
        KovGui::setupLogging(true);
        KOV_LOG(0, "in the user's folder");
        const QString home = QString::fromLocal8Bit(qgetenv("XDG_DATA_HOME"));
        QVERIFY(fileContent(home + "/tessarine-qor.log").endsWith("in the user's folder\n"));
    }

    void processesAndThreadsShareTheFile()
    {
        std::vector<Writer> writers;
        for (int i = 0; i < 4; ++i)
            writers.push_back(start(m_folder->path(), "flood 4 1000"));
        for (const Writer &writer : writers)
            QVERIFY(writer->waitForFinished(60000) && writer->exitCode() == 0);
        QCOMPARE(countWholeThreads(fileContent(log())), 4 * 4 * 1000);
    }

    void killedAfterTheCall()
    {
        QCOMPARE(run(m_folder->path(), "killed 1000"), -1);
        QCOMPARE(countWholeThreads(fileContent(log())), 1000);
    }

    void fileMovedAwayUnderLoad()
    {
        std::vector<Writer> writers;
        for (int i = 0; i < 2; ++i)
            writers.push_back(start(m_folder->path(), "until-told"));
        QByteArray all;
        for (const char *moved : {"moved.1", "moved.2"}) {
            QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(log()), 60000);
            QVERIFY(QFile::rename(log(), path(moved)));
        }
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(log()), 60000);
        int written = 0;
        for (const Writer &writer : writers) {
            writer->closeWriteChannel();
            QVERIFY(writer->waitForFinished(60000));
            written += writer->readAllStandardOutput().trimmed().toInt();
        }
        int found = 0;
        for (const QString &file : {path("moved.1"), path("moved.2"), log()})
            found += countWholeThreads(fileContent(file), false);
        QVERIFY(written > 0);
        QCOMPARE(found, written);
    }

    void directoryChangesUnderLoad()
    {
        QVERIFY(QDir(m_folder->path()).mkdir("a") && QDir(m_folder->path()).mkdir("b"));
        const Writer writer = start(m_folder->path(), "change-directories");
        QVERIFY(writer->waitForFinished(60000));
        QCOMPARE(writer->exitCode(), 0);
        const auto count
            = [this](const char *name) { return countWholeThreads(fileContent(path(name)), false); };
        const int inA = count("a/tessarine-qor.log");
        const int inB = count("b/tessarine-qor.log");
        const int before = QFile::exists(log()) ? count("tessarine-qor.log") : 0;
        QVERIFY(inA > 0 && inB > 0); // at once, not at the next look
        QCOMPARE(inA + inB + before, writer->readAllStandardOutput().trimmed().toInt());
    }

    void forkedChildHasItsOwnNumber()
    {
        QCOMPARE(run(m_folder->path(), "forked"), 0);
        const QList<QByteArray> lines = fileContent(log()).trimmed().split('\n');
        QCOMPARE(lines.size(), 3);
        for (const QByteArray &line : lines) {
            const QByteArray id = line.mid(line.lastIndexOf(' ') + 1);
            QVERIFY2(line.contains("/KovGui:" + id + ':' + QByteArray::number(id.toInt(), 16) + "/ "),
                     line.constData());
        }
    }

    void diskFull()
    {
        QCOMPARE(run(m_folder->path(), "disk-full"), 0);
        const QByteArray text = fileContent(log());
        QVERIFY(text.size() > 8192 && text[8191] != '\n'); // the last record on the full disk is cut
        QCOMPARE(text[8192], '\n');
        QCOMPARE(text.count('\n'), text.left(8192).count('\n') + 2);
        QVERIFY(text.endsWith("space again\n"));
    }

    void descriptorClosedByTheHost()
    {
        // Somebody else's file has the number then: when the folder is set anew, and when a second has
        // passed.
        for (const char *command : {"closed-by-host 0", "closed-by-host 1"}) {
            QFile::remove(log());
            QCOMPARE(run(m_folder->path(), command), 0);
            QVERIFY2(fileContent(log()).endsWith("second\n"), command);
        }
    }

    void noDirectorySet()
    {
        const int result = run("-", "system-logs");
        if (result == 77)
            QSKIP("needs the right to mount");
        QCOMPARE(result, 0);
    }

    void trapsAreNotEntered()
    {
        // Make the trap; "victim" is a file that belongs to somebody else.
        for (const QByteArray command :
             {"ln -s victim tessarine-qor.log", "ln -s new tessarine-qor.log", "ln victim tessarine-qor.log",
              "mkfifo tessarine-qor.log", "mkfifo tessarine-qor.log # being read", "mkdir tessarine-qor.log",
              "cd ..; mv log elsewhere"}) {
            m_folder = std::make_unique<QTemporaryDir>();
            QVERIFY(QDir(m_folder->path()).mkdir("log"));
            const QByteArray script
                = "cd " + path("log").toLocal8Bit() + "; echo precious > victim; { " + command + "\n}";
            QCOMPARE(system(script.constData()), 0);
            int reader = -1;
            if (command.endsWith("being read"))
                reader = open(path("log/tessarine-qor.log").toLocal8Bit().constData(), O_RDONLY | O_NONBLOCK);
            QCOMPARE(run(path("log"), "flood 1 10"), 0);
            QCOMPARE(countWholeThreads(fileContent(path("home/tessarine-qor.log"))), 10);
            const QString folder = QFile::exists(path("log")) ? path("log") : path("elsewhere");
            QCOMPARE(fileContent(folder + "/victim"), QByteArray("precious\n"));
            QVERIFY(!QFile::exists(folder + "/new"));
            ::close(reader);
        }
    }

    void fileIsForEverybody()
    {
        const mode_t before = umask(077);
        QCOMPARE(run(m_folder->path(), "flood 1 1"), 0);
        umask(before);
        struct stat status;
        QVERIFY(stat(QFile::encodeName(log()).constData(), &status) == 0);
        QCOMPARE(int(status.st_mode & 0777), 0666);
        // An administrator's choice stays.
        QVERIFY(chmod(QFile::encodeName(log()).constData(), 0640) == 0);
        QCOMPARE(run(m_folder->path(), "flood 1 1"), 0);
        QVERIFY(stat(QFile::encodeName(log()).constData(), &status) == 0);
        QCOMPARE(int(status.st_mode & 0777), 0640);
    }

private:
    using Writer = std::unique_ptr<QProcess>;

    Writer start(const QString &folder, const char *command)
    {
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_DATA_HOME", path("home"));
        process->setProcessEnvironment(environment);
        process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process->start(QStringLiteral(LOG_WRITER),
                       QStringList(folder) + QString::fromLatin1(command).split(' '));
        return process;
    }

    int run(const QString &folder, const char *command)
    {
        const Writer writer = start(folder, command);
        return writer->waitForFinished(60000) && writer->exitStatus() == QProcess::NormalExit
                   ? writer->exitCode()
                   : -1;
    }

    /// Records in the text; -1 if one is damaged. `inOrder` asks for every thread's messages from the first,
    /// without gaps.
    int countWholeThreads(const QByteArray &text, bool inOrder = true)
    {
        static const QRegularExpression format(
            QStringLiteral(R"(^\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} F /flood:(\d+:[0-9a-f]+)/ $)"));
        QHash<QString, int> next;
        QList<QByteArray> lines = text.split('\n');
        if (!lines.takeLast().isEmpty())
            return -1;
        for (const QByteArray &line : lines) {
            const int head = line.indexOf("/ ") + 2;
            const auto match = format.match(QString::fromLatin1(line.left(head)));
            const QByteArray message = line.mid(head);
            int &number = next[match.captured(1)];
            const QByteArray expected = QByteArray::fromStdString(messageOf(number)).left(4094 - head);
            const bool uniform = !message.isEmpty() && message.count(message[0]) == message.size();
            if (!match.hasMatch() || (inOrder ? message != expected : !uniform)) {
                qInfo("damaged: %s", line.left(200).constData());
                return -1;
            }
            ++number;
        }
        return lines.size();
    }

    QString path(const char *name) const { return m_folder->filePath(QLatin1String(name)); }
    QString log() const { return path("tessarine-qor.log"); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

KOV_TEST_MAIN(QCoreApplication, tst_LogFile)
#include "tst_log_file.moc"
