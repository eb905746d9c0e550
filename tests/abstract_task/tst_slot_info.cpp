#include "abstract_task/CSlotInfo.h"
#include "abstract_task/Tasks.h"
#include "kov_sdk/KovTypes.h"
#include "tests/support/KovTest.h"

#include <thread>

class Base : public QObject
{
    Q_OBJECT

public:
    enum Answer { No = 4, Yes = 5 };
    Q_ENUM(Answer)
    QString called;
    QThread *thread = nullptr;

    Q_INVOKABLE bool isGood(int n) { return note("isGood", n), n > 0; }

Q_SIGNALS:
    void relayed(int n);

public Q_SLOTS:
    virtual void onVirtual(int n) { note("base", n); }
    void onInherited() { note("inherited", 0); }

protected:
    void note(const char *name, const QVariant &value)
    {
        called = QLatin1String(name) + ' ' + value.toString();
        thread = QThread::currentThread();
    }
};

class Receiver : public Base
{
    Q_OBJECT

public:
    Receiver()
    {
        connect(this, &Base::relayed, this, [this](int n) { note("relayed", n); });
    }

public Q_SLOTS:
    void onVirtual(int n) override { note("derived", n); }
    void onInt(int n) { note("int", n); }
    void onPair(KOV_RESULT n, Base *object)
    {
        note("pair", QString::number(n) + QLatin1Char(object ? '*' : '0'));
    }
    void onObject(int, QObject *object) { note("object", object == this); }
    void onTimer(int, QTimer *) { note("timer", 0); }
    void onText(int, Base *, const QString &text) { note("text", text); }
    void onMap(int, Base *, const QMap<int, QString> &map) { note("map", map.value(1)); }
    void onVariant(int, Base *, const QVariant &value) { note("variant", value); }
    void onAnswer(Base::Answer answer) { note("answer", int(answer)); }
    void onFour(int, Base *, QVariant, int) { note("four", 0); }

private Q_SLOTS:
    void onPrivate(KOV_RESULT n) { note("private", n); }
    bool onVeto(KOV_RESULT n) { return note("veto", n), true; }
};

class tst_SlotInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        Tasks::setLogFunction([](unsigned, const char *) {});
    }
    /// Every slot is offered (7, the receiver, the variant).
    void calls_data()
    {
        Table<QVariant, QString> table;
        const auto row = [&table](const char *slot, const char *called, const QVariant &variant = {}) {
            table(slot, variant, called);
        };
        row("1onPair(KOV_RESULT, Base*)", "pair 7*");
        row(" onPair( KOV_RESULT ,Base * ) ", "pair 7*");
        row("1onPair(int,Base*)", "pair 7*");
        row("onInt(KOV_RESULT)", "int 7");
        row("1onVirtual(int)", "derived 7");
        row("1onPrivate(KOV_RESULT)", "private 7");
        row("1isGood(int)", "isGood 7");
        row("2relayed(int)", "relayed 7");
        row("1onObject(int, QObject*)", "object true");
        row("1onVariant(int,Base*,const QVariant&)", "variant raw", "raw");
        row("1onText(int,Base*,QString)", "text 12", 12);
        row("1onMap(int, Base*, QMap<int, QString>)", "map one",
            QVariant::fromValue(QMap<int, QString>{{1, "one"}}));

        row("1onMap(int, Base*, const QMap<int, QString>&)", "", 5);
        row("1onText(int, Base*, const QString&)", "");
        row("1onTimer(int, QTimer*)", "");
        row("1onText(int,Base*,int)", "", 12);
        row("1onText(QString)", "");
        row("1onAnswer(Base::Answer)", "");
        row("1onFour(int,Base*,QVariant,int)", "");
        row("1onMissing(int)", "");
        row("onInt", "");
        row("1(", "");
        row("", "");
    }

    void calls()
    {
        const auto [variant, called] = cells<QVariant, QString>();
        qRegisterMetaType<QMap<int, QString>>("QMap<int,QString>");
        Receiver receiver;
        Base *object = &receiver;
        QCOMPARE(CSlotInfo(&receiver, QTest::currentDataTag()).invoke(KOV_RESULT(7), object, variant),
                 !called.isEmpty());
        QCOMPARE(receiver.called, called);
    }

    void enumerationArgument()
    {
        Receiver receiver;
        QVERIFY(CSlotInfo(&receiver, SLOT(onAnswer(Base::Answer))).invoke(Base::Yes));
        QCOMPARE(receiver.called, "answer 5");
        // An enumeration is no number: the codes of two question kinds would be mixed up unnoticed.
        QVERIFY(!CSlotInfo(&receiver, SLOT(onInt(int))).invoke(Base::Yes));
    }

    void answerOnlyWhereOneIsDeclared()
    {
        Receiver receiver;
        bool answer = false;
        QVERIFY(!CSlotInfo(&receiver, SLOT(onInt(int))).invokeForBool(&answer, KOV_RESULT(3)));
        QVERIFY(receiver.called.isEmpty());
        QVERIFY(CSlotInfo(&receiver, SLOT(onVeto(KOV_RESULT))).invokeForBool(&answer, KOV_RESULT(3)));
        QVERIFY(answer);
    }

    void functions()
    {
        Receiver receiver;
        Base *object = &receiver;
        const QVariant twelve(12);
        QVERIFY(CSlotInfo(&receiver, &Receiver::onPair).invoke(KOV_RESULT(7), object, twelve));
        QCOMPARE(receiver.called, "pair 7*");
        QVERIFY(CSlotInfo(&receiver, &Base::onInherited).invoke(KOV_RESULT(7)));
        QCOMPARE(receiver.called, "inherited 0");
        QVERIFY(CSlotInfo(&receiver, &Receiver::onText).invoke(1, object, twelve));
        QCOMPARE(receiver.called, "text 12");
        bool answer = false;
        const CSlotInfo veto(
            &receiver, [](int n, Receiver *who) { return n > 1 && who; }, twelve);
        QVERIFY(veto.invokeForBool(&answer, 2, object));
        QVERIFY(answer && !veto.isEmpty() && veto.params() == twelve);
        // The values are checked when the call is made; what is wrong already can be asked for before.
        QVERIFY(!veto.invoke(2, new QObject(&receiver)) && !veto.canInvoke(2));
        QVERIFY(!CSlotInfo(&receiver, &Receiver::onInt).canInvokeForBool(1));
        QVERIFY(!CSlotInfo(&receiver, SLOT(onMissing(int))).canInvoke(1));
        QVERIFY(CSlotInfo(&receiver, SLOT(onInt(int))).canInvoke(1));

        std::thread([&] {
            QVERIFY(CSlotInfo(&receiver, &Receiver::onText).invoke(1, object, QVariant("far")));
        }).join();
        QCOMPARE(receiver.called, "text 12");
        QCoreApplication::processEvents();
        QCOMPARE(receiver.called, "text far");
    }

    void receiverThatIsGone()
    {
        auto receiver = std::make_unique<Receiver>();
        const CSlotInfo slot(receiver.get(), SLOT(onInherited()), 5, true);
        receiver.reset();
        QVERIFY(!slot.invoke(1));
        QVERIFY(!slot.isEmpty());
        auto context = std::make_unique<QObject>();
        const CSlotInfo function(context.get(), [] { QFAIL("called without its context"); });
        context.reset();
        QVERIFY(!function.invoke(1) && !function.isEmpty());
        QVERIFY(CSlotInfo().isEmpty());
    }

    void otherThread()
    {
        Receiver receiver;
        bool couldAsk = true;
        bool isQueued = false;
        std::thread([&] {
            bool answer = false;
            couldAsk = CSlotInfo(&receiver, SLOT(onVeto(KOV_RESULT))).invokeForBool(&answer, KOV_RESULT(1));
            // The value has to outlive this scope in the queue, converted.
            isQueued = CSlotInfo(&receiver, SLOT(onText(int, Base *, QString)))
                           .invoke(KOV_RESULT(1), static_cast<Base *>(nullptr), QVariant(77));
        }).join();
        QVERIFY(!couldAsk && isQueued);
        QCOMPARE(receiver.called, QString());
        QCoreApplication::processEvents();
        QCOMPARE(receiver.called, "text 77");
        QCOMPARE(receiver.thread, QThread::currentThread());
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_SlotInfo)
#include "tst_slot_info.moc"
