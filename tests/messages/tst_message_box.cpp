#include "gui/messages/box/CDetailsDialog.h"
#include "gui/messages/box/CMessageBox.h"
#include "gui/messages/box/CMoreOptionsLabel.h"
#include "gui/messages/record/CMessageInfo.h"
#include "tests/messages/MessageFixture.h"
#include "tests/support/Files.h"
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
                             log.append(QString("%1 %2 %3").arg(uuid).arg(answer).arg(doNotShowAgain));
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

using Way = std::function<void(CMessageBox *)>;
using Act = std::function<bool(CMessageBox *)>;

class tst_MessageBox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ignoreOffscreenWarnings();
        KovGui::setLogOutputFunction([](const char *, std::size_t) {});
        QLocale::setDefault(QLocale("de_DE"));
        registerPolicy<CMessageDataProvider, TestProvider>();
        registerPolicy<CMessageBoxBuilder>();
    }

    void everyWayOutDeliversOnce_data()
    {
        Table<Way, QString> row;

        const auto click = [](const char *name) -> Way {
            return [name](CMessageBox *box) { part<QPushButton>(*box, name)->click(); };
        };
        const auto press = [](const char *focus, Qt::Key key) -> Way {
            return [focus, key](CMessageBox *box) {
                part<QWidget>(*box, focus)->setFocus();
                QTest::keyClick(box->focusWidget(), key);
            };
        };
        row("first", click("m_pbButton1"), "id 1 0");
        row("third", click("m_pbButton3"), "id 3 0");
        row("Enter in the text", press("m_txtInfo", Qt::Key_Enter), "id 2 0");
        row("Return in the check box", press("m_ckbDoNotShowFlag", Qt::Key_Return), "id 2 0");
        row("Escape in the text", press("m_txtMessage", Qt::Key_Escape), "id 0 0");
        row(
            "title bar",
            [](CMessageBox *box) {
                part<QCheckBox>(*box, "m_ckbDoNotShowFlag")->setChecked(true);
                box->windowHandle()->close();
            },
            "id 0 1");
        row(
            "close, then done",
            [](CMessageBox *box) {
                box->close();
                box->done(3);
            },
            "id 0 0");
        row(
            "a result that is no answer", [](CMessageBox *box) { box->done(7); }, "id 0 0");
        row(
            "box destroyed",
            [](CMessageBox *box) {
                part<QCheckBox>(*box, "m_ckbDoNotShowFlag")->setChecked(true);
                delete box;
            },
            "id 0 1");
        row(
            "parent destroyed", [](CMessageBox *box) { delete box->parentWidget(); }, "id 0 0");
        row(
            "a choice that is not offered any more",
            [](CMessageBox *box) {
                part<QCheckBox>(*box, "m_ckbDoNotShowFlag")->setChecked(true);
                box->setAllowHide(false);
                box->accept();
            },
            "id 1 0");
    }

    void everyWayOutDeliversOnce()
    {
        const auto [leave, delivered] = cells<Way, QString>();
        QPointer<QWidget> parent = new QWidget;
        QPointer<CMessageBox> box = makeBox(parent).release();
        box->setAttribute(Qt::WA_DeleteOnClose);
        Delivery delivery(box);
        const QSignalSpy quit(qApp, &QGuiApplication::lastWindowClosed);
        box->open();
        QVERIFY(box->canBeParent());
        leave(box);
        QCOMPARE(delivery.log.size(), 1);
        QCOMPARE(delivery.log.first(), delivered);
        QVERIFY(delivery.gone);
        QVERIFY(!box || !box->canBeParent());
        QTRY_VERIFY(!box);
        QCOMPARE(delivery.log.size(), 1);
        QCOMPARE(quit.count(), 0);
        delete parent;
    }

    void actionDecides_data()
    {
        Table<Act, QString, QString> row;

        const QString decide = "decide(Messaging::ButtonID, QPointer<QWidget>)";
        row(
            "handled", [](CMessageBox *) { return true; }, decide, "");
        row(
            "not handled", [](CMessageBox *) { return false; }, decide, "id 1 0");
        row(
            "deletes the box",
            [](CMessageBox *box) {
                delete box;
                return true;
            },
            decide, "id 0 0");
        row(
            "a click in between",
            [](CMessageBox *box) {
                part<QPushButton>(*box, "m_pbButton2")->click();
                return false;
            },
            decide, "id 1 0");
        row("unknown slot", Act(), "unknown()", "id 1 0");
        row("slot without an answer", Act(), "decideNothing(Messaging::ButtonID, QPointer<QWidget>)",
            "id 1 0");
    }

    void actionDecides()
    {
        const auto [act, slot, delivered] = cells<Act, QString, QString>();
        QPointer<CMessageBox> box = makeBox().release();
        Delivery delivery(box);
        Answerer answerer;
        answerer.act = act;
        box->setButtonsAction(&answerer, slot);
        box->open();
        part<QPushButton>(*box, "m_pbButton1")->click();
        QCOMPARE(delivery.log.join(','), delivered);
        QVERIFY(!box || box->isVisible() == delivered.isEmpty());
        QVERIFY(answerer.answers.size() <= 1);
        delete box;
    }

    void countdown_data()
    {
        // message: @ stands for the placeholder
        Table<QString, QString, int, QString, int, int> row;

        row("in both texts", "In @/2 s", "@", 3, "In 2 s|In 1 s", 2, 3);
        row("no number, no default", "@", "", 0, "60|59", 60, 1);
        row("in the description", "@", "@/1!", 2, "1", 1, 2);
        row("at once", "@/0", "", 2, "", 0, 2);
    }

    void countdown()
    {
        const auto [message, description, defaultAnswer, firstTexts, ticks, answer]
            = cells<QString, QString, int, QString, int, int>();
        const QString placeholder = "@KOV_GUI_STD_SECONDS_TIMER";
        const QStringList texts = firstTexts.split('|');
        const auto box = makeBox();
        Delivery delivery(box.get());
        const QString withPlaceholder = QString(message).replace('@', placeholder);
        box->setMessage(withPlaceholder);
        QCOMPARE(box->message(), withPlaceholder);
        box->setDescription(QString(description).replace('@', placeholder));
        box->setDefaultButton(ButtonID(defaultAnswer));
        box->grab();
        QTest::qWait(0);
        QVERIFY2(!box->findChild<QTimer *>("m_timerCountdown"), "counts before it is shown");

        box->show();
        QVERIFY2(delivery.log.isEmpty(), "answered while it was being shown");
        QTRY_VERIFY(box->findChild<QTimer *>("m_timerCountdown"));
        auto *timer = part<QTimer>(*box, "m_timerCountdown");
        QCOMPARE(timer->interval(), 1000);
        for (int i = 0; i < ticks; ++i) {
            if (i < texts.size())
                QCOMPARE(part<QTextBrowser>(*box, "m_txtMessage")->toPlainText(), texts.at(i));
            QVERIFY(delivery.log.isEmpty());
            QMetaObject::invokeMethod(timer, "timeout");
        }
        QCOMPARE(delivery.log.size(), 1);
        QCOMPARE(box->result(), answer);
        QVERIFY(!timer->isActive());
    }

    void countdownWithoutAFirstButton()
    {
        const auto box = makeBox();
        box->setButton1("");
        box->setDefaultButton(ButtonNone);
        box->setMessage("@KOV_GUI_STD_SECONDS_TIMER/0");
        box->show();
        QTRY_VERIFY(!box->isVisible());
        QCOMPARE(box->result(), 1);
    }

    void countdownStopsWhenTouched()
    {
        for (const bool stops : {false, true}) {
            const auto box = makeBox();
            box->setMessage("@KOV_GUI_STD_SECONDS_TIMER/9");
            box->setCountdownStopsWhenTouched(stops);
            box->show();
            QTRY_VERIFY(box->findChild<QTimer *>("m_timerCountdown"));
            QTest::mouseClick(part<QTextBrowser>(*box, "m_txtInfo")->viewport(), Qt::LeftButton);
            QCOMPARE(part<QTimer>(*box, "m_timerCountdown")->isActive(), !stops);
        }
    }

    void countdownBeginsAnewInABoxKeptOpen()
    {
        const auto box = makeBox();
        Answerer answerer;
        box->setButtonsAction(&answerer, "1decide(Messaging::ButtonID,QPointer<QWidget>)");
        answerer.act = [](CMessageBox *kept) {
            kept->setMessage("Again in @KOV_GUI_STD_SECONDS_TIMER/7");
            return true;
        };
        box->setMessage("@KOV_GUI_STD_SECONDS_TIMER/0");
        box->show();
        QTRY_COMPARE(answerer.answers.size(), 1);
        QTRY_VERIFY(part<QTimer>(*box, "m_timerCountdown")->isActive());
        QCOMPARE(part<QTextBrowser>(*box, "m_txtMessage")->toPlainText(), "Again in 7");
        QVERIFY(box->accessibleDescription().startsWith("Again in 7"));
    }

    void textLoadsNothing_data()
    {
        Table<QString> row;
        row("picture", "<img src='%1.png' width=80 height=80>");
        row("picture by address", "<img src='file://%1.png'>");
        row("background", "<table background='%1.png' width=99><tr><td height=99>x</td></tr></table>");
        row("background of a style", "<p style=\"background-image:url('%1.png')\">x<br>x</p>");
        row("linked style sheet",
            "<html><head><link rel='stylesheet' type='text/css' href='%1.css'></head>x</html>");
        row("imported style sheet", "<style type='text/css'>@import url('%1.css');</style>x");
    }

    void textLoadsNothing()
    {
        const auto [text] = cells<QString>();
        const QTemporaryDir dir;
        QImage picture(80, 80, QImage::Format_RGB32);
        picture.fill(Qt::red);
        QVERIFY(picture.save(dir.filePath("a.png")));
        QVERIFY(picture.save(dir.filePath("a@2x.png")));
        QVERIFY(writeFile(dir.filePath("a.css"), "* {background-color: #ff0000}"));

        const auto box = makeBox();
        box->setDescription(text.arg(dir.filePath("a")));
        box->show();
        const QImage shown = box->grab().toImage();
        for (int y = 0; y < shown.height(); ++y) {
            for (int x = 0; x < shown.width(); ++x)
                QVERIFY(shown.pixelColor(x, y) != QColor(Qt::red));
        }
        QVERIFY(part<QTextBrowser>(*box, "m_txtInfo")->document()->idealWidth() < 80
                || text.contains("table"));
    }

    void textIsCopiedByKeyboard()
    {
        const auto box = makeBox();
        box->setDescription("two\nlines &lt;b&gt;");
        box->show();
        QWidget *info = part<QWidget>(*box, "m_txtInfo");
        QTest::keySequence(info, QKeySequence::SelectAll);
        QTest::keySequence(info, QKeySequence::Copy);
        QCOMPARE(QApplication::clipboard()->text(), "two\nlines <b>");
        QTest::keyClick(info, Qt::Key_Left);
        box->setTitle("Title");
        box->setProblemID("15351");
        QTest::keySequence(info, QKeySequence::Copy);
        QCOMPARE(QApplication::clipboard()->text(), "Title\n\nMessage\ntwo\nlines <b>\n\nProblem ID: 15351");
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
        const QSize small = sizeWith("word", &scrolls);
        QVERIFY(!scrolls);
        const QSize medium = sizeWith(QString("word ").repeated(60), &scrolls);
        QVERIFY(!scrolls && medium.width() > small.width() && medium.height() > small.height());
        for (const QString &text : {QString("word ").repeated(5000), QString(20000, 'w')}) {
            const QSize large = sizeWith(text, &scrolls);
            QVERIFY(scrolls && large.height() < screen.height() && large.width() < screen.width());
        }
        // Of a word without an end the beginning is laid out; the details have the whole.
        const auto box = makeBox();
        const QString word(100000, 'w');
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
        box->setDescription("<a href='http://h.example/x?a=1'>link</a>");
        const QSignalSpy clicked(box.get(), &CMessageBox::anchorClicked);
        box->show();
        auto *info = part<QTextBrowser>(*box, "m_txtInfo");
        info->setFocus();
        QVERIFY(clicked.isEmpty());
        const QRect start = info->cursorRect();
        QTest::mouseClick(info->viewport(), Qt::LeftButton, Qt::NoModifier, start.center() + QPoint(6, 0));
        QCOMPARE(clicked.count(), 1);
        QCOMPARE(clicked.first().at(0).toString(), "id");
        QCOMPARE(clicked.first().at(1).toUrl(), QUrl("http://h.example/x?a=1"));
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
        QVERIFY(CMessageBox::setSupportPageAddress("https://s.example/@LOCALE@/kb?id=%1&x=1"));
        QVERIFY(!CMessageBox::setSupportPageAddress("file:///kb/%1"));
        const auto box = makeBox();
        box->setProblemID("15/3&");
        box->show();
        QCOMPARE(part<QLabel>(*box, "m_lblProblemIDNumber")->accessibleName(), "Problem ID: 15/3&");
        auto *link = part<QLabel>(*box, "m_lblProblemIDLink");
        link->setFocus();
        QTest::keyClick(link, Qt::Key_Tab);
        QTest::keyClick(link, Qt::Key_Return);
        QCOMPARE(opened, "https://s.example/de_DE/kb?id=15%2F3%26&x=1");
        QWidget *support = part<QWidget>(*box, "m_wSupportInfo");
        QVERIFY(!support->isVisible());
        part<CMoreOptionsLabel>(*box, "m_lblHelpMeSolve")->click();
        QVERIFY(support->isVisible());
    }

    void detailsOpenBesideTheBox()
    {
        const auto box = makeBox();
        box->setDetails("<b>raw</b>");
        box->show();
        for (int i = 0; i < 2; ++i)
            part<QPushButton>(*box, "m_pbDetails")->click();
        QCOMPARE(box->findChildren<CDetailsDialog *>().size(), 1);
        QPointer<CDetailsDialog> details = box->findChild<CDetailsDialog *>();
        QVERIFY(details->isVisible());
        QCOMPARE(details->findChild<QPlainTextEdit *>()->toPlainText(), "<b>raw</b>");
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
        data.longMsg = "long";
        data.details = QString("details");
        data.buttons = {{Button1, {"a"}}, {Button3, {"c"}}};
        CMessageInfo info(data);
        Answerer answerer;
        info.setButtonPressSlot({&answerer, SLOT(decide(Messaging::ButtonID, QPointer<QWidget>))});
        QWidget parent;
        auto *box = qobject_cast<CMessageBox *>(CMessageBoxBuilder::instance()->build(info, &parent));
        QVERIFY(box && !box->isVisible() && box->parentWidget() == &parent);
        QCOMPARE(box->description() + box->details() + box->problemID(), "longdetails15351");
        QCOMPARE(box->button1() + box->button2() + box->button3(), "ac");
        QCOMPARE(box->message(), QString());
        QCOMPARE(part<QLabel>(*box, "m_lblMsgBox")->accessibleName(), "Error");
        // No help is known.
        QVERIFY(part<QWidget>(*box, "m_pbHelp")->isHidden());
        box->setButtonsMap({{Button1, {"a", QMessageBox::DestructiveRole}}});
        box->setButton1("b");
        QCOMPARE(
            part<QDialogButtonBox>(*box, "m_bbButtons")->buttonRole(part<QPushButton>(*box, "m_pbButton1")),
            QDialogButtonBox::DestructiveRole);
        part<QPushButton>(*box, "m_pbButton1")->click();
        QCOMPARE(answerer.answers, QList<int>{1});
        // Enter sends no report, and a code without texts shows itself.
        QCOMPARE(data.defaultButton, Button2);
        const std::unique_ptr<QWidget> bare(
            CMessageBoxBuilder::instance()->build(CMessageInfo(MessageData(7)), nullptr));
        QCOMPARE(qobject_cast<CMessageBox *>(bare.get())->message(), "Message 0x00000007");
    }

private:
    static std::unique_ptr<CMessageBox> makeBox(QWidget *parent = nullptr)
    {
        auto box = std::make_unique<CMessageBox>(parent);
        box->setMessageUuid("id");
        box->setMessage("Message");
        box->setDescription("Description");
        box->setButton1("&Yes");
        box->setButton2("&No");
        box->setButton3("&Later");
        box->setDefaultButton(Button2);
        box->setAllowHide(true);
        return box;
    }
};

KOV_TEST_MAIN(QApplication, tst_MessageBox)
#include "tst_message_box.moc"
