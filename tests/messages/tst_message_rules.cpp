#include "gui/messages/MessageRules_p.h"
#include "gui/messages/MessageText_p.h"
#include "tests/support/KovTest.h"

using namespace MessageRules;

/// What is true of a message and of the books, one bit each.
enum Fact {
    None = 0,
    IsHidden = 1,
    ShownBefore = 2,
    Forced = 4,
    Spontaneous = 8,
    Unneeded = 16,
    Question3 = 32,
    Equal = 64,
    Blocked = 128,
    Notification = 256,
    IssuerBusy = 512,
    HasParent = 1024,
    ParentBusy = 2048,
};
Q_DECLARE_METATYPE(MessageRules::Verdict)

class tst_message_rules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void decision_data();
    void decision();
    void substitution_data();
    void substitution();
};

void tst_message_rules::decision_data()
{
    QTest::addColumn<int>("facts");
    QTest::addColumn<Verdict>("verdict");

    const auto row
        = [](const char *name, int facts, Verdict verdict) { QTest::newRow(name) << facts << verdict; };
    row("plain", None, Shown);
    row("a stored answer beats force", IsHidden | Forced, Hidden);
    row("shown once in this run, even when forced", ShownBefore | Forced, Skipped);
    row("once per machine, known", Spontaneous | Unneeded, Skipped);
    row("once per machine, asked for by the user", Unneeded, Shown);
    row("once per machine, forced", Spontaneous | Unneeded | Forced, Shown);
    row("equal", Equal, Merged);
    row("equal comes before blocked", Equal | Blocked, Merged);
    row("equal but forced", Equal | Forced, Shown);
    row("equal question of the user", Equal | Question3, Shown);
    row("equal question of a machine", Equal | Question3 | Spontaneous, Merged);
    row("blocked", Blocked, Queued);
    row("blocked but forced", Blocked | Forced | Spontaneous, Shown);
    row("blocked question of the user", Blocked | Question3, Shown);
    row("blocked question of a machine", Blocked | Question3 | Spontaneous, Queued);
    row("issuer busy, no parent", IssuerBusy, Queued);
    row("issuer busy, free parent", IssuerBusy | HasParent, Shown);
    row("issuer busy, parent busy", IssuerBusy | HasParent | ParentBusy, Queued);
    row("parent busy with others", HasParent | ParentBusy, Shown);
    row("notification behind a box", IssuerBusy | Notification, Shown);
    row("question of the user behind a box", IssuerBusy | Question3, Shown);
}

void tst_message_rules::decision()
{
    QFETCH(int, facts);
    const auto has = [facts](Fact fact) { return (facts & fact) != 0; };
    const _KOV_MESSAGE_TYPE_ENUM type = has(Question3) ? KMT_QUESTION : KMT_ERROR;
    const auto parent = [&] {
        return !has(HasParent) ? NoParent : has(ParentBusy) ? OccupiedParent : FreeParent;
    };
    const Questions questions{
        [&] { return has(IsHidden); },
        [&] {
            return isSkipped(
                {has(ShownBefore), has(Forced), has(Spontaneous), [&] { return !has(Unneeded); }});
        },
        [&] { return MessageRules::mustBeShown(has(Forced), has(Spontaneous), type); },
        [&] { return has(Equal); },
        [&] {
            return isQueued({has(Blocked), has(Notification), has(IssuerBusy), parent});
        },
    };
    QTEST(decide(questions), "verdict");
}

void tst_message_rules::substitution_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("params");
    QTest::addColumn<QString>("result");

    const auto row = [](const char *name, const char *text, const QStringList &params, const char *result) {
        QTest::newRow(name) << QString::fromUtf8(text) << params << QString::fromUtf8(result);
    };
    const QString one = QStringLiteral("one");
    const QString two = QStringLiteral("two");
    row("in turn", "%1 and %2", {one, two}, "one and two");
    row("by number, not by place", "%2 before %1", {one, two}, "two before one");
    row("every place of a number", "%1, %1", {one}, "one, one");
    row("numbers with gaps", "%3 %7", {one, two}, "one two");
    row("two digits", "%10 %1", {one, two}, "two one");
    row("a placeholder inside a value stays", "%1 %2", {QStringLiteral("%2"), two}, "%2 two");
    row("too few values", "%1 %2", {one}, "one %2");
    row("percent signs of other kinds", "100% of %1, %%, %0", {one}, "100% of one, %%, %0");
    row("nothing to put in", "", {one}, "");
    row("markup and lines", "%1",
        MessageText::toRichText(QStringList{QStringLiteral("<img src=\"/x\">\na & b")}),
        "&lt;img src=&quot;/x&quot;&gt;<br>a &amp; b");
}

void tst_message_rules::substitution()
{
    QFETCH(QString, text);
    QFETCH(QStringList, params);
    QTEST(MessageText::substitute(text, params), "result");
}

KOV_TEST_MAIN(QCoreApplication, tst_message_rules)
#include "tst_message_rules.moc"
