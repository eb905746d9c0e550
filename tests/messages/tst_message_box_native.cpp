#include "gui/log/Log.h"
#include "gui/messages/box/CMessageBox.h"
#include "tests/support/KovTest.h"

#include <QAccessible>
#include <QLoggingCategory>
#include <QProcess>

using namespace Messaging;

/// A session bus of the test's own on which a screen reader is announced. To be
/// made before the application.
class AccessibleSession
{
public:
    AccessibleSession()
    {
        qputenv("XDG_RUNTIME_DIR", m_runtime.path().toLocal8Bit());
        m_bus.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                                    QStringLiteral("--print-address")});
        m_bus.waitForReadyRead(5000);
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.readLine().trimmed());
        QProcess::execute(QStringLiteral("dbus-send"),
                          QStringLiteral("--print-reply=literal --dest=org.a11y.Bus /org/a11y/bus "
                                         "org.freedesktop.DBus.Properties.Set string:org.a11y.Status "
                                         "string:ScreenReaderEnabled variant:boolean:true")
                              .split(QLatin1Char(' ')));
    }
    ~AccessibleSession()
    {
        m_bus.terminate();
        m_bus.waitForFinished(5000);
    }

private:
    QTemporaryDir m_runtime;
    QProcess m_bus;
};

/// With a window manager and the X server's own key events: what the offscreen test cannot show.
class tst_MessageBoxNative : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void keysAnswer_data();
    void keysAnswer();
    void oneAlertPerBox();

private:
    static void fill(CMessageBox *box);
};

void tst_MessageBoxNative::initTestCase()
{
    KovGui::setLogOutputFunction([](const char *, std::size_t) {});
    // The window manager takes frames away while the toolkit still asks for their place.
    QLoggingCategory::setFilterRules(QStringLiteral("qt.qpa.xcb.warning=false"));
}

void tst_MessageBoxNative::fill(CMessageBox *box)
{
    box->setTitle(QStringLiteral("Title"));
    box->setMessage(QStringLiteral("Message"));
    box->setDescription(QStringLiteral("Description"));
    box->setButton1(QStringLiteral("&Yes"));
    box->setButton2(QStringLiteral("&No"));
    box->setButton3(QStringLiteral("&Later"));
    box->setDefaultButton(Button2);
}

void tst_MessageBoxNative::keysAnswer_data()
{
    QTest::addColumn<QStringList>("keys");
    QTest::addColumn<int>("answer");

    const auto row = [](const char *keys, int answer) {
        QTest::newRow(keys) << QString::fromLatin1(keys).split(QLatin1Char(' ')) << answer;
    };
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

void tst_MessageBoxNative::keysAnswer()
{
    QFETCH(QStringList, keys);
    QWidget parent;
    parent.show();
    QVERIFY(QTest::qWaitForWindowActive(&parent));
    CMessageBox box(&parent);
    fill(&box);
    const QSignalSpy delivered(&box, &CMessageBox::beforeMessageDestroyed);
    box.open();
    QVERIFY(QTest::qWaitForWindowActive(&box));
    QTRY_VERIFY(box.focusWidget()->hasFocus());
    QCOMPARE(QProcess::execute(QStringLiteral("xdotool"), QStringList{QStringLiteral("key")} + keys), 0);
    QTRY_COMPARE(delivered.count(), 1);
    QTEST(delivered.first().at(1).value<ButtonID>() + 0, "answer");
}

void tst_MessageBoxNative::oneAlertPerBox()
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
    QCOMPARE(alerts, QStringList{QStringLiteral("Message\nDescription")});
}

int main(int argc, char *argv[])
{
    const TestEnvironment environment;
    const AccessibleSession session;
    QApplication application(argc, argv);
    tst_MessageBoxNative test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_message_box_native.moc"
