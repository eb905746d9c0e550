#include "gui/KovGui.h"
#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/messages/CMessageBoxBuilder.h"
#include "gui/messages/record/CMessageDataProvider.h"
#include "gui/update/check/CTaskCheckForProductUpdate.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Policies.h"

#include "abstract_task/Tasks.h"

/// Forgot the invokable constructor.
class PolicyWithoutConstructor : public CMessageDataProvider
{
    Q_OBJECT
};

class tst_KovGui : public QObject
{
    Q_OBJECT

public:
    enum Kinds { TaskOfTheHost = 9000 };
    Q_ENUM(Kinds)

private Q_SLOTS:
    void initTestCase()
    {
        QCoreApplication::setOrganizationName(QString());
        KovGui::init(KAM_AGENT);
        // Settings need an organisation; a host that set none gets one.
        QCOMPARE(QCoreApplication::organizationName(), "Tessarine");
        QCOMPARE(QSettings().status(), QSettings::NoError);
        // A host's kinds stand beside the library's.
        Tasks::init(QMetaEnum::fromType<Kinds>());
        QCOMPARE(Tasks::typeName(TaskOfTheHost), "TaskOfTheHost");
        QCOMPARE(Tasks::typeName(158), "TaskAdviseToWindows10Upgrade");
    }

    void secondInitIsRefusedButFillsTheTable()
    {
        auto &table = KovGui::staticMetaObjectHash();
        const QHash<QString, const QMetaObject *> first = table;
        table.clear();
        const LogCapture log;
        KovGui::init(KAM_PLAYER);
        QCOMPARE(log.count("is already called!"), 1);
        QCOMPARE(KovGui::applicationMode(), KAM_AGENT);
        QCOMPARE(table, first);
    }

    void everyEntryOfTheRegistryIsWhatItsKeySays()
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
    }

    void unusableEntriesAreReported()
    {
        const QVector<std::pair<const QMetaObject *, const char *>> rows{
            {nullptr, "no class is registered for CMessageDataProvider"},
            {&PolicyWithoutConstructor::staticMetaObject, "has no invokable constructor"},
            {&CMessageBoxBuilder::staticMetaObject, "does not derive from it"},
        };
        for (const auto &[metaObject, complaint] : rows) {
            const auto registered = registerPolicyForNow<CMessageDataProvider>(metaObject);
            const LogCapture log;
            QVERIFY(!KovGui::createPolicy<CMessageDataProvider>());
            QVERIFY2(log.count("(!)Error:") == 1 && log.text().contains(complaint), log.text().constData());
        }
    }

    /// What few programs need is loaded when it is first used.
    void startIsLight()
    {
        const QByteArray loaded = fileContent("/proc/self/maps");
        if (QDir::listSeparator() != ':')
            QSKIP("The system does not tell what a process has loaded.");
        QVERIFY(loaded.contains("libKovGui"));
        for (const char *library : {"keychain", "sodium", "libcrypto", "kovgui/"})
            QVERIFY2(!loaded.contains(library), library);
    }

    void valueTypesTravelByName()
    {
        for (const char *name : {"CProductUpdateInfo", "KOV_RESULT", "Messaging::ButtonID"})
            QVERIFY2(QMetaType::isRegistered(QMetaType::type(name)), name);
    }
};

KOV_TEST_MAIN(QApplication, tst_KovGui)
#include "tst_kovgui.moc"
