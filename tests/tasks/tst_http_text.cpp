#include "gui/tasks/http/CHttpResponseParser.h"
#include "gui/tasks/http/WebUtils.h"
#include "tests/support/KovTest.h"
#include "tests/tasks/HttpFixture.h"

/// What requests write into the log, and what they read from a response.
class tst_HttpText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void response_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<int>("error");
        QTest::addColumn<QVariant>("data");
        QTest::addColumn<QString>("values");
        const auto row
            = [](const char *name, const QByteArray &document, int error, const QVariant &data,
                 const char *values) { QTest::newRow(name) << document << error << data << values; };
        row("all", "<r Version='2'><Result>0</Result><Url>x</Url></r>", 0, 0, "Result=0|Url=x|Version=2");
        row("negative, with blanks", "<r><Result> -3\n</Result></r>", 0, -3, "Result= -3\n|Version=Unknown");
        row("no number", "<r><Result>yes</Result></r>", 0, QVariant(), "Result=yes|Version=Unknown");
        row("number too large", "<r><Result>4294967296</Result></r>", 0, QVariant(),
            "Result=4294967296|Version=Unknown");
        row("later element wins, nested and escaped text counts",
            "<r><Result/><a>1</a><a>x<b>&lt;y</b> <![CDATA[<z>]]></a></r>", 0, QVariant(),
            "Result=|Version=Unknown|a=x<y<z>");
        row("only a nested result", "<r><a><Result>0</Result></a></r>", 4, QVariant(), "Version=Unknown|a=0");
        row("empty file", "", 4, QVariant(), "");
        row("other root", "<html Version='5'><Result>0</Result></html>", 5, QVariant(), "Version=5");
        row("prefix belongs to the name", "<p:r><Result>0</Result></p:r>", 5, QVariant(), "Version=Unknown");
        row("cut", "<r><Result>0</Result>", 3, QVariant(), "");
        row("external entity",
            "<!DOCTYPE r [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><r><Result>&e;</Result></r>", 0,
            QVariant(), "Result=|Version=Unknown");
        QByteArray laughs("<!DOCTYPE r [<!ENTITY e0 'ha'>");
        for (char c = '1'; c <= '9'; ++c)
            laughs += QByteArray("<!ENTITY eX '").replace('X', c)
                      + QByteArray("&eX;").replace('X', char(c - 1)).repeated(10) + "'>";
        row("entities that explode", laughs + "]><r><Result>&e9;</Result></r>", 3, QVariant(), "");
        row("deep",
            "<r><Result>1</Result>" + QByteArray("<a>").repeated(200000) + QByteArray("</a>").repeated(200000)
                + "</r>",
            0, 1, "Result=1|Version=Unknown|a=");
    }

    void response()
    {
        QFETCH(QByteArray, document);
        const LogCapture log(3);
        CHttpResponseParser parser(write(document));
        parser.setRootTagName(s("r"));
        QTEST(parser.parse(), "data");
        QTEST(parser.errCode(), "error");
        QTEST(valuesOf(parser), "values");
        QCOMPARE(log.text().contains("Invalid tag: <"), parser.errCode() == 5);
    }

    void parserThatIsUsedTwice()
    {
        const LogCapture log(3);
        CHttpResponseParser parser(m_folder.filePath(s("missing")));
        QCOMPARE(parser.parse(), QVariant());
        QCOMPARE(parser.errCode(), 1);
        parser.setFilePath(write("<any><Result>5</Result></any>"));
        QCOMPARE(parser.parse(), QVariant(5));
        write("<any><New/></any>");
        QCOMPARE(parser.parse(), QVariant());
        QCOMPARE(valuesOf(parser), s("New=|Version=Unknown"));
    }

    void maskedUrl_data()
    {
        QTest::addColumn<QString>("masked");
        const auto row = [](const char *url, const char *masked) { QTest::newRow(url) << s(masked); };
        row("http://user:pw@h:8080/p?a=1&b=#f", "http://h:8080/p?a=xxx&b=#f");
        row("http://h/?a=1&Password=pw&NEWPASSWORD=pw&z", "http://h/?a=xxx&Password=xxx&NEWPASSWORD=xxx&z");
        row("http://h/?P%61ssword=pw&password=", "http://h/?Password=xxx&password=xxx");
        row("http://h/?name=J%20D&E-Mail=j%40h.example&email=x@y",
            "http://h/?name=J***&E-Mail=j***@h.example&email=x***@y");
        row("http://h/?Email=a@b%26x&OldPassword=old", "http://h/?Email=a***@b%26x&OldPassword=xxx");
        row("https://token@h/f", "https://h/f");
        row("http://user:pw/word@h/", "");
        row("http:/user:pw@h/f", "");
    }

    void maskedUrl() { QTEST(WebUtils::maskedUrl(QUrl(s(QTest::currentDataTag()))), "masked"); }

    void maskedText_data()
    {
        QTest::addColumn<QString>("masked");
        const auto row = [](const char *text, const char *masked) { QTest::newRow(text) << s(masked); };
        row("No http://u-name:p-word@h/a%20b?Password=s%C3%A9same - replied",
            "No http://h/a b?Password=xxx - replied");
        row("No http://u-name@h/a b?Password=sésame - replied", "No http://h/a b?Password=xxx - replied");
        row("<a href=\"https://x:y@other/?NewPassword=1\">p-word</a>",
            "<a href=\"https://other/?NewPassword=xxx\">xxx</a>");
        row("get http:/joe:pw@h/f \'http://u:p\'x\"y@h/?t=1&amp;u=2\'>",
            "get http://*** \'http://h/?t=xxx&amp;u=xxx\'>");
        row("/a?Password=sésame, s%C3%A9same, u-name", "/a?Password=xxx, xxx, ***");
    }

    void maskedText()
    {
        const QUrl url(s("http://u-name:p-word@h/a b?Password=sésame"));
        QTEST(WebUtils::withMaskedUrls(s(QTest::currentDataTag()), url), "masked");
    }

private:
    QString write(const QByteArray &document)
    {
        const QString path = m_folder.filePath(s("document"));
        return writeFile(path, document) ? path : QString();
    }
    static QString valuesOf(const CHttpResponseParser &parser)
    {
        QStringList texts;
        const auto values = parser.getValues();
        for (auto it = values.cbegin(); it != values.cend(); ++it)
            texts << it.key() + s("=") + it.value().toString();
        return texts.join(s("|"));
    }

    QTemporaryDir m_folder;
};

KOV_TEST_MAIN(QCoreApplication, tst_HttpText)
#include "tst_http_text.moc"
