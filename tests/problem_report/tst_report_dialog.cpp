#include "gui/KovGui.h"
#include "gui/data_model/documents/CPackedProblemReport.h"
#include "gui/frame/Application.h"
#include "gui/messages/CMessageManager.h"
#include "gui/problem_report/browser/CProblemReportBrowserDialog.h"
#include "gui/problem_report/dialog/CTessarineProblemReportDialog.h"
#include "gui/problem_report/report/CProblemReportDelegate.h"
#include "gui/problem_report/report/ReportSections.h"
#include "gui/problem_report/send/KeptReports.h"
#include "gui/problem_report/send/ReportService.h"
#include "gui/tasks/sign_in/CProxyAuthenticator.h"
#include "gui/window/CProgressDialog.h"
#include "kov_sdk/KovTypes.h"
#include "tests/support/DialogScript.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/OffscreenPlatform.h"
#include "tests/support/SquidServer.h"
#include "tests/support/TestServer.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QScrollBar>
#include <QTextBlock>
#include <QTreeWidget>

#include <memory>
#include <utility>

namespace {

using Parts = QMap<QString, QByteArray>;

/// An archive with these parts, as the system's own tool packs them.
QString pack(const QTemporaryDir &folder, const Parts &parts)
{
    QDir place(folder.path());
    place.mkpath(QStringLiteral("parts"));
    place.cd(QStringLiteral("parts"));
    for (auto it = parts.begin(); it != parts.end(); ++it)
        writeFile(place.filePath(it.key()), it.value());
    const QString archive = folder.filePath(QStringLiteral("report.tar.gz"));
    QProcess::execute(QStringLiteral("tar"),
                      QStringList{QStringLiteral("-C"), place.path(), QStringLiteral("-czf"), archive}
                          + parts.keys());
    return archive;
}

Parts unpack(const QTemporaryDir &folder, const QString &archive)
{
    const QDir place(folder.filePath(QStringLiteral("sent")));
    place.mkpath(QStringLiteral("."));
    QProcess::execute(QStringLiteral("tar"),
                      {QStringLiteral("-C"), place.path(), QStringLiteral("-xzf"), archive});
    Parts parts;
    for (const QString &name : place.entryList(QDir::Files))
        parts.insert(name, fileContent(place.filePath(name)));
    return parts;
}

/// The sample service, as a process of its own.
class Service
{
public:
    bool start()
    {
        m_process.start(QStringLiteral(REPORT_SERVICE), {folder.path()});
        if (!m_process.waitForReadyRead(20000))
            return false;
        port = m_process.readLine().mid(5).trimmed().toInt();
        return port > 0;
    }
    ~Service() { stop(); }
    void stop()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    void use(const QString &path) const
    {
        ReportService::setAddress(QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(port).arg(path)));
    }

    QTemporaryDir folder;
    int port = 0;

private:
    QProcess m_process;
};

} // namespace

/// What the user sees of a report, and what the service gets of it.
class tst_ReportDialog : public QObject
{
    Q_OBJECT

private:
    Service m_service;
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<CTessarineProblemReportDialog> m_dialog;

    template <typename Widget>
    Widget *child(const char *name, QWidget *of = nullptr) const
    {
        return (of ? of : m_dialog.get())->findChild<Widget *>(QLatin1String(name));
    }

    bool openReport(const Parts &parts, const QByteArray &document = "<Report><Type>user</Type></Report>",
                    CProblemReportDelegate *delegate = nullptr)
    {
        m_folder = std::make_unique<QTemporaryDir>();
        const QString archive = parts.isEmpty() ? QString() : pack(*m_folder, parts);
        m_dialog = std::make_unique<CTessarineProblemReportDialog>(archive, document, delegate);
        m_dialog->show();
        return QTest::qWaitFor([this] { return child<QPushButton>("m_pbSend")->isEnabled(); }, 30000);
    }

    CProblemReportBrowserDialog *browse()
    {
        QMetaObject::invokeMethod(m_dialog.get(), "onShowTechData");
        return m_dialog->findChild<CProblemReportBrowserDialog *>();
    }

    static QTreeWidgetItem *item(CProblemReportBrowserDialog *browser, const QString &source)
    {
        auto *tree = browser->findChild<QTreeWidget *>();
        for (QTreeWidgetItemIterator it(tree); *it; ++it) {
            if ((*it)->data(0, Qt::UserRole + 1).toString() == source)
                return *it;
        }
        return nullptr;
    }

    /// Presses the button, and waits for the end.
    bool send()
    {
        child<QPushButton>("m_pbSend")->click();
        return QTest::qWaitFor([this] { return !m_dialog->findChild<CProgressDialog *>(); }, 60000);
    }

private Q_SLOTS:
    void initTestCase()
    {
        ignoreOffscreenWarnings();
        KovGui::init(KAM_CONSOLE);
        QVERIFY(m_service.start());
    }
    void init()
    {
        m_service.use(QStringLiteral("/reports"));
        for (const KeptReports::Report &report : KeptReports::all())
            KeptReports::remove(report.id);
    }
    void cleanup()
    {
        m_dialog.reset();
        // The private folder goes with its dialog.
        const QDir place(QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation)
                         + QStringLiteral("/Problem Reports"));
        QCOMPARE(place.entryList({QStringLiteral("open-*")}, QDir::AllEntries), QStringList());
    }

    /// Byte for byte what was shown, without what was taken out; the user's words arrive.
    void sendsWhatWasShown()
    {
        const QByteArray damaged("log \0 \xff\xfe \r\n", 11);
        const Parts parts{{QStringLiteral("Report.xml"), "<Report><Type>user</Type></Report>"},
                          {QStringLiteral("HostInfo.xml"), "<HostInfo>not closed"},
                          {QStringLiteral("AllProcesses.txt"), "secret"},
                          {QStringLiteral("odd.log"), damaged},
                          {QStringLiteral("home.log"), QDir::homePath().toUtf8() + "/x"}};
        QVERIFY(openReport(parts));
        child<QPlainTextEdit>("textEditDetails")->setPlainText(QStringLiteral("I <b>did</b> & %1"));
        child<QLineEdit>("m_leName")->setText(QStringLiteral("Joe"));
        CProblemReportBrowserDialog *browser = browse();
        item(browser, QStringLiteral("AllProcesses.txt"))->setCheckState(0, Qt::Unchecked);
        auto *const takeOut = child<QPushButton>("m_pbTakeOut", browser);
        QTRY_VERIFY(takeOut->isEnabled());
        QVERIFY(!item(browser, QStringLiteral("home.log"))->text(1).isEmpty());
        takeOut->click();
        QTRY_VERIFY(child<QLabel>("m_lblPersonal", browser)->text().startsWith(QStringLiteral("No part")));
        const QDir shown(browser->getReportBaseFolder());
        QCOMPARE(fileContent(shown.filePath(QStringLiteral("home.log"))), QByteArray("~/x"));
        QCOMPARE(fileContent(shown.filePath(QStringLiteral("odd.log"))), damaged);
        Parts expected;
        for (const QString &name : shown.entryList(QDir::Files))
            expected.insert(name, fileContent(shown.filePath(name)));
        expected.remove(QStringLiteral("AllProcesses.txt"));
        browser->close();

        DialogScript script(QStringLiteral("CMessageBox:3b25 m_pbButton1"),
                            {QStringLiteral("CProgressDialog")});
        QSignalSpy finished(m_dialog.get(), &QDialog::finished);
        QVERIFY(send());
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(script.shown(), script.text());
        const QStringList got = QDir(m_service.folder.path()).entryList({QStringLiteral("*.tar.gz")});
        QCOMPARE(got.size(), 1);
        const QString archive = m_service.folder.filePath(got.first());
        QCOMPARE(unpack(*m_folder, archive), expected);
        CPackedProblemReport document;
        QVERIFY(document.read(expected.value(QStringLiteral("Report.xml"))));
        QCOMPARE(document.description, QStringLiteral("I <b>did</b> & %1"));
        QCOMPARE(document.contactName, QStringLiteral("Joe"));
        QCOMPARE(fileContent(QString(archive).replace(QLatin1String(".tar.gz"), QLatin1String(".xml"))),
                 expected.value(QStringLiteral("Report.xml")));
        QCOMPARE(KeptReports::all().size(), 0);
        child<QLineEdit>("m_leEmail")->setText(QStringLiteral("joe@example.org"));
        QVERIFY(!child<QPushButton>("m_pbSend")->isEnabled()); // it has arrived
        QCOMPARE(QSettings().value(QStringLiteral("Problem Report/ContactUserName")).toString(),
                 QStringLiteral("Joe"));
    }

    /// What goes wrong is told, and the report is kept with everything for another try.
    void sendingFails_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("logged");
        const char *const general = "CMessageBox:80000009 m_pbButton1";
        row("busy", "/busy", "CMessageBox:3b24 m_pbButton1", " server returned error status=BUSY");
        row("redirected elsewhere", "/elsewhere", general, "redirects to https://reports.example/");
        row("not found", "/nowhere", general, "(!)Http error");
        row("no address", "", general, "no acceptable address");
        row("stopped", "stop", general, "(!)Http error");
    }
    void sendingFails()
    {
        QFETCH(QString, path);
        QFETCH(QString, script);
        QFETCH(QString, logged);
        if (path == QLatin1String("stop"))
            ReportService::setAddress(QUrl(QStringLiteral("http://127.0.0.1:1/reports")));
        else if (path.isEmpty())
            ReportService::setAddress(QUrl(QStringLiteral("http://reports.example/")));
        else
            m_service.use(path);
        const LogCapture capture;
        QVERIFY(openReport({{QStringLiteral("a.log"), "a"}, {QStringLiteral("b.log"), "b"}}));
        item(browse(), QStringLiteral("b.log"))->setCheckState(0, Qt::Unchecked);
        m_dialog->findChild<CProblemReportBrowserDialog *>()->close();
        DialogScript answers(script, {QStringLiteral("CProgressDialog")});
        QVERIFY(send());
        QTRY_COMPARE(answers.shown(), answers.text());
        QVERIFY2(LogCapture::text().contains(logged.toUtf8()), LogCapture::text().constData());
        QVERIFY(m_dialog->isVisible());
        QCOMPARE(KeptReports::all().size(), 1);
        QCOMPARE(unpack(*m_folder, KeptReports::archivePath(KeptReports::all().first().id)).keys(),
                 QStringList({QStringLiteral("ClientInfo.xml"), QStringLiteral("Report.xml"),
                              QStringLiteral("a.log")}));
        // And then it works, by way of the redirect within the host.
        m_service.use(QStringLiteral("/moved"));
        DialogScript success(QStringLiteral("CMessageBox:3b25 m_pbButton1"),
                             {QStringLiteral("CProgressDialog")});
        QVERIFY(send());
        QTRY_COMPARE(success.shown(), success.text());
        QCOMPARE(KeptReports::all().size(), 0);
    }

    void isCancelled()
    {
        QVERIFY(openReport({{QStringLiteral("large.log"), QByteArray(40 << 20, 'x')}}));
        child<QPushButton>("m_pbSend")->click();
        child<CProgressDialog>("CProgressDialog")->cancel();
        child<CProgressDialog>("CProgressDialog")->cancel();
        QTRY_VERIFY(child<QPushButton>("m_pbSend")->isEnabled());
        QVERIFY(m_dialog->isVisible());
        QCOMPARE(KeptReports::all().size(), 0);
        child<QPushButton>("m_pbSend")->click();
        m_dialog.reset(); // while it is packed
        QCOMPARE(KeptReports::all().size(), 0);
    }

    /// When all is packed and nobody has been told yet.
    void isCancelledAtTheLastMoment_data()
    {
        QTest::addColumn<QString>("how");
        for (const char *how : {"cancelled", "closed", "deleted"})
            row(how, how);
    }
    void isCancelledAtTheLastMoment()
    {
        QFETCH(QString, how);
        const auto received = [this] { return QDir(m_service.folder.path()).count(); };
        const uint before = received();
        QVERIFY(openReport({{QStringLiteral("a.log"), "a"}}));
        child<QPushButton>("m_pbSend")->click();
        QDeadlineTimer limit(30000);
        while (KeptReports::all().isEmpty() && !limit.hasExpired())
            QThread::yieldCurrentThread();
        if (how == QLatin1String("cancelled"))
            child<CProgressDialog>("CProgressDialog")->cancel();
        else if (how == QLatin1String("closed"))
            m_dialog->close();
        else
            m_dialog.reset();
        QTRY_VERIFY(!m_dialog || !m_dialog->findChild<CProgressDialog *>());
        QCOMPARE(KeptReports::all().size(), 0);
        QCOMPARE(received(), before);
    }

    /// What still tells who the user is is not passed over in silence.
    void namesStay()
    {
        const LogCapture capture;
        QVERIFY(openReport({{QStringLiteral("a.log"), "a"}}));
        CProblemReportBrowserDialog *browser = browse();
        QVERIFY(QFile::remove(QDir(browser->getReportBaseFolder()).filePath(QStringLiteral("a.log"))));
        Q_EMIT browser->takeOutRequested();
        QTRY_VERIFY(child<QLabel>("m_lblState")->text().startsWith(QStringLiteral("Your name and folders")));
    }

    /// A large report passes the proxy once, with the password that the user typed.
    void passesTheProxy()
    {
        SquidServer proxy;
        QVERIFY2(proxy.start("tessa", "sesame"), proxy.errorText().constData());
        QSettings settings;
        settings.beginGroup(QStringLiteral("User Preferences/Proxy"));
        settings.setValue(QStringLiteral("Proxy Enabled"), true);
        settings.setValue(QStringLiteral("Proxy Http Host"), QStringLiteral("127.0.0.1"));
        settings.setValue(QStringLiteral("Proxy Http Port"), QString::number(proxy.port()));
        const auto off = qScopeGuard([&settings] {
            settings.setValue(QStringLiteral("Proxy Enabled"), false);
            CProxyAuthenticator::destroy();
        });
        QVERIFY(openReport({{QStringLiteral("large.log"), testContent(8 << 20, 1)}}));
        DialogScript script(QStringLiteral("CUserAuthDialog m_leName=tessa m_lePassword=sesame m_pbOk; "
                                           "CMessageBox:3b25 m_pbButton1"),
                            {QStringLiteral("CProgressDialog")});
        QVERIFY(send());
        QTRY_COMPARE(script.shown(), script.text());
        QCOMPARE(proxy.refusedUsers(), QByteArrayList{"-"});
        QVERIFY(proxy.accessLog().count("POST") == 1);
    }

    void showsAnything_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("shown");
        row("broken XML", QByteArray("<HostInfo><a></b>"), "HostInfo.xml", "<HostInfo><a></b>");
        row("nested without end", QByteArray("<a>").repeated(60000), "AppConfig.xml", "<a><a>");
        row("entities", QByteArray("<!DOCTYPE a [<!ENTITY x 'y'>]><a>&x;</a>"), "NetConfig.xml", "&x;");
        row("binary", QByteArray("a\0b\x1b[2J\xff", 8), "a.log", "b");
        row("markup", QByteArray("<b>bold</b><img src=file:///etc/passwd>"), "a.log", "<b>bold</b>");
        row("one long line", QByteArray(3 << 20, 'x'), "a.log", "xxxx");
        row("nothing", QByteArray(), "a.log", "");
    }
    void showsAnything()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, name);
        QFETCH(QString, shown);
        QVERIFY(openReport({{name, content}}));
        CProblemReportBrowserDialog *browser = browse();
        auto *tree = browser->findChild<QTreeWidget *>();
        tree->setCurrentItem(item(browser, name));
        QCOMPARE(browser->getCurrentItemSource(), name);
        auto *view = child<QPlainTextEdit>("m_textFileView", browser);
        QVERIFY(view->toPlainText().contains(shown));
        QVERIFY(view->toPlainText().size() <= 70 * 1024);
    }

    /// From the first line to the last and back, no line missing, whatever the window.
    void scrollsThroughALargeFile()
    {
        QByteArray content;
        for (int i = 0; i < 20000; ++i)
            content += "line " + QByteArray::number(i) + " \xc3\xa4\n";
        QVERIFY(openReport({{QStringLiteral("a.log"), content}}));
        CProblemReportBrowserDialog *browser = browse();
        browser->findChild<QTreeWidget *>()->setCurrentItem(item(browser, QStringLiteral("a.log")));
        auto *view = child<QPlainTextEdit>("m_textFileView", browser);
        auto *bar = child<QScrollBar>("m_sbFilePosition", browser);
        QVERIFY(bar->isVisible());
        QSet<int> seen;
        QString first;
        const auto look = [&] {
            const QString begin = view->document()->firstBlock().text();
            if (std::exchange(first, begin) == begin)
                return; // the same window
            const QStringList lines = view->toPlainText().split(QLatin1Char('\n'));
            for (const QString &line : lines) {
                if (line.startsWith(QLatin1String("line ")) && line.endsWith(QChar(0xe4)))
                    seen.insert(line.section(QLatin1Char(' '), 1, 1).toInt());
            }
        };
        look();
        for (int i = 0; i < 5000 && !seen.contains(19999); ++i) {
            QTest::keyClick(view, Qt::Key_PageDown);
            look();
        }
        QCOMPARE(seen.size(), 20000);
        QTest::keyClick(view, Qt::Key_Home, Qt::ControlModifier);
        QVERIFY(view->toPlainText().startsWith(QStringLiteral("line 0 ")));
        bar->setValue(bar->maximum());
        QVERIFY(view->toPlainText().contains(QStringLiteral("line 19999 ")));
        const auto isAtBeginning
            = [view] { return view->document()->firstBlock().text().startsWith(QLatin1String("line 0 ")); };
        for (int i = 0; i < 5000 && !isAtBeginning(); ++i)
            QTest::keyClick(view, Qt::Key_PageUp);
        QVERIFY(isAtBeginning());
    }

    void pictures_data()
    {
        QTest::addColumn<QByteArray>("png");
        QTest::addColumn<QString>("note");
        const auto png = [](QSize size, QImage::Format format) {
            QImage image(size, format);
            image.fill(0);
            QByteArray bytes;
            QBuffer buffer(&bytes);
            image.save(&buffer, "PNG");
            return bytes;
        };
        const QByteArray small = png({40, 30}, QImage::Format_RGB32);
        row("a picture", small, "The picture has 40 × 30 pixels.");
        row("a large one", png({6000, 5000}, QImage::Format_RGB32), "The picture has 6000 × 5000 pixels.");
        row("too large", png({9000, 9000}, QImage::Format_Mono),
            "9000 × 9000 pixels is damaged or too large");
        row("cut off", small.left(small.size() / 2), "no picture that can be shown");
        row("a text", QByteArray("<svg/>"), "no picture that can be shown");
    }
    void pictures()
    {
        QFETCH(QByteArray, png);
        QFETCH(QString, note);
        QVERIFY(openReport({{QStringLiteral("a.png"), png}}));
        CProblemReportBrowserDialog *browser = browse();
        browser->findChild<QTreeWidget *>()->setCurrentItem(item(browser, QStringLiteral("a.png")));
        const auto text = [&] {
            return child<QLabel>("m_lblScreenShotView", browser)->text()
                   + child<QLabel>("m_lblNote", browser)->text();
        };
        QTRY_VERIFY2_WITH_TIMEOUT(text().contains(note), qPrintable(text()), 20000);
        browser->resize(700, 500);
        // Closed while a picture is read.
        browser->findChild<QTreeWidget *>()->setCurrentItem(
            browser->findChild<QTreeWidget *>()->topLevelItem(0));
        browser->findChild<QTreeWidget *>()->setCurrentItem(item(browser, QStringLiteral("a.png")));
    }

    /// Nobody asked for the report, so nobody looked at his screen.
    void screenshotOfAnAutomaticReport()
    {
        const QString name = QLatin1String(ReportSections::hostScreenshotName) + QStringLiteral(".png");
        QVERIFY(openReport({{name, "picture"}, {QStringLiteral("a.png"), "picture"}},
                           "<Report><Type>automatic</Type></Report>"));
        CProblemReportBrowserDialog *browser = browse();
        QVERIFY(!item(browser, name) && item(browser, QStringLiteral("a.png")));
    }

    /// A hostile archive is refused in words; what the document says can still be sent.
    void archiveIsRefused()
    {
        const LogCapture capture;
        m_folder = std::make_unique<QTemporaryDir>();
        const QString archive = m_folder->filePath(QStringLiteral("bad.tar.gz"));
        QVERIFY(writeFile(archive, "no archive"));
        m_dialog = std::make_unique<CTessarineProblemReportDialog>(
            archive, QByteArray("<Report><Type>user</Type></Report>"), nullptr);
        m_dialog->show();
        QTRY_VERIFY(child<QLabel>("m_lblState")->text().startsWith(QStringLiteral("Some parts")));
        QTRY_VERIFY(child<QPushButton>("m_pbSend")->isEnabled());
        QCOMPARE(LogCapture::count("is not used:"), 1);
    }

    /// A solution needs somewhere to go.
    void mailAddress()
    {
        QVERIFY(openReport({}));
        auto *const button = child<QPushButton>("m_pbSend");
        child<QAbstractButton>("m_ckbSendSolution")->click();
        QVERIFY(!button->isEnabled());
        for (const char *odd : {"joe", "joe@", "@x.y", "a b@x.y"}) {
            child<QLineEdit>("m_leEmail")->setText(QLatin1String(odd));
            QVERIFY(!button->isEnabled());
        }
        child<QLineEdit>("m_leEmail")->setText(QStringLiteral("joe@example.org"));
        QVERIFY(button->isEnabled());
    }
};

KOV_TEST_MAIN(QApplication, tst_ReportDialog)
#include "tst_report_dialog.moc"
