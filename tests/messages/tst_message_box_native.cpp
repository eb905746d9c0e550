#include "gui/KovGui.h"
#include "gui/messages/CMessageManager.h"
#include "gui/messages/box/CMessageBox.h"
#include "gui/update/CAppUpdateLogic.h"
#include "gui/update/CAppUpdateWorker.h"
#include "gui/update/dialogs/CUpdateDialog.h"
#include "gui/update/record/UpgradeUtils.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"
#include "tests/support/NativeSession.h"
#include "tests/support/NginxServer.h"
#include "tests/support/Policies.h"
#include "tests/support/SampleSignature.h"

#include <QAccessible>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QShortcut>

using namespace Messaging;

/// Whether a key has arrived in this program.
class Seen : public QObject
{
public:
    explicit Seen(int key)
        : m_key(key)
    {
        qApp->installEventFilter(this);
    }
    bool key = false;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->key() == m_key)
            key = true;
        return false;
    }

private:
    const int m_key;
};

/// What comes by itself.
enum Unasked { Message, Offer, Downloaded };

/// A host that may ask before it downloads.
class AskingWorker : public CAppUpdateWorker
{
    Q_OBJECT

public:
    Q_INVOKABLE explicit AskingWorker(CAppUpdateLogic *logic)
        : CAppUpdateWorker(logic)
    { }
    bool isDownloadInBackgroundByDefault() const override { return !asks; }
    static inline bool asks = true;
};

/// Another program: says what was typed into its window, and ends with Escape.
int typist(QApplication &application)
{
    QLineEdit edit;
    const auto tell = [&] { puts(qPrintable(edit.text())), fflush(stdout); };
    QObject::connect(&edit, &QLineEdit::textChanged, &edit, tell);
    QShortcut quit(Qt::Key_Escape, &edit, [] { QCoreApplication::quit(); });
    edit.show();
    if (QTest::qWaitForWindowActive(&edit))
        tell();
    return application.exec();
}

/// With a window manager and the X server's own key events: what the offscreen test cannot show.
class tst_MessageBoxNative : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        KovGui::init(KAM_CONSOLE);
        KovGui::setLogOutputFunction([](const char *, std::size_t) {});
        KovGui::setUpdaterFilePathAndUpdateMode(UPDATER_PROGRAM, QString(), "ctl");
        registerPolicy<CAppUpdateWorker, AskingWorker>();
        QVERIFY(writeSampleSite(m_site.path(), 31302, "Better.") && m_server.start(m_site.path()));
        QVERIFY(UpgradeUtils::setUpdateServerBase(m_server.url()));
        // The window manager takes frames away while the toolkit still asks for their place.
        QLoggingCategory::setFilterRules("qt.qpa.xcb.warning=false");
    }

    void keysAnswer_data()
    {
        Table<int> row;
        row("Return", 2);
        row("KP_Enter", 2);
        row("Escape", 0);
        row("alt+l", 3);
        row("alt+F4", 0);
        row("shift+Tab space", 1);
        row("Tab Return", 3);
        row("Tab Tab Return", 2);
        row("Tab Tab alt+y", 1);
        row("Tab Tab Escape", 0);
    }

    void keysAnswer()
    {
        const auto [answer] = cells<int>();
        QWidget parent;
        parent.show();
        QVERIFY(QTest::qWaitForWindowActive(&parent));
        CMessageBox box(&parent);
        fill(&box);
        const QSignalSpy delivered(&box, &CMessageBox::beforeMessageDestroyed);
        box.open();
        QVERIFY(QTest::qWaitForWindowActive(&box));
        QTRY_VERIFY(box.focusWidget()->hasFocus());
        pressKeys(QString(QTest::currentDataTag()).split(' '));
        QTRY_COMPARE(delivered.count(), 1);
        QCOMPARE(delivered.first().at(1).value<ButtonID>() + 0, answer);
    }

    void unaskedBoxLeavesTheKeyboard_data()
    {
        Table<bool, int> row; // another program's window is typed into
        row("message, typing into our own window", false, int(Message));
        row("message, typing into another program's window", true, int(Message));
        row("offer, typing into our own window", false, int(Offer));
        row("offer, typing into another program's window", true, int(Offer));
        row("downloaded, typing into our own window", false, int(Downloaded));
        row("downloaded, typing into another program's window", true, int(Downloaded));
    }

    /// A machine's question, the offer of an update that a check in the background has found, and the
    /// question after a download in the background.
    void unaskedBoxLeavesTheKeyboard()
    {
        const auto [other, kind] = cells<bool, int>();
        QWidget bystander;
        QMainWindow window;
        bystander.show();
        QVERIFY(QTest::qWaitForWindowActive(&bystander));
        QLineEdit own;
        window.setCentralWidget(&own);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QProcess typist;
        if (other) {
            typist.start(QCoreApplication::applicationFilePath(), {"--typist"});
            QTRY_VERIFY(typist.bytesAvailable() && !window.isActiveWindow());
        }
        AskingWorker::asks = kind != Downloaded;
        if (kind == Offer)
            QCOMPARE(CAppUpdateLogic::instance()->checkForUpdates(true, false, false), KOV_SUCCESS);
        else if (kind == Downloaded)
            CAppUpdateLogic::instance()->installUpdate(download(), false, false);
        else
            askOnItsOwn(&window);
        QPointer<CBaseDialog> box;
        QTRY_VERIFY(box = unasked());
        const QSignalSpy finished(box, &CBaseDialog::finished);
        QVERIFY(QTest::qWaitForWindowExposed(box));
        QTRY_VERIFY(asksForAttention(*box));
        if (other) {
            // The whole application asks for a second, what belongs to the box until somebody comes.
            QTRY_VERIFY(!asksForAttention(bystander));
            QVERIFY(asksForAttention(window));
        }
        pressKeys({"a", "space", "b"});
        if (other) {
            QByteArray typed;
            QTRY_VERIFY2((typed += typist.readAll()).contains("a b"), typed.constData());
            pressKeys({"Escape"});
            QVERIFY(typist.waitForFinished());
        } else {
            QTRY_COMPARE(own.text(), "a b");
        }
        QVERIFY(box->isVisible() && finished.isEmpty());

        // It is turned to now; what comes in its first moment was typed for the other one.
        auto *guard = box->findChild<QTimer *>("m_timerInputGuard");
        QCOMPARE(guard->interval(), 500);
        guard->setInterval(3600000);
        runProgram("xdotool", {"windowactivate", QString::number(box->winId())});
        QVERIFY(QTest::qWaitForWindowActive(box));
        QTRY_VERIFY(!asksForAttention(*box) && !asksForAttention(window));
        const auto *button = box->findChild<QPushButton *>(kind == Message ? "m_pbButton1" : "m_pbPostpone");
        const QPoint place = button->mapToGlobal(button->rect().center());
        runProgram("xdotool",
                   {"mousemove", QString::number(place.x()), QString::number(place.y()), "click", "1"});
        Seen seen(Qt::Key_F9);
        pressKeys({"Return", "alt+y", "Escape", "alt+F4", "F9"});
        QTRY_VERIFY(seen.key);
        QVERIFY(box->isVisible() && finished.isEmpty());
        guard->start(0);
        QTRY_VERIFY(!guard->isActive());
        pressKeys({"Return"});
        QTRY_COMPARE(finished.count(), 1);
        // The click has moved the focus, no more.
        QCOMPARE(finished.first().first().toInt(),
                 kind == Message ? int(Button1) : int(CUpdateDialog::Postpone));
        CAppUpdateLogic::destroy();
    }

    void oneAlertPerBox()
    {
        static QStringList alerts;
        QTRY_VERIFY(QAccessible::isActive());
        const auto previous = QAccessible::installUpdateHandler([](QAccessibleEvent *event) {
            if (event->type() == QAccessible::Alert)
                alerts.append(event->accessibleInterface()->text(QAccessible::Description));
        });
        CMessageBox box;
        fill(&box);
        box.show();
        box.hide();
        box.show();
        box.done(1);
        QAccessible::installUpdateHandler(previous);
        QCOMPARE(alerts, QStringList{"Message\nDescription"});
    }

private:
    static bool asksForAttention(const QWidget &window)
    {
        QProcess xprop;
        xprop.start("xprop", {"-id", QString::number(window.winId()), "_NET_WM_STATE"});
        xprop.waitForFinished();
        return xprop.readAllStandardOutput().contains("_NET_WM_STATE_DEMANDS_ATTENTION");
    }

    static CBaseDialog *unasked()
    {
        for (QWidget *window : QApplication::topLevelWidgets()) {
            auto *dialog = qobject_cast<CBaseDialog *>(window);
            if (dialog && dialog->isVisible() && !dialog->isAskedFor())
                return dialog;
        }
        return nullptr;
    }

    void askOnItsOwn(QWidget *parent)
    {
        MessageParams params(KOV_QUESTION_INSTALL_MAJOR_UPGRADE, parent);
        params.setShortMsg("Message").setLongMsg("Description").setAskedFor(false);
        params.addButton(Button1, {"&Yes"}).addButton(Button2, {"&No"});
        params.setCloseMsgSlot(CSlotInfo(this, [](KOV_RESULT, ButtonID) {}));
        CMessageManager::instance()->showMessageBox(params);
    }

    CProductUpdateInfo download() const
    {
        const QString name = "Setup-3.1.4.31302.run";
        QFile::remove(m_updates.filePath(name));
        CProductUpdateInfo info(CProductUpdateInfo::MinorUpdate);
        info.transactionId = "-3.1.4-31302";
        info.download.url = m_server.url(name);
        info.download.destinationDirectory = m_updates.path();
        info.download.md5 = "d41d8cd98f00b204e9800998ecf8427e"; // of nothing
        return writeFile(m_site.filePath(name), "") ? info : CProductUpdateInfo();
    }

    QTemporaryDir m_site;
    QTemporaryDir m_updates;
    NginxServer m_server;

    static void fill(CMessageBox *box)
    {
        box->setTitle("Title");
        box->setMessage("Message");
        box->setDescription("Description");
        box->setButton1("&Yes");
        box->setButton2("&No");
        box->setButton3("&Later");
        box->setDefaultButton(Button2);
    }
};

int main(int argc, char *argv[])
{
    if (argc > 1 && qstrcmp(argv[1], "--typist") == 0) {
        QApplication application(argc, argv);
        return typist(application);
    }
    const TestEnvironment environment;
    const AccessibleSession session;
    QApplication application(argc, argv);
    tst_MessageBoxNative test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_message_box_native.moc"
