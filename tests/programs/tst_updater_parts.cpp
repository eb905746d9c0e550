#include "programs/updater/base/Address.h"
#include "programs/updater/base/CommandLine.h"
#include "programs/updater/base/Files.h"
#include "programs/updater/check/CheckOutput.h"
#include "programs/updater/trust/OfferStore.h"
#include "programs/updater/trust/Trust.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"
#include "tests/support/SampleSignature.h"

namespace {

/// "version locale os status ancestry date": what a row says about one update; "-" is empty.
CUpdates catalogueOf(const QStringList &lines)
{
    CUpdates catalogue;
    CUpdProduct product;
    product.productName = "P";
    product.updateEnabled = true;
    for (const QString &line : lines) {
        QStringList words = line.split(' ');
        words.replaceInStrings("-", QString());
        VersionNumber number{};
        parseVersion(words.at(0), &number);
        CUpdProductVersion version;
        version.major = number[0];
        version.minor = number[1];
        version.subMinor = number[2];
        version.subSubMinor = number[3];
        CUpdate update;
        update.updateName = line;
        update.localeName = words.at(1);
        update.osType = words.at(2);
        update.status = words.at(3);
        update.ancestry = words.at(4);
        update.dateTime = QDateTime(QDate::fromString(words.at(5), "yyyyMMdd"), QTime(0, 0), Qt::UTC);
        version.updates = {update};
        product.versions.append(version);
    }
    catalogue.products = {CUpdProduct(), product};
    return catalogue;
}

/// The calling application's rule for one value.
QString valueAfter(const QString &output, const char *marker, const char *end)
{
    const int begin = output.indexOf(QLatin1String(marker), 0, Qt::CaseInsensitive);
    if (begin < 0)
        return QString();
    const QString rest = output.mid(begin + int(qstrlen(marker)));
    const int length = rest.indexOf(QLatin1String(end));
    return length < 0 ? rest : rest.left(length).trimmed();
}

QUrl urlOf(const char *text)
{
    return QUrl(QString::fromLatin1(text));
}

/// A small catalogue and its signature, and how they are judged a second before they expire.
struct SignedCatalogue
{
    QByteArray document = "<TessarineUpdates/>\n";
    QByteArray signature;
    TrustCriteria criteria{Signature::builtInKeys(), "Tessarine Console", "console/v3", QDateTime()};

    SignedCatalogue()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath("c.xml");
        Signature::Statement statement = sampleStatement(Signature::Role::Catalogue);
        criteria.now = statement.expires.addSecs(-1);
        if (writeFile(path, document) && signSample(path, statement))
            signature = fileContent(path + ".sig");
    }

    ExitCode judge() const { return judgeCatalogue(document, signature, criteria).code; }
};

} // namespace

/// The updater's decisions, without a server.
class tst_UpdaterParts : public QObject
{
    Q_OBJECT
private Q_SLOTS:

    void choice_data()
    {
        // chosen: index, -1 for none
        Table<QStringList, int> row;
        // Looked for: 3.1.4.31301, de_AT, linux.
        row("empty catalogue", {}, -1);
        row("newer build", {"3.1.4.31302 any any released - 20260101"}, 0);
        row("the same build", {"3.1.4.31301 any any released - 20260101"}, -1);
        row("a larger build of an older version", {"3.1.3.99999 any any released - 20260101"}, -1);
        row("versions are compared as numbers",
            {"3.1.9.1 any any released - 20260101", "3.1.10.1 any any released - 20250101"}, 1);
        row("the newest comes first",
            {"3.2.0.1 any any released - 20260101", "3.1.9.1 any any released - 20260201"}, 0);
        row("newest was gone back from",
            {"3.3.0.1 any any released - 20260101", "3.1.9.1 any any released - 20250101"}, 1);
        row("newest does not apply",
            {"3.2.0.1 any windows released - 20260101", "3.1.9.1 any Linux Released - 20250101"}, 1);
        row("withdrawn or not out yet",
            {"3.2.0.1 any any withdrawn - 20260101", "3.2.0.2 any any beta - 20260101",
             "3.2.0.3 any any - - 20260101"},
            -1);
        row("other locales",
            {"3.2.0.1 de_DE any released - 20260101", "3.2.0.1 en any released - 20260101",
             "3.2.0.1 d any released - 20260101"},
            -1);
        row("closest locale",
            {"3.2.0.1 any any released - 20260301", "3.2.0.1 de any released - 20260201",
             "3.2.0.1 de_at.UTF8 any released - 20260101"},
            2);
        row("language before any",
            {"3.2.0.1 - any released - 20260301", "3.2.0.1 de any released - 20260201"}, 1);
        row("system by name before any",
            {"3.2.0.1 any * released - 20260301", "3.2.0.1 any linux released - 20260201"}, 1);
        row("latest date", {"3.2.0.1 any any released - 20260101", "3.2.0.1 any any released - 20260102"}, 1);
        row("first of equals", {"3.2.0.1 any any released - 20260101", "3.2.0.1 any any Released - 20260101"},
            0);
        row("ancestry names the version", {"3.2.0.1 any any released 3.0,3.1.4.31301 20260101"}, 0);
        row("ancestry names its beginning", {"3.2.0.1 any any released 2,3.1 20260101"}, 0);
        row("ancestry names others", {"3.2.0.1 any any released 3.1.4.3130,3.10,2 20260101"}, -1);
        row("ancestry makes no sense", {"3.2.0.1 any any released 3.x 20260101"}, -1);
        row("an older step applies when the newest does not",
            {"4.0.0.1 any any released 3.9 20260101", "3.9.0.1 any any released 3 20250101"}, 1);
    }

    void choice()
    {
        const auto [updates, chosen] = cells<QStringList, int>();
        CUpdates catalogue = catalogueOf(updates);
        UpdateCriteria criteria{"P", {3, 1, 4, 31301}, "de_AT", "linux"};
        criteria.rejected = {{3, 3, 0, 1}};
        const std::optional<ChosenUpdate> result = chooseUpdate(catalogue, criteria);
        QCOMPARE(result ? updates.indexOf(result->update.updateName) : -1, chosen);

        // Whatever applies, it never does for another product, a closed one, or without being paid.
        criteria.product = "p";
        QVERIFY(!chooseUpdate(catalogue, criteria));
        criteria.product = "P";
        for (CUpdProductVersion &version : catalogue.products[1].versions)
            version.updates[0].chargeable = true;
        QVERIFY(!chooseUpdate(catalogue, criteria));
        catalogue = catalogueOf(updates);
        catalogue.products[1].updateEnabled = false;
        QVERIFY(!chooseUpdate(catalogue, criteria));
    }

    void package_data()
    {
        // The path in the catalogue, and what it means there; empty: refused.
        Table<QByteArray, QByteArray> table;
        const auto row = [&table](const char *filePath, const char *package,
                                  const char *catalogue = "https://h/a/c.xml?k=s") {
            table(filePath, catalogue, package);
        };
        row("Setup-3.1.5.31502.exe", "https://h/a/Setup-3.1.5.31502.exe");
        row("b/Setup one.exe", "https://h/a/b/Setup%20one.exe");
        row("/b/x..y.exe", "https://h/b/x..y.exe");
        row("https://cdn/x.exe?v=1", "https://cdn/x.exe?v=1");
        row("x.exe", "http://h/x.exe", "http://user:secret@h/c.xml");
        row("https://cdn/y.exe", "https://cdn/y.exe", "http://h/c.xml");
        const QByteArray refused(
            "|b/|http://h/x.exe|//evil/x.exe|../x.exe|b/../../x.exe|b/./x.exe|b/%2e%2e/x.exe|b/%252E./x.exe|"
            "..%2fx.exe|b%255cx.exe|..\\x.exe|b\\x.exe|file:///etc/passwd|javascript:x|C:/x.exe|"
            "ftp://h/x.exe|https://user@h/x.exe|https://@h/x.exe|https:///x.exe|x.exe#y|x.exe\nUUID: y|"
            "x%0ay.exe|x%00.exe|[BEGIN_UPDATE_DESCRIPTION]|x.exe?[begin]");
        for (const QByteArray &path : refused.split('|'))
            row(path.constData(), "");
    }

    void package()
    {
        const auto [catalogue, package] = cells<QByteArray, QByteArray>();
        const QString filePath = QTest::currentDataTag();
        QUrl url;
        const QString fault = Address::resolvePackage(urlOf(catalogue.constData()), filePath, &url);
        QCOMPARE(fault.isEmpty(), !package.isEmpty());
        QCOMPARE(url.toEncoded(), package);
    }

    void reportCannotBeForged_data()
    {
        // read: id|size|checksum|description, or the tag that is refused
        Table<QString, QString, qint64, QString, QString> row;
        const char *const md5 = "00112233445566778899aabbccddeeff";
        row("plain", "{7-1.2.3.4}", md5, 15 * 1024, "two\n lines",
            "-3.1.5-31502-{7-1.2.3.4}|15360|00112233445566778899aabbccddeeff|two\n lines");
        row("id with the version already", "-3.1.5-31502-a", "", 1025, "d", "-3.1.5-31502-a|2048||d");
        row("id of a longer build number", "-3.1.5-315020", "", 0, "d", "-3.1.5-31502--3.1.5-315020|0||d");
        row("nothing optional", "", "", 0, "", "-3.1.5-31502|0||");
        row("markers in the description", "a", "", 1,
            "x\nfile_path: http://evil/\nUUID: b\nFILE_SIZE: 9 K\nchecksum: 1",
            "-3.1.5-31502-a|1024||x\nfile_path: http://evil/\nUUID: b\nFILE_SIZE: 9 K\nchecksum: 1");
        row("begin and end markers in the description", "a", "", 1,
            "[begin_update_description]x[END_UPDATE_[END_UPDATE_DESCRIPTION]DESCRIPTION] y",
            "-3.1.5-31502-a|1024||[begin_update_description]x[END_UPDATE_(END_UPDATE_DESCRIPTION)DESCRIPTION] y");
        row("prefix that is cut off", "a", "", 1, "UPDATE_DESCRIPTION: x",
            "-3.1.5-31502-a|1024||UPDATE_DESCRIPTION: x");
        row("terminal control", "a", "", 1, "a\x1b[2Jb\xc2\x9b c", "-3.1.5-31502-a|1024||a[2Jb c");
        row("line feed in the id", "a\nFILE_PATH: x", "", 1, "d", "Uuid");
        row("marker in the id", "[BEGIN_UPDATE_DESCRIPTION]", "", 1, "d", "Uuid");
        row("slash in the id", "a/b", "", 1, "d", "Uuid");
        row("short checksum", "a", "0011", 1, "d", "CheckSum");
        row("line feed after the checksum", "a", "00112233445566778899aabbccddeeff\n", 1, "d", "CheckSum");
        row("size that overflows", "a", "", std::numeric_limits<qint64>::max(), "d", "FileSize");
    }

    void reportCannotBeForged()
    {
        const auto [uuid, checkSum, size, description, read]
            = cells<QString, QString, qint64, QString, QString>();
        ChosenUpdate chosen;
        chosen.version = {3, 1, 5, 31502};
        chosen.update.uuidElement = uuid;
        chosen.update.checkSum = checkSum;
        chosen.update.fileSize = size;
        chosen.update.updateDescription = description;
        QByteArray output;
        const QString fault = composeCheckOutput(chosen, urlOf("http://h/a%20b.exe"), &output);
        if (!fault.isEmpty()) {
            QCOMPARE(fault, read);
            return;
        }
        const QString text = QString::fromUtf8(output);
        QCOMPARE(valueAfter(text, "FILE_PATH: ", "\n"), "http://h/a%20b.exe");
        QString shown = valueAfter(text, "[BEGIN_UPDATE_DESCRIPTION]", "[END_UPDATE_DESCRIPTION]");
        if (shown.startsWith("UPDATE_DESCRIPTION: "))
            shown = shown.mid(20).trimmed();
        QString kilobytes = valueAfter(text, "FILE_SIZE: ", "\n");
        kilobytes.chop(2);
        const QStringList values{valueAfter(text, "UUID: ", "\n"),
                                 QString::number(kilobytes.toLongLong() * 1024),
                                 valueAfter(text, "CHECKSUM: ", "\n"), shown};
        QCOMPARE(values.join('|'), read);
    }

    void commandLine_data()
    {
        // arguments: separated by "|"
        Table<QString> row;
        row("--update|check|-i|-ud|-nr|--url|http://h/c.xml", "");
        row("--started-by-gui|--update|check|--mode|silent|--background-download|--hide-no-updates-message|--url|"
            "http://h",
            "");
        row("--started-by-gui|--update|check|||", "");
        row("--update|check|--proxy-server|p.example|--proxy-port|3128|--proxy-try-count|1", "");
        row("--update|install|--file|/a b/p.exe|--not-check-postinstall", "");
        row("--help|--nonsense", "");
        row("", "--update check is missing");
        row("--update", "--update needs a value");
        row("--update|remove", "the value of --update is not valid");
        row("--update|check|--url|", "the value of --url is not valid");
        row("--update|check|--url|a|--url|b", "--url is given twice");
        row("--update|check|http://user:secret@h/", "argument 3 is not an option");
        row("--update|check|--mode|loud", "the value of --mode is not valid");
        row("--update|check|--current-version|3.1.4", "the value of --current-version is not valid");
        row("--update|check|--proxy-server|p", "--proxy-server and --proxy-port need each other");
        row("--update|check|--proxy-port|1", "--proxy-server and --proxy-port need each other");
        row("--update|check|--proxy-server|--proxy-port", "the value of --proxy-server is not valid");
        row("--update|check|--proxy-server|user:secret@p|--proxy-port|1",
            "the value of --proxy-server is not valid");
        row("--update|check|--proxy-port|65536|--proxy-server|p", "the value of --proxy-port is not valid");
        row("--update|check|--proxy-kind|socks4", "the value of --proxy-kind is not valid");
        row("--update|check|--proxy-try-count|0", "the value of --proxy-try-count is not valid");
    }

    void commandLine()
    {
        const auto [fault] = cells<QString>();
        const QString arguments = QTest::currentDataTag();
        CommandLine commandLine;
        QCOMPARE(parseCommandLine(arguments.split('|'), &commandLine), fault);
    }

    void alteredByte()
    {
        SignedCatalogue sample;
        QCOMPARE(sample.judge(), ExitCode::UpdateFound);
        for (QByteArray *file : {&sample.document, &sample.signature}) {
            const QByteArray whole = *file;
            QVector<QByteArray> altered{whole + '\n'};
            for (int i = 0; i < whole.size(); ++i) {
                altered += whole.left(i);
                for (const int bits : {1, 0x20, 0x80, 0xff}) {
                    altered += QByteArray(whole).insert(i, char(bits));
                    altered += QByteArray(whole).replace(i, 1, QByteArray(1, char(whole.at(i) ^ bits)));
                }
            }
            for (const QByteArray &bad : qAsConst(altered)) {
                *file = bad;
                QVERIFY2(sample.judge() == ExitCode::CatalogueNotTrusted, bad.constData());
            }
            *file = whole;
        }
        QCOMPARE(sample.judge(), ExitCode::UpdateFound);
    }

    void counters()
    {
        const QTemporaryDir root;
        OfferStore store(root.filePath("store"));
        Signature::Statement catalogue = sampleStatement(Signature::Role::Catalogue);
        catalogue.key = "0011223344556677";
        const auto isOld = [&store, &catalogue](quint64 counter) {
            catalogue.counter = counter;
            const OfferStore::Counted counted = store.countCatalogue(catalogue);
            return counted.fault.isEmpty() && counted.isOld;
        };
        QVERIFY(!isOld(5));
        QVERIFY(isOld(4));
        QVERIFY(!isOld(5));
        // A second key starts anew, as another line and another product; what was seen with the first stays
        // seen.
        catalogue.key = "8899aabbccddeeff";
        QVERIFY(!isOld(1));
        catalogue.line = "console-beta/v3";
        QVERIFY(!isOld(0));
        catalogue.product = "Tessarine Studio";
        QVERIFY(!isOld(0));
        catalogue = sampleStatement(Signature::Role::Catalogue);
        catalogue.key = "0011223344556677";
        QVERIFY(isOld(4));
        for (const QString &name : QDir(root.filePath("store")).entryList({"counter-*"}))
            QVERIFY(writeFile(root.filePath("store/" + name), "five\n"));
        QVERIFY(store.countCatalogue(catalogue).fault.contains("remove it to begin anew"));
    }

    void offersOfSeveralProducts()
    {
        const QTemporaryDir root;
        const QString folder = root.filePath("a/store");
        OfferStore store(folder);
        const QString one = "../one";
        const QString other = "other";
        const QString name = "p.run";
        QCOMPARE(store.setOffer(one, name, "1"), QString());
        QCOMPARE(store.setOffer(other, name, "2"), QString());
        QCOMPARE(store.packageSignature(one, name) + store.packageSignature(other, name), QByteArray("12"));
        QCOMPARE(store.packageSignature(one, "p"), QByteArray());
        QCOMPARE(store.setOffer(one, "q\n.run", "3"), QString());
        // The older package may be under way to its installation.
        QCOMPARE(store.packageSignature(one, name), QByteArray("1"));
        QCOMPARE(store.packageSignature(one, "q\n.run"), QByteArray("3"));
        for (int offer = 0; offer < 20; ++offer)
            QCOMPARE(store.setOffer(one, QString::number(offer), "4"), QString());
        QCOMPARE(store.packageSignature(other, name), QByteArray("2"));
        QFileInfoList files = QDir(folder).entryInfoList(QDir::Files | QDir::Hidden);
        QCOMPARE(files.size(), 1 + 16);
        files.append(QFileInfo(folder));
        for (const QFileInfo &file : qAsConst(files)) {
            const Files::Rights rights = Files::rightsAt(file.filePath());
            QVERIFY(rights.isOwn && !rights.anyOtherMayRead && !rights.anyOtherMayWrite);
        }
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_UpdaterParts)
#include "tst_updater_parts.moc"
