#include "gui/tasks/location/CCountryListModel.h"
#include "gui/tasks/location/CIpGeoLocator.h"
#include "gui/tasks/location/UserInfo.h"
#include "tests/support/KovTest.h"
#include "tests/support/NginxServer.h"
#include "tests/tasks/HttpFixture.h"

#include <QComboBox>

class tst_Geolocation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        KovGui::init(KAM_CONSOLE);
        ChosenProxy::install();
        ChosenProxy::chosen = QNetworkProxy::NoProxy;
        QVERIFY(locator->url().endsWith("/geoip/generic"));
        QVERIFY2(m_server.start(m_root.path()), qPrintable(m_server.errorString()));
    }

    void cleanup()
    {
        QLocale::setDefault(QLocale::c());
        UserInfo::setPredefinedCountries({});
    }

    void answers_data()
    {
        Table<QByteArray, int, QString, QByteArray> table;
        const auto row = [&table](const char *name, const char *page, int error, const char *country,
                                  const char *record) {
            table(name, QByteArray(page).replace("CH", "<Country>CH</Country><Subdivision>ZH</Subdivision>"),
                  error, country, record);
        };
        const char *failed = "IP Geolocation failed with error: Unknown error\n";
        row("found", "<r><Result>0</Result>CH</r>", 0, "CH", "Country : CH\n");
        row("server error", "<r><Result>-1</Result>CH</r>", 1, "CH", "with error: Server error\n");
        row("parameter", "<r><Result>-2</Result></r>", 2, "", "with error: Invalid parameter\n");
        row("debug value", "<r><Result>-3</Result></r>", 3, "", "with error: Invalid debug value\n");
        row("other", "<r><Result>7</Result></r>", 4, "", failed);
        row("captive portal", "<html>CH</html>", 4, "", failed);
        row("captive portal of today", "<!doctype html><br>", 4, "", failed);
        row("result in words", "<r><Result>fine</Result>CH</r>", 4, "", failed);
        row("no page", "", 4, "", "IP Geolocation request failed with code: -2147483639\n");
    }

    void answers()
    {
        const auto [page, error, country, record] = cells<QByteArray, int, QString, QByteArray>();
        QFile file(m_root.filePath("generic"));
        file.remove();
        if (!page.isEmpty())
            QVERIFY(writeFile(file.fileName(), page));
        const LogCapture log(3);
        locator->setUrl(m_server.url("generic"));
        QSignalSpy finished(locator, &CIpGeoLocator::finished);
        locator->locate();
        QCOMPARE(locator->state(), CIpGeoLocator::Locating);
        QVERIFY(finished.wait());
        QCOMPARE(int(locator->error()), error);
        QCOMPARE(locator->countryCode(), country);
        QCOMPARE(locator->regionCode().isEmpty(), locator->countryCode().isEmpty());
        QCOMPARE(locator->state(), locator->error() ? CIpGeoLocator::LocationFailed : CIpGeoLocator::Located);
        QVERIFY2(log.text().contains(record), log.text().constData());
    }

    void newQuestionReplacesTheOld()
    {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Austria));
        TestServer silent("");
        TestServer answers(
            "HTTP/1.1 200 OK\r\nContent-Length: 46\r\n\r\n<r><Result>0</Result><Country>SE</Country></r>");
        const LogCapture log(3);
        QSignalSpy finished(locator, &CIpGeoLocator::finished);
        locator->setUrl(QString());
        locator->locate();
        QVERIFY(log.text().contains("Empty URL"));
        locator->setUrl(urlOf(silent));
        locator->locate();
        QTRY_VERIFY(!silent.received.isEmpty());
        locator->setUrl(urlOf(answers, "/geo"));
        locator->locate();
        // A view may ask again from the very slot that hears of the answer.
        connect(locator, &CIpGeoLocator::finished, &silent, [&] {
            if (answers.connections == 1)
                locator->locate();
        });
        QTRY_COMPARE(finished.size(), 2);
        QCOMPARE(answers.connections, 2);
        QCOMPARE(silent.disconnections, 1);
        QCOMPARE(locator->countryCode(), "SE");
        QVERIFY(answers.received.startsWith("GET /geo?Product=")
                && answers.received.contains("&Locale=de_AT HTTP"));
    }

    void countryNames_data()
    {
        Table<QString, QString, QString> row;
        row("common name", "en_US", "BO", "Bolivia");
        row("the language's file serves its countries", "de_AT", "AT", "Österreich");
        row("the country's file first", "zh_TW", "DE", "德國");
        row("script", "sr_Latn_RS", "DE", "Nemačka");
        row("no translation", "kea_CV", "DE", "Germany");
    }

    void countryNames()
    {
        const auto [locale, code, name] = cells<QString, QString, QString>();
        const QString package = "iso-codes/json/iso_3166-1.json";
        if (QStandardPaths::locate(QStandardPaths::GenericDataLocation, package).isEmpty())
            QSKIP("Without the package names are in English.");
        QLocale::setDefault(QLocale(locale));
        QCOMPARE(nameOf(code), name);
    }

    void countrySelector()
    {
        QLocale::setDefault(QLocale(QLocale::English));
        const LogCapture log(3);
        const int all = UserInfo::countries().size();
        QVERIFY(all > 240);
        QCOMPARE(CCountryListModel().rowCount(), 1 + all);
        UserInfo::setPredefinedCountries({"SE", "../x", "CH"});
        QComboBox box;
        auto *model = new CCountryListModel(&box);
        box.setModel(model);
        QVERIFY(log.text().contains("(!)Error: there is no country \"../x\""));
        QCOMPARE(model->rowCount(), 4 + all);
        QCOMPARE(box.itemText(0), UserInfo::selectRegionText());
        QCOMPARE(box.itemData(1).toString(), "separator");
        QCOMPARE(model->flags(model->index(1)), Qt::ItemFlags(Qt::NoItemFlags));
        // Sorted as people do: Å stands among the letters A.
        QVERIFY(box.findText("Åland Islands") < box.findText("Algeria"));
        QTest::keyClick(&box, Qt::Key_Down);
        QCOMPARE(box.currentText(), "Sweden");
        QCOMPARE(box.findData("CH"), 3);
    }

private:
    static QString nameOf(const QString &code)
    {
        for (const UserInfo::Country &country : UserInfo::countries()) {
            if (country.code == code)
                return country.name;
        }
        return QString();
    }

    CIpGeoLocator *const locator = CIpGeoLocator::instance();
    QTemporaryDir m_root;
    NginxServer m_server;
};

KOV_TEST_MAIN(QApplication, tst_Geolocation)
#include "tst_geolocation.moc"
