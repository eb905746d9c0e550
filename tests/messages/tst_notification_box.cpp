#include "gui/messages/CMessageManager.h"
#include "gui/messages/notification/CNotificationBox.h"
#include "gui/messages/notification/CNotificationBoxGroup.h"
#include "tests/messages/MessageFixture.h"
#include "tests/support/KovTest.h"
#include "tests/support/OffscreenPlatform.h"

#include <QCheckBox>
#include <QLabel>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QScreen>

using namespace Messaging;

/// Every code is a notification.
class NotifyingProvider : public CMessageDataProvider
{
    Q_OBJECT

public:
    Q_INVOKABLE NotifyingProvider() = default;
    bool isNotificationMessage(int) override { return true; }
};

using Way = std::function<void(CNotificationBox *)>;

static QList<QPropertyAnimation *> animations(const CNotificationBox *box, const char *name)
{
    return box->findChildren<QPropertyAnimation *>(QLatin1String(name));
}

static void finish(const CNotificationBox *box, const char *name)
{
    for (QPropertyAnimation *animation : animations(box, name))
        animation->setCurrentTime(animation->totalDuration());
}

static void finishClosing(const CNotificationBox *box)
{
    finish(box, "ANIMATION_CLOSE_MOVE");
    finish(box, "ANIMATION_CLOSE_HIDE");
}

static QTimer *autoClose(const CNotificationBox *box)
{
    return box->findChild<QTimer *>("m_timerAutoClose");
}

class tst_NotificationBox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ignoreOffscreenWarnings();
        KovGui::setLogOutputFunction([](const char *, std::size_t) {});
        registerPolicy<CMessageDataProvider, NotifyingProvider>();
        registerPolicy<CMessageBoxBuilder>();
    }

    void cleanup()
    {
        for (const auto &box : qAsConst(m_boxes))
            delete box;
        m_boxes.clear();
        m_delivered.clear();
        CNotificationBoxGroup::destroy();
        QCursor::setPos(0, 0);
    }

    void stackStaysWholeWhileItMoves()
    {
        // Nothing is at rest when the next thing happens.
        const CNotificationBox *oldest = show();
        CNotificationBox *middle = show();
        middle->onButtonClose();
        CNotificationBox *newest = show();
        finishClosing(middle);
        newest->hide();
        settle();
        QCOMPARE(oldest->y(), newest->screen()->availableGeometry().y() + 6);
        newest->show();
        settle();
        const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
        QCOMPARE(newest->pos(), QPoint(area.right() + 1 - newest->width() - 6, area.y() + 6));
        QCOMPARE(oldest->y(), newest->y() + newest->height() + 6);
    }

    void standsAtItsCorner_data()
    {
        Table<Qt::LayoutDirection> row;
        row("left to right", Qt::LeftToRight);
        row("right to left", Qt::RightToLeft);
    }
    void standsAtItsCorner()
    {
        const auto [direction] = cells<Qt::LayoutDirection>();
        QGuiApplication::setLayoutDirection(direction);
        const auto back = qScopeGuard([] { QGuiApplication::setLayoutDirection(Qt::LeftToRight); });
        QScreen *screen = QGuiApplication::primaryScreen();
        const QRect area = screen->availableGeometry();
        CNotificationBox *older = show();
        CNotificationBox *newer = show();
        settle();
        const int x = direction == Qt::LeftToRight ? area.right() + 1 - newer->width() - 6 : area.x() + 6;
        QCOMPARE(newer->pos(), QPoint(x, area.y() + 6));

        // As a screen does that is lost.
        newer->move(5000, 3000);
        older->move(5000, 3100);
        Q_EMIT screen->availableGeometryChanged(area);
        QCoreApplication::processEvents();
        settle();
        QCOMPARE(newer->pos(), QPoint(x, area.y() + 6));
        QCOMPARE(older->pos(), newer->pos() + QPoint(0, newer->height() + 6));

        newer->onButtonClose();
        auto *way = animations(newer, "ANIMATION_CLOSE_MOVE").value(0);
        QCOMPARE(way->endValue().toPoint().x() > x, direction == Qt::LeftToRight);
    }

    void equalOneTakesNoKeyboard()
    {
        QWidget window;
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        const MessageParams params = MessageParams(1, &window).setShortMsg(QStringLiteral("again"));
        QCOMPARE(CMessageManager::instance()->showMessageBox(params), 0);
        QCOMPARE(CMessageManager::instance()->showMessageBox(params), -1);
        QCOMPARE(QApplication::activeWindow(), &window);
        CMessageManager::instance()->closeSpecificMessageBox(1);
    }

    void everyWayOutDeliversOnce_data()
    {
        Table<Way, QString> row;

        const auto click = [](const char *name) -> Way {
            return [name](CNotificationBox *box) {
                box->findChild<QPushButton *>(QLatin1String(name))->click();
            };
        };
        const Way press
            = [](CNotificationBox *box) { QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(2, 2)); };
        row("close button", click("m_pbClose"), "id 0 1");
        row("alternate button", click("m_pbAlternate"), "id 1 1");
        row("pressed", press, "id 1 1");
        row(
            "closed, then pressed",
            [=](CNotificationBox *box) {
                click("m_pbClose")(box);
                press(box);
                QCOMPARE(animations(box, "ANIMATION_CLOSE_HIDE").size(), 1);
            },
            "id 0 1");
        row(
            "pressed, then Escape",
            [=](CNotificationBox *box) {
                press(box);
                QTest::keyClick(box, Qt::Key_Escape);
            },
            "id 1 1");
        row("time passed", &CNotificationBox::onTimeout, "id 0 1");
        row(
            "Escape", [](CNotificationBox *box) { QTest::keyClick(box, Qt::Key_Escape); }, "id 0 1");
        row("closed by the system", &QWidget::close, "id 0 1");
        row(
            "deleted", [](CNotificationBox *box) { delete box; }, "id 0 1");
        row(
            "deleted with the keyboard",
            [](CNotificationBox *box) {
                box->takeKeyboard();
                delete box;
            },
            "id 0 1");
        row(
            "deleted while sliding out",
            [=](CNotificationBox *box) {
                press(box);
                delete box;
            },
            "id 1 1");
    }

    void everyWayOutDeliversOnce()
    {
        const auto [leave, delivered] = cells<Way, QString>();
        const CNotificationBox *below = show("below");
        const QPointer<CNotificationBox> box = show();
        settle();
        box->findChild<QCheckBox *>()->setChecked(true);
        const int top = box->y();
        leave(box);
        if (box)
            finishClosing(box);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!box);
        QCOMPARE(m_delivered.join(','), delivered);
        settle();
        QCOMPARE(below->y(), top);
    }

    void staysWhileInUse()
    {
        CNotificationBox *box = show();
        settle();
        QCOMPARE(autoClose(box)->interval(), 5000);
        QCOMPARE(autoClose(box)->timerType(), Qt::PreciseTimer);
        const auto timeout = [box] {
            autoClose(box)->stop();
            box->onTimeout();
            return CNotificationBoxGroup::isClosing(*box);
        };
        QEvent leave(QEvent::Leave);
        QCursor::setPos(box->geometry().center());
        QVERIFY(!timeout());
        QVERIFY(!autoClose(box)->isActive());
        QApplication::sendEvent(box, &leave);
        QVERIFY(autoClose(box)->isActive() && autoClose(box)->interval() == 1000);

        QCursor::setPos(0, 0);
        QTest::keyClick(box, Qt::Key_Tab);
        QVERIFY(!timeout());
        QEvent deactivate(QEvent::WindowDeactivate);
        QApplication::sendEvent(box, &deactivate);
        QVERIFY(autoClose(box)->isActive());
        QVERIFY(timeout());
    }

    void textLoadsNothing()
    {
        QTemporaryDir folder;
        const QString picture = folder.filePath("picture.png");
        QVERIFY(QImage(400, 400, QImage::Format_RGB32).save(picture));
        CNotificationBox *box = show();
        auto *label = box->findChild<QLabel *>("m_lblShortText");
        box->setMessage(QString("<link rel=stylesheet href='%1'></link><b>a</b> &lt;img&gt;<img src='%1'>"
                                "<p style='background-image:url(%1)'><a href=\"x:1?a&amp;b\">l</a>")
                            .arg(picture));
        QVERIFY(!label->text().contains("picture"));
        QCOMPARE(label->accessibleName(), "a <img>\nl");

        QSignalSpy links(box, &CNotificationBox::anchorClicked);
        QCoreApplication::processEvents();
        label->setFocus();
        QTest::keyClick(label, Qt::Key_Tab);
        QTest::keyClick(label, Qt::Key_Return);
        QCOMPARE(links.value(0).value(1).toUrl(), QUrl("x:1?a&b"));

        box->setMessage(QString(5000, 'w'));
        QVERIFY(label->text().size() < 1000);
    }

private:
    CNotificationBox *show(const QString &uuid = "id")
    {
        auto *box = new CNotificationBox;
        m_boxes.append(box);
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setMessageUuid(uuid);
        box->setMessage("Message");
        box->setDescription("Description that is long enough to need a second line in the box");
        box->setButton1("Open");
        box->setAllowHide(true);
        connect(box, &CNotificationBox::beforeMessageDestroyed, this,
                [this, box](const QString &id, ButtonID answer, bool doNotShowAgain) {
                    m_delivered.append(QString("%1 %2 %3").arg(id).arg(answer).arg(doNotShowAgain));
                    QVERIFY(!box->isVisible());
                });
        box->show();
        return box;
    }

    static void settle()
    {
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (auto *box = qobject_cast<CNotificationBox *>(widget))
                finish(box, "NOTIFICATIONBOX_ANIMATION");
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    QList<QPointer<CNotificationBox>> m_boxes;
    QStringList m_delivered;
};

KOV_TEST_MAIN(QApplication, tst_NotificationBox)
#include "tst_notification_box.moc"
