#include "gui/update/catalogue/CUpdaterConfig.h"
#include "tests/support/KovTest.h"

#include <QElapsedTimer>
#include <QLocale>

namespace {

/// The children of an "Update" without the named ones.
QByteArray updateWithout(const QList<QByteArray> &tags, const QByteArray &more = QByteArray())
{
    const QList<QByteArray> lines{"<UpdateName>N</UpdateName>",
                                  "<UpdateDescription>D</UpdateDescription>",
                                  "<FilePath>a/b.exe</FilePath>",
                                  "<FileSize>15</FileSize>",
                                  "<LocaleName>any</LocaleName>",
                                  "<OsType>linux</OsType>",
                                  "<DateTime>2026-03-29 02:30:00</DateTime>",
                                  "<DistributorName>T</DistributorName>",
                                  "<Chargeable>false</Chargeable>",
                                  "<Status>released</Status>",
                                  "<Ancestry>3</Ancestry>",
                                  "<CheckSum>00112233445566778899aabbccddeeff</CheckSum>",
                                  "<HotfixSN>1</HotfixSN>",
                                  "<UpdateType>minor</UpdateType>",
                                  "<Uuid>u</Uuid>"};
    QByteArray document = "<Update uuid=\" x&#13;\">";
    for (const QByteArray &line : lines) {
        const QByteArray tag = line.mid(1, line.indexOf('>') - 1);
        if (!tags.contains(tag))
            document += line;
    }
    return document + more + "</Update>";
}

template <class Model>
QStringList messagesOf(const QByteArray &document)
{
    XmlReport report;
    Model model;
    const bool ok = model.read(document, &report);
    QStringList all = report.errors + report.warnings;
    if (ok != report.errors.isEmpty())
        all.append(QStringLiteral("the result does not match the errors"));
    return all;
}

using ReadFunction = QStringList (*)(const QByteArray &);

QStringList missing(const QString &className, const QString &required, const QString &optional)
{
    QStringList texts;
    for (const QString &tag : required.split(QLatin1Char(' ')))
        texts << QStringLiteral("Error in class '%1': tag '%2' does not satisfy 'minOccurs = 1' condition")
                     .arg(className, tag);
    for (const QString &tag : optional.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        texts << QStringLiteral("Warning in class '%1': tag '%2' is absent").arg(className, tag);
    return texts;
}

QByteArray bytesOf(const char *prefix, const char *repeated, int count, const char *suffix)
{
    return QByteArray(prefix) + QByteArray(repeated).repeated(count) + suffix;
}

} // namespace

Q_DECLARE_METATYPE(ReadFunction)

/// The XML models: what they take, what they say, and what a hostile document costs.
class tst_CatalogueModels : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { QLocale::setDefault(QLocale::c()); }
    void messages_data();
    void messages();
    void updateKeepsEveryValueThroughWritingAndReading();
    void configurationKeepsItsParts();
    void writtenFormIsTheSameInEveryLocale();
    void hostileDocumentsAreRefusedQuickly_data();
    void hostileDocumentsAreRefusedQuickly();
};

void tst_CatalogueModels::messages_data()
{
    QTest::addColumn<ReadFunction>("read");
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QStringList>("expected");
    const auto row = [](const char *name, ReadFunction read, const QByteArray &document,
                        const QStringList &expected) { QTest::newRow(name) << read << document << expected; };
    const auto s = [](const char *text) { return QString::fromLatin1(text); };

    row("complete", &messagesOf<CUpdate>, updateWithout({}), {});
    row("unknown children of any depth", &messagesOf<CUpdate>,
        updateWithout({}, "<New a='1'><FilePath>x</FilePath></New>"), {});
    row("everything missing", &messagesOf<CUpdate>, "<Update/>",
        missing(s("CUpdate"),
                s("UpdateName UpdateDescription FilePath FileSize LocaleName OsType DateTime DistributorName "
                  "Chargeable Status"),
                s("Ancestry CheckSum HotfixSN UpdateType Uuid")));
    row("an optional one", &messagesOf<CUpdate>, updateWithout({"Uuid"}),
        {s("Warning in class 'CUpdate': tag 'Uuid' is absent")});
    row("twice", &messagesOf<CUpdate>, updateWithout({}, "<FilePath>other</FilePath>"),
        {s("Error in class 'CUpdate': tag 'FilePath' does not satisfy 'maxOccurs = 1' condition")});
    row("not a number", &messagesOf<CUpdate>, updateWithout({"FileSize"}, "<FileSize>1,5</FileSize>"),
        {s("Error in class 'CUpdate': tag 'FileSize' does not hold a number from 0 to 9223372036854775807")});
    row("not a truth value", &messagesOf<CUpdate>,
        updateWithout({"Chargeable"}, "<Chargeable>yes</Chargeable>"),
        {s("Error in class 'CUpdate': tag 'Chargeable' does not hold true or false")});
    row("another date form", &messagesOf<CUpdate>,
        updateWithout({"DateTime"}, "<DateTime>2026-03-29T02:30:00</DateTime>"),
        {s("Error in class 'CUpdate': tag 'DateTime' does not hold a date and time of the form yyyy-MM-dd "
           "hh:mm:ss")});
    row("wrong root with a prefix", &messagesOf<CUpdates>, "<x:TessarineUpdates/>",
        {s("Error in class 'CUpdates': wrong root element with tag name 'x:TessarineUpdates'")});
    row("empty catalogue", &messagesOf<CUpdates>, "<TessarineUpdates/>",
        {s("Warning in class 'CUpdates': tag 'Product' is absent")});
    row("product", &messagesOf<CUpdProduct>, "<Product/>",
        missing(s("CUpdProduct"), s("ProductName UpdateEnabled"), s("Version")));
    row("version", &messagesOf<CUpdProductVersion>, "<Version/>",
        missing(s("CUpdProductVersion"), s("Major Minor SubMinor SubSubMinor StringRepresentation"),
                s("Update")));
    row("automatic update", &messagesOf<CAutomaticUpdate>, "<AutomaticUpdate/>",
        missing(s("CAutomaticUpdate"),
                s("UpdateEnabled UpdatePeriod DownloadEnabled InstallEnabled NotifyUser"), s("")));
    row("configuration", &messagesOf<CUpdaterConfig>, "<TessarineUpdaterConfig/>",
        missing(s("CUpdaterConfig"), s("UpdateUrl DownloadPath RemindPeriod BuyLink"),
                s("AutomaticUpdate TessarineUpdates")));
    row("a fault deep inside names the class there", &messagesOf<CUpdates>,
        "<TessarineUpdates><Product><ProductName>P</ProductName><UpdateEnabled>1</UpdateEnabled><Version>"
        "<Major>3</Major><Minor>1</Minor><SubMinor>5</SubMinor><SubSubMinor>x</SubSubMinor>"
        "<StringRepresentation>3.1.5</StringRepresentation>"
            + updateWithout({"FilePath"}) + "</Version></Product></TessarineUpdates>",
        {s("Error in class 'CUpdProductVersion': tag 'SubSubMinor' does not hold a number from 0 to "
           "4294967295"),
         s("Error in class 'CUpdate': tag 'FilePath' does not satisfy 'minOccurs = 1' condition")});
}

void tst_CatalogueModels::messages()
{
    QFETCH(ReadFunction, read);
    QFETCH(QByteArray, document);
    QFETCH(QStringList, expected);
    QCOMPARE(read(document), expected);
}

void tst_CatalogueModels::updateKeepsEveryValueThroughWritingAndReading()
{
    CUpdate update;
    QVERIFY(update.read(
        updateWithout({"UpdateDescription"},
                      "<UpdateDescription> &lt;b&gt; &amp;\n\tsecond]]&gt;&#13; </UpdateDescription>")));
    QCOMPARE(update.updateDescription, QStringLiteral("<b> &\n\tsecond]]>"));
    QCOMPARE(update.dateTime, QDateTime(QDate(2026, 3, 29), QTime(2, 30), Qt::UTC));
    QCOMPARE(update.uuid, QStringLiteral("x"));
    update.uuid = QStringLiteral("\"<&");
    update.fileSize = Q_INT64_C(5000000000);
    update.distributorName = QStringLiteral("bell \x07 and \U0001F600");

    CUpdate copy;
    XmlReport report;
    QVERIFY(copy.read(update.write(), &report));
    QCOMPARE(report.warnings, QStringList());
    QCOMPARE(copy.uuid, update.uuid);
    QCOMPARE(copy.fileSize, update.fileSize);
    QCOMPARE(copy.distributorName, QStringLiteral("bell  and \U0001F600"));
    QCOMPARE(copy.write(), update.write());
}

void tst_CatalogueModels::configurationKeepsItsParts()
{
    CUpdaterConfig configuration;
    configuration.updateUrl = QStringLiteral("https://updates.example/tessarine_updates.xml");
    configuration.remindPeriod = 7;
    configuration.automaticUpdate.emplace().updatePeriod = 2;
    configuration.installed.emplace().products.resize(2);
    configuration.installed->products[1].versions.resize(1);
    configuration.installed->products[1].versions[0].subSubMinor = 31301;
    const QByteArray document = configuration.write();
    QVERIFY2(document.contains("<TessarineUpdates dyn_lists=\"Product\">"), document.constData());
    QVERIFY2(document.contains("<Product dyn_lists=\"Version\">"), document.constData());

    CUpdaterConfig copy;
    QVERIFY(copy.read(document));
    QCOMPARE(copy.automaticUpdate->updatePeriod, 2u);
    QCOMPARE(copy.installed->products.size(), 2);
    QCOMPARE(copy.installed->products[1].versions[0].subSubMinor, 31301u);
    QCOMPARE(copy.write(), document);
}

void tst_CatalogueModels::writtenFormIsTheSameInEveryLocale()
{
    // The first two write digits of their own, the last groups them.
    for (const char *const locale : {"fa_IR", "ar_EG", "de_DE"}) {
        QLocale::setDefault(QLocale(QLatin1String(locale)));
        CUpdate update;
        QVERIFY(update.read(updateWithout({"FileSize"}, "<FileSize>1234567</FileSize>")));
        const QByteArray document = update.write();
        QVERIFY2(document.contains("<DateTime>2026-03-29 02:30:00</DateTime>"), document.constData());
        QVERIFY2(document.contains("<FileSize>1234567</FileSize>"), document.constData());
        QVERIFY2(CUpdaterConfig().buyLink.endsWith(QLatin1String(locale)),
                 qPrintable(CUpdaterConfig().buyLink));
    }
}

void tst_CatalogueModels::hostileDocumentsAreRefusedQuickly_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char *name, const QByteArray &document, const char *reason) {
        QTest::newRow(name) << document << QString::fromLatin1(reason);
    };
    row("nothing", "", "line 1: ");
    row("truncated", "<TessarineUpdates><Product><ProductName>P", "line 1: ");
    row("element inside a value", "<TessarineUpdates><Product><ProductName>P<b/></ProductName></Product>",
        "line 1: ");
    row("entities",
        "<!DOCTYPE a [<!ENTITY b \"bb\"><!ENTITY c \"&b;&b;\">]><TessarineUpdates>&c;</TessarineUpdates>",
        "a document type declaration is not allowed");
    row("unclosed comment", "<TessarineUpdates><!-- ", "the document ends inside a comment");
    row("not UTF-8", "<TessarineUpdates>\xff</TessarineUpdates>", "the document is not UTF-8 text");
    row("another encoding", "<?xml version=\"1.0\" encoding=\"UTF-16\"?><TessarineUpdates/>",
        "the document is not UTF-8 text");
    row("too large", QByteArray(8 * 1024 * 1024 + 1, ' '), "the document is larger than 8388608 bytes");
    row("nested deeply", bytesOf("<TessarineUpdates>", "<a>", 1000000, ""),
        "elements are nested deeper than 16");
    row("too many elements", bytesOf("<TessarineUpdates>", "<a/>", 200001, "</TessarineUpdates>"),
        "more than 200000 elements");
    row("a million attributes", bytesOf("<TessarineUpdates ", "a='' ", 1000000, "/>"),
        "a tag is not closed, or longer");
    row("more faults than anyone reads",
        bytesOf("<TessarineUpdates>", "<Product/>", 100000, "</TessarineUpdates>"),
        "tag 'ProductName' does not satisfy 'minOccurs = 1' condition");
}

void tst_CatalogueModels::hostileDocumentsAreRefusedQuickly()
{
    QFETCH(QByteArray, document);
    QFETCH(QString, reason);
    CUpdates catalogue;
    catalogue.products.resize(7);
    XmlReport report;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!catalogue.read(document, &report));
    QCOMPARE(catalogue.products.size(), 7); // as it was
    QVERIFY2(timer.elapsed() < 5000, "this costs too much");
    QVERIFY2(report.errors.first().contains(reason), qPrintable(report.errors.first()));
    // What follows from a broken document is not reported as well.
    QVERIFY(report.errors.size() == 1 || report.errors.size() == XmlReport::maximumEntries);
    QVERIFY(!report.errors.first().contains(QLatin1Char('\n')));
}

KOV_TEST_MAIN(QCoreApplication, tst_CatalogueModels)
#include "tst_catalogue_models.moc"
