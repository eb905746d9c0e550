#include "gui/messages/box/CDetailsDialog.h"
#include "gui/messages/box/CMessageBox.h"
#include "gui/messages/box/CMoreOptionsLabel.h"
#include "gui/messages/record/CMessageInfo.h"
#include "tests/messages/MessageFixture.h"
#include "tests/support/KovTest.h"
#include "tests/support/OffscreenPlatform.h"

#include <QAccessible>
#include <QCheckBox>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QTextBrowser>

#include <memory>

using namespace Messaging;

/// Gives a solution article to negative codes.
class TestProvider : public CMessageDataProvider
{
    Q_OBJECT

public:
    Q_INVOKABLE TestProvider() = default;
    bool hasKBArticle(int code) override { return code < 0; }
};

/// Answers a box's question whether it shall stay, and does in between what a test wants.
class Answerer : public QObject
{
    Q_OBJECT

public:
    std::function<bool(CMessageBox *)> act;
    QList<int> answers;

public Q_SLOTS:
    bool decide(Messaging::ButtonID answer, QPointer<QWidget> box)
    {
        answers.append(answer);
        return act && act(qobject_cast<CMessageBox *>(box));
    }
    void decideNothing(Messaging::ButtonID, QPointer<QWidget>) { }
};

/// Takes note of what a box delivers, and of the state that it is in then.
struct Delivery
{
    explicit Delivery(CMessageBox *box)
    {
        QObject::connect(box, &CMessageBox::beforeMessageDestroyed, box,
                         [this, box](const QString &uuid, ButtonID answer, bool doNotShowAgain) {
                             log.append(QStringLiteral("%1 %2 %3").arg(uuid).arg(answer).arg(doNotShowAgain));
                             gone = !box->isVisible() && QApplication::activeModalWidget() != box;
                         });
    }
    QStringList log;
    bool gone = false;
};

template <typename Widget>
Widget *part(const QWidget &box, const char *name)
{
    auto *widget = box.findChild<Widget *>(QLatin1String(name));
    return widget ? widget : (QTest::qFail(name, __FILE__, __LINE__), nullptr);
}

Q_DECLARE_METATYPE(std::function<void(CMessageBox *)>)

Q_DECLARE_METATYPE(std::function<bool(CMessageBox *)>)

class tst_MessageBox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ignoreOffscreenWarnings();
        KovGui::setLogOutputFunction([](const char *, std::size_t) {});
        QLocale::setDefault(QLocale(QStringLiteral("de_DE")));
        registerPolicy<CMessageDataProvider, TestProvider>();
        registerPolicy<CMessageBoxBuilder>();
    }

    void everyWayOutDeliversOnce_data()
    {
        using Way = std::function<void(CMessageBox *)>;
        QTest::addColumn<Way>("leave");
        QTest::addColumn<QString>("delivered");

        const auto click = [](const char *name) -> Way {
            return [name](CMessageBox *box) { part<QPushButton>(*box, name)->click(); };
        };
        const auto press = [](const char *focus, Qt::Key key) -> Way {
            return [focus, key](CMessageBox *box) {
                part<QWidget>(*box, focus)->setFocus();
                QTest::keyClick(box->focusWidget(), key);
            };
        };
        QTest::newRow("first") << click("m_pbButton1") << "id 1 0";
        QTest::newRow("third") << click("m_pbButton3") << "id 3 0";
        QTest::newRow("Enter in the text") << press("m_txtInfo", Qt::Key_Enter) << "id 2 0";
        QTest::newRow("Return in the check box") << press("m_ckbDoNotShowFlag", Qt::Key_Return) << "id 2 0";
        QTest::newRow("Escape in the text") << press("m_txtMessage", Qt::Key_Escape) << "id 0 0";
        QTest::newRow("title bar") << Way([](CMessageBox *box) {
            part<QCheckBox>(*box, "m_ckbDoNotShowFlag")->setChecked(true);
            box->windowHandle()->close();
        }) << "id 0 1";
        QTest::newRow("close, then done") << Way([](CMessageBox *box) {
            box->close();
            box->done(3);
        }) << "id 0 0";
        QTest::newRow("a result that is no answer")
            << Way([](CMessageBox *box) { box->done(7); }) << "id 0 0";
        QTest::newRow("box destroyed") << Way([](CMessageBox *box) {
            part<QCheckBox>(*box, "m_ckbDoNotShowFlag")->setChecked(true);
            delete box;
        }) << "id 0 1";
        QTest::newRow("parent destroyed")
            << Way([](CMessageBox *box) { delete box->parentWidget(); }) << "id 0 0";
        QTest::newRow("a choice that is not offered any more") << Way([](CMessageBox *box) {
            part<QCheckBox>(*box, "m_ckbDoNotShowFlag")->setChecked(true);
            box->setAllowHide(false);
            box->accept();
        }) << "id 1 0";
    }

    void everyWayOutDeliversOnce()
    {
        QFETCH(std::function<void(CMessageBox *)>, leave);
        QPointer<QWidget> parent = new QWidget;
        QPointer<CMessageBox> box = makeBox(parent).release();
        box->setAttribute(Qt::WA_DeleteOnClose);
        Delivery delivery(box);
        const QSignalSpy quit(qApp, &QGuiApplication::lastWindowClosed);
        box->open();
        QVERIFY(box->canBeParent());
        leave(box);
        QCOMPARE(delivery.log.size(), 1);
        QTEST(delivery.log.first(), "delivered");
        QVERIFY(delivery.gone);
        QVERIFY(!box || !box->canBeParent());
        QTRY_VERIFY(!box);
        QCOMPARE(delivery.log.size(), 1);
        QCOMPARE(quit.count(), 0);
        delete parent;
    }

    void actionDecides_data()
    {
        using Act = std::function<bool(CMessageBox *)>;
        QTest::addColumn<Act>("act");
        QTest::addColumn<QString>("slot");
        QTest::addColumn<QString>("delivered");

        const QString decide = QStringLiteral("decide(Messaging::ButtonID, QPointer<QWidget>)");
        QTest::newRow("handled") << Act([](CMessageBox *) { return true; }) << decide << "";
        QTest::newRow("not handled") << Act([](CMessageBox *) { return false; }) << decide << "id 1 0";
        QTest::newRow("deletes the box") << Act([](CMessageBox *box) {
            delete box;
            return true;
        }) << decide << "id 0 0";
        QTest::newRow("a click in between") << Act([](CMessageBox *box) {
            part<QPushButton>(*box, "m_pbButton2")->click();
            return false;
        }) << decide << "id 1 0";
        QTest::newRow("unknown slot") << Act() << QStringLiteral("unknown()") << "id 1 0";
        QTest::newRow("slot without an answer")
            << Act() << QStringLiteral("decideNothing(Messaging::ButtonID, QPointer<QWidget>)") << "id 1 0";
    }

    void actionDecides()
    {
        QFETCH(std::function<bool(CMessageBox *)>, act);
        QFETCH(QString, slot);
        QFETCH(QString, delivered);
        QPointer<CMessageBox> box = makeBox().release();
        Delivery delivery(box);
        Answerer answerer;
        answerer.act = act;
        box->setButtonsAction(&answerer, slot);
        box->open();
        part<QPushButton>(*box, "m_pbButton1")->click();
        QCOMPARE(delivery.log.join(QLatin1Char(',')), delivered);
        QVERIFY(!box || box->isVisible() == delivered.isEmpty());
        QVERIFY(answerer.answers.size() <= 1);
        delete box;
    }

    void countdown_data()
    {
        QTest::addColumn<QString>("message"); // @ stands for the placeholder
        QTest::addColumn<QString>("description");
        QTest::addColumn<int>("defaultAnswer");
        QTest::addColumn<QString>("firstTexts");
        QTest::addColumn<int>("ticks");
        QTest::addColumn<int>("answer");

        row("in both texts", "In @/2 s", "@", 3, "In 2 s|In 1 s", 2, 3);
        row("no number, no default", "@", "", 0, "60|59", 60, 1);
        row("in the description", "@", "@/1!", 2, "1", 1, 2);
        row("at once", "@/0", "", 2, "", 0, 2);
    }

    void countdown()
    {
        QFETCH(QString, message);
        QFETCH(QString, description);
        QFETCH(QString, firstTexts);
        QFETCH(int, ticks);
        QFETCH(int, defaultAnswer);
        const QString placeholder = QStringLiteral("@KOV_GUI_STD_SECONDS_TIMER");
        const QStringList texts = firstTexts.split(QLatin1Char('|'));
        const auto box = makeBox();
        Delivery delivery(box.get());
        box->setMessage(message.replace(QLatin1Char('@'), placeholder));
        QCOMPARE(box->message(), message);
        box->setDescription(description.replace(QLatin1Char('@'), placeholder));
        box->setDefaultButton(ButtonID(defaultAnswer));
        box->grab();
        QTest::qWait(0);
        QVERIFY2(!box->findChild<QTimer *>(QStringLiteral("m_timerCountdown")), "counts before it is shown");

        box->show();
        QVERIFY2(delivery.log.isEmpty(), "answered while it was being shown");
        QTRY_VERIFY(box->findChild<QTimer *>(QStringLiteral("m_timerCountdown")));
        auto *timer = part<QTimer>(*box, "m_timerCountdown");
        QCOMPARE(timer->interval(), 1000);
        for (int i = 0; i < ticks; ++i) {
            if (i < texts.size())
                QCOMPARE(part<QTextBrowser>(*box, "m_txtMessage")->toPlainText(), texts.at(i));
            QVERIFY(delivery.log.isEmpty());
            QMetaObject::invokeMethod(timer, "timeout");
        }
        QCOMPARE(delivery.log.size(), 1);
        QTEST(box->result(), "answer");
        QVERIFY(!timer->isActive());
    }

    void countdownStopsWhenTouched()
    {
        for (const bool stops : {false, true}) {
            const auto box = makeBox();
            box->setMessage(QStringLiteral("@KOV_GUI_STD_SECONDS_TIMER/9"));
            box->setCountdownStopsWhenTouched(stops);
            box->show();
            QTRY_VERIFY(box->findChild<QTimer *>(QStringLiteral("m_timerCountdown")));
            QTest::mouseClick(part<QTextBrowser>(*box, "m_txtInfo")->viewport(), Qt::LeftButton);
            QCOMPARE(part<QTimer>(*box, "m_timerCountdown")->isActive(), !stops);
        }
    }

    void countdownBeginsAnewInABoxKeptOpen()
    {
        const auto box = makeBox();
        Answerer answerer;
        box->setButtonsAction(&answerer, QStringLiteral("1decide(Messaging::ButtonID,QPointer<QWidget>)"));
        answerer.act = [](CMessageBox *kept) {
            kept->setMessage(QStringLiteral("Again in @KOV_GUI_STD_SECONDS_TIMER/7"));
            return true;
        };
        box->setMessage(QStringLiteral("@KOV_GUI_STD_SECONDS_TIMER/0"));
        box->show();
        QTRY_COMPARE(answerer.answers.size(), 1);
        QTRY_VERIFY(part<QTimer>(*box, "m_timerCountdown")->isActive());
        QCOMPARE(part<QTextBrowser>(*box, "m_txtMessage")->toPlainText(), QStringLiteral("Again in 7"));
        QVERIFY(box->accessibleDescription().startsWith(QStringLiteral("Again in 7")));
    }

    void textLoadsNothing_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("picture") << "<img src='%1.png' width=80 height=80>";
        QTest::newRow("picture by address") << "<img src='file://%1.png'>";
        QTest::newRow("background")
            << "<table background='%1.png' width=99><tr><td height=99>x</td></tr></table>";
        QTest::newRow("background of a style") << "<p style=\"background-image:url('%1.png')\">x<br>x</p>";
        QTest::newRow("linked style sheet")
            << "<html><head><link rel='stylesheet' type='text/css' href='%1.css'></head>x</html>";
        QTest::newRow("imported style sheet") << "<style type='text/css'>@import url('%1.css');</style>x";
    }

    void textLoadsNothing()
    {
        QFETCH(QString, text);
        const QTemporaryDir dir;
        QImage picture(80, 80, QImage::Format_RGB32);
        picture.fill(Qt::red);
        QVERIFY(picture.save(dir.filePath(QStringLiteral("a.png"))));
        QVERIFY(picture.save(dir.filePath(QStringLiteral("a@2x.png"))));
        QFile sheet(dir.filePath(QStringLiteral("a.css")));
        QVERIFY(sheet.open(QFile::WriteOnly) && sheet.write("* {background-color: #ff0000}") > 0);
        sheet.close();

        const auto box = makeBox();
        box->setDescription(text.arg(dir.filePath(QStringLiteral("a"))));
        box->show();
        const QImage shown = box->grab().toImage();
        for (int y = 0; y < shown.height(); ++y) {
            for (int x = 0; x < shown.width(); ++x)
                QVERIFY(shown.pixelColor(x, y) != QColor(Qt::red));
        }
        QVERIFY(part<QTextBrowser>(*box, "m_txtInfo")->document()->idealWidth() < 80
                || text.contains(QLatin1String("table")));
    }

    void textIsCopiedByKeyboard()
    {
        const auto box = makeBox();
        box->setDescription(QStringLiteral("two\nlines &lt;b&gt;"));
        box->show();
        QWidget *info = part<QWidget>(*box, "m_txtInfo");
        QTest::keySequence(info, QKeySequence::SelectAll);
        QTest::keySequence(info, QKeySequence::Copy);
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("two\nlines <b>"));
        QTest::keyClick(info, Qt::Key_Left);
        box->setTitle(QStringLiteral("Title"));
        box->setProblemID(QStringLiteral("15351"));
        QTest::keySequence(info, QKeySequence::Copy);
        QCOMPARE(QApplication::clipboard()->text(),
                 QStringLiteral("Title\n\nMessage\ntwo\nlines <b>\n\nProblem ID: 15351"));
        QTest::keyClick(info, Qt::Key_Return);
        QCOMPARE(box->result(), 2);
    }

    void textSizesTheBox()
    {
        const auto sizeWith = [](const QString &text, bool *scrolls) {
            const auto box = makeBox();
            box->setDescription(text);
            box->show();
            *scrolls = part<QTextBrowser>(*box, "m_txtInfo")->verticalScrollBar()->isVisible();
            return box->size();
        };
        const QSize screen = QGuiApplication::primaryScreen()->availableSize();
        bool scrolls = true;
        const QSize small = sizeWith(QStringLiteral("word"), &scrolls);
        QVERIFY(!scrolls);
        const QSize medium = sizeWith(QStringLiteral("word ").repeated(60), &scrolls);
        QVERIFY(!scrolls && medium.width() > small.width() && medium.height() > small.height());
        for (const QString &text :
             {QStringLiteral("word ").repeated(5000), QString(20000, QLatin1Char('w'))}) {
            const QSize large = sizeWith(text, &scrolls);
            QVERIFY(scrolls && large.height() < screen.height() && large.width() < screen.width());
        }
        // Of a word without an end the beginning is laid out; the details have the whole.
        const auto box = makeBox();
        const QString word(100000, QLatin1Char('w'));
        box->setDescription(word);
        box->show();
        QVERIFY(part<QTextBrowser>(*box, "m_txtInfo")->document()->characterCount() < 6000);
        part<QPushButton>(*box, "m_pbDetails")->click();
        QCOMPARE(box->findChild<QPlainTextEdit *>()->toPlainText(), word);
    }

    void linksAreOnlyReported()
    {
        bool opened = false;
        Help::setUrlOpener([&](const QUrl &) { return opened = true; });
        const auto box = makeBox();
        box->setDescription(QStringLiteral("<a href='http://h.example/x?a=1'>link</a>"));
        const QSignalSpy clicked(box.get(), &CMessageBox::anchorClicked);
        box->show();
        auto *info = part<QTextBrowser>(*box, "m_txtInfo");
        info->setFocus();
        QVERIFY(clicked.isEmpty());
        const QRect start = info->cursorRect();
        QTest::mouseClick(info->viewport(), Qt::LeftButton, Qt::NoModifier, start.center() + QPoint(6, 0));
        QCOMPARE(clicked.count(), 1);
        QCOMPARE(clicked.first().at(0).toString(), QStringLiteral("id"));
        QCOMPARE(clicked.first().at(1).toUrl(), QUrl(QStringLiteral("http://h.example/x?a=1")));
        QTest::keyClick(info, Qt::Key_Tab);
        QTest::keyClick(info, Qt::Key_Return);
        QCOMPARE(clicked.count(), 2);
        QVERIFY(box->isVisible() && !opened);
    }

    void solutionPage()
    {
        QString opened;
        Help::setUrlOpener([&](const QUrl &url) {
            opened = url.toString(QUrl::FullyEncoded);
            return true;
        });
        QVERIFY(
            CMessageBox::setSupportPageAddress(QStringLiteral("https://s.example/@LOCALE@/kb?id=%1&x=1")));
        QVERIFY(!CMessageBox::setSupportPageAddress(QStringLiteral("file:///kb/%1")));
        const auto box = makeBox();
        box->setProblemID(QStringLiteral("15/3&"));
        box->show();
        auto *link = part<QLabel>(*box, "m_lblProblemIDLink");
        link->setFocus();
        QTest::keyClick(link, Qt::Key_Tab);
        QTest::keyClick(link, Qt::Key_Return);
        QCOMPARE(opened, QStringLiteral("https://s.example/de_DE/kb?id=15%2F3%26&x=1"));
        QWidget *support = part<QWidget>(*box, "m_wSupportInfo");
        QVERIFY(!support->isVisible());
        part<CMoreOptionsLabel>(*box, "m_lblHelpMeSolve")->click();
        QVERIFY(support->isVisible());
    }

    void detailsOpenBesideTheBox()
    {
        const auto box = makeBox();
        box->setDetails(QStringLiteral("<b>raw</b>"));
        box->show();
        for (int i = 0; i < 2; ++i)
            part<QPushButton>(*box, "m_pbDetails")->click();
        QCOMPARE(box->findChildren<CDetailsDialog *>().size(), 1);
        QPointer<CDetailsDialog> details = box->findChild<CDetailsDialog *>();
        QVERIFY(details->isVisible());
        QCOMPARE(details->findChild<QPlainTextEdit *>()->toPlainText(), QStringLiteral("<b>raw</b>"));
        details->findChild<QPushButton *>()->click();
        QTRY_VERIFY(!details);
        QVERIFY(box->isVisible());
    }

    void embeddedView()
    {
        const auto box = makeBox();
        QPointer<QLineEdit> first = new QLineEdit;
        QPointer<QLineEdit> second = new QLineEdit;
        box->embedView(first);
        box->show();
        QVERIFY(first->isVisible());
        box->embedView(second);
        QTRY_VERIFY(!first);
        QCOMPARE(box->view(), second);
        delete second;
        QVERIFY(!box->view() && !part<QWidget>(*box, "m_wView")->isVisible());
        QPointer<QWidget> last = new QWidget;
        box->embedView(last);
        box->done(1);
        QVERIFY(last);
    }

    void builder()
    {
        MessageData data(int(0x80015351));
        data.type = KMT_ERROR;
        data.longMsg = QStringLiteral("long");
        data.details = QStringLiteral("details");
        data.buttons = {{Button1, {QStringLiteral("a")}}, {Button3, {QStringLiteral("c")}}};
        CMessageInfo info(data);
        Answerer answerer;
        info.setButtonPressSlot({&answerer, SLOT(decide(Messaging::ButtonID, QPointer<QWidget>))});
        QWidget parent;
        auto *box = qobject_cast<CMessageBox *>(CMessageBoxBuilder::instance()->build(info, &parent));
        QVERIFY(box && !box->isVisible() && box->parentWidget() == &parent);
        QCOMPARE(box->description() + box->details() + box->problemID(), QStringLiteral("longdetails15351"));
        QCOMPARE(box->button1() + box->button2() + box->button3(), QStringLiteral("ac"));
        QCOMPARE(box->message(), QString());
        QCOMPARE(part<QLabel>(*box, "m_lblMsgBox")->accessibleName(), QStringLiteral("Error"));
        // No help is known.
        QVERIFY(part<QWidget>(*box, "m_pbHelp")->isHidden());
        box->setButtonsMap({{Button1, {QStringLiteral("a"), QMessageBox::DestructiveRole}}});
        box->setButton1(QStringLiteral("b"));
        QCOMPARE(
            part<QDialogButtonBox>(*box, "m_bbButtons")->buttonRole(part<QPushButton>(*box, "m_pbButton1")),
            QDialogButtonBox::DestructiveRole);
        part<QPushButton>(*box, "m_pbButton1")->click();
        QCOMPARE(answerer.answers, QList<int>{1});
        // Enter sends no report, and a code without texts shows itself.
        QCOMPARE(data.defaultButton, Button2);
        const std::unique_ptr<QWidget> bare(
            CMessageBoxBuilder::instance()->build(CMessageInfo(MessageData(7)), nullptr));
        QCOMPARE(qobject_cast<CMessageBox *>(bare.get())->message(), QStringLiteral("Message 0x00000007"));
    }

private:
    static std::unique_ptr<CMessageBox> makeBox(QWidget *parent = nullptr)
    {
        auto box = std::make_unique<CMessageBox>(parent);
        box->setMessageUuid(QStringLiteral("id"));
        box->setMessage(QStringLiteral("Message"));
        box->setDescription(QStringLiteral("Description"));
        box->setButton1(QStringLiteral("&Yes"));
        box->setButton2(QStringLiteral("&No"));
        box->setButton3(QStringLiteral("&Later"));
        box->setDefaultButton(Button2);
        box->setAllowHide(true);
        return box;
    }
};

KOV_TEST_MAIN(QApplication, tst_MessageBox)
#include "tst_message_box.moc"
