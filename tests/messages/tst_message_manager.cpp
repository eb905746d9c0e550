#include "gui/messages/CMessageManager.h"
#include "gui/messages/box/CMessageBox.h"
#include "gui/messages/record/CMessageInfo.h"
#include "gui/messages/record/MessageUtils.h"
#include "kov_sdk_communication/CSdkRequest.h"
#include "tests/messages/MessageFixture.h"
#include "tests/support/KovTest.h"
#include "tests/support/OffscreenPlatform.h"

#include <QCheckBox>
#include <QMainWindow>
#include <QPushButton>

namespace {

constexpr int unbuildable = 9001;
const QString Issuer = "vm";

QStringList &events()
{
    static QStringList list;
    return list;
}

QString story()
{
    return events().join(' ');
}

} // namespace

using Box = CMessageBoxWndBase;

/// The library's own boxes.
class Builder : public CMessageBoxBuilder
{
    Q_OBJECT

public:
    Q_INVOKABLE Builder() = default;

    CMessageBoxWndBase *build(const CMessageInfo &message, QWidget *parent) override
    {
        if (message.data().code == unbuildable)
            return nullptr;
        Box *box = CMessageBoxBuilder::build(message, parent);
        if (whileOpen)
            QTimer::singleShot(0, box, [box] { whileOpen(box); });
        return box;
    }

    /// What the user does as soon as a box is on screen.
    static std::function<void(Box *)> whileOpen;
};
std::function<void(Box *)> Builder::whileOpen;

class Provider : public CMessageDataProvider
{
    Q_OBJECT

public:
    Q_INVOKABLE Provider() = default;

    bool isForceShowMessage(int code) override { return code == 4001 || code % 1000 == 2; }
    bool isNotificationMessage(int code) override { return code == 5001; }
    bool isShowOnceMessage(int code) override { return code / 1000 == 6; }
    bool isShowOnceForVmMessage(int code) override { return code / 1000 == 7; }
    bool isMessageHasAutoAnswer(int code) override { return code == 8001; }
    bool hasKBArticle(int code) override { return code == 1003; }
    QList<Messaging::ButtonID> getPossibleDefaultButtons(int code) override
    {
        if (code == 3002)
            return {Messaging::ButtonNone, Messaging::Button1};
        return CMessageDataProvider::getPossibleDefaultButtons(code);
    }
    Messaging::ButtonsMap getButtonsMap(int code) override
    {
        return code == 2003 ? Messaging::ButtonsMap() : CMessageDataProvider::getButtonsMap(code);
    }
};

class Processor : public CMessageProcessor
{
    Q_OBJECT

public:
    Q_INVOKABLE Processor() = default;

    CMessageInfo *create(int code, const QString &issuerId, const QStringList &shortParams,
                         const QStringList &longParams, bool spontaneous) override
    {
        return code == -1 ? nullptr
                          : CMessageProcessor::create(code, issuerId, shortParams, longParams, spontaneous);
    }
    using CMessageProcessor::create;
    void sendAnswerToVm(CMessageInfo &message, int answer) override
    {
        events().append(QString("vm%1=%2").arg(message.data().code).arg(answer));
    }
};

class tst_message_manager : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void onClosed(KOV_RESULT code, Messaging::ButtonID answer)
    {
        events().append(QString("@%1=%2").arg(code).arg(answer));
    }
    bool onLink(const QUrl &url)
    {
        events().append(url.toString());
        return true;
    }

private Q_SLOTS:
    void initTestCase()
    {
        ignoreOffscreenWarnings();
        KovGui::init(KAM_CONSOLE);
        KovGui::setLogVerbosity(0);
        registerPolicy<CMessageDataProvider, Provider>();
        registerPolicy<CMessageBoxBuilder, Builder>();
        registerPolicy<CMessageProcessor, Processor>();
        registerPolicy<CSearchParentHelper>();
        QVector<CatalogueCode> codes;
        for (const int code : {1001, 1003, 1004, 4001, 5001, 6001, 6002, 7001, 7002, 8001, unbuildable})
            codes.append({code, "error", "Brief %1", "Full %2 %1", false});
        for (const int code : {3001, 3002})
            codes.append({code, "warning", "Hide", "Hide.", true});
        for (const int code : {2001, 2003})
            codes.append({code, "question", "Sure?", "Sure?", false});
        QVERIFY(loadCatalogue(codes));

        m_manager = CMessageManager::instance();
        connect(m_manager, &CMessageManager::aboutToShowMessage, this,
                [](const auto &data) { events().append(QString("+%1").arg(data.code)); });
        connect(m_manager, &CMessageManager::messageClosed, this,
                [](const auto &data, Messaging::ButtonID answer) {
                    events().append(QString("-%1=%2").arg(data.code).arg(answer));
                });
        connect(m_manager, &CMessageManager::notificationClicked, this,
                [](KOV_RESULT code) { events().append(QString("*%1").arg(code)); });
    }

    void init()
    {
        QSettings().clear();
        Builder::whileOpen = nullptr;
        m_keepsOpen = false;
        for (auto *window : {&m_window, &m_free}) {
            window->reset(new QMainWindow);
            (*window)->show();
        }
        m_button = new QPushButton(m_window.get());
        events().clear();
    }

    void cleanup()
    {
        m_manager->setMessagingBlocked(false);
        m_manager->clearMessageQueue(Issuer);
        m_manager->closeMessageBoxes(nullptr);
        m_window.reset();
        m_free.reset();
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(QApplication::topLevelWidgets().isEmpty());
    }

    void life_data()
    {
        // Steps, and what happens: +code opens, -code=answer closed, @ the close slot, code:result unless 0.
        Table<QString, QString> row;
        row("open and answer", "show 1001, answer 1001 1", "+1001 -1001=1 @1001=1");
        row("closed without an answer", "show 1001, close 1001", "+1001 -1001=0 @1001=0");
        row("equal is merged", "show 1001, show 1001, answer 1001 1",
            "+1001 @1001=0 1001:-1 -1001=1 @1001=1");
        row("equal to a waiting one is merged", "show 1001, show 1004, show 1004, clear",
            "+1001 1004:-1 @1004=0 1004:-1 @1004=0");
        row("equal comes before blocked", "show 1001, block, show 1001", "+1001 @1001=0 1001:-1");
        row("equal but forced", "show 4001, show 4001", "+4001 +4001");
        row("equal question of the user", "show 2001, show 2001", "+2001 +2001");
        row("other parameters are not equal", "show 1001 a, show 1001 b", "+1001 1001:-1");
        row("the queue drains one by one", "show 1001, show 1004, show 1004 b, answer 1001 1, answer 1004 2",
            "+1001 1004:-1 1004:-1 -1001=1 @1001=1 +1004 -1004=2 @1004=2 +1004");
        row("a question dies with its parent", "doom, ask 2001, spin", "+2001 -2001=0");
        row("a free window takes the next", "show 1001, aside 1004", "+1001 +1004");
        row("another closes: one is drained", "show 1001, aside 1003, show 1004, answer 1003 1",
            "+1001 +1003 1004:-1 -1003=1 @1003=1 +1004");
        row("a question of the user is asked at once", "show 1001, will 2, ask 2001",
            "+1001 +2001 -2001=2 2001:2");
        row("a question with a close slot does not wait", "show 2001, answer 2001 2",
            "+2001 -2001=2 @2001=2");
        row("a question of a machine waits and is answered",
            "show 1001, machine 2001, answer 1001 1, answer 2001 2",
            "+1001 2001:-1 -1001=1 @1001=1 +2001 -2001=2 vm2001=2");
        row("a question of a machine with a close slot", "server 2001, answer 2001 1",
            "+2001 -2001=1 @2001=1");
        row("a question without answers", "show 2003", "@2003=0 2003:-1");
        row("no window", "show 9001, show 9001", "@9001=0 9001:-1 @9001=0 9001:-1");
        row("no window: the next in the queue", "show 1001, show 9001, show 1004, answer 1001 1",
            "+1001 9001:-1 1004:-1 -1001=1 @1001=1 @9001=0 +1004");
        row("no record", "show -1", "@-1=0 -1:-1");
        row("blocked and cleared", "block, show 1001, show 5001, clear", "1001:-1 5001:-1 @1001=0 @5001=0");
        row("blocked, but must be shown", "block, show 4001, will 1, ask 2001", "+4001 +2001 -2001=1 2001:1");
        row("blocked question of a machine", "block, machine 2001", "2001:-1");
        row("unblocking shows nothing by itself", "block, show 1001, unblock, spin, show 1004, answer 1004 1",
            "1001:-1 +1004 -1004=1 @1004=1 +1001");
        row("hidden: the stored answer", "show 3001, mark 3001, answer 3001 1, show 3001",
            "+3001 -3001=1 @3001=1 @3001=1 3001:1");
        row("hidden, even when forced", "show 3002, mark 3002, answer 3002 1, show 3002",
            "+3002 -3002=1 @3002=1 @3002=1 3002:1");
        row("hidden with an answer that may not stand, and with none",
            "show 3001, mark 3001, answer 3001 2, show 3001, mark 3001, close 3001, show 3001",
            "+3001 -3001=2 @3001=2 +3001 -3001=0 @3001=0 +3001");
        row("hidden with none, which may stand", "show 3002, mark 3002, close 3002, show 3002",
            "+3002 -3002=0 @3002=0 @3002=0");
        row("answered by itself leaves the queue alone while a box is open",
            "show 1001, show 1004, show 8001", "+1001 1004:-1 @8001=1 8001:1");
        row("answered by itself leaves the queue alone while blocked", "block, show 1004, show 8001",
            "1004:-1 @8001=1 8001:1");
        row("answered by itself lets the queue go on else", "block, show 1004, unblock, show 8001",
            "1004:-1 @8001=1 +1004 8001:1");
        row("shown once", "show 6001, answer 6001 1, show 6001, server 6001",
            "+6001 -6001=1 @6001=1 @6001=0 6001:-1 @6001=0 6001:-1");
        row("shown once, even when forced", "show 6002, answer 6002 1, show 6002",
            "+6002 -6002=1 @6002=1 @6002=0 6002:-1");
        row("shown once per machine, but forced", "server 7002, answer 7002 1, server 7002",
            "+7002 -7002=1 @7002=1 +7002");
        row("shown once per machine", "server 7001, answer 7001 1, server 7001, show 7001",
            "+7001 -7001=1 @7001=1 @7001=0 7001:-1 +7001");
        row("notifications are never behind a box", "show 1001, show 5001, answer 5001 1",
            "+1001 +5001 *5001 -5001=1 @5001=1");
        row("a notification that nobody clicks", "show 5001, close 5001", "+5001 -5001=0 @5001=0");
        row("a box is deleted", "show 1001, show 1004, delete 1001, spin",
            "+1001 1004:-1 -1001=0 @1001=0 +1004");
        row("nothing is called while a parent is destroyed", "show 1001, show 1004, destroy",
            "+1001 1004:-1");
        row("a destroyed box merges no equal message", "show 1001, delete 1001, aside 1001, spin",
            "+1001 +1001 -1001=0 @1001=0");
        row("a machine hears of a merged question", "machine 2001, machine 2001, answer 2001 2",
            "+2001 vm2001=0 2001:-1 -2001=2 vm2001=2");
        row("a machine hears of a cleared question", "block, machine 2001, clear", "2001:-1 vm2001=0");
        row("a widget that carries the box is destroyed: nothing of the queue goes with it",
            "button 1001, button 1004, button 1003, unbutton, spin",
            "+1001 1004:-1 1003:-1 -1001=0 @1001=0 +1004");
        row("a parent is destroyed: then it is shown", "show 1001, show 1004, destroy, spin, close 1004",
            "+1001 1004:-1 -1001=0 @1001=0 +1004 -1004=0 @1004=0");
        // Listener calls are "?answer", with * for a box; what follows a click is told once.
        row("listener: clicked", "listen 1001, click 1001", "+1001 ?1* -1001=1");
        row("listener: closed", "listen 1001, close 1001", "+1001 ?0 -1001=0");
        row("listener: kept open, then closed", "keep, listen 1001, click 1001, close 1001",
            "+1001 ?1* ?0 -1001=0");
        row("listener: merged", "listen 1001, listen 1001, click 1001", "+1001 ?0 ?1* -1001=1");
        row("listener: cleared", "block, listen 1001, clear", "?0");
        row("listener: impossible to show", "listen 9001", "?0");
        row("listener: answered by itself", "listen 8001", "?1");
        row("listener: destroyed", "listen 1001, destroy, spin", "+1001 ?0 -1001=0");
    }

    void life()
    {
        const auto [script, log] = cells<QString, QString>();
        for (const QString &step : script.split(", "))
            run(step);
        QCOMPARE(story(), log);
    }

    void boxIsDeletedBeforeItIsShown()
    {
        QObject guard;
        connect(m_manager, &CMessageManager::aboutToShowMessage, &guard,
                [](const auto &, QWidget *, CMessageBoxWndBase *window) { delete window; });
        run("show 1001");
        run("spin");
        QCOMPARE(story(), "+1001 1001:-1 -1001=0 @1001=0");
    }

    void boxIsClosedBeforeItIsShown()
    {
        QObject guard;
        QPointer<QWidget> box;
        connect(m_manager, &CMessageManager::aboutToShowMessage, &guard,
                [&](const auto &, QWidget *, CMessageBoxWndBase *window) {
                    box = window;
                    window->close();
                });
        run("show 1001");
        QCOMPARE(story(), "+1001 -1001=0 @1001=0 1001:-1");
        QTRY_VERIFY(!box);
    }

    /// A panel that goes with its message, while another of the same issuer is open, and a close slot that
    /// shows a third.
    void closeSlotShowsAnother()
    {
        for (const bool atTheEnd : {false, true}) {
            events().clear();
            auto *panel = new QWidget(m_window.get());
            new QWidget(panel);
            MessageParams params(1001, panel);
            params.setCloseMsgSlot(
                CSlotInfo(this, [this] { m_manager->showMessageBox(1004, m_free.get()); }));
            m_manager->showMessageBox(params);
            m_manager->showMessageBox(1003, m_free.get());
            new QWidget(panel);
            delete panel;
            QCOMPARE(story(), "+1001 +1003");
            if (atTheEnd)
                Q_EMIT qApp->aboutToQuit({});
            else
                run("spin");
            QCOMPARE(story(), "+1001 +1003 -1001=0 +1004");
            for (const int code : {1004, 1003})
                m_manager->closeSpecificMessageBox(code);
            run("spin");
        }
    }

    void questionThatNobodyWaitsFor()
    {
        LogCapture log;
        MessageParams params(2001, m_window.get());
        params.setIssuerId(Issuer).setCloseMsgSlot(CSlotInfo(this, "onClosed(QString)"));
        QCOMPARE(m_manager->showMessageBox(params), -1);
        QVERIFY(
            log.text().contains("can't connect message listener. onClosed(QString) of tst_message_manager"));

        // The receiver of the one that waits goes.
        auto receiver = std::make_unique<QObject>();
        run("show 1001");
        m_manager->showMessageBox(2001, Issuer, {}, {}, CSlotInfo(receiver.get(), [] {}), true,
                                  m_window.get());
        receiver.reset();
        run("answer 1001 1");
        QCOMPARE(story(), "+1001 -1001=1 @1001=1");
        // What only tells something is read all the same.
        m_manager->showMessageBox(params.setErrCode(1001));
        QCOMPARE(events().takeLast(), "+1001");
    }

    void unaskedMessagesLeaveTheKeyboard()
    {
        run("aside 1004");
        QVERIFY(box(1004)->isAskedFor() && box(1004)->isModal());
        run("server 1001");
        MessageParams params(4001, m_window.get());
        m_manager->showMessageBox(params.setAskedFor(false));
        for (const int code : {1001, 4001})
            QVERIFY(!box(code)->isAskedFor() && !box(code)->isModal());
        // Merged into one that came by itself: what is asked for now comes to the front.
        run("server 1001");
        QVERIFY(!box(1001)->isAskedFor());
        run("show 1001");
        QVERIFY(box(1001)->isAskedFor());
    }

    void paramsReplaceTheCatalogue()
    {
        m_window->setProperty("vmUuid", Issuer);
        Messaging::MessageData shown;
        QObject guard;
        connect(m_manager, &CMessageManager::aboutToShowMessage, &guard,
                [&](const auto &data) { shown = data; });

        MessageParams params(1001, m_button);
        params.setShortMsgParams({"<b>"}).setLongMsgParams({"%2", "x"});
        m_manager->showMessageBox(params);
        QCOMPARE(shown.issuerId, Issuer);
        QCOMPARE(shown.shortMsg, "Brief &lt;b&gt;");
        QCOMPARE(shown.longMsg, "Full x %2");
        run("answer 1001 1");

        params.setErrCode(4001).setShortMsg("Own");
        params.addButton(Messaging::Button2, {"New", QMessageBox::NoRole});
        m_manager->showMessageBox(params);
        QCOMPARE(shown.shortMsg + shown.longMsg, "OwnFull x %2");
        QCOMPARE(shown.buttons.keys(), QList<Messaging::ButtonID>{Messaging::Button2});

        // A code with a report carries the report's answers.
        m_manager->showMessageBox(1003, m_free.get());
        QCOMPARE(shown.buttons.value(Messaging::Button1).text, "Send Problem Report");
    }

    void variants()
    {
        LogCapture log;
        QCOMPARE(m_manager->showMessageBox(QVariant()), -1);
        QVERIFY(log.text().contains(
            "(!)Error: can't extract params from Invalid. struct MessageParams must be in params."));

        // From another thread, with a parent that is gone when the call arrives.
        MessageParams params(1001, m_free.get());
        params.setCloseMsgSlot(slot());
        const QVariant variant = QVariant::fromValue(params);
        std::unique_ptr<QThread> thread(QThread::create([&] {
            QMetaObject::invokeMethod(m_manager, "showMessageBox", Qt::QueuedConnection,
                                      Q_ARG(QVariant, variant));
        }));
        thread->start();
        QVERIFY(thread->wait(5000));
        thread.reset(QThread::create([&] {
            QCOMPARE(m_manager->showMessageBox(1004), -1);
            m_manager->clearMessageQueue(Issuer);
            m_manager->closeSpecificMessageBox(1001);
        }));
        thread->start();
        QVERIFY(thread->wait(5000));
        QCOMPARE(log.count("is called from another thread, ignored."), 3);
        m_free.reset();
        run("spin");
        m_manager->closeMessageBoxes(nullptr);
        QCOMPARE(story(), "+1001 -1001=0 @1001=0");
    }

    void manyThroughTheLoopLetItTurn()
    {
        // Each takes longer than the messages of one turn may.
        connect(m_manager, &CMessageManager::aboutToShowMessage, m_free.get(), [] { QThread::msleep(20); });
        // A box may stand on another and goes with it: a user can only answer the one in front.
        QTimer user;
        connect(&user, &QTimer::timeout, [] {
            if (auto *front = qobject_cast<Box *>(QApplication::activeModalWidget()))
                front->done(2);
        });
        user.start(0);
        for (const int code : {1001, 1003, 1004, 2001}) {
            const MessageParams params = MessageParams(code, m_free.get()).setIssuerId(QString::number(code));
            QMetaObject::invokeMethod(m_manager, "showMessageBox", Qt::QueuedConnection,
                                      Q_ARG(QVariant, QVariant::fromValue(params)));
        }
        QCoreApplication::sendPostedEvents(m_manager);
        // The question has its answer by now.
        QVERIFY2(story().startsWith("+1001 +2001") && story().contains("-2001=2"), qPrintable(story()));
        QTRY_COMPARE(story().count("=2"), 4);
        QVERIFY2(story().indexOf("+1003") < story().indexOf("+1004"), qPrintable(story()));
    }

    void jobs()
    {
        t_SdkHandleWrap job;
        t_SdkHandleWrap event;
        const CSlotInfo closeSlot = slot();
        QCOMPARE(KovService_CreateJob(job.out()), KOV_SUCCESS);
        QCOMPARE(m_manager->showMessageBoxForJob(job, Issuer, &closeSlot), -1);
        QCOMPARE(events().takeLast(), QString("@%1=0").arg(KOV_ERR_IN_PROGRESS));

        KovService_CreateEvent(1004, "vm", event.out());
        KovService_CompleteJob(job, KOV_ERR_FAILURE, event, nullptr);
        const CSdkRequest request(job);
        QCOMPARE(m_manager->showMessageBoxForRequest(request, QString(), &closeSlot), 0);
        run("close 1004");
        QCOMPARE(story(), "+1004 -1004=0 @1004=0");

        KovService_CreateJob(job.out());
        KovService_CompleteJob(job, 1003, nullptr, nullptr);
        QCOMPARE(m_manager->showMessageBoxForJob(job, Issuer, nullptr, m_window.get()), 0);
        QCOMPARE(m_manager->getMessageWindowsForParent(m_window.get()),
                 m_manager->getMessageWindowsForId(1003));
        QCOMPARE(m_manager->showMessageBox(t_SdkHandleWrap(), Issuer, nullptr, closeSlot), -1);
        QVERIFY(events().last().endsWith("=0"));
    }

    void links()
    {
        QList<QUrl> opened;
        Help::setUrlOpener([&opened](const QUrl &url) {
            opened.append(url);
            return true;
        });
        QVERIFY(Help::setBaseAddress("https://help.example.com/@TOPIC@"));
        const QUrl web("https://example.com/");
        MessageParams params(1001, m_window.get());
        params.setAnchorClickSlot(CSlotInfo(this, SLOT(onLink(QUrl))));
        m_manager->showMessageBox(params);
        Q_EMIT box(1001)->anchorClicked(box(1001)->getMessageUuid(), QUrl("kovhelp:7"));
        Q_EMIT box(1001)->anchorClicked(box(1001)->getMessageUuid(), QUrl("kovhelp:network"));
        Q_EMIT box(1001)->anchorClicked(box(1001)->getMessageUuid(), web);
        QCOMPARE(opened,
                 QList<QUrl>({QUrl("https://help.example.com/7"), QUrl("https://help.example.com/132")}));
        QCOMPARE(events(), QStringList({"+1001", web.toString()}));

        // Nobody asked for the links of this one.
        run("aside 1004");
        Q_EMIT box(1004)->anchorClicked(box(1004)->getMessageUuid(), web);
        QCOMPARE(opened.last(), web);
        LogCapture log;
        Q_EMIT box(1004)->anchorClicked(box(1004)->getMessageUuid(), QUrl("file:///etc/passwd"));
        QVERIFY(log.text().contains("(!)Can not invoke event handler for url clicked slot"));
        QCOMPARE(opened.size(), 3);
        // Nothing opens: the user reads where the page is.
        Help::setUrlOpener([](const QUrl &) { return false; });
        for (const QUrl &link : {web, QUrl("kovhelp:7")}) {
            Q_EMIT box(1004)->anchorClicked(box(1004)->getMessageUuid(), link);
            const QScopedPointer<CMessageBox> notice(box(1004)->findChild<CMessageBox *>("HelpNotice"));
            QVERIFY(notice && notice->isVisible());
            QCOMPARE(notice->description(), link == web ? web.toString() : "https://help.example.com/7");
        }
        Help::setUrlOpener(nullptr);
    }

    void openWindows()
    {
        m_manager->showMessageBox(1001, "a", {}, {}, {}, false, m_window.get());
        m_manager->showMessageBox(1001, "b", {}, {}, {}, false, m_free.get());
        m_manager->raiseSpecificMessageBox("a", 1001);
        QTRY_COMPARE(QApplication::activeWindow(),
                     m_manager->getMessageWindowsForParent(m_window.get()).value(0));
        m_manager->closeSpecificMessageBox("a", 1001);
        QCOMPARE(m_manager->getMessageWindowsForId(1001).size(), 1);
        m_manager->closeSpecificMessageBox(1001);
        QVERIFY(m_manager->getMessageWindowsForId(1001).isEmpty());
    }

private:
    void run(const QString &step)
    {
        const QStringList words = step.split(' ');
        const QByteArray verb = words.first().toLatin1();
        const int code = words.value(1).toInt();
        const auto answer = Messaging::ButtonID(words.value(2).toInt());
        const auto show = [&](bool spontaneous, QWidget *parent, const CSlotInfo &slot) {
            const QStringList params{words.value(2)};
            const int result = m_manager->showMessageBox(code, Issuer, params, {}, slot, spontaneous, parent);
            if (result != 0)
                events().append(QString("%1:%2").arg(code).arg(result));
        };
        const QHash<QByteArray, std::function<void()>> verbs{
            {"show", [&] { show(false, m_window.get(), slot()); }},
            {"aside", [&] { show(false, m_free.get(), slot()); }},
            {"button", [&] { show(false, m_button, slot()); }},
            {"server", [&] { show(true, m_window.get(), slot()); }},
            {"machine", [&] { show(true, m_window.get(), CSlotInfo()); }},
            {"ask", [&] { show(false, m_window.get(), CSlotInfo()); }},
            {"will", [&] { Builder::whileOpen = [code](Box *box) { box->done(code); }; }},
            {"doom", [&] { Builder::whileOpen = [this](Box *) { m_window.reset(); }; }},
            {"answer", [&] { box(code)->done(answer); }},
            {"mark", [&] { box(code)->findChild<QCheckBox *>("m_ckbDoNotShowFlag")->click(); }},
            {"close", [&] { m_manager->closeSpecificMessageBox(Issuer, code); }},
            {"delete", [&] { delete box(code); }},
            {"destroy", [&] { m_window.reset(); }},
            {"unbutton", [&] { delete m_button; }},
            {"listen", [&] { listen(code); }},
            {"keep", [&] { m_keepsOpen = true; }},
            {"click", [&] { box(code)->findChild<QPushButton *>("m_pbButton1")->click(); }},
            {"spin", [&] { QCoreApplication::processEvents(); }},
            {"clear", [&] { m_manager->clearMessageQueue(Issuer); }},
            {"block", [&] { m_manager->setMessagingBlocked(true); }},
            {"unblock", [&] { m_manager->setMessagingBlocked(false); }},
        };
        QVERIFY2(verbs.contains(verb), qPrintable(step));
        verbs.value(verb)();
    }

    void listen(int code)
    {
        CMessageProcessor *processor = CMessageProcessor::instance();
        CMessageInfo *message = processor->create(code, Issuer, {}, {}, false);
        message->data().hintWidget = m_window.get();
        message->setButtonPressSlot(
            CSlotInfo(this, [this](Messaging::ButtonID answer, const QPointer<QWidget> &box) {
                events().append(QString("?%1%2").arg(answer).arg(QLatin1String(box ? "*" : "")));
                return m_keepsOpen;
            }));
        processor->tryToShowMessage(message);
    }

    CSlotInfo slot() { return CSlotInfo(this, SLOT(onClosed(KOV_RESULT, Messaging::ButtonID))); }
    Box *box(int code) const
    {
        const auto windows = m_manager->getMessageWindowsForId(code);
        return windows.isEmpty() ? nullptr : windows.first();
    }

    CMessageManager *m_manager = nullptr;
    bool m_keepsOpen = false;
    std::unique_ptr<QMainWindow> m_window;
    std::unique_ptr<QMainWindow> m_free;
    QPushButton *m_button = nullptr;
};

KOV_TEST_MAIN(QApplication, tst_message_manager)
#include "tst_message_manager.moc"
