#include "gui/messages/record/CMessageInfo.h"
#include "gui/messages/record/MessageText_p.h"
#include "gui/messages/record/MessageUtils.h"
#include "tests/messages/MessageFixture.h"
#include "tests/support/KovTest.h"

using Messaging::Button1;
using Messaging::Button2;
using Messaging::ButtonsMap;
using Messaging::MessageData;

class Listener : public QObject
{
    Q_OBJECT

public:
    QStringList calls;

public Q_SLOTS:
    void onClosed(KOV_RESULT code, Messaging::ButtonID answer, const QVariant &params)
    {
        calls.append(QString("%1 %2 %3").arg(code).arg(answer).arg(params.toString()));
    }
};

QString describeAnswers(const ButtonsMap &buttons)
{
    QStringList texts;
    for (auto it = buttons.begin(); it != buttons.end(); ++it)
        texts.append(QString("%1:%2:%3").arg(it.key()).arg(it->text).arg(it->role));
    return texts.join(' ');
}

class tst_message_record : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        KovGui::init(KAM_CONSOLE);
        registerPolicy<CMessageDataProvider>();
        const QByteArray longText = QByteArray("\xC3\xA4").repeated(499);
        QVERIFY(loadCatalogue({{1001, "error", "Disk &amp; <b>%1</b>", longText.constData(), false},
                               {2001, "question", "Sure?", "Really sure?", false},
                               {3001, "question", "Stop %1 in @KOV_GUI_STD_SECONDS_TIMER/30?", "", false}}));
    }

    void equality()
    {
        const QString text = "other";
        const QVector<std::function<void(MessageData &)>> changes{
            [](MessageData &other) { other.code = 2001; },
            [&](MessageData &other) { other.issuerId = text; },
            [&](MessageData &other) { other.longMsg = text; },
            [&](MessageData &other) { other.shortMsg = text; },
            [&](MessageData &other) { other.details = Messaging::MessageDetails(text); },
        };
        const CMessageInfo message{MessageData(1001)};
        for (const auto &change : changes) {
            MessageData changed(1001);
            change(changed);
            QVERIFY(!message.equalTo(CMessageInfo(changed)) && !CMessageInfo(changed).equalTo(message));
        }
        MessageData same(1001);
        same.forceShow = true;
        same.buttons.insert(Button1, {text, {}});
        QVERIFY(message.equalTo(CMessageInfo(same)));
    }

    void closeSlot()
    {
        Listener listener;
        CMessageInfo message{MessageData(1001)};
        const LogCapture log;
        message.setCloseSlot(&listener, QLatin1String(SLOT(onMissing())), QVariant());
        QVERIFY(message.closeListenerSlot().isEmpty());
        QCOMPARE(log.count("(!)Error: can't connect message listener."), 1);
        message.setCloseSlot(&listener,
                             QLatin1String(SLOT(onClosed(KOV_RESULT, Messaging::ButtonID, const QVariant &))),
                             "tag");
        message.emitBeforeDeleted(Button2);
        message.emitBeforeDeleted(Button1);
        QCOMPARE(listener.calls, QStringList{"1001 2 tag"});
    }

    void dumpCannotBeForged()
    {
        MessageData data(1001);
        data.issuerId = "vm\nforged record";
        data.shortMsg = "%6 is no place";
        const LogCapture log;
        data.dump();
        QVERIFY(log.text().contains(" >> Issuer id = vm\\nforged record \n  >> Code = 000003E9 \n"));
        QVERIFY(log.text().contains("\"%6 is no place\""));
    }

    void eventAnswers()
    {
        t_SdkHandleWrap event;
        t_SdkHandleWrap cause;
        QCOMPARE(KovService_CreateEvent(2001, "vm", event.out()), KOV_SUCCESS);
        QCOMPARE(KovService_CreateEvent(1001, "vm", cause.out()), KOV_SUCCESS);
        QVERIFY(MessageUtils::getComplexEventParam(event).isNull());
        QCOMPARE(describeAnswers(MessageUtils::getButtonsMap(event, 2001)), "1:Yes:5 2:No:6");

        KovService_AddStringParam(cause, "disk", "<i>C:</i>");
        KovService_AddInt32Param(event, "vm_message_choice_2", 0x3E91);
        KovService_AddHandleParam(event, "internal_event", cause);
        KovService_AddInt32Param(event, "vm_message_choice_0", 0x3E90);
        KovService_AddInt32Param(event, "vm_message_choice_3", 0x3E92);
        QCOMPARE(describeAnswers(MessageUtils::getButtonsMap(event, 2001)), "1:Stop:0 3:Keep Running:1");

        // No placeholder comes from outside, beside those that the text has itself.
        t_SdkHandleWrap stop;
        QCOMPARE(KovService_CreateEvent(3001, "vm", stop.out()), KOV_SUCCESS);
        KovService_AddStringParam(stop, "name", "@KOV_GUI_STD_SECONDS_TIMER/0");
        CMessageProcessor reader;
        const std::unique_ptr<CMessageInfo> counted(reader.create(stop, QString(), true, nullptr, nullptr));
        QCOMPARE(counted->data().shortMsg, "Stop &#x40;KOV_GUI_STD_SECONDS_TIMER/0 in "
                                           "@KOV_GUI_STD_SECONDS_TIMER/30?");

        // What comes from outside shows as text; the cause becomes the details.
        QCOMPARE(MessageUtils::getMessageString(cause, true), "Disk &amp; <b>&lt;i&gt;C:&lt;/i&gt;</b>");
        const std::unique_ptr<CMessageInfo> message(reader.create(event, QString(), true, nullptr, nullptr));
        QCOMPARE(message->data().issuerId, "vm");
        QCOMPARE(message->data().details.text(), MessageUtils::getMessageString(cause, false));
    }

    void texts()
    {
        QCOMPARE(MessageUtils::getMessageString(1001, false), QString(499, QChar(0xE4)));
        LogCapture log;
        QCOMPARE(MessageUtils::getMessageString(-2, true), QString());
        QCOMPARE(MessageUtils::getMessageType(-2), KMT_UNKNOWN);
        QCOMPARE(log.count("(!)Error"), 2);
        QString position = "Disk 3: IDE 0  1, 2 3";
        MessageUtils::deviceIdToString(position);
        QCOMPARE(position, "Disk 3: IDE 1:2, 2 3");
        MessageUtils::incDeviceIndex(position);
        QCOMPARE(position, "Disk 4: IDE 1:2, 2 3");
    }

    void substitution_data()
    {
        Table<QString, QStringList, QString> row;

        const QString one = "one";
        const QString two = "two";
        row("in turn", "%1 and %2", {one, two}, "one and two");
        row("by number, not by place", "%2 before %1", {one, two}, "two before one");
        row("every place of a number", "%1, %1", {one}, "one, one");
        row("numbers with gaps", "%3 %7", {one, two}, "one two");
        row("two digits", "%10 %1", {one, two}, "two one");
        row("a placeholder inside a value stays", "%1 %2", {"%2", two}, "%2 two");
        row("too few values", "%1 %2", {one}, "one %2");
        row("percent signs of other kinds", "100% of %1, %%, %0", {one}, "100% of one, %%, %0");
        row("nothing to put in", "", {one}, "");
        row("markup and lines", "%1", MessageText::toRichText(QStringList{"<img src=\"/x\">\na & b"}),
            "&lt;img src=&quot;/x&quot;&gt;<br>a &amp; b");
        row("no placeholder", "%1", MessageText::toRichText(QStringList{"@A"}), "&#x40;A");
    }

    void substitution()
    {
        const auto [text, params, result] = cells<QString, QStringList, QString>();
        QCOMPARE(MessageText::substitute(text, params), result);
    }

    void plainTextShowsAsWritten_data()
    {
        Table<QString, QString> row;
        row("comparison", "a < b and c > d\nnext", "a &lt; b and c > d<br>next");
        row("what only looks like a tag", "a <b and c> d <now>", "a &lt;b and c> d &lt;now>");
        row("tags", "<b>1</b> < <a href=\"x\">2</a>\n<br/>", "<b>1</b> &lt; <a href=\"x\">2</a>\n<br/>");
        row("entities", "&lt;b&gt;", "&lt;b&gt;");
    }

    void plainTextShowsAsWritten()
    {
        const auto [text, rich] = cells<QString, QString>();
        QCOMPARE(MessageText::asRichText(text), rich);
    }
};

KOV_TEST_MAIN(QApplication, tst_message_record)
#include "tst_message_record.moc"
