#include "gui/log/Log.h"
#include "gui/messages/notification/CNotificationBox.h"
#include "gui/messages/notification/CNotificationBoxGroup.h"
#include "tests/support/KovTest.h"
#include "tests/support/NativeSession.h"

#include <QAccessible>
#include <QLineEdit>
#include <QLoggingCategory>
#include <QMainWindow>
#include <QPropertyAnimation>
#include <QScreen>
#include <QShortcut>

/// With a window manager, the X server's own keys and a screen reader's bus: what the offscreen test cannot
/// show.
class tst_NotificationNative : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        KovGui::setLogOutputFunction([](const char *, std::size_t) {});
        // The window manager takes frames away while the toolkit still asks for their place.
        QLoggingCategory::setFilterRules(QStringLiteral("qt.qpa.xcb.warning=false"));
        QTRY_VERIFY(QAccessible::isActive());
        m_window.setCentralWidget(&m_edit);
        m_window.resize(400, 200);
        m_window.show();
        QVERIFY(QTest::qWaitForWindowActive(&m_window));
    }

    void cleanup()
    {
        for (const auto &box : qAsConst(m_boxes))
            delete box;
        m_boxes.clear();
        m_edit.clear();
    }

    void twentyTakeNoKey()
    {
        const QString text
            = QStringLiteral("what is typed while pop-ups come and go is all here ").repeated(4);
        connect(&m_edit, &QLineEdit::textChanged, this, [this](const QString &typed) {
            if (typed.size() % 10 == 0 && m_boxes.size() < 20)
                show();
            if (typed.size() % 25 == 0)
                m_boxes.last()->onTimeout();
        });
        QSignalSpy focusMoves(qApp, &QApplication::focusChanged);
        QProcess typist;
        typist.start(QStringLiteral("xdotool"),
                     {QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("15"), text});
        QTRY_COMPARE_WITH_TIMEOUT(m_edit.text().size(), text.size(), 60000);
        m_edit.disconnect(this);
        QTRY_COMPARE(typist.state(), QProcess::NotRunning);
        QCOMPARE(m_edit.text(), text);
        QCOMPARE(m_boxes.size(), 20);
        QVERIFY(focusMoves.isEmpty());
    }

    void standsWhereItIsPut()
    {
        CNotificationBox *older = show();
        CNotificationBox *newer = show();
        const QRect area = m_window.screen()->availableGeometry();
        const QPoint place(area.right() + 1 - newer->width() - 6, area.y() + 6);
        QTRY_VERIFY(isAtRest(older) && isAtRest(newer));
        // As the window manager tells it.
        QTRY_COMPARE(newer->windowHandle()->framePosition(), place);
        QTRY_COMPARE(older->windowHandle()->framePosition(), place + QPoint(0, newer->height() + 6));
    }

    void isReachedAndAnsweredByKeyboard()
    {
        QShortcut shortcut(Qt::Key_F6, &m_window);
        shortcut.setContext(Qt::ApplicationShortcut);
        connect(&shortcut, &QShortcut::activated, &CNotificationBoxGroup::instance(),
                &CNotificationBoxGroup::activateNext);
        CNotificationBox *older = show();
        CNotificationBox *newer = show();
        for (CNotificationBox *box : {older, newer})
            box->findChild<QTimer *>(QStringLiteral("m_timerAutoClose"))->stop();
        QTRY_VERIFY(isAtRest(older) && isAtRest(newer));
        const QSignalSpy answers(older, &CNotificationBox::beforeMessageDestroyed);
        pressKeys({QStringLiteral("F6")});
        QTRY_VERIFY(newer->isActiveWindow());
        pressKeys({QStringLiteral("F6")});
        QTRY_VERIFY(older->isActiveWindow() && older->focusWidget()->hasFocus());
        pressKeys({QStringLiteral("Return")});
        QTRY_COMPARE(answers.count(), 1);
        QCOMPARE(answers.first().at(1).value<Messaging::ButtonID>(), Messaging::Button1);
        QTRY_VERIFY(m_edit.hasFocus());

        pressKeys({QStringLiteral("F6")});
        QTRY_VERIFY(newer->isActiveWindow() && newer->focusWidget()->hasFocus());
        pressKeys({QStringLiteral("F6")});
        QTRY_VERIFY(m_edit.hasFocus());
        pressKeys({QStringLiteral("o"), QStringLiteral("k")});
        QTRY_COMPARE(m_edit.text(), QStringLiteral("ok"));
    }

    void isToldToScreenReaders()
    {
        QProcess listener;
        listener.start(QStringLiteral(KOV_SOURCE_DIR "/tests/support/listen-accessible"), {});
        QByteArray told;
        const auto hears = [&](const char *line) { return (told += listener.readAll()).contains(line); };
        QTRY_VERIFY_WITH_TIMEOUT(hears("ready"), 30000);
        show();
        QTRY_VERIFY2_WITH_TIMEOUT(hears("Stopped|There was not enough memory.\n"), told.constData(), 30000);
        listener.terminate();
        QVERIFY(listener.waitForFinished());
    }

private:
    static bool isAtRest(CNotificationBox *box)
    {
        return QTest::qWaitForWindowExposed(box) && !box->findChild<QPropertyAnimation *>();
    }

    CNotificationBox *show()
    {
        auto *box = new CNotificationBox(&m_window);
        m_boxes.append(box);
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setMessage(QStringLiteral("Stopped"));
        box->setDescription(QStringLiteral("There was not enough memory."));
        box->setButton1(QStringLiteral("&Start Again"));
        box->show();
        return box;
    }

    QMainWindow m_window;
    QLineEdit m_edit;
    QList<QPointer<CNotificationBox>> m_boxes;
};

KOV_TEST_MAIN(AccessibleApplication, tst_NotificationNative)
#include "tst_notification_native.moc"
