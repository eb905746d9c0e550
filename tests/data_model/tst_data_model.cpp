#include "gui/data_model/base/XmlModel_p.h"
#include "gui/data_model/documents/CPackedProblemReport.h"
#include "gui/data_model/documents/CUpdaterConfig.h"
#include "tests/support/KovTest.h"

#include <QRandomGenerator>
#include <cmath>

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
    if (ok != report.errors.isEmpty() || report.errors.size() != report.errorPlaces.size())
        all.append("the result does not match the errors");
    return all;
}

using ReadFunction = QStringList (*)(const QByteArray &);

QStringList missing(const QString &className, const QString &required, const QString &optional = QString())
{
    QStringList texts;
    for (const QString &tag : required.split(' ', Qt::SkipEmptyParts))
        texts << QStringLiteral("Error in class '%1': tag '%2' does not satisfy 'minOccurs = 1' condition")
                     .arg(className, tag);
    for (const QString &tag : optional.split(' ', Qt::SkipEmptyParts))
        texts << QStringLiteral("Warning in class '%1': tag '%2' is absent").arg(className, tag);
    return texts;
}

QByteArray bytesOf(const char *prefix, const char *repeated, int count, const char *suffix)
{
    return QByteArray(prefix) + QByteArray(repeated).repeated(count) + suffix;
}

QString randomText(QRandomGenerator *random)
{
    static const QString units = QString::fromUtf8("ab <>&\"'\\u0]\t\n\r\x01") + QChar(0xA0) + QChar(0xD83D)
                                 + QChar(0xDE00) + QChar(0xFFFE) + QChar(0xFEFF);
    QString text;
    for (int i = random->bounded(6); i > 0; --i)
        text += units.at(random->bounded(units.size()));
    return text;
}

void fill(const XmlClass &description, void *object, QRandomGenerator *random);

void fillValue(const XmlType &type, void *value, QRandomGenerator *random)
{
    const qint64 number = qint64(random->generate64() >> random->bounded(1, 64));
    if (type.form != XmlType::Form::Parsed)
        *static_cast<QString *>(value) = randomText(random);
    else if (&type == &XmlTypes::truth)
        *static_cast<bool *>(value) = number & 1;
    else if (&type == &XmlTypes::uint32)
        *static_cast<quint32 *>(value) = quint32(number);
    else if (&type == &XmlTypes::int32)
        *static_cast<qint32 *>(value) = qint32(number);
    else if (&type == &XmlTypes::size)
        *static_cast<qint64 *>(value) = number;
    else if (&type == &XmlTypes::real)
        *static_cast<double *>(value) = double(number) / 3;
    else
        *static_cast<QDateTime *>(value) = QDateTime::fromSecsSinceEpoch(number % 100000000000, Qt::UTC);
}

/// Any values in any of the fields.
void fill(const XmlClass &description, void *object, QRandomGenerator *random)
{
    for (int i = 0; i < description.fieldCount; ++i) {
        const XmlField &field = description.fields[i];
        int count = field.occurs == XmlOccurs::Required ? 1 : random->bounded(2);
        if (field.occurs == XmlOccurs::Repeated)
            count = random->bounded(3);
        for (; count > 0; --count) {
            if (field.occurs == XmlOccurs::Attribute)
                *static_cast<QString *>(field.add(object)) = "a \"<&>\n\t' b";
            else if (field.model)
                fill(field.model(), field.add(object), random);
            else
                fillValue(*field.type, field.add(object), random);
        }
    }
}

} // namespace

Q_DECLARE_METATYPE(ReadFunction)

/// The documents as classes: what they take, say and keep, and what a hostile document costs.
class tst_DataModel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { QLocale::setDefault(QLocale::c()); }

    void messages_data()
    {
        QTest::addColumn<ReadFunction>("read");
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<QStringList>("expected");
        const auto row
            = [](const char *name, ReadFunction read, const QByteArray &document,
                 const QStringList &expected) { QTest::newRow(name) << read << document << expected; };

        row("complete", &messagesOf<CUpdate>, updateWithout({}), {});
        row("unknown children of any depth", &messagesOf<CUpdate>,
            updateWithout({}, "<New a='1'><FilePath>x</FilePath></New>"), {});
        row("everything missing", &messagesOf<CUpdate>, "<Update/>",
            missing(
                "CUpdate",
                "UpdateName UpdateDescription FilePath FileSize LocaleName OsType DateTime DistributorName "
                "Chargeable Status",
                "Ancestry CheckSum HotfixSN UpdateType Uuid"));
        row("twice", &messagesOf<CUpdate>, updateWithout({}, "<FilePath>other</FilePath>"),
            {"Error in class 'CUpdate': tag 'FilePath' does not satisfy 'maxOccurs = 1' condition"});
        for (const char *const value :
             {"1,5", "+1", "-1", "0x10", "9223372036854775808", "", "1 2", "\u0661"})
            row(qPrintable(QStringLiteral("not a size: '%1'").arg(value)), &messagesOf<CUpdate>,
                updateWithout({"FileSize"}, QByteArray("<FileSize>") + value + "</FileSize>"),
                {"Error in class 'CUpdate': tag 'FileSize' does not hold a number from 0 to 9223372036854775807"});
        row("not a truth value", &messagesOf<CUpdate>,
            updateWithout({"Chargeable"}, "<Chargeable>yes</Chargeable>"),
            {"Error in class 'CUpdate': tag 'Chargeable' does not hold true or false"});
        for (const char *const value : {"2026-03-29T02:30:00", "2026-02-29 00:00:00", "2026-03-29 24:00:00",
                                        "2026-03-29 02:30:0", "0000-01-01 00:00:00", "2026-03-29 02:30:60"})
            row(value, &messagesOf<CUpdate>,
                updateWithout({"DateTime"}, QByteArray("<DateTime>") + value + "</DateTime>"),
                {"Error in class 'CUpdate': tag 'DateTime' does not hold a date and time of the form yyyy-MM-dd "
                 "hh:mm:ss"});
        row("wrong root with a prefix", &messagesOf<CUpdates>, "<x:TessarineUpdates/>",
            {"Error in class 'CUpdates': wrong root element with tag name 'x:TessarineUpdates'"});
        row("empty catalogue", &messagesOf<CUpdates>, "<TessarineUpdates/>",
            missing("CUpdates", "", "Product"));
        row("product", &messagesOf<CUpdProduct>, "<Product/>",
            missing("CUpdProduct", "ProductName UpdateEnabled", "Version"));
        row("version", &messagesOf<CUpdProductVersion>, "<Version/>",
            missing("CUpdProductVersion", "Major Minor SubMinor SubSubMinor StringRepresentation", "Update"));
        row("automatic update", &messagesOf<CAutomaticUpdate>, "<AutomaticUpdate/>",
            missing("CAutomaticUpdate",
                    "UpdateEnabled UpdatePeriod DownloadEnabled InstallEnabled NotifyUser"));
        row("configuration", &messagesOf<CUpdaterConfig>, "<TessarineUpdaterConfig/>",
            missing("CUpdaterConfig", "UpdateUrl DownloadPath RemindPeriod BuyLink",
                    "AutomaticUpdate TessarineUpdates"));
        row("text between the tags", &messagesOf<CUpdate>, updateWithout({}, "<![CDATA[x]]> y"),
            {"Warning in class 'CUpdate': text between the tags is not kept"});
    }
    void messages()
    {
        QFETCH(ReadFunction, read);
        QFETCH(QByteArray, document);
        QFETCH(QStringList, expected);
        QCOMPARE(read(document), expected);
    }

    void errorsTellTheirPlaces()
    {
        XmlReport report;
        CUpdates catalogue;
        QVERIFY(!catalogue.read(
            "<TessarineUpdates>\n<Product><ProductName>P</ProductName><UpdateEnabled>1</UpdateEnabled></Product>\n"
            "<Product>\n<ProductName>P</ProductName><UpdateEnabled>1</UpdateEnabled><Version>\n"
            "<Major>3</Major><Minor>1</Minor><SubMinor>5</SubMinor><SubSubMinor>x</SubSubMinor>\n"
                + updateWithout({"FilePath"}) + "</Version></Product></TessarineUpdates>",
            &report));
        const QStringList expected{
            "Error in class 'CUpdProductVersion': tag 'SubSubMinor' does not hold a number from 0 to 4294967295 "
            "(/TessarineUpdates/Product[2]/Version[1]/SubSubMinor, line 5)",
            "Error in class 'CUpdate': tag 'FilePath' does not satisfy 'minOccurs = 1' condition "
            "(/TessarineUpdates/Product[2]/Version[1]/Update[1], line 6)",
            "Error in class 'CUpdProductVersion': tag 'StringRepresentation' does not satisfy 'minOccurs = 1' "
            "condition (/TessarineUpdates/Product[2]/Version[1], line 6)"};
        QCOMPARE(report.locatedErrors(), expected);
    }

    void hostileDocumentsAreRefusedWithTheirPlace_data()
    {
        Table<QByteArray, QString> row;
        const auto inside
            = [](const QByteArray &text) { return "<TessarineUpdates>\n" + text + "</TessarineUpdates>"; };
        row("nothing", "", "line 1: there is no root element (/, line 1)");
        row("truncated", "<TessarineUpdates><Product><ProductName>P",
            "the document ends too early (/TessarineUpdates/Product[1]/ProductName, line 1)");
        row("element inside a value", inside("<Product><ProductName>P<b/></ProductName></Product>"),
            "tag 'ProductName' holds an element in the place of a value (/TessarineUpdates/Product[1]/ProductName, ");
        row("wrong end", inside("<a></b>"), "the end of tag 'a' is missing (/TessarineUpdates/a, line 2)");
        row("end of a longer name", inside("<a></ab>"), "the end of tag 'a' is missing");
        row("two roots", "<TessarineUpdates/><a/>", "something follows the root element");
        row("entities", "<!DOCTYPE a [<!ENTITY b \"bb\">]><TessarineUpdates>&b;</TessarineUpdates>",
            "a document type declaration is not allowed");
        row("entity of its own", inside("<a>&b;</a>"), "'&b' is not a character that this document may name");
        row("character that is none", inside("<a b='&#0;'/>"), "'&#0' is not a character");
        row("surrogate by reference", inside("<a>&#xD800;</a>"), "'&#xD800' is not a character");
        row("control character", inside("\x01"), "line 2: the document holds the character U+0001");
        row("unclosed comment", "<TessarineUpdates><!-- ", "the document ends inside a comment");
        row("broken comment", inside("<!-- -- -->"), "'--' stands in a comment");
        row("section end in a text", inside("<a>]]></a>"), "']]>' stands in a text");
        row("attribute twice", inside("<a b='' b=''/>"), "the attribute 'b' stands twice");
        row("tag in an attribute", inside("<a b='<'/>"), "the tag 'a' is broken (/TessarineUpdates, line 2)");
        row("second declaration", inside("<?xml version='1.0'?>"), "a processing instruction has no name");
        row("not UTF-8", "<TessarineUpdates>\xff</TessarineUpdates>", "the document is not UTF-8 text");
        row("overlong UTF-8", "<TessarineUpdates>\xc0\xbc</TessarineUpdates>",
            "the document is not UTF-8 text");
        row("another encoding", "<?xml version=\"1.0\" encoding='UTF-16'?><TessarineUpdates/>",
            "the document is not UTF-8 text");
        row("too large", QByteArray(8 * 1024 * 1024 + 1, ' '), "the document is larger than 8388608 bytes");
        row("nested deeply", bytesOf("<TessarineUpdates>", "<a>", 1000000, ""),
            "elements are nested deeper than 16 (/TessarineUpdates/a, line 1)");
        row("too many elements", bytesOf("<TessarineUpdates>\n", "<a/>", 200001, "</TessarineUpdates>"),
            "more than 200000 elements");
        row("a million attributes", bytesOf("<TessarineUpdates ", "a='' ", 1000000, "/>"),
            "the attribute 'a' stands twice");
        row("a long name", bytesOf("<TessarineUpdates><", "a", 1000000, ">"), "aaaa, line 1)");
        row("more faults than anyone reads",
            bytesOf("<TessarineUpdates>", "<Product/>", 100000, "</TessarineUpdates>"),
            "tag 'ProductName' does not satisfy 'minOccurs = 1' condition");
    }
    void hostileDocumentsAreRefusedWithTheirPlace()
    {
        const auto [document, reason] = cells<QByteArray, QString>();
        CUpdates catalogue;
        catalogue.products.resize(7);
        XmlReport report;
        QVERIFY(!catalogue.read(document, &report));
        QCOMPARE(catalogue.products.size(), 7); // as it was
        const QString first = report.locatedErrors().first();
        QVERIFY2(first.contains(reason), qPrintable(first));
        QVERIFY(first.size() < 1000 && !first.contains('\n'));
        // What follows from a broken document is not reported as well.
        QVERIFY(report.errors.size() == 1 || report.errors.size() == XmlReport::maximumEntries);
    }

    void oddButProperXml()
    {
        CUpdates catalogue;
        XmlReport report;
        QVERIFY2(catalogue.read(
                     "\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8' standalone='yes'?>\r\n<!-- - -->"
                     "<?pi x?><TessarineUpdates\ta = '&#x3C;>'><!----><Product\n><ProductName> <![CDATA[<]]>"
                     "&amp;<!-- no --><![CDATA[]]]]>\r\n&#x1F600; </ProductName ><UpdateEnabled>\n 1 "
                     "</UpdateEnabled></Product></TessarineUpdates>\n<!-- end --><?pi?>",
                     &report),
                 qPrintable(report.locatedErrors().join('\n')));
        QCOMPARE(catalogue.products.first().productName, QString::fromUtf8("<&]]\n\U0001F600"));
        QVERIFY(catalogue.products.first().updateEnabled);
    }

    void whatANewerVersionWroteSurvives()
    {
        const QByteArray document = R"(<?xml version="1.0" encoding="UTF-8"?>
<TessarineUpdaterConfig schema='7' xmlns:x="urn:x">
    <Before/>
    <UpdateUrl priority="&quot;1&#10;">https://updates.example/</UpdateUrl>
    <x:After  one = "1">text <b>with</b><!-- all --> &#65;<![CDATA[<it>]]> holds</x:After>
    <Also/>
    <DownloadPath/>
    <RemindPeriod>7</RemindPeriod>
    <BuyLink>b</BuyLink>
    <TessarineUpdates dyn_lists="Product" newer="1">
        <First/>
        <Product dyn_lists="Version">
            <ProductName>P</ProductName>
            <UpdateEnabled>true</UpdateEnabled>
        </Product>
        <Between/>
        <Product dyn_lists="Version">
            <ProductName>Q</ProductName>
            <UpdateEnabled>true</UpdateEnabled>
        </Product>
        <Last/>
    </TessarineUpdates>
    <End/>
</TessarineUpdaterConfig>
)";
        CUpdaterConfig configuration;
        QVERIFY(configuration.read(document));
        QCOMPARE(QString::fromUtf8(configuration.write()), QString::fromUtf8(document));
        // What followed an element that has gone stays.
        configuration.installed->products.removeLast();
        configuration.remindPeriod = 8;
        const QByteArray written = configuration.write();
        QVERIFY2(written.contains("</Product>\n        <Between/>\n        <Last/>\n"), written.constData());
        QVERIFY(written.contains("<RemindPeriod>8</RemindPeriod>"));
        QVERIFY(written.contains(">text <b>with</b><!-- all --> &#65;<![CDATA[<it>]]> holds</x:After>"));
    }

    void unknownElementsAreKeptWithinABound()
    {
        CUpdates catalogue;
        XmlReport report;
        const QByteArray large = "<Large>" + QByteArray(300000, 'x') + "</Large>";
        QVERIFY(catalogue.read("<TessarineUpdates><Small/>" + large + "</TessarineUpdates>", &report));
        QCOMPARE(report.warnings.first(),
                 "Warning in class 'CUpdates': 'Large' is not known, and too much to be kept");
        const QByteArray written = catalogue.write();
        QVERIFY(written.contains("<Small/>") && !written.contains("<Large>"));
        // Elements that are small, but many.
        QVERIFY(
            catalogue.read(bytesOf("<TessarineUpdates>", "<a/>", 150000, "</TessarineUpdates>"), &report));
        QVERIFY(catalogue.write().count("<a/>") < 10000 && !report.warnings.isEmpty());
    }

    void everyValueComesBack()
    {
        for (uint seed = 0; seed < 150; ++seed) {
            QRandomGenerator random(seed);
            CPackedProblemReport report;
            fill(CPackedProblemReport::xmlClass(), &report, &random);
            XmlReport xmlReport;
            const QByteArray document = report.write(&xmlReport);
            CPackedProblemReport copy;
            QVERIFY2(copy.read(document, &xmlReport), qPrintable(QStringLiteral("%1: %2").arg(seed).arg(
                                                          xmlReport.locatedErrors().join('\n'))));
            QVERIFY2(copy == report, qPrintable(report.differingPaths(copy).join('\n')));
            QCOMPARE(copy.write(), document);
        }
    }

    void textsOfPeopleAreTrimmedAndNamesAreNot()
    {
        CUpdate update;
        QVERIFY(update.read(updateWithout(
            {"UpdateDescription"}, "<UpdateDescription> &lt;b&gt;&#13;\n\tx&#13; </UpdateDescription>")));
        QCOMPARE(update.updateDescription, "<b>\n\tx");
        QCOMPARE(update.uuid, "x");
        CReportAttachment file;
        QVERIFY(file.read("<Attachment><FileName> a&#13;&#10;\r\nb </FileName></Attachment>"));
        QCOMPARE(file.fileName, " a\r\n\nb ");
        file.fileName = "\\x\x1b";
        QVERIFY(file.write().contains("<FileName escaped=\"true\">\\\\x\\u001b</FileName>"));
        for (const char *const broken : {"\\", "\\x", "\\u12", "\\u12g4"}) {
            const QByteArray document
                = QByteArray("<Attachment><FileName escaped='true'>") + broken + "</FileName></Attachment>";
            QVERIFY2(!file.read(document), broken);
        }
    }

    void whatCannotBeReadIsNotWritten()
    {
        const auto errorOf = [](const auto &model) {
            XmlReport report;
            return model.write(&report).isEmpty() ? report.locatedErrors().value(0) : "written";
        };
        CUpdate update;
        QVERIFY(update.read(updateWithout({})));
        const CUpdate good = update;
        update.fileSize = -1;
        QCOMPARE(errorOf(update), "Error in class 'CUpdate': tag 'FileSize' does not hold a number from 0 to "
                                  "9223372036854775807 (/Update/FileSize)");
        update = good;
        update.dateTime = QDateTime(QDate(10000, 1, 1), QTime(0, 0), Qt::UTC);
        QVERIFY(errorOf(update).contains("tag 'DateTime' does not hold a date and time"));
        update = good;
        update.uuid = " x";
        QVERIFY(errorOf(update).contains("tag 'uuid' does not hold a text for an attribute"));
        update = good;
        update.updateDescription = QString(8 * 1024 * 1024, 'x');
        QCOMPARE(errorOf(update),
                 "Error in class 'CUpdate': the document is larger than 8388608 bytes (/Update)");
        CUpdProductVersion version;
        version.updates.fill(good, 200000 / 16 + 1);
        QVERIFY(errorOf(version).contains("more than 200000 elements"));
        CHostStatistics statistics;
        statistics.collectedOn = good.dateTime;
        statistics.processorLoad = std::nan("");
        QVERIFY(errorOf(statistics).contains("tag 'ProcessorLoad' does not hold a decimal number"));
    }

    void writtenFormIsTheSameInEveryLocale()
    {
        // The first two write digits of their own, the last groups them.
        for (const char *const locale : {"fa_IR", "ar_EG", "de_DE"}) {
            QLocale::setDefault(QLocale(locale));
            CUpdate update;
            QVERIFY(update.read(updateWithout({"FileSize"}, "<FileSize>1234567</FileSize>")));
            // An hour that a local time zone skips.
            QCOMPARE(update.dateTime, QDateTime(QDate(2026, 3, 29), QTime(2, 30), Qt::UTC));
            QVERIFY(update.write().contains("<DateTime>2026-03-29 02:30:00</DateTime>"));
            QVERIFY(update.write().contains("<FileSize>1234567</FileSize>"));
            QVERIFY(CUpdaterConfig().buyLink.endsWith(QLatin1String(locale)));
        }
    }

    void differencesAreNamedByTheirPaths()
    {
        CPackedProblemReport left;
        left.appConfig.emplace().folders.resize(2);
        left.attachments.resize(1);
        CPackedProblemReport right = left;
        QVERIFY(left == right);
        right.type = "crash";
        right.problemCode = -1;
        right.appConfig->folders[1].path = "/home/u";
        right.attachments.resize(2);
        right.hostInfo.emplace();
        QVERIFY(left != right);
        const QStringList expected{"/Report/Type", "/Report/ProblemCode", "/Report/AppConfig/Folder[2]/Path",
                                   "/Report/HostInfo", "/Report/Attachment[2]"};
        QCOMPARE(left.differingPaths(right), expected);
        CUpdates known;
        CUpdates unknown;
        QVERIFY(unknown.read("<TessarineUpdates a='1'><New/></TessarineUpdates>"));
        QCOMPARE(known.differingPaths(unknown),
                 QStringList({"/TessarineUpdates/New", "/TessarineUpdates/@a"}));
    }

    void personalValuesAreFoundAndCanBeTakenOut()
    {
        CPackedProblemReport report;
        QVERIFY(
            report.read("<Report><Type>user</Type><ContactName>Ann</ContactName><VmDirectory><ServerUuid>s"
                        "</ServerUuid><VirtualMachine><Uuid>u</Uuid><Name>Ann's</Name><Owner>Ann</Owner>"
                        "</VirtualMachine></VmDirectory></Report>"));
        const CPackedProblemReport before = report;
        QStringList found;
        for (const XmlPersonalValue &value : report.personalValues())
            found << value.path + '=' + value.text;
        const QStringList expected{"/Report/ContactName=Ann",
                                   "/Report/VmDirectory/VirtualMachine[1]/Name=Ann's",
                                   "/Report/VmDirectory/VirtualMachine[1]/Owner=<Owner>Ann</Owner>"};
        QCOMPARE(found, expected);
        report.clearPersonalValues();
        QVERIFY(report.personalValues().isEmpty());
        QVERIFY(!report.write().contains("Ann"));
        QCOMPARE(report.vmDirectory->virtualMachines.first().uuid, "u");
        // Its copy shares nothing that was emptied.
        QCOMPARE(before.vmDirectory->virtualMachines.first().name, "Ann's");
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_DataModel)
#include "tst_data_model.moc"
