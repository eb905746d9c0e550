#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "tests/support/KovTest.h"

#include <cerrno>

static QByteArray s_record;
static int s_inFlight = 0;
static int s_qtMessages = 0;

static void capture(const char *record, std::size_t length)
{
    s_record = QByteArray(record, int(length));
    s_inFlight = KovGui::logCallsInFlight();
}

class tst_Log : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { KovGui::setLogOutputFunction(capture); }

    void recordFormat()
    {
        struct Row
        {
            const char *category, *file, *function;
            unsigned level;
            QByteArray expected; // behind the time; # is process and thread
        };
        const Row rows[] = {
            {"", nullptr, nullptr, 0, "F /m:#/ 7 x\n"},
            {"net", nullptr, nullptr, 1, "W net /m:#/ 7 x\n"},
            {nullptr, nullptr, nullptr, 4, "T /m:#/ 7 x\n"},
            {"", nullptr, nullptr, 15, "O(15) /m:#/ 7 x\n"},
            {"", "/a\\b/c.cpp", "void N::C::f(int)", 0, "F /m:#/ {f(int) @ c.cpp:42} 7 x\n"},
            {"", "c.cpp", nullptr, 0, "F /m:#/ 7 x\n"},
            {"qml", "c.cpp", "f", 17, "QT: W qml /m:#/ 7 x\n"},
            {"", "c.cpp", "f", 33, "W /m:#/ {f @ c.cpp:42} 7 x\n"}, // of another source
        };
        const QRegularExpression origin(
            QStringLiteral("/m:%1:[1-9a-f][0-9a-f]*/").arg(QCoreApplication::applicationPid()));
        for (const Row &row : rows) {
            errno = 1234;
            KovGui::logRecord({row.category, "m", row.file, 42, row.function}, row.level, "%d %s", 7, "x");
            QCOMPARE(errno, 1234);
            QString record = QString::fromUtf8(s_record.mid(int(strlen("09-06 05:19:20.123 "))));
            QCOMPARE(record.replace(origin, "/m:#/").toUtf8(), row.expected);
        }
    }

    /// To the byte; but no character of several bytes is halved.
    void longRecordIsCut()
    {
        for (const QString &character : {QString("x"), QString("ä"), QString("€"), QString("\U0001F600")}) {
            const QByteArray bytes = character.toUtf8();
            // Padding moves the cut to every place inside a character.
            for (const char *padding : {"", "1", "12", "123"}) {
                KOV_LOG(0, "%s%s", padding, bytes.repeated(10000).constData());
                QVERIFY2(s_record.size() > 4095 - bytes.size() && s_record.size() <= 4095,
                         qPrintable(QString::number(s_record.size())));
                QVERIFY(s_record.endsWith(bytes + '\n'));
            }
        }
    }

    void outputFunctionReplacedDuringACall()
    {
        KovGui::setLogOutputFunction([](const char *, std::size_t) {
            KovGui::setLogOutputFunction(capture);
            throw 1;
        });
        KOV_LOG(0, "twice");
        QVERIFY(s_record.endsWith("twice\n"));
        QCOMPARE(s_inFlight, 1);
        QCOMPARE(KovGui::logCallsInFlight(), 0);
    }

    void logTextEscapes()
    {
        const QVector<std::pair<QByteArray, const char *>> rows{
            {"a\r\n09-06 05:19", R"(a\r\n09-06 05:19)"}, // a forged record
            {{"\x1b[31m\x7f\0z", 8}, R"(\x1b[31m\x7f\x00z)"},
            {"\xc2\x85\xc2\x9b\xc2\xa0", "\\u0085\\u009b\xc2\xa0"}, // controls above ASCII
            {"\xe2\x80\xa8\xe2\x80\xa9", R"(\u2028\u2029)"}, // separators
            {"\xe2\x82\xac\xf0\x9f\x98\x80", "\xe2\x82\xac\xf0\x9f\x98\x80"},
            {"\x85 \xc0\x8a \xed\xa0\x80 \xe2\x80", R"(\x85 \xc0\x8a \xed\xa0\x80 \xe2\x80)"}, // no UTF-8
        };
        for (const auto &[text, expected] : rows)
            QCOMPARE(KovGui::logText(text), QByteArray(expected));
    }

    void qtMessages()
    {
        const auto before = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &) { ++s_qtMessages; });
        // An output function with Qt inside must not go round in circles.
        KovGui::setLogOutputFunction([](const char *record, std::size_t length) {
            capture(record, length);
            qWarning("from the output function");
        });
        KovGui::forwardQtMessages(true);
        KovGui::forwardQtMessages(true);
        const QLoggingCategory category("tessarine.test");
        qCWarning(category) << "two\nlines";
        const QByteArray warning = s_record;
        const int chained = s_qtMessages;
        qDebug("above the threshold");
        const QByteArray afterDebug = s_record;
        KovGui::forwardQtMessages(false);
        qCritical("no longer");
        qInstallMessageHandler(before);

        QVERIFY2(warning.contains(" QT: W tessarine.test /KovGui:"), warning.constData());
        QVERIFY2(warning.endsWith("/ two\\nlines\n"), warning.constData());
        QCOMPARE(chained, 1);
        QCOMPARE(afterDebug, warning);
        QCOMPARE(s_qtMessages, 3);
        QCOMPARE(s_record, warning);
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_Log)
#include "tst_log.moc"
