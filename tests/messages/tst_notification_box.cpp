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
Q_DECLARE_METATYPE(Way)

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
    return box->findChild<QTimer *>(QStringLiteral("m_timerAutoClose"));
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
        const CNotificationBox *newest = show();
        finishClosing(middle);
        settle();
        const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
        QCOMPARE(newest->pos(), QPoint(area.right() + 1 - newest->width() - 6, area.y() + 6));
        QCOMPARE(oldest->y(), newest->y() + newest->height() + 6);
    }

    void standsAtItsCorner_data()
    {
        QTest::addColumn<Qt::LayoutDirection>("direction");
        row("left to right", Qt::LeftToRight);
        row("right to left", Qt::RightToLeft);
    }
    void standsAtItsCorner()
    {
        QFETCH(Qt::LayoutDirection, direction);
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
        QTest::addColumn<Way>("leave");
        QTest::addColumn<QString>("delivered");

        const auto click = [](const char *name) -> Way {
            return [name](CNotificationBox *box) {
                box->findChild<QPushButton *>(QLatin1String(name))->click();
            };
        };
        const Way press
            = [](CNotificationBox *box) { QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(2, 2)); };
        QTest::newRow("close button") << click("m_pbClose") << "id 0 1";
        QTest::newRow("alternate button") << click("m_pbAlternate") << "id 1 1";
        QTest::newRow("pressed") << press << "id 1 1";
        QTest::newRow("closed, then pressed") << Way([=](CNotificationBox *box) {
            click("m_pbClose")(box);
            press(box);
            QCOMPARE(animations(box, "ANIMATION_CLOSE_HIDE").size(), 1);
        }) << "id 0 1";
        QTest::newRow("pressed, then Escape") << Way([=](CNotificationBox *box) {
            press(box);
            QTest::keyClick(box, Qt::Key_Escape);
        }) << "id 1 1";
        QTest::newRow("time passed") << Way(&CNotificationBox::onTimeout) << "id 0 1";
        QTest::newRow("Escape") << Way([](CNotificationBox *box) { QTest::keyClick(box, Qt::Key_Escape); })
                                << "id 0 1";
        QTest::newRow("closed by the system") << Way(&QWidget::close) << "id 0 1";
        QTest::newRow("deleted") << Way([](CNotificationBox *box) { delete box; }) << "id 0 1";
        QTest::newRow("deleted while sliding out") << Way([=](CNotificationBox *box) {
            press(box);
            delete box;
        }) << "id 1 1";
    }

    void everyWayOutDeliversOnce()
    {
        QFETCH(Way, leave);
        const CNotificationBox *below = show(QStringLiteral("below"));
        const QPointer<CNotificationBox> box = show();
        settle();
        box->findChild<QCheckBox *>()->setChecked(true);
        const int top = box->y();
        leave(box);
        if (box)
            finishClosing(box);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!box);
        QTEST(m_delivered.join(QLatin1Char(',')), "delivered");
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
        const QString picture = folder.filePath(QStringLiteral("picture.png"));
        QVERIFY(QImage(400, 400, QImage::Format_RGB32).save(picture));
        CNotificationBox *box = show();
        auto *label = box->findChild<QLabel *>(QStringLiteral("m_lblShortText"));
        box->setMessage(
            QStringLiteral("<link rel=stylesheet href='%1'></link><b>a</b> &lt;img&gt;<img src='%1'>"
                           "<p style='background-image:url(%1)'><a href=\"x:1?a&amp;b\">l</a>")
                .arg(picture));
        QVERIFY(!label->text().contains(QLatin1String("picture")));
        QCOMPARE(label->accessibleName(), QStringLiteral("a <img>\nl"));

        QSignalSpy links(box, &CNotificationBox::anchorClicked);
        QCoreApplication::processEvents();
        label->setFocus();
        QTest::keyClick(label, Qt::Key_Tab);
        QTest::keyClick(label, Qt::Key_Return);
        QCOMPARE(links.value(0).value(1).toUrl(), QUrl(QStringLiteral("x:1?a&b")));

        box->setMessage(QString(5000, QLatin1Char('w')));
        QVERIFY(label->text().size() < 1000);
    }

private:
    CNotificationBox *show(const QString &uuid = QStringLiteral("id"))
    {
        auto *box = new CNotificationBox;
        m_boxes.append(box);
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setMessageUuid(uuid);
        box->setMessage(QStringLiteral("Message"));
        box->setDescription(
            QStringLiteral("Description that is long enough to need a second line in the box"));
        box->setButton1(QStringLiteral("Open"));
        box->setAllowHide(true);
        connect(box, &CNotificationBox::beforeMessageDestroyed, this,
                [this, box](const QString &id, ButtonID answer, bool doNotShowAgain) {
                    m_delivered.append(QStringLiteral("%1 %2 %3").arg(id).arg(answer).arg(doNotShowAgain));
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
