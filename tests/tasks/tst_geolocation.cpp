#include "gui/KovGui.h"
#include "gui/tasks/CCountryListModel.h"
#include "gui/tasks/CIpGeoLocator.h"
#include "gui/tasks/ProxyResult.h"
#include "gui/tasks/TranslationFile_p.h"
#include "gui/tasks/UserInfo.h"
#include "tests/support/KovTest.h"
#include "tests/support/NginxServer.h"
#include "tests/tasks/HttpFixture.h"

#include <QComboBox>

namespace {

QString s(const char *text)
{
    return QString::fromUtf8(text);
}

} // namespace

/// Nobody needs a proxy to reach this machine.
class NoProxyTask : public CAbstractTask, public ProxyResult
{
    Q_OBJECT
    Q_INTERFACES(ProxyResult)

public:
    Q_INVOKABLE explicit NoProxyTask(CTaskGenericId *id)
        : CAbstractTask({}, id)
    { }
    QNetworkProxy proxy() const override { return QNetworkProxy::NoProxy; }
};

class tst_Geolocation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void answers_data();
    void answers();
    void question();
    void newQuestionReplacesTheOld();
    void countryNames_data();
    void countryNames();
    void countryNamesWithoutThePackage();
    void countrySelector();
    void brokenTranslationFiles();
};

void tst_Geolocation::initTestCase()
{
    KovGui::init(KAM_CONSOLE);
    KovGui::staticMetaObjectHash()[s("CTaskGetProxyInfo")] = &NoProxyTask::staticMetaObject;
    QVERIFY(CIpGeoLocator::instance()->url().endsWith(s("/geoip/generic")));
}

void tst_Geolocation::cleanup()
{
    QLocale::setDefault(QLocale::c());
    UserInfo::setPredefinedCountries({});
}

void tst_Geolocation::answers_data()
{
    QTest::addColumn<QByteArray>("page");
    QTest::addColumn<int>("error");
    QTest::addColumn<QString>("country");
    QTest::addColumn<QByteArray>("record");
    const auto result = [](int code) {
        return "<r Version='1'><Result>" + QByteArray::number(code)
               + "</Result><Country>CH</Country><Subdivision>ZH</Subdivision></r>";
    };
    QTest::newRow("found") << result(0) << 0 << s("CH") << QByteArray("Country : CH\n");
    QTest::newRow("no country") << QByteArray("<r><Result>0</Result></r>") << 0 << QString()
                                << QByteArray("Result : 0\n");
    QTest::newRow("server error") << result(-1) << 1 << s("CH")
                                  << QByteArray("IP Geolocation failed with error: Server error\n");
    QTest::newRow("parameter") << result(-2) << 2 << s("CH") << QByteArray("with error: Invalid parameter\n");
    QTest::newRow("debug value") << result(-3) << 3 << s("CH")
                                 << QByteArray("with error: Invalid debug value\n");
    QTest::newRow("other") << result(7) << 4 << s("CH") << QByteArray("with error: Unknown error\n");
    QTest::newRow("captive portal") << QByteArray("<html><Country>XX</Country></html>") << 4 << QString()
                                    << QByteArray("with error: Unknown error\n");
    QTest::newRow("captive portal of today")
        << QByteArray("<!doctype html><br>") << 4 << QString() << QByteArray("with error: Unknown error\n");
    QTest::newRow("result in words") << QByteArray("<r><Result>fine</Result><Country>XX</Country></r>") << 4
                                     << QString() << QByteArray("with error: Unknown error\n");
    QTest::newRow("no page") << QByteArray() << 4 << QString()
                             << QByteArray("IP Geolocation request failed with code: -2147483639\n");
}

void tst_Geolocation::answers()
{
    QFETCH(QByteArray, page);
    QFETCH(QByteArray, record);
    QTemporaryDir root;
    QFile file(root.filePath(s("generic")));
    if (!page.isEmpty())
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(page) && file.flush());
    NginxServer server;
    QVERIFY2(server.start(root.path()), qPrintable(server.errorString()));

    RecordedLog log;
    CIpGeoLocator *locator = CIpGeoLocator::instance();
    locator->setUrl(server.url(s("generic")));
    QSignalSpy finished(locator, &CIpGeoLocator::finished);
    locator->locate();
    QCOMPARE(locator->state(), CIpGeoLocator::Locating);
    QVERIFY(finished.wait());
    QTEST(int(locator->error()), "error");
    QTEST(locator->countryCode(), "country");
    QCOMPARE(locator->regionCode().isEmpty(), locator->countryCode().isEmpty());
    QCOMPARE(locator->state(), locator->error() ? CIpGeoLocator::LocationFailed : CIpGeoLocator::Located);
    QVERIFY2(log.text().contains(record), log.text().constData());
}

void tst_Geolocation::question()
{
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Austria));
    RawServer server(QByteArray(), true);
    CIpGeoLocator *locator = CIpGeoLocator::instance();
    QSignalSpy finished(locator, &CIpGeoLocator::finished);
    RecordedLog log;
    locator->setUrl(QString());
    locator->locate();
    QVERIFY(log.text().contains("Empty URL") && !finished.wait(50));

    locator->setUrl(server.url(s("geoip/generic")));
    locator->locate();
    QVERIFY(finished.wait());
    QVERIFY2(server.received.startsWith("GET /geoip/generic?Product=")
                 && server.received.contains("&Locale=de_AT HTTP"),
             server.received.constData());
}

void tst_Geolocation::newQuestionReplacesTheOld()
{
    RawServer silent;
    RawServer answers(
        "HTTP/1.1 200 OK\r\nContent-Length: 46\r\n\r\n<r><Result>0</Result><Country>SE</Country></r>");
    CIpGeoLocator *locator = CIpGeoLocator::instance();
    QSignalSpy finished(locator, &CIpGeoLocator::finished);
    locator->setUrl(silent.url());
    locator->locate();
    QTRY_VERIFY(!silent.received.isEmpty());
    locator->setUrl(answers.url());
    locator->locate();
    // A view may ask again from the very slot that hears of the answer.
    QObject::connect(locator, &CIpGeoLocator::finished, &silent, [&] {
        if (answers.connections == 1)
            locator->locate();
    });
    QTRY_COMPARE(answers.connections, 2);
    QTRY_COMPARE(finished.size(), 2);
    QCOMPARE(silent.disconnections, 1);
    QCOMPARE(locator->countryCode(), s("SE"));
}

void tst_Geolocation::countryNames_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("name");
    QTest::newRow("English") << s("en_US") << s("DE") << s("Germany");
    QTest::newRow("common name") << s("en_US") << s("BO") << s("Bolivia");
    QTest::newRow("German") << s("de_DE") << s("DE") << s("Deutschland");
    QTest::newRow("the language's file serves its countries") << s("de_AT") << s("AT") << s("Österreich");
    QTest::newRow("the country's file first") << s("zh_TW") << s("DE") << s("德國");
    QTest::newRow("script") << s("sr_Latn_RS") << s("DE") << s("Nemačka");
    QTest::newRow("no translation") << s("kea_CV") << s("DE") << s("Germany");
}

void tst_Geolocation::countryNames()
{
    QFETCH(QString, locale);
    QFETCH(QString, code);
    QLocale::setDefault(QLocale(locale));
    const QList<UserInfo::Country> countries = UserInfo::countries();
    QVERIFY(countries.size() > 240);
    QString found;
    for (const UserInfo::Country &country : countries) {
        if (country.code == code)
            found = country.name;
    }
    QTEST(found, "name");
    const auto position = [&countries](const char *wanted) {
        return std::find_if(countries.begin(), countries.end(),
                            [wanted](const auto &c) { return c.code == s(wanted); });
    };
    // Åland stands among the letters A where the language does not say otherwise.
    if (locale.startsWith(s("en")))
        QVERIFY(position("AX") < position("DZ"));
}

void tst_Geolocation::countryNamesWithoutThePackage()
{
    QTemporaryDir empty;
    const QByteArray before = qgetenv("XDG_DATA_DIRS");
    qputenv("XDG_DATA_DIRS", empty.path().toLocal8Bit());
    RecordedLog log;
    const QList<UserInfo::Country> countries = UserInfo::countries();
    before.isNull() ? qunsetenv("XDG_DATA_DIRS") : qputenv("XDG_DATA_DIRS", before);
    QVERIFY(log.text().contains("(!)Warning: there is no country list"));
    QVERIFY(countries.size() > 200);
    const auto isPlausible
        = [](const UserInfo::Country &c) { return c.code.size() == 2 && c.name.size() > 3; };
    QVERIFY(std::all_of(countries.begin(), countries.end(), isPlausible));
    QVERIFY(std::any_of(countries.begin(), countries.end(), [](const UserInfo::Country &c) {
        return c.code == s("CH") && c.name == s("Switzerland");
    }));
}

void tst_Geolocation::countrySelector()
{
    RecordedLog log;
    const int all = UserInfo::countries().size();
    QCOMPARE(CCountryListModel().rowCount(), 1 + all);
    UserInfo::setPredefinedCountries({s("SE"), s("../x"), s("CH")});
    QComboBox box;
    auto *model = new CCountryListModel(&box);
    box.setModel(model);
    QVERIFY(log.text().contains("(!)Error: there is no country \"../x\""));
    QCOMPARE(model->rowCount(), 4 + all);
    QCOMPARE(box.itemText(0), UserInfo::selectRegionText());
    QCOMPARE(box.itemData(0).toString(), QString());
    QCOMPARE(box.itemText(2), s("Sweden"));
    QCOMPARE(box.findData(s("CH")), 3);
    QCOMPARE(model->flags(model->index(1)), Qt::ItemFlags(Qt::NoItemFlags));
    QCOMPARE(model->data(model->index(1), CCountryListModel::CodeRole).toString(), s("separator"));
    QCOMPARE(model->flags(model->index(2)), Qt::ItemIsSelectable | Qt::ItemIsEnabled);
    // The keyboard steps over the separator.
    QTest::keyClick(&box, Qt::Key_Down);
    QCOMPARE(box.currentIndex(), 2);
}

void tst_Geolocation::brokenTranslationFiles()
{
    QFile file(s("/usr/share/locale/de/LC_MESSAGES/iso_3166-1.mo"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray whole = file.readAll();
    const int count = TranslationFile::read(whole).size();
    QVERIFY(count > 240);
    for (int size = 0; size < whole.size(); size += 97)
        QVERIFY(TranslationFile::read(whole.left(size)).size() < count);
    QByteArray wild = whole;
    wild.replace(8, 4, "\xff\xff\xff\xff");
    QVERIFY(TranslationFile::read(wild).isEmpty());
}

KOV_TEST_MAIN(QApplication, tst_Geolocation)
#include "tst_geolocation.moc"
