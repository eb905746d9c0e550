#include "gui/ImplementationRegistry_p.h"
#include "gui/KovGui.h"
#include "gui/log/Log.h"
#include "gui/messages/CMessageDataProvider.h"
#include "gui/update/CTaskCheckForProductUpdate.h"
#include "tests/support/KovTest.h"

#include "abstract_task/Tasks.h"

#include <QSettings>

namespace {

QByteArrayList s_records;

QByteArrayList takeRecords()
{
    QByteArrayList taken;
    taken.swap(s_records);
    return taken;
}

/// The first record, as what a failed check prints.
QByteArray firstOf(const QByteArrayList &records)
{
    return records.value(0);
}

} // namespace

/// Forgot the invokable constructor.
class PolicyWithoutConstructor : public CMessageDataProvider
{
    Q_OBJECT
};

class tst_KovGui : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void secondInitIsRefusedButFillsTheTable();
    void namesOfTheModes();
    void updaterTable();
    void everyEntryOfTheRegistryIsWhatItsKeySays();
    void unusableEntriesAreReported();
    void valueTypesTravelByName();
};

void tst_KovGui::initTestCase()
{
    KovGui::setLogOutputFunction(
        [](const char *record, std::size_t length) { s_records.append(QByteArray(record, int(length))); });
    QCoreApplication::setOrganizationName(QString());
    KovGui::init(KAM_AGENT);

    const QByteArrayList records = takeRecords();
    QCOMPARE(records.size(), 1);
    QVERIFY2(firstOf(records).contains("/cmn_utils:"), firstOf(records).constData());
    QVERIFY2(firstOf(records).contains(
                 "TessarineDirs::Init( ) was called. Current app mode = 2 ( AGENT ) build version: "
                 "3.1.4-31301 "),
             firstOf(records).constData());
    // Settings need an organisation; a host that set none gets one.
    QCOMPARE(QCoreApplication::organizationName(), QStringLiteral("Tessarine"));
    QCOMPARE(QSettings().status(), QSettings::NoError);
    QCOMPARE(Tasks::typeName(158), QStringLiteral("TaskAdviseToWindows10Upgrade"));
}

void tst_KovGui::secondInitIsRefusedButFillsTheTable()
{
    auto &table = KovGui::staticMetaObjectHash();
    const QHash<QString, const QMetaObject *> first = table;
    table.clear();
    KovGui::init(KAM_PLAYER);
    const QByteArrayList records = takeRecords();
    QCOMPARE(records.size(), 1);
    QVERIFY2(firstOf(records).endsWith(
                 "Error: TessarineDirs::Init( 4 ) is already called!  This call will be ignored.\n"),
             firstOf(records).constData());
    QCOMPARE(KovGui::applicationMode(), KAM_AGENT);
    QCOMPARE(table, first);
}

void tst_KovGui::namesOfTheModes()
{
    const auto name
        = [](int mode) { return EnumUtils::clientAppNameFromAppMode(_KOV_APPLICATION_MODE(mode)); };
    QCOMPARE(name(1), name(5));
    QCOMPARE(name(6), QStringLiteral("Tessarine Mobile"));
    for (const int beyond : {7, -1, 65535})
        QCOMPARE(name(beyond), QStringLiteral("Unknown product"));

    KovGui::setAppGuiName(QStringLiteral("X"));
    QCOMPARE(KovGui::getAppGuiName(), QStringLiteral("X"));
    KovGui::setAppGuiName(QString());
    QCOMPARE(KovGui::getAppGuiName(), QStringLiteral("Tessarine Remote Agent"));
}

void tst_KovGui::updaterTable()
{
    KovGui::setUpdaterFilePathAndUpdateMode(QStringLiteral("/opt/ctl"), QStringLiteral("first"),
                                            QStringLiteral("ctl"));
    KovGui::setUpdaterFilePathAndUpdateMode(QStringLiteral("/opt/app"), QStringLiteral("second"),
                                            QStringLiteral("app"));
    QString mode;
    QCOMPARE(KovGui::getUpdaterFilePathAndUpdateMode(mode, QStringLiteral("ctl")),
             QStringLiteral("/opt/ctl"));
    QCOMPARE(mode, QStringLiteral("second")); // one value for the process, the last one set
    QVERIFY(takeRecords().isEmpty());

    mode.clear();
    QCOMPARE(KovGui::getUpdaterFilePathAndUpdateMode(mode, QStringLiteral("x")), QString());
    QCOMPARE(mode, QStringLiteral("second"));
    const QByteArrayList records = takeRecords();
    QCOMPARE(records.size(), 1);
    QVERIFY2(firstOf(records).endsWith("/ No updater for mode [x]\n"), firstOf(records).constData());
    KovGui::getUpdaterFilePathAndUpdateMode(mode, QStringLiteral("x"));
    QVERIFY(takeRecords().isEmpty());
}

void tst_KovGui::everyEntryOfTheRegistryIsWhatItsKeySays()
{
    const auto &table = KovGui::staticMetaObjectHash();
    QVERIFY(!table.isEmpty());
    for (auto it = table.cbegin(); it != table.cend(); ++it)
        QCOMPARE(QString::fromLatin1(it.value()->className()), it.key());

    for (const char *key :
         {"CMessageDataProvider", "CMessageBoxBuilder", "CSearchParentHelper", "CMessageProcessor"}) {
        const std::unique_ptr<QObject> policy(KovGui::createRegistered(key, QObject::staticMetaObject));
        QVERIFY2(policy, key);
        QCOMPARE(policy->metaObject()->className(), key);
    }
    const std::unique_ptr<QObject> check(KovGui::createRegistered(
        "CTaskCheckForProductUpdate", QObject::staticMetaObject,
        Q_ARG(CTaskCheckForProductUpdate::Options, CTaskCheckForProductUpdate::CheckInBackground)));
    QVERIFY(check);
    QVERIFY(takeRecords().isEmpty());
}

void tst_KovGui::unusableEntriesAreReported()
{
    auto &table = KovGui::staticMetaObjectHash();
    const QString key = QStringLiteral("CMessageDataProvider");
    const QMetaObject *const registered = table.value(key);

    const QList<QPair<const QMetaObject *, const char *>> cases{
        {nullptr, "(!)Error: no class is registered for CMessageDataProvider.\n"},
        {&PolicyWithoutConstructor::staticMetaObject, "(!)Error: PolicyWithoutConstructor, registered for "
                                                      "CMessageDataProvider, has no invokable constructor"},
        {table.value(QStringLiteral("CMessageBoxBuilder")),
         "(!)Error: CMessageBoxBuilder, registered for CMessageDataProvider, does not derive from it.\n"},
    };
    for (const auto &[metaObject, complaint] : cases) {
        table[key] = metaObject;
        QVERIFY(!KovGui::createPolicy<CMessageDataProvider>());
        const QByteArrayList records = takeRecords();
        QCOMPARE(records.size(), 1);
        QVERIFY2(firstOf(records).contains(complaint), firstOf(records).constData());
    }
    table[key] = registered;
}

void tst_KovGui::valueTypesTravelByName()
{
    for (const char *name : {"CProductUpdateInfo", "KOV_RESULT", "Messaging::ButtonID"})
        QVERIFY2(QMetaType::isRegistered(QMetaType::type(name)), name);
}

KOV_TEST_MAIN(QApplication, tst_KovGui)
#include "tst_kovgui.moc"
