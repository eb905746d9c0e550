#include "gui/update/CAppVersion.h"
#include "gui/update/CProductUpdateInfo.h"
#include "gui/update/CustomUpdateServerInfo.h"
#include "gui/update/UpdateTypes_p.h"
#include "gui/update/UpdaterOutputUtils.h"
#include "gui/update/UpgradeUtils.h"
#include "tests/support/KovTest.h"

#include <QSettings>

Q_DECLARE_METATYPE(CAppVersion)

/// The update record and everything about updates that stays in the settings.
class tst_UpdateRecord : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { QSettings().clear(); }
    void parse_data();
    void parse();
    void parsedSize_data();
    void parsedSize();
    void version_data();
    void version();
    void storedLayout();
    void typesHaveTheirOwnGroups();
    void travelsThroughQueuedCalls();
    void compareVersions_data();
    void compareVersions();
    void policy_data();
    void policy();
    void bookkeepingKeys();
    void installRequestOfAnotherBuild();
    void skippedUpdates_data();
    void skippedUpdates();
    void datesInLocalesWithOwnDigits();

public Q_SLOTS:
    void receive(const CProductUpdateInfo &info) { m_received = info.transactionId; }

private:
    static QStringList storedKeys() { return QSettings().allKeys(); }
    QString m_received;
};

namespace {

QString text(const char *value)
{
    return QString::fromUtf8(value);
}

QVariant stored(const char *key)
{
    return QSettings().value(text(key));
}

} // namespace

void tst_UpdateRecord::parse_data()
{
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QStringList>("values"); // url, id, description, MD5

    const auto row = [](const char *title, const char *output, const QStringList &values) {
        QTest::newRow(title) << QByteArray(output) << values;
    };
    row("whole",
        "noise\nFILE_PATH: http://h/p.deb \nUUID:  -3.1.5-31502\t\nFILE_SIZE: 15 K\nCHECKSUM: abc\r\n"
        "[BEGIN_UPDATE_DESCRIPTION]\nUPDATE_DESCRIPTION: one\ntwo\n[END_UPDATE_DESCRIPTION]\n",
        {text("http://h/p.deb"), text("-3.1.5-31502"), text("one\ntwo"), text("abc")});
    row("nothing", "", {QString(), QString(), QString(), QString()});
    row("begin in lower case, first of two", "file_path: a\nFILE_PATH: b\n",
        {text("a"), QString(), QString(), QString()});
    row("end in lower case is no end, nothing is trimmed",
        "[BEGIN_UPDATE_DESCRIPTION] x [end_update_description]\n",
        {QString(), QString(), text(" x [end_update_description]\n"), QString()});
    row("cut off in a line", "UUID:  x ", {QString(), text(" x "), QString(), QString()});
    row("description without its prefix", "[BEGIN_UPDATE_DESCRIPTION]  x\n[END_UPDATE_DESCRIPTION]",
        {QString(), QString(), text("x"), QString()});
    row("prefix in lower case stays",
        "[BEGIN_UPDATE_DESCRIPTION]update_description: x[END_UPDATE_DESCRIPTION]",
        {QString(), QString(), text("update_description: x"), QString()});
    row("the next begin may lie in the value", "UUID: FILE_PATH: x\n",
        {text("x"), text("FILE_PATH: x"), QString(), QString()});
    row("UTF-8, some of it broken", "UUID: \xc3\xa9\xff\n",
        {QString(), text("\xc3\xa9\xef\xbf\xbd"), QString(), QString()});
}

void tst_UpdateRecord::parse()
{
    QFETCH(QByteArray, output);
    const CProductUpdateInfo info = UpdaterOutputUtils::parse(output);
    const QStringList values{info.download.url, info.transactionId, info.updateDescription,
                             info.download.md5};
    QTEST(values, "values");
    QCOMPARE(info.updateType, CProductUpdateInfo::MinorUpdate);
    QCOMPARE(info.purchaseUrl + info.download.destinationDirectory, QString());
}

void tst_UpdateRecord::parsedSize_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<qint64>("bytes");

    QTest::newRow("kilobytes") << QByteArray("15 K") << qint64(15 * 1024);
    QTest::newRow("beyond 32 bits") << QByteArray("5000000 K") << Q_INT64_C(5120000000);
    QTest::newRow("the largest") << QByteArray("9007199254740991 K") << Q_INT64_C(9223372036854774784);
    QTest::newRow("too large in bytes") << QByteArray("9007199254740992 K") << qint64(0);
    QTest::newRow("too large to read") << QByteArray("99999999999999999999 K") << qint64(0);
    QTest::newRow("negative") << QByteArray("-5 K") << qint64(0);
    QTest::newRow("its only digit is cut") << QByteArray("1") << qint64(0);
    QTest::newRow("empty") << QByteArray() << qint64(0);
    QTest::newRow("no number") << QByteArray("0x10 K") << qint64(0);
}

void tst_UpdateRecord::parsedSize()
{
    QFETCH(QByteArray, value);
    QTEST(UpdaterOutputUtils::parse("FILE_SIZE: " + value + "\n").download.size, "bytes");
}

void tst_UpdateRecord::version_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("major");

    const auto row = [](const char *title, const char *path, const char *version, const char *major) {
        QTest::newRow(title) << text(path) << text(version) << text(major);
    };
    row("package", "http://h/1/Setup-3.1.5.31502.exe", "3.1.5-31502", "3");
    row("any separators inside", "Setup-3x1x5x31502", "3.1.5-31502", "3");
    row("query", "http://h/Setup-3.1.5.31502.exe?sig=a.b", "3.1.5-31502", "3");
    row("first match", "a-1.2.3.4-5.6.7.8.exe", "1.2.3-4", "1");
    row("wrong leading separator", "Setup_3x1x5x31502.exe", "", "");
    row("version in a folder", "/pool-9.9.9.9/setup.exe", "", "");
    row("version in a folder of Windows", "C:\\pool-9.9.9.9\\setup.exe", "", "");
    row("three numbers", "Setup-3.1.5.exe", "", "");
    row("empty", "", "", "");
}

void tst_UpdateRecord::version()
{
    QFETCH(QString, path);
    QFETCH(QString, version);
    QFETCH(QString, major);
    QCOMPARE(CProductUpdateInfo::getVersionFromFileName(path), version);
    QCOMPARE(CProductUpdateInfo::getMajorVersionFromFileName(path), major);

    CProductUpdateInfo info(CProductUpdateInfo::MajorUpgrade);
    info.download.url = path;
    info.transactionId = QStringLiteral("-7.8.9-10");
    QCOMPARE(info.getVersion(), version);
    info.updateType = CProductUpdateInfo::MinorUpdate;
    QCOMPARE(info.getVersion(), QStringLiteral("7.8.9-10"));
    QCOMPARE(info.getMajorVersion(), QStringLiteral("7"));
}

void tst_UpdateRecord::storedLayout()
{
    CProductUpdateInfo info(CProductUpdateInfo::MajorUpgrade);
    info.transactionId = QStringLiteral("id/1");
    info.purchaseUrl = QStringLiteral("http://buy");
    info.updateDescription = text("a, b; \"c\"\n\xc3\xa9");
    info.download.url = QStringLiteral("http://h/p.deb");
    info.download.destinationDirectory = QStringLiteral("/d");
    info.download.md5 = QStringLiteral("abc");
    info.download.size = Q_INT64_C(5120000000);
    info.store();

    QCOMPARE(storedKeys().size(), 7);
    QCOMPARE(stored("ProductUpdate/MajorUpgrade/TransactionId").toString(), info.transactionId);
    QCOMPARE(stored("ProductUpdate/MajorUpgrade/PurchaseUrl").toString(), info.purchaseUrl);
    QCOMPARE(stored("ProductUpdate/MajorUpgrade/UpdateDescription").toString(), info.updateDescription);
    QCOMPARE(stored("ProductUpdate/MajorUpgrade/DownloadUrl").toString(), info.download.url);
    QCOMPARE(stored("ProductUpdate/MajorUpgrade/DestinationFolder").toString(),
             info.download.destinationDirectory);
    QCOMPARE(stored("ProductUpdate/MajorUpgrade/UpdateMD5").toString(), info.download.md5);
    QCOMPARE(stored("ProductUpdate/MajorUpgrade/UpdateSize").toLongLong(), info.download.size);

    CProductUpdateInfo read(CProductUpdateInfo::MajorUpgrade);
    read.load();
    QCOMPARE(read.updateDescription, info.updateDescription);
    QCOMPARE(read.download.size, info.download.size);
    QCOMPARE(read.download.destinationDirectory, info.download.destinationDirectory);
}

void tst_UpdateRecord::typesHaveTheirOwnGroups()
{
    CProductUpdateInfo odd(static_cast<CProductUpdateInfo::UpdateType>(7));
    odd.transactionId = QStringLiteral("minor");
    odd.store();
    QCOMPARE(stored("ProductUpdate/MinorUpdate/TransactionId").toString(), odd.transactionId);

    CProductUpdateInfo major(CProductUpdateInfo::MajorUpgrade);
    major.transactionId = QStringLiteral("left from before");
    major.download.size = 5;
    major.load();
    QCOMPARE(major.transactionId, QString());
    QCOMPARE(major.download.size, 0);
    odd.load();
    QCOMPARE(int(odd.updateType), 7);
}

void tst_UpdateRecord::travelsThroughQueuedCalls()
{
    registerUpdateTypes();
    CProductUpdateInfo info;
    info.transactionId = QStringLiteral("x");
    QVERIFY(
        QMetaObject::invokeMethod(this, "receive", Qt::QueuedConnection, Q_ARG(CProductUpdateInfo, info)));
    QTRY_COMPARE(m_received, QStringLiteral("x"));
    QCOMPARE(QMetaType::type("CProductUpdateInfo"), qMetaTypeId<CProductUpdateInfo>());
    QVERIFY(QMetaType::type("CTaskCheckForProductUpdate::Options") != QMetaType::UnknownType);
}

void tst_UpdateRecord::compareVersions_data()
{
    QTest::addColumn<CAppVersion>("a");
    QTest::addColumn<CAppVersion>("b");
    QTest::addColumn<int>("sign");

    QTest::newRow("equal") << CAppVersion(3, 1, 4, 31301) << CAppVersion::currentVersion() << 0;
    QTest::newRow("second newer by patch") << CAppVersion::currentVersion() << CAppVersion(3, 1, 5, 0) << 1;
    QTest::newRow("minor before patch and build")
        << CAppVersion(3, 2, 0, 0) << CAppVersion(3, 1, 99, 99999) << -1;
    QTest::newRow("major first") << CAppVersion(3, 9, 9, 9) << CAppVersion(4, 0, 0, 0) << 1;
    QTest::newRow("unsigned") << CAppVersion(0, 0, 0, 0xffffffffu) << CAppVersion(0, 0, 0, 1) << -1;
}

void tst_UpdateRecord::compareVersions()
{
    QFETCH(CAppVersion, a);
    QFETCH(CAppVersion, b);
    QTEST(CAppVersion::compare(a, b), "sign");
    QCOMPARE(CAppVersion::compare(b, a), -CAppVersion::compare(a, b));
    QVERIFY(CAppVersion().isNull() && !b.isNull());
}

void tst_UpdateRecord::policy_data()
{
    QTest::addColumn<QString>("setting");
    QTest::addColumn<int>("policy");
    QTest::addColumn<QString>("url");

    QTest::newRow("absent") << QString() << 1 << QString();
    QTest::newRow("none") << QStringLiteral("None") << 0 << QString();
    QTest::newRow("ours") << QStringLiteral("Tessarine") << 1 << QString();
    QTest::newRow("compared exactly") << QStringLiteral("none") << 2 << QStringLiteral("none");
    QTest::newRow("custom") << QStringLiteral("http://h/c.xml") << 2 << QStringLiteral("http://h/c.xml");
}

void tst_UpdateRecord::policy()
{
    QFETCH(QString, setting);
    if (!setting.isEmpty())
        QSettings().setValue(QStringLiteral("Application preferences/VolumeLicenseUpdatePolicy"), setting);
    QTEST(int(CustomUpdateServerInfo::policy()), "policy");
    QTEST(CustomUpdateServerInfo::url(), "url");
}

void tst_UpdateRecord::bookkeepingKeys()
{
    using namespace UpgradeUtils;
    QVERIFY(!isDownloadingUpdateInBackground() && !isNeedToCheckUpdateOnAppStart());
    setDownloadingUpdateInBackground(true);
    QCOMPARE(stored("User Preferences/Update/CheckInBackgroundStarted"), QVariant(true));
    QVERIFY(isDownloadingUpdateInBackground());

    setNeedToCheckUpdateOnAppStart(true);
    QCOMPARE(stored("ProductUpdate/CheckUpdateOnStart"), QVariant(true));
    QVERIFY(isNeedToCheckUpdateOnAppStart());
    setNeedToCheckUpdateOnAppStart(false);
    QVERIFY(!QSettings().contains(QStringLiteral("ProductUpdate/CheckUpdateOnStart")));

    setNeedToInstallUpdateOnAppStart(true, 1, true);
    QCOMPARE(stored("ProductUpdate/UpdateTypeToInstallOnStart"), QVariant(1));
    QCOMPARE(stored("ProductUpdate/ConfirmInstall"), QVariant(true));
    QCOMPARE(stored("ProductUpdate/UpdateFromVersion").toString(), QStringLiteral("3.1.4-31301"));
    setNeedToInstallUpdateOnAppStart(false, 1, true);
    QCOMPARE(stored("ProductUpdate/UpdateTypeToInstallOnStart"), QVariant(-1));
    QCOMPARE(stored("ProductUpdate/UpdateFromVersion").toString(), QString());
}

void tst_UpdateRecord::installRequestOfAnotherBuild()
{
    int type = 5;
    QVERIFY(!UpgradeUtils::isNeedToInstallUpdateOnAppStart(&type));
    QCOMPARE(type, -1);
    UpgradeUtils::setNeedToInstallUpdateOnAppStart(true, 0, false);
    QVERIFY(UpgradeUtils::isNeedToInstallUpdateOnAppStart(&type));
    QCOMPARE(type, 0);
    UpgradeUtils::setUpdatesRestricted(true);
    QVERIFY(!UpgradeUtils::isNeedToInstallUpdateOnAppStart());
    UpgradeUtils::setUpdatesRestricted(false);
    QSettings().setValue(QStringLiteral("ProductUpdate/UpdateFromVersion"), QStringLiteral("3.1.4-31300"));
    QVERIFY(!UpgradeUtils::isNeedToInstallUpdateOnAppStart(&type));
    QCOMPARE(type, -1);
}

void tst_UpdateRecord::skippedUpdates_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QStringList>("keys");

    const QString group = QStringLiteral("ProductUpdate/SkippedUpdates/");
    QTest::newRow("as it is") << text("-3.1.5-31502 {a}") << QStringList{group + text("-3.1.5-31502 {a}")};
    QTest::newRow("slashes") << text("a/b\\c%2F") << QStringList{group + text("a%2Fb%5Cc%252F")};
    QTest::newRow("only a slash") << text("/") << QStringList{group + text("%2F")};
    QTest::newRow("empty") << QString() << QStringList();
}

void tst_UpdateRecord::skippedUpdates()
{
    QFETCH(QString, id);
    QFETCH(QStringList, keys);
    UpgradeUtils::setUpdateSkipped(id, true);
    QCOMPARE(storedKeys(), keys);
    QCOMPARE(UpgradeUtils::isUpdateSkipped(id), !id.isEmpty());
    QVERIFY(!UpgradeUtils::isUpdateSkipped(QStringLiteral("a")));
    UpgradeUtils::setUpdateSkipped(id, false);
    QVERIFY(!UpgradeUtils::isUpdateSkipped(id));
}

void tst_UpdateRecord::datesInLocalesWithOwnDigits()
{
    const QDateTime time(QDate(2026, 1, 31), QTime(23, 5, 9));
    QLocale::setDefault(QLocale(QLocale::Persian));
    UpgradeUtils::setLastCheckedOn(time);
    const QDateTime read = UpgradeUtils::lastCheckedOn();
    QLocale::setDefault(QLocale::c());
    QCOMPARE(stored("User Preferences/Update/Last Checked On").toString(),
             QStringLiteral("2026-01-31 23:05:09"));
    QCOMPARE(read, time);
    QSettings().setValue(QStringLiteral("User Preferences/Update/Last Checked On"),
                         QStringLiteral("yesterday"));
    QVERIFY(!UpgradeUtils::lastCheckedOn().isValid());
}

KOV_TEST_MAIN(QCoreApplication, tst_UpdateRecord)
#include "tst_update_record.moc"
