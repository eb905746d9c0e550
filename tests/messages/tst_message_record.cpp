#include "gui/messages/CMessageInfo.h"
#include "gui/messages/MessageUtils.h"
#include "tests/messages/MessageFixture.h"
#include "tests/support/KovTest.h"

using Messaging::Button1;
using Messaging::Button2;
using Messaging::ButtonsMap;
using Messaging::MessageData;

/// Slots as callers write them.
class Listener : public QObject
{
    Q_OBJECT

public:
    QStringList calls;

public Q_SLOTS:
    void onClosed(KOV_RESULT code, Messaging::ButtonID answer, const QVariant &params)
    {
        calls.append(QStringLiteral("%1 %2 %3").arg(code).arg(answer).arg(params.toString()));
    }
    void onInt(int code) { calls.append(QString::number(code)); }
    void onNothing() { calls.append(QStringLiteral("called")); }
    void onFour(int, int, int, int) { calls.append(QStringLiteral("never")); }
};

class tst_message_record : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void equality();
    void closeSlot_data();
    void closeSlot();
    void dump();
    void eventAnswers();
    void answersOfTheLibrarysCodes();
    void texts();
};

void tst_message_record::initTestCase()
{
    KovGui::init(KAM_CONSOLE);
    registerPolicy<CMessageDataProvider>();
    const QByteArray longText = QByteArray("\xC3\xA4").repeated(499);
    QVERIFY(loadCatalogue({{1001, "error", "Disk &amp; <b>%1</b>", longText.constData(), false},
                           {2001, "question", "Sure?", "Really sure?", false}}));
}

void tst_message_record::equality()
{
    const QString text = QStringLiteral("other");
    const MessageData data(1001);
    const CMessageInfo message(data);
    const auto staysEqual = [&](const std::function<void(MessageData &)> &change) {
        MessageData changed = data;
        change(changed);
        return message.equalTo(CMessageInfo(changed)) && CMessageInfo(changed).equalTo(message);
    };
    QVERIFY(!staysEqual([&](MessageData &other) { other.code = 2001; }));
    QVERIFY(!staysEqual([&](MessageData &other) { other.issuerId = text; }));
    QVERIFY(!staysEqual([&](MessageData &other) { other.longMsg = text; }));
    QVERIFY(!staysEqual([&](MessageData &other) { other.shortMsg = text; }));
    QVERIFY(!staysEqual([&](MessageData &other) { other.details = Messaging::MessageDetails(text); }));
    QVERIFY(staysEqual([&](MessageData &other) { other.forceShow = true; }));
    QVERIFY(staysEqual([&](MessageData &other) { other.buttons.insert(Button1, {text, {}}); }));
}

void tst_message_record::closeSlot_data()
{
    QTest::addColumn<QString>("slot");
    QTest::addColumn<QStringList>("calls");
    QTest::newRow("all arguments") << SLOT(onClosed(KOV_RESULT, Messaging::ButtonID, const QVariant &))
                                   << QStringList{QStringLiteral("1001 2 tag")};
    QTest::newRow("an int for the code") << SLOT(onInt(int)) << QStringList{QStringLiteral("1001")};
    QTest::newRow("none") << QStringLiteral(" 1onNothing( )") << QStringList{QStringLiteral("called")};
    QTest::newRow("no such slot") << SLOT(onMissing()) << QStringList();
    QTest::newRow("a slot that wants more") << SLOT(onFour(int, int, int, int)) << QStringList();
}

void tst_message_record::closeSlot()
{
    QFETCH(QString, slot);
    QFETCH(QStringList, calls);
    LogCapture log;
    Listener listener;
    CMessageInfo message{MessageData(1001)};
    message.setCloseSlot(&listener, slot, QStringLiteral("tag"));
    QCOMPARE(message.closeListenerSlot().isEmpty(), calls.isEmpty());
    QCOMPARE(log.text().contains("[MESSAGE_MNG]")
                 && log.text().contains("(!)Error: can't connect message listener."),
             calls.isEmpty());
    message.emitBeforeDeleted(Button2);
    message.emitBeforeDeleted(Button1);
    QCOMPARE(listener.calls, calls);
}

void tst_message_record::dump()
{
    MessageData data(1001);
    data.issuerId = QStringLiteral("vm\nforged record");
    data.shortMsg = QStringLiteral("%6 is no place");
    data.buttons.insert(Button2, {QStringLiteral("No"), QMessageBox::NoRole});
    LogCapture log;
    KovGui::setLogVerbosity(0);
    data.dump();
    QVERIFY(log.text().isEmpty());
    KovGui::setLogVerbosity(1);
    data.dump();
    QVERIFY(
        log.text().contains("\nMessage data: \n  >> Issuer id = vm\\nforged record \n  >> Code = 000003E9 \n"
                            "  >> Type = ERROR \n  >> Short Message = \"%6 is no place\" \n"));
    QVERIFY(log.text().contains("  >> Spontanous = false \n"));
    QVERIFY(log.text().contains("  >> Answers: [] [No] [] \n  >> Default button number: 1 \n"
                                "  >> Message hint: none \n  >> report generated message: false \n"));
}

QString describeAnswers(const ButtonsMap &buttons)
{
    QStringList texts;
    for (auto it = buttons.begin(); it != buttons.end(); ++it)
        texts.append(QStringLiteral("%1:%2:%3").arg(it.key()).arg(it->text).arg(it->role));
    return texts.join(QLatin1Char(' '));
}

void tst_message_record::eventAnswers()
{
    t_SdkHandleWrap event;
    t_SdkHandleWrap cause;
    QCOMPARE(KovService_CreateEvent(2001, "vm", event.out()), KOV_SUCCESS);
    QCOMPARE(KovService_CreateEvent(1001, "vm", cause.out()), KOV_SUCCESS);
    QVERIFY(MessageUtils::getComplexEventParam(event).isNull());
    QCOMPARE(describeAnswers(MessageUtils::getButtonsMap(event, 2001)), QStringLiteral("1:Yes:5 2:No:6"));

    KovService_AddStringParam(cause, "disk", "<i>C:</i>");
    KovService_AddInt32Param(event, "vm_message_choice_2", 0x3E91);
    KovService_AddHandleParam(event, "internal_event", cause);
    KovService_AddInt32Param(event, "vm_message_choice_0", 0x3E90);
    KovService_AddInt32Param(event, "vm_message_choice_3", 0x3E92);
    QCOMPARE(describeAnswers(MessageUtils::getButtonsMap(event, 2001)),
             QStringLiteral("1:Stop:0 3:Keep Running:1"));

    // What comes from outside shows as text; the cause becomes the details.
    QCOMPARE(MessageUtils::getMessageString(cause, true),
             QStringLiteral("Disk &amp; <b>&lt;i&gt;C:&lt;/i&gt;</b>"));
    CMessageProcessor processor;
    const std::unique_ptr<CMessageInfo> message(processor.create(event, QString(), true, nullptr, nullptr));
    QCOMPARE(message->data().issuerId, QStringLiteral("vm"));
    QCOMPARE(message->data().details.text(), MessageUtils::getMessageString(cause, false));
}

void tst_message_record::answersOfTheLibrarysCodes()
{
    const auto answers = [](uint code) {
        return describeAnswers(CMessageDataProvider::instance()->getButtonsMap(int(code)));
    };
    for (const uint code : {0x80015351u, 0x3BFEu, 0x3C01u})
        QCOMPARE(answers(code), QStringLiteral("1:Try Again:0 2:Cancel:1"));
    for (const uint code : {0x80015350u, 0x3BFDu, 0x3C02u})
        QCOMPARE(answers(code), QString());
    QCOMPARE(answers(0x3C1E), QStringLiteral("1:Yes, install new:0 2:No, use current:1"));
    QCOMPARE(answers(15403), QStringLiteral("1:Try Again:0 2:Install current:1"));
}

void tst_message_record::texts()
{
    QCOMPARE(MessageUtils::getMessageString(1001, false), QString(499, QChar(0xE4)));
    {
        LogCapture log;
        QCOMPARE(MessageUtils::getMessageString(-2, true), QString());
        QVERIFY(log.text().contains("(!)Error while retrieving result description. RC = 80000007"));
        QCOMPARE(MessageUtils::getMessageType(-2), KMT_UNKNOWN);
        QVERIFY(log.text().contains("(!)Error: can't get message type. RC = 80000007"));
    }
    QCOMPARE(MessageUtils::getProblemID(int(0x80015351u)), QStringLiteral("15351"));
    QCOMPARE(MessageUtils::getProblemID(int(0x80000000u)), QStringLiteral("0"));

    QString position = QStringLiteral("Disk 3: IDE 0  1, 2 3");
    MessageUtils::deviceIdToString(position);
    QCOMPARE(position, QStringLiteral("Disk 3: IDE 1:2, 2 3"));
    MessageUtils::incDeviceIndex(position);
    QCOMPARE(position, QStringLiteral("Disk 4: IDE 1:2, 2 3"));
}

KOV_TEST_MAIN(QApplication, tst_message_record)
#include "tst_message_record.moc"
