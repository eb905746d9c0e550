#include "gui/log/Log.h"
#include "gui/messages/box/CMessageBox.h"
#include "gui/update/dialogs/CUpdateDialog.h"
#include "tests/support/KovTest.h"
#include "tests/support/NativeSession.h"

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
        KovGui::setLogOutputFunction([](const char *, std::size_t) {});
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
        Table<bool, bool> row; // another program's window is typed into; an offer
        row("message, typing into our own window", false, false);
        row("message, typing into another program's window", true, false);
        row("offer, typing into our own window", false, true);
        row("offer, typing into another program's window", true, true);
    }

    void unaskedBoxLeavesTheKeyboard()
    {
        const auto [other, isOffer] = cells<bool, bool>();
        QMainWindow window;
        QLineEdit own;
        window.setCentralWidget(&own);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QProcess typist;
        if (other) {
            typist.start(QCoreApplication::applicationFilePath(), {"--typist"});
            QTRY_VERIFY(typist.bytesAvailable() && !window.isActiveWindow());
        }
        CMessageBox message(&window);
        fill(&message);
        CUpdateDialog offer(CUpdateDialog::Download, &window);
        CBaseDialog &box = isOffer ? static_cast<CBaseDialog &>(offer) : message;
        box.setAskedFor(false);
        const QSignalSpy finished(&box, &CBaseDialog::finished);
        box.open();
        QVERIFY(QTest::qWaitForWindowExposed(&box));
        pressKeys({"a", "space", "b"});
        if (other) {
            QByteArray typed;
            QTRY_VERIFY2((typed += typist.readAll()).contains("a b"), typed.constData());
            pressKeys({"Escape"});
            QVERIFY(typist.waitForFinished());
        } else {
            QTRY_COMPARE(own.text(), "a b");
        }
        const QString id = QString::number(box.winId());
        QVERIFY(box.isVisible() && finished.isEmpty());

        // It is turned to now; what comes in its first moment was typed for the other one.
        auto *guard = box.findChild<QTimer *>("m_timerInputGuard");
        QCOMPARE(guard->interval(), 500);
        guard->setInterval(3600000);
        runProgram("xdotool", {"windowactivate", id});
        QVERIFY(QTest::qWaitForWindowActive(&box));
        const auto *button = box.findChild<QPushButton *>(isOffer ? "m_pbPostpone" : "m_pbButton1");
        const QPoint place = button->mapToGlobal(button->rect().center());
        runProgram("xdotool",
                   {"mousemove", QString::number(place.x()), QString::number(place.y()), "click", "1"});
        Seen seen(Qt::Key_F9);
        pressKeys({"Return", "alt+y", "Escape", "alt+F4", "F9"});
        QTRY_VERIFY(seen.key);
        QVERIFY(box.isVisible() && finished.isEmpty());
        guard->start(0);
        QTRY_VERIFY(!guard->isActive());
        pressKeys({"Return"});
        QTRY_COMPARE(finished.count(), 1);
        // The click has moved the focus, no more.
        QCOMPARE(box.result(), isOffer ? int(CUpdateDialog::Postpone) : int(Button1));
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
