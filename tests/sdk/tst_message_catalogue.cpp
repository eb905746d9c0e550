#include "tests/sdk/SdkLog.h"
#include "tests/support/KovTest.h"

static QString description(KOV_RESULT code, bool brief, bool formatted)
{
    char buffer[1000];
    uint32_t size = sizeof buffer;
    const bool isKnown = KOV_SUCCEEDED(KovApi_GetResultDescription(code, brief, formatted, buffer, &size));
    return isKnown ? QString::fromUtf8(buffer, static_cast<int>(size)) : QString();
}

/// The messages: the built-in ones, a host's file, and files that are refused.
class tst_MessageCatalogue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { SdkLog::take(); }

    void builtInCodes()
    {
        for (const uint code :
             {0x80015206u, 0x80015351u, 0x80000275u, 0x80038005u, 15140u, 15282u, 15403u, 0x3BFEu}) {
            const KOV_RESULT result = KOV_RESULT_CODE(code);
            for (const bool brief : {true, false})
                QVERIFY2(!description(result, brief, true).isEmpty(), qPrintable(QString::number(code, 16)));
            QVERIFY(!description(result, false, false).contains('<'));
        }
        QCOMPARE(SdkLog::take(), QStringList());
    }

    void refusedFiles_data()
    {
        Table<QByteArray, QString> row;
        // A good message first, which must not be taken either; then a wrong one.
        const auto message = [&row](const char *name, const QByteArray &fields, const char *complaint) {
            row(name,
                "{'format': 1, 'messages': [{'code': 7777, 'type': 'error', 'brief': 'b'}, {" + fields
                    + "}]}",
                complaint);
        };

        row("nothing", "", "line 1, column 1: ");
        row("cut", "{\n  \"format\": 1,\n  \"messages\": [", "line 3, column ");
        row("too large", QByteArray(1024 * 1024 + 1, ' '), "file: larger than 1048576 bytes");
        row("no format", "{'messages': []}", "format: must be the number 1");
        row("unknown field of the file", "{'format': 1, 'messages': [], 'extra': 1}", "extra: unknown field");
        row("messages by code", "{'format': 1, 'messages': {}}", "messages: must be an array");

        message("no code", "'type': 'error', 'brief': 'b'", "messages[1].code: must be a number");
        message("fraction", "'code': 1.5, 'type': 'error', 'brief': 'b'",
                "messages[1].code: not a whole number");
        message("decimal over the range", "'code': 2147483648, 'type': 'error', 'brief': 'b'",
                "messages[1].code: not");
        message("nine digits", "'code': '0x180015206', 'type': 'error', 'brief': 'b'",
                "messages[1].code: must be");
        message("twice, once in hexadecimal", "'code': '0x1e61', 'type': 'error', 'brief': 'b'",
                "messages[1].code: 0x1E61 stands in this file already");
        message("unknown type", "'code': 1, 'type': 'fatal', 'brief': 'b'", "messages[1].type: must be");
        message("unknown field", "'code': 1, 'type': 'error', 'brief': 'b', 'hidden': true",
                "messages[1].hidden: unknown field");
        message("field twice", "'code': 1, 'type': 'error', 'brief': 'b', 'brief': 'c'",
                "line 1, column 118: the field");
        message("field name with an escape", "'\\u0063ode': 1, 'type': 'error', 'brief': 'b'",
                "line 1, column 76: the field");
        message("no brief text", "'code': 1, 'type': 'error'", "messages[1].brief: must be given");
        message("flag is a number", "'code': 1, 'type': 'error', 'brief': 'b', 'mayBeHidden': 1",
                "messages[1].mayBeHidden: must be true or false");
        message("brief too long",
                "'code': 1, 'type': 'error', 'brief': '" + QByteArray("\xc3\xa4").repeated(200) + '\'',
                "messages[1].brief: longer than 399 bytes");
        message("full too long",
                "'code': 1, 'type': 'error', 'brief': 'b', 'full': '" + QByteArray(1000, 'x') + '\'',
                "messages[1].full: longer than 999 bytes");
        message("article of a question",
                "'code': 1, 'type': 'question', 'brief': 'b', 'solutionArticle': true",
                "messages[1].solutionArticle: a question has no article");
        message("answer with a full text", "'code': 1, 'type': 'answer', 'brief': 'b', 'full': 'f'",
                "messages[1]: an answer has a brief text and nothing else");

        const QVector<QPair<const char *, const char *>> markup{
            {"<img src=/etc/passwd>", "is none of"},
            {"<b onclick=x>x</b>", "is none of"},
            {"<a href=\\'file:///etc/passwd\\'>x</a>", "is none of"},
            {"<a href=\\'https://example.com/%20\\'>x</a>", "is none of"},
            {"<a href=\\'kovhelp:network\\'>x</a>", "is none of"},
            {"<b>x", "<b> is not closed"},
            {"<b><i>x</b></i>", "</b> closes nothing"},
            {"1 < 2", "'<' opens no tag"},
            {"1 > 2", "'>' outside a tag"},
            {"you & me", "'&' begins no entity"},
            {"two\\nlines", "a control character"}};
        for (const auto &text : markup) {
            message(text.first, QByteArray("'code': 1, 'type': 'error', 'brief': '") + text.first + '\'',
                    text.second);
        }
    }

    void refusedFiles()
    {
        const auto [content, complaint] = cells<QByteArray, QString>();
        QCOMPARE(load(content), KOV_ERR_INVALID_ARG);
        const QStringList lines = SdkLog::take();
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.first().contains("host.json refused: "), qPrintable(lines.first()));
        QVERIFY2(lines.first().contains(complaint), qPrintable(lines.first()));
        QCOMPARE(description(7777, true, true), QString());
    }

    void refusedPlaces_data()
    {
        Table<QByteArray, QString> row;
        row("missing, its name forged", QByteArray("/nowhere/a\n0 forged"), "refused: ");
        row("folder", QByteArray("/"), "not a regular file");
        if (QDir::listSeparator() == ':')
            row("endless device", QByteArray("/dev/zero"), "not a regular file");
    }

    void refusedPlaces()
    {
        const auto [path, complaint] = cells<QByteArray, QString>();
        QCOMPARE(KovApi_LoadMessageCatalogue(path.constData()), KOV_ERR_NO_DATA);
        const QStringList lines = SdkLog::take();
        QCOMPARE(lines.size(), 1);
        QVERIFY(!lines.first().contains('\n'));
        QVERIFY2(lines.first().contains(complaint), qPrintable(lines.first()));
    }

    void aHostsFileReplacesCodes()
    {
        QCOMPARE(description(8001, true, true), QString());
        QCOMPARE(load("{'format': 1, 'messages': ["
                      "        {'code': '0x80015351', 'type': 'warning', 'brief': '<b>1</b> &lt; "
                      "2<br>K\\u00f6ln', 'solutionArticle': true},"
                      "        {'code': -1, 'type': 'answer', 'brief': 'Later'}]}"),
                 KOV_SUCCESS);
        const KOV_RESULT replaced = KOV_ERR_UPDATE_INSTALLATION_FAILED;
        _KOV_MESSAGE_TYPE_ENUM type = KMT_UNKNOWN;
        int flag = 0;
        QCOMPARE(KovApi_GetMessageType(replaced, &type), KOV_SUCCESS);
        QCOMPARE(type, KMT_WARNING);
        QCOMPARE(KovApi_HasSolutionArticle(replaced, &flag), KOV_SUCCESS);
        QCOMPARE(flag, 1);
        QCOMPARE(description(replaced, true, true), QString::fromUtf8("<b>1</b> &lt; 2<br>Köln"));
        QCOMPARE(description(replaced, true, false), QString::fromUtf8("1 < 2\nKöln"));
        QCOMPARE(description(replaced, false, true), QString()); // replaced whole
        QCOMPARE(description(-1, true, true), "Later");
        QVERIFY(!description(KOV_NO_UPDATE_AVAILABLE, true, true).isEmpty());
    }

    void eventTexts_data()
    {
        Table<QString, bool, QString> row;

        // The event's parameters, in order: "<b>%2</b>\nx", a choice, 42, a nested event.
        row("markup in a value shows as it is", "%1 & %2", true, "&lt;b&gt;%2&lt;/b&gt;<br>x &amp; 42");
        row("bare", "%1 & %2", false, "<b>%2</b>\nx & 42");
        row("placeholder without a value stays", "%2%2 %3 %0 %", true, "4242 %3 %0 %");
    }

    void eventTexts()
    {
        const auto [full, formatted, expected] = cells<QString, bool, QString>();
        const QByteArray text = full.toHtmlEscaped().toUtf8();
        QCOMPARE(load("{'format': 1, 'messages': [{'code': 8002, 'type': 'error', 'brief': 'b', 'full': '"
                      + text + "'}]}"),
                 KOV_SUCCESS);
        KOV_HANDLE event = nullptr;
        KOV_HANDLE nested = nullptr;
        KovService_CreateEvent(8002, nullptr, &event);
        KovService_CreateEvent(8002, nullptr, &nested);
        KovService_AddStringParam(event, "first", "<b>%2</b>\nx");
        KovService_AddInt32Param(event, "vm_message_choice_0", 0x3E90);
        KovService_AddInt32Param(event, "second", 42);
        KovService_AddHandleParam(event, "internal_event", nested);
        char buffer[1000];
        uint32_t size = sizeof buffer;
        QCOMPARE(KovEvent_GetErrString(event, 0, formatted, buffer, &size), KOV_SUCCESS);
        QCOMPARE(QString::fromUtf8(buffer), expected);
        KovHandle_Free(nested);
        KovHandle_Free(event);
    }

private:
    /// Apostrophes stand for quotation marks, to keep the tables readable.

    KOV_RESULT load(QByteArray content)
    {
        QFile file(m_folder.filePath("host.json"));
        content.replace('\'', '"');
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            return KOV_ERR_FAILURE;
        file.close();
        return KovApi_LoadMessageCatalogue(file.fileName().toUtf8().constData());
    }

    SdkLog m_log;
    QTemporaryDir m_folder;
};

KOV_TEST_MAIN(QCoreApplication, tst_MessageCatalogue)
#include "tst_message_catalogue.moc"
