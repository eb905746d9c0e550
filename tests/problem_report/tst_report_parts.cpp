#include "gui/data_model/documents/CPackedProblemReport.h"
#include "gui/problem_report/browser/CProblemReportBrowserDialog.h"
#include "gui/problem_report/report/PersonalData.h"
#include "gui/problem_report/report/ReportSections.h"
#include "gui/problem_report/send/CProblemReportPost.h"
#include "gui/problem_report/send/KeptReports.h"
#include "gui/problem_report/send/ReportService.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"
#include "tests/support/LogCapture.h"

/// The rules of problem reports that need no window.
class tst_ReportParts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void personalData_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("without");
        const auto add = [](const char *name, const char *text, const char *without) {
            row<QByteArray>(name, text, without);
        };
        add("nothing", "an ordinary line", "an ordinary line");
        add("home folder", "open /home/joe/notes and /home/joe", "open ~/notes and ~");
        add("another's folder", "/home/joela/notes /home/joe_2", "/home/joela/notes /home/joe_2");
        add("the name as a word", "joe, joela and <joe>", "[user], joela and <[user]>");
        add("the full name in XML", "O&#39;Neil &amp; Sons", "O&#39;Neil &amp; Sons");
        add("a name that XML escapes", "<a>Joe &amp; Co</a> Joe & Co", "<a>[user]</a> [user]");
        add("as in a URL", "file:///home/joe/a Joe%20%26%20Co", "file://~/a [user]");
        add("the computer", "joe@box.lan on box", "[user]@[computer].lan on [computer]");
        add("a name of two letters", "al also", "al also");
        add("beside other letters", "\xc3\xbcjoe joe\xc3\xbc joe", "\xc3\xbcjoe joe\xc3\xbc [user]");
    }
    void personalData()
    {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, without);
        const QStringList names{QStringLiteral("joe"), QStringLiteral("Joe & Co"), QStringLiteral("al")};
        const auto terms = PersonalData::terms(QStringLiteral("/home/joe/"), names, QStringLiteral("box"));
        QCOMPARE(PersonalData::withoutTerms(text, terms), without);
        QCOMPARE(PersonalData::find(QString::fromUtf8(text), terms).size(),
                 PersonalData::find(text, terms).size());
    }

    /// On every border of the blocks in which a file is read.
    void personalDataOfFiles()
    {
        const auto terms = PersonalData::terms(QStringLiteral("/home/joe"), {QStringLiteral("joe")},
                                               QStringLiteral("box"));
        const QByteArray text = " /home/joe/a joela joe";
        const QByteArray without = " ~/a joela [user]";
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("a.log"));
        for (int before = 256 * 1024 - text.size() - 2; before <= 256 * 1024 + 1; ++before) {
            const QByteArray filling = QByteArray(before - 1, '.') + '\n';
            QVERIFY(writeFile(path, filling + text + '\n' + filling));
            const auto goOn = [](qint64) { return true; };
            QCOMPARE(PersonalData::countInFile(path, terms, goOn), qint64(2));
            QVERIFY(PersonalData::takeOutOfFile(path, terms, goOn));
            QVERIFY(fileContent(path) == filling + without + '\n' + filling);
        }
    }

    /// A work that is stopped, and a file that is not there, change nothing.
    void takingOutFails()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("a.log"));
        const auto terms = PersonalData::terms(QStringLiteral("/home/joe"), {}, QString());
        QVERIFY(writeFile(path, "/home/joe"));
        QVERIFY(!PersonalData::takeOutOfFile(path, terms, [](qint64) { return false; }));
        QCOMPARE(fileContent(path), QByteArray("/home/joe"));
        QVERIFY(!PersonalData::takeOutOfFile(folder.filePath(QStringLiteral("b")), terms,
                                             [](qint64) { return true; }));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList{QStringLiteral("a.log")});
    }

    void addresses_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        QTest::addColumn<bool>("acceptable");
        QTest::addColumn<bool>("followed");
        const char *const home = "https://reports.example/in";
        row("secure", home, "https://reports.example/out", true, true);
        row("the port told", home, "https://reports.example:443/out", true, true);
        row("another port", home, "https://reports.example:444/", true, false);
        row("another host", home, "https://reports.example.evil/", true, false);
        row("a user in it", home, "https://reports.example@evil/", false, false);
        row("no longer secure", home, "http://reports.example/", false, false);
        row("not secure", home, "http://127.0.0.1.evil/", false, false);
        row("this computer", "http://127.0.0.1:80/a", "http://127.0.0.1/b", true, true);
        row("a file", home, "file:///etc/passwd", false, false);
        row("nothing", home, "", false, false);
    }
    void addresses()
    {
        QFETCH(QString, to);
        QTEST(ReportService::isAcceptable(QUrl(to)), "acceptable");
        QFETCH(QString, from);
        QTEST(ReportService::isAcceptableRedirect(QUrl(from), QUrl(to)), "followed");
    }

    void answers_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<QString>("id");
        const auto add = [](const char *name, const QByteArray &body, bool accepted, const char *id) {
            row(name, body, accepted, id);
        };
        add("taken", "status=OK\nid=KR-12\n", true, "KR-12");
        add("with other lines", "status=OK\r\nqueue=3\r\nid=a_b.c\r\n", true, "a_b.c");
        add("without an identifier", "status=OK", true, "");
        add("markup for one", "status=OK\nid=<b>1</b>\n", true, "");
        add("a long one", "status=OK\nid=" + QByteArray(65, 'x'), true, "");
        add("another status", "status=BUSY\nid=1\n", false, "1");
        add("a page", "<html>status=OK\nid=1</html>", false, "");
        add("more in the line", "status=OK; not really", false, "");
        add("nothing", "", false, "");
        add("a NUL", QByteArray("status=OK\0no", 12), false, "");
        add("far behind", "status=OK\n" + QByteArray(20, '\n') + "id=1", true, "");
    }
    void answers()
    {
        QFETCH(QByteArray, body);
        const QStringList lines = ReportService::answerLines(body);
        QTEST(ReportService::isAccepted(lines), "accepted");
        QTEST(ReportService::identifierOf(lines), "id");
    }

    /// Every file of the table is the section that it is of, and an attached one is told by its suffix.
    void sections()
    {
        using namespace ReportSections;
        for (int type = AppConfig; type <= InstalledSoftware; ++type)
            QCOMPARE(typeOfFile(fileName(type)), type);
        for (int type : {0, 1, -5, 24, 1000})
            QCOMPARE(fileName(type), QStringLiteral("Report.xml"));
        for (int heading : {LogGroup, CrashDumpGroup, ScreenshotGroup}) {
            QCOMPARE(fileName(heading), QString());
            QCOMPARE(fileName(heading + 1), QStringLiteral("%1"));
            QCOMPARE(headingOf(heading + 1), heading);
        }
        QCOMPARE(typeOfFile(QStringLiteral("a.CRASH")), int(CrashDump));
        QCOMPARE(typeOfFile(QStringLiteral("appconfig.xml")), int(Log));
        QVERIFY(isHostScreenshot(QStringLiteral("KovProblemReportHostScreen.png")));
    }

    /// What the user unchecked is nowhere in the main document.
    void cutsWhatIsExcluded()
    {
        CPackedProblemReport report;
        report.crashDump = QStringLiteral("secret");
        report.hostInfo = CHostInfo();
        report.guestOs = CGuestOs();
        for (const char *name : {"a.log", "b.crash", "c.crash"}) {
            report.attachments.append(CReportAttachment());
            report.attachments.last().fileName = QLatin1String(name);
        }
        CPackedProblemReport cut = report;
        CProblemReportBrowserDialog::CutUnunnecessaryData(cut, {QStringLiteral("a.log")});
        QCOMPARE(cut.attachments.size(), 2);
        QCOMPARE(cut.crashDump, report.crashDump);
        CProblemReportBrowserDialog::CutUnunnecessaryData(
            cut, {QStringLiteral("HostInfo.xml"), QStringLiteral("b.crash")});
        QCOMPARE(cut.attachments.size(), 1);
        QVERIFY(cut.crashDump.isEmpty() && !cut.hostInfo && cut.guestOs);
    }

    /// What is kept is found at the next start, is tried so often and no more, and goes whole.
    void keptReports()
    {
        const QString id = KeptReports::newId();
        QVERIFY(writeFile(KeptReports::archivePath(id), "archive"));
        QVERIFY(writeFile(KeptReports::documentPath(id), "<Report/>"));
        QCOMPARE(KeptReports::all().size(), 0); // not said to be whole yet
        QVERIFY(KeptReports::keep(id));
        QCOMPARE(KeptReports::all().value(0).id, id);
        for (int i = 0; i < KeptReports::maximumAttempts; ++i)
            QVERIFY(KeptReports::countAttempt(id));
        QVERIFY(!KeptReports::countAttempt(id));
        QVERIFY(!KeptReports::find(id).canBeSent());
        // Refused, and told once, whatever is called.
        const LogCapture capture;
        CProblemReportPost post(id);
        QVector<KOV_RESULT> results;
        connect(&post, &CProblemReportPost::complete, this,
                [&results](KOV_RESULT result) { results.append(result); });
        post.start();
        post.cancel();
        post.start();
        QTRY_VERIFY(!results.isEmpty());
        QCoreApplication::processEvents();
        QCOMPARE(results, QVector<KOV_RESULT>{KOV_ERR_FAILURE});
        for (const char *odd : {"", "../x", "a/b", "*"})
            QCOMPARE(KeptReports::archivePath(QLatin1String(odd)), QString());
        KeptReports::remove(id);
        QVERIFY(!QFile::exists(KeptReports::archivePath(id)));
        QCOMPARE(KeptReports::all().size(), 0);
    }
};

KOV_TEST_MAIN(QApplication, tst_ReportParts)
#include "tst_report_parts.moc"
