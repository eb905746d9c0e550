#include "gui/tasks/CHttpResponseParser.h"
#include "gui/tasks/WebUtils.h"
#include "tests/support/KovTest.h"
#include "tests/tasks/HttpFixture.h"

#include <QTemporaryFile>

using Values = QMap<QString, QVariant>;

namespace {

QString s(const char *text)
{
    return QString::fromUtf8(text);
}

} // namespace

/// What requests write into the log, and what they read from a response.
class tst_HttpText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void response_data();
    void response();
    void parserThatIsUsedTwice();
    void maskedUrl_data();
    void maskedUrl();
    void maskedText_data();
    void maskedText();
    void queryItemsAreLiteral();
};

void tst_HttpText::response_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<int>("error");
    QTest::addColumn<QVariant>("data");
    QTest::addColumn<Values>("values");
    const auto unknown = [](Values values) {
        values[s("Version")] = s("Unknown");
        return values;
    };
    QTest::newRow("version, result, value")
        << QByteArray("<r Version='2'><Result>0</Result><Url>x</Url></r>") << 0 << QVariant(0)
        << Values{{s("Version"), s("2")}, {s("Result"), s("0")}, {s("Url"), s("x")}};
    QTest::newRow("negative result with blanks") << QByteArray("<r><Result>\n -3 </Result></r>") << 0
                                                 << QVariant(-3) << unknown({{s("Result"), s("\n -3 ")}});
    QTest::newRow("result that is no number")
        << QByteArray("<r><Result>yes</Result></r>") << 0 << QVariant() << unknown({{s("Result"), s("yes")}});
    QTest::newRow("result too large") << QByteArray("<r><Result>4294967296</Result></r>") << 0 << QVariant()
                                      << unknown({{s("Result"), s("4294967296")}});
    QTest::newRow("later element wins, nested and escaped text counts")
        << QByteArray("<r><Result/><a>1</a><a>x<b>&lt;y</b> <![CDATA[<z>]]></a></r>") << 0 << QVariant()
        << unknown({{s("Result"), s("")}, {s("a"), s("x<y<z>")}});
    QTest::newRow("only a nested result")
        << QByteArray("<r><a><Result>0</Result></a></r>") << 4 << QVariant() << unknown({{s("a"), s("0")}});
    QTest::newRow("empty file") << QByteArray() << 4 << QVariant() << Values();
    QTest::newRow("no result") << QByteArray("<r/>") << 4 << QVariant() << unknown({});
    QTest::newRow("other root") << QByteArray("<html Version='5'><Result>0</Result></html>") << 5
                                << QVariant() << Values{{s("Version"), s("5")}};
    QTest::newRow("prefix belongs to the name")
        << QByteArray("<p:r><Result>0</Result></p:r>") << 5 << QVariant() << unknown({});
    QTest::newRow("cut") << QByteArray("<r><Result>0</Result>") << 3 << QVariant() << Values();
    QTest::newRow("two roots") << QByteArray("<r><Result>0</Result></r><r/>") << 3 << QVariant() << Values();
    QTest::newRow("page") << QByteArray("<html><br></html>") << 3 << QVariant() << Values();
    QTest::newRow("external entity") << QByteArray("<!DOCTYPE r [<!ENTITY e SYSTEM 'file:///etc/hostname'>]>"
                                                   "<r><Result>&e;</Result></r>")
                                     << 0 << QVariant() << unknown({{s("Result"), s("")}});
    QByteArray laughs("<!DOCTYPE r [<!ENTITY e0 'ha'>");
    for (char c = '1'; c <= '9'; ++c)
        laughs += QByteArray("<!ENTITY eX 'YYYYYYYYYY'>")
                      .replace('X', c)
                      .replace('Y', QByteArray("&eZ;").replace('Z', char(c - 1)));
    QTest::newRow("entities that explode")
        << laughs + "]><r><Result>&e9;</Result></r>" << 3 << QVariant() << Values();
    QTest::newRow("deep") << QByteArray("<r><Result>1</Result>") + QByteArray("<a>").repeated(200000)
                                 + QByteArray("</a>").repeated(200000) + "</r>"
                          << 0 << QVariant(1) << unknown({{s("Result"), s("1")}, {s("a"), s("")}});
}

void tst_HttpText::response()
{
    QFETCH(QByteArray, document);
    QTemporaryFile file;
    QVERIFY(file.open());
    file.write(document);
    file.close();
    RecordedLog log;
    CHttpResponseParser parser(file.fileName());
    parser.setRootTagName(s("r"));
    QTEST(parser.parse(), "data");
    QTEST(parser.errCode(), "error");
    QTEST(parser.getValues(), "values");
    QCOMPARE(log.text().contains("Invalid tag: <"), parser.errCode() == 5);
}

void tst_HttpText::parserThatIsUsedTwice()
{
    QTemporaryDir folder;
    RecordedLog log;
    CHttpResponseParser parser(folder.filePath(s("answer")));
    QCOMPARE(parser.parse(), QVariant());
    QCOMPARE(parser.errCode(), 1);
    QFile file(parser.filePath());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("<any><Result>5</Result><Old/></any>");
    file.flush();
    QCOMPARE(parser.parse(), QVariant(5));
    file.resize(0);
    file.seek(0);
    file.write("<any><New/></any>");
    file.flush();
    QCOMPARE(parser.parse(), QVariant());
    QCOMPARE(parser.getValues().keys(), QStringList({s("New"), s("Version")}));
}

void tst_HttpText::maskedUrl_data()
{
    QTest::addColumn<QString>("masked");
    QTest::newRow("http://h/p") << s("http://h/p");
    QTest::newRow("http://user:pw@h:8080/p?a=1&b=#f") << s("http://h:8080/p?a=1&b=#f");
    QTest::newRow("http://h/?a=1&Password=pw&NEWPASSWORD=pw&z")
        << s("http://h/?a=1&Password=xxx&NEWPASSWORD=xxx&z");
    QTest::newRow("http://h/?P%61ssword=pw&password=") << s("http://h/?Password=xxx&password=xxx");
    QTest::newRow("http://h/?name=John%20Doe&E-Mail=john%40h.example&email=x@y")
        << s("http://h/?name=J***&E-Mail=j***@h.example&email=x***@y");
    QTest::newRow("http://h/?Email=a@b%26x&OldPassword=old")
        << s("http://h/?Email=a***@b%26x&OldPassword=old");
    QTest::newRow("http://user:pw/word@h/") << QString();
}

void tst_HttpText::maskedUrl()
{
    QTEST(WebUtils::maskedUrl(QUrl(s(QTest::currentDataTag()))), "masked");
}

void tst_HttpText::maskedText_data()
{
    QTest::addColumn<QString>("masked");
    QTest::newRow("Error transferring http://u-name:p-word@h/a%20b?Password=s%C3%A9same - replied: No")
        << s("Error transferring http://h/a b?Password=xxx - replied: No");
    QTest::newRow("Error transferring http://u-name@h/a b?Password=sésame - replied: No")
        << s("Error transferring http://h/a b?Password=xxx - replied: No");
    QTest::newRow("<a href=\"https://x:y@other/?NewPassword=1\">p-word</a>")
        << s("<a href=\"https://other/?NewPassword=xxx\">xxx</a>");
    QTest::newRow("/a?Password=sésame, s%C3%A9same, u-name") << s("/a?Password=xxx, xxx, ***");
    QTest::newRow("Host h not found") << s("Host h not found");
}

void tst_HttpText::maskedText()
{
    const QUrl url(s("http://u-name:p-word@h/a b?Password=sésame"));
    QTEST(WebUtils::withMaskedUrls(s(QTest::currentDataTag()), url), "masked");
}

void tst_HttpText::queryItemsAreLiteral()
{
    const QUrl url
        = WebUtils::withQueryItems(QUrl(s("http://h/?a=1")), {{s("k&"), s("x=y&z+%41 é")}, {s("k&"), s("")}});
    QCOMPARE(url.toEncoded(), QByteArray("http://h/?a=1&k%26=x%3Dy%26z%2B%2541%20%C3%A9&k%26="));
}

KOV_TEST_MAIN(QCoreApplication, tst_HttpText)
#include "tst_http_text.moc"
