#include "gui/update/UpdateTypes_p.h"
#include "gui/update/check/UpdaterOutputUtils.h"
#include "gui/update/launch/CommandLineUtils.h"
#include "gui/update/record/CAppVersion.h"
#include "gui/update/record/CProductUpdateInfo.h"
#include "gui/update/record/CustomUpdateServerInfo.h"
#include "gui/update/record/UpdateUrl_p.h"
#include "gui/update/record/UpgradeUtils.h"
#include "tests/support/KovTest.h"

namespace {

QVariant stored(const char *key)
{
    return QSettings().value(key);
}

} // namespace

/// The update record and everything about updates that stays in the settings.
class tst_UpdateRecord : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { QSettings().clear(); }

    void parse_data()
    {
        // values: address|id|notes|MD5|bytes
        Table<QByteArray, QByteArray> row;

        row("whole",
            "noise\nFILE_PATH: http://h/p \nUUID:  -3.1.5-31502\t\nFILE_SIZE: 15 K\nCHECKSUM: abc\r\n"
            "[BEGIN_UPDATE_DESCRIPTION]\nUPDATE_DESCRIPTION: one\ntwo\n[END_UPDATE_DESCRIPTION]\n",
            "http://h/p|-3.1.5-31502|one\ntwo|abc|15360");
        row("nothing", "", "||||0");
        row("begin in lower case, first of two", "file_path: a\nFILE_PATH: b\n", "a||||0");
        row("end in lower case is none", "[BEGIN_UPDATE_DESCRIPTION] x [end_update_description]\n",
            "|| x [end_update_description]\n||0");
        row("cut off", "UUID:  x ", "| x |||0");
        row("notes without prefix", "[BEGIN_UPDATE_DESCRIPTION]  x\n[END_UPDATE_DESCRIPTION]", "||x||0");
        row("a marker in a value", "UUID: FILE_PATH: x\n", "x|FILE_PATH: x|||0");
        row("broken UTF-8", "UUID: \xc3\xa9\xff\n", "|\xc3\xa9\xef\xbf\xbd|||0");
        row("size beyond 32 bits", "FILE_SIZE: 5000000 K\n", "||||5120000000");
        row("largest size", "FILE_SIZE: 9007199254740991 K\n", "||||9223372036854774784");
        row("size beyond 63 bits", "FILE_SIZE: 9007199254740992 K\n", "||||0");
        row("negative size", "FILE_SIZE: -5 K\n", "||||0");
        row("size without unit loses its digit", "FILE_SIZE: 1\n", "||||0");
    }

    void parse()
    {
        const auto [output, read] = cells<QByteArray, QByteArray>();
        const CProductUpdateInfo info = UpdaterOutputUtils::parse(output);
        const QStringList values{info.download.url, info.transactionId, info.updateDescription,
                                 info.download.md5, QString::number(info.download.size)};
        QCOMPARE(values.join('|').toUtf8(), read);
        QCOMPARE(info.updateType, CProductUpdateInfo::MinorUpdate);
        QCOMPARE(info.purchaseUrl + info.download.destinationDirectory, QString());
    }

    void version()
    {
        const QPair<const char *, const char *> cases[] = {
            {"http://h/1/Setup-3.1.5.31502.exe", "3.1.5-31502"},
            {"Setup-3x1x5x31502", "3.1.5-31502"},
            {"Setup-3.1.5.31502.exe?sig=a.b", "3.1.5-31502"},
            {"a-3.1.5.31502-5.6.7.8.exe", "3.1.5-31502"},
            {"Setup_3x1x5x31502.exe", ""},
            {"/pool-9.9.9.9/setup.exe", ""},
            {"C:\\pool-9.9.9.9\\setup.exe", ""},
            {"Setup-3.1.5.exe", ""},
            {"", ""},
        };
        CProductUpdateInfo info(CProductUpdateInfo::MajorUpgrade);
        info.transactionId = "-7.8.9-10";
        for (const auto &[path, version] : cases) {
            info.download.url = path;
            QCOMPARE(info.getVersion(), version);
            QCOMPARE(info.getMajorVersion(), QString(version).left(1));
        }
        info.updateType = CProductUpdateInfo::MinorUpdate;
        QCOMPARE(info.getVersion(), "7.8.9-10");
    }

    void storedLayout()
    {
        CProductUpdateInfo info(CProductUpdateInfo::MajorUpgrade);
        info.transactionId = "id/1";
        info.purchaseUrl = "http://buy";
        info.updateDescription = "a, b; \"c\"\n\xc3\xa9";
        info.download.url = "http://h/p.deb";
        info.download.destinationDirectory = "/d";
        info.download.md5 = "abc";
        info.download.size = Q_INT64_C(5120000000);
        info.store();
        const QPair<const char *, QVariant> keys[]
            = {{"TransactionId", info.transactionId},
               {"PurchaseUrl", info.purchaseUrl},
               {"DownloadUrl", info.download.url},
               {"UpdateDescription", info.updateDescription},
               {"DestinationFolder", info.download.destinationDirectory},
               {"UpdateMD5", info.download.md5},
               {"UpdateSize", QString::number(info.download.size)}};
        for (const auto &[key, value] : keys)
            QCOMPARE(QSettings().value(QString("ProductUpdate/MajorUpgrade/") + key).toString(),
                     value.toString());

        CProductUpdateInfo read(static_cast<CProductUpdateInfo::UpdateType>(7));
        read.transactionId = "left from before";
        read.load();
        QCOMPARE(read.transactionId, QString());
        read.store();
        QVERIFY(QSettings().contains("ProductUpdate/MinorUpdate/TransactionId"));
        read.updateType = CProductUpdateInfo::MajorUpgrade;
        read.load();
        QCOMPARE(read.updateDescription + read.download.md5, info.updateDescription + info.download.md5);
        QCOMPARE(read.download.size, info.download.size);

        registerUpdateTypes();
        QVERIFY(QMetaObject::invokeMethod(this, "receive", Qt::QueuedConnection,
                                          Q_ARG(CProductUpdateInfo, read)));
        QTRY_COMPARE(m_received, "id/1");
    }

    void compareVersions()
    {
        const CAppVersion current = CAppVersion::currentVersion();
        QCOMPARE(current.toString(), "3.1.4.31301");
        QCOMPARE(CAppVersion::compare(current, CAppVersion(3, 1, 4, 31301)), 0);
        QCOMPARE(CAppVersion::compare(current, CAppVersion(3, 1, 5, 0)), 1);
        QCOMPARE(CAppVersion::compare(CAppVersion(3, 2, 0, 0), CAppVersion(3, 1, 99, 99999)), -1);
        QCOMPARE(CAppVersion::compare(CAppVersion(0, 0, 0, 0xffffffffu), CAppVersion(0, 0, 0, 1)), -1);
        QVERIFY(CAppVersion().isNull() && !CAppVersion(0, 0, 0, 1).isNull());
    }

    void serverPolicy()
    {
        using namespace CustomUpdateServerInfo;
        QCOMPARE(policy(), TessarineServer);
        const QPair<const char *, Policy> cases[] = {{"None", NoServer},
                                                     {"Tessarine", TessarineServer},
                                                     {"none", CustomServer},
                                                     {"http://h/c", CustomServer}};
        for (const auto &[setting, expected] : cases) {
            QSettings().setValue("Application preferences/VolumeLicenseUpdatePolicy", setting);
            QCOMPARE(policy(), expected);
            QCOMPARE(url(), expected == CustomServer ? setting : "");
        }
    }

    void startRequests()
    {
        using namespace UpgradeUtils;
        setDownloadingUpdateInBackground(true);
        QVERIFY(stored("User Preferences/Update/CheckInBackgroundStarted").toBool()
                && isDownloadingUpdateInBackground());
        setNeedToCheckUpdateOnAppStart(true);
        QVERIFY(stored("ProductUpdate/CheckUpdateOnStart").toBool() && isNeedToCheckUpdateOnAppStart());
        setNeedToCheckUpdateOnAppStart(false);
        QVERIFY(!QSettings().contains("ProductUpdate/CheckUpdateOnStart"));

        int type = 5;
        QVERIFY(!isNeedToInstallUpdateOnAppStart(&type) && type == -1);
        setNeedToInstallUpdateOnAppStart(true, 0, true);
        QCOMPARE(stored("ProductUpdate/UpdateTypeToInstallOnStart"), QVariant(0));
        QCOMPARE(stored("ProductUpdate/ConfirmInstall"), QVariant(true));
        QCOMPARE(stored("ProductUpdate/UpdateFromVersion").toString(), "3.1.4-31301");
        QVERIFY(isNeedToInstallUpdateOnAppStart(&type) && type == 0);
        setUpdatesRestricted(true);
        QVERIFY(!isNeedToInstallUpdateOnAppStart());
        setUpdatesRestricted(false);
        QSettings().setValue("ProductUpdate/UpdateFromVersion", "3.1.4-31300");
        QVERIFY(!isNeedToInstallUpdateOnAppStart(&type) && type == -1);
        setNeedToInstallUpdateOnAppStart(false, 1, true);
        QCOMPARE(stored("ProductUpdate/UpdateTypeToInstallOnStart"), QVariant(-1));
    }

    void skippedUpdates()
    {
        const QPair<const char *, const char *> cases[]
            = {{"-3.1.5-31502 {a}", "-3.1.5-31502 {a}"}, {"a/b\\c%2F", "a%2Fb%5Cc%252F"}, {"/", "%2F"}};
        for (const auto &[id, key] : cases) {
            QSettings().clear();
            UpgradeUtils::setUpdateSkipped(id, true);
            QCOMPARE(QSettings().allKeys(), QStringList{QString("ProductUpdate/SkippedUpdates/") + key});
            QVERIFY(UpgradeUtils::isUpdateSkipped(id) && !UpgradeUtils::isUpdateSkipped(QString()));
            QCOMPARE(UpgradeUtils::skippedUpdates(), QStringList{id});
            UpgradeUtils::setUpdateSkipped(id, false);
            QVERIFY(!UpgradeUtils::isUpdateSkipped(id) && UpgradeUtils::skippedUpdates().isEmpty());
        }
        QSettings().clear();
        UpgradeUtils::setUpdateSkipped(QString(), true);
        QVERIFY(QSettings().allKeys().isEmpty());
    }

    void datesInLocalesWithOwnDigits()
    {
        const QDateTime time(QDate(2026, 1, 31), QTime(23, 5, 9));
        QLocale::setDefault(QLocale(QLocale::Persian));
        UpgradeUtils::setLastCheckedOn(time);
        const QDateTime read = UpgradeUtils::lastCheckedOn();
        QLocale::setDefault(QLocale::c());
        QCOMPARE(stored("User Preferences/Update/Last Checked On").toString(), "2026-01-31 23:05:09");
        QCOMPARE(read, time);
    }

public Q_SLOTS:
    void receive(const CProductUpdateInfo &info) { m_received = info.transactionId; }

    void split()
    {
        const QPair<const char *, const char *> cases[] = {{"\"/a b/updater\" -i", "/a b/updater|-i"},
                                                           {"  a \t b\n", "a|b"},
                                                           {"a \"\" b", "a||b"},
                                                           {"\"C:\\p q\\\" x", "C:\\p q\\|x"},
                                                           {"a\"b c\"d", "ab cd"},
                                                           {"\"\"\"a\"\"\"", "\"a\""},
                                                           {"a \"b", ""},
                                                           {"  ", ""}};
        for (const auto &[line, arguments] : cases)
            QCOMPARE(CommandLineUtils::split(line).join('|'), arguments);
    }

    void joinIsReversed()
    {
        const QString alphabet = "\"\"\" \t\\'%2a$;\xc3\xa9";
        QRandomGenerator random(20240229);
        for (int round = 0; round < 20000; ++round) {
            QStringList arguments{QString(), QString(), QString()};
            for (QString &argument : arguments) {
                for (quint32 length = random.bounded(6u); length > 0; --length)
                    argument += alphabet.at(random.bounded(alphabet.size()));
            }
            const QString line = CommandLineUtils::join(arguments.first(), arguments.mid(1));
            QVERIFY2(CommandLineUtils::split(line) == arguments, qUtf8Printable(line));
        }
    }

    void addresses()
    {
        for (const char *address :
             {"http://127.0.0.1:8080/a/c.xml?x=1&y=%20", "https://h/c.xml", "http://[::1]:80/c"})
            QCOMPARE(UpdateUrl::checked(address), address);
        for (const char *address :
             {"", "https://user:secret@h/c", "https://token@h/c", "http:/u:secret@h/c", "file:///etc/passwd",
              "gopher://h/", "http:///c", "http://-oProxyCommand/c", "http://h/c --post-install /tmp/x",
              "http://h/\"c", "http://h/c\nx", "--config=/x", "Unknown", "http://h/%zz"})
            QVERIFY2(UpdateUrl::checked(address).isEmpty(), address);
        QCOMPARE(UpdateUrl::forLog("--url https://me:p@ss@h/a@b?token=t\nforged http://x@y"),
                 QByteArray("--url https://***\\nforged http://y"));
    }

    void catalogueOfAnApplicationMode()
    {
        QCOMPARE(UpgradeUtils::defaultCatalogueUrl(0), QString());
        QVERIFY(UpgradeUtils::setUpdateServerBase("https://h/feed//"));
        QVERIFY(!UpgradeUtils::setUpdateServerBase("ftp://h"));
        QSet<QString> addresses;
        for (int mode = 0; mode <= 6; ++mode)
            addresses << UpdateUrl::checked(UpgradeUtils::defaultCatalogueUrl(mode));
        QCOMPARE(addresses.size(), 7);
        QVERIFY(addresses.contains("https://h/feed/console/v3/tessarine/tessarine_updates.xml"));
        QCOMPARE(UpgradeUtils::defaultCatalogueUrl(7) + UpgradeUtils::defaultCatalogueUrl(-1), QString());
        QCOMPARE(UpgradeUtils::defaultCatalogueUrl(65535), "Unknown");
    }

private:
    QString m_received;
};

KOV_TEST_MAIN(QCoreApplication, tst_UpdateRecord)
#include "tst_update_record.moc"
