#include "MappingFixture.h"
#include "gui/mapping/storage/CMappingController.h"
#include "gui/mapping/storage/CMappingValueHandler.h"

#include <QPointer>

/// Takes the values of paths that begin with "ask", and answers at once or when the test says so.
class SampleHandler : public CMappingValueHandler
{
    Q_OBJECT

public:
    bool handleValue(const QString &storage, const QString &path, QVariant value) override
    {
        offered += path + '=' + value.toString();
        if (!path.startsWith("ask"))
            return false;
        held = QStringList{storage, path};
        heldValue = value;
        if (path.endsWith("Yes"))
            onSuccessMessageClosed();
        if (path.endsWith("No"))
            onRejectedMessageClosed();
        if (during)
            during();
        return true;
    }
    QString currentStorage() const override { return held.value(0); }
    QString currentPath() const override { return held.value(1); }
    QVariant currentValue() const override { return heldValue; }
    void cleanCurrentData(bool) override { held.clear(); }
    void answer(bool accepted) { CMappingValueHandler::handleValueFinished(accepted); }

    QStringList offered;
    QStringList held;
    QVariant heldValue;
    std::function<void()> during;
};

struct Parts
{
    Parts() { controller.setValueHandler(handler); }
    void set(const char *path, int value) { controller.setValue("QSettings", path, value); }
    int shown(const char *path) { return controller.getValue("QSettings", path, true).toInt(); }

    SampleModel model;
    CMappingController controller{model};
    QPointer<SampleHandler> handler = new SampleHandler;
};

using Script = std::function<void(Parts &)>;
Q_DECLARE_METATYPE(Script)

/// The order of a commit, and handlers of every temper.
class tst_MappingController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { useNewSettings(); }

    void commit_data()
    {
        struct Row
        {
            const char *name;
            Script script;
            const char *reachesTheModel;
            const char *offered;
            const char *rejected;
            bool waits;
        };
        const QVector<Row> rows{
            {"without a handler",
             [](Parts &p) {
                 p.controller.setValueHandler(nullptr);
                 p.controller.setValues({{"QSettings", {{"b", 2}, {"askYes", 1}}}});
             },
             "askYes=1 b=2", "", "", false},
            {"answered before the call returns",
             [](Parts &p) {
                 p.controller.setValues({{"QSettings", {{"a", 1}, {"askNo", 2}, {"askYes", 3}}}});
             },
             "a=1 askYes=3", "a=1 askNo=2 askYes=3", "askNo", false},
            {"one that is held holds up those behind it",
             [](Parts &p) {
                 p.controller.setValues({{"QSettings", {{"a", 1}, {"ask", 2}, {"b", 3}}}});
                 p.set("c", 4);
                 QCOMPARE(p.shown("b"), 3);
             },
             "a=1", "a=1 ask=2", "", true},
            {"accepted late",
             [](Parts &p) {
                 p.controller.setValues({{"QSettings", {{"ask", 2}, {"ask2", 3}, {"b", 4}}}});
                 p.handler->answer(true);
                 p.handler->answer(false);
             },
             "ask=2 b=4", "ask=2 ask2=3 b=4", "ask2", false},
            {"answered twice",
             [](Parts &p) {
                 p.set("ask", 2);
                 p.handler->answer(false);
                 p.handler->answer(true);
                 p.set("ask2", 3);
                 p.handler->held = QStringList{"QSettings", "ask"};
                 p.handler->answer(true);
             },
             "", "ask=2 ask2=3", "ask", true},
            {"accepted as another value",
             [](Parts &p) {
                 p.set("ask", 2);
                 p.handler->heldValue = 7;
                 p.handler->answer(true);
             },
             "ask=7", "ask=2", "", false},
            {"changed again while it is held",
             [](Parts &p) {
                 p.set("ask", 2);
                 p.set("ask", 3);
                 p.handler->answer(false);
                 QCOMPARE(p.shown("ask"), 3);
                 p.handler->answer(true);
             },
             "ask=3", "ask=2 ask=3", "", false},
            {"set while the question is open",
             [](Parts &p) {
                 p.handler->during = [&p] {
                     p.handler->during = nullptr;
                     p.set("askYes", 5);
                     p.set("z", 6);
                 };
                 p.set("askYes", 4);
             },
             "askYes=4 askYes=5 z=6", "askYes=4 askYes=5 z=6", "", false},
            {"deleted while it holds",
             [](Parts &p) {
                 p.set("ask", 2);
                 p.set("b", 3);
                 delete p.handler;
                 QCOMPARE(p.shown("ask"), 2);
                 QCoreApplication::processEvents();
             },
             "b=3", "", "ask", false},
            {"replaced while it holds",
             [](Parts &p) {
                 p.set("ask", 2);
                 p.set("b", 3);
                 p.controller.setValueHandler(new SampleHandler);
                 QVERIFY(!p.handler);
             },
             "b=3", "", "ask", false},
            {"replaced while it asks",
             [](Parts &p) {
                 p.handler->during = [&p] { p.controller.setValueHandler(nullptr); };
                 p.controller.setValues({{"QSettings", {{"ask", 2}, {"b", 3}}}});
                 QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
                 QVERIFY(!p.handler);
             },
             "b=3", "", "ask", false},
            {"reverted while it holds",
             [](Parts &p) {
                 p.controller.setValues({{"QSettings", {{"ask", 2}, {"b", 3}}}});
                 p.controller.revert();
                 p.set("z", 4);
                 QCOMPARE(p.handler->offered.size(), 1);
                 p.handler->answer(true);
             },
             "z=4", "ask=2 z=4", "", false},
            {"reverted while it asks",
             [](Parts &p) {
                 p.handler->during = [&p] { p.controller.revert(); };
                 p.controller.setValues({{"QSettings", {{"askYes", 2}, {"b", 3}}}});
             },
             "", "askYes=2", "", false},
            {"an invalid value",
             [](Parts &p) {
                 QTest::ignoreMessage(QtCriticalMsg, "Error(!): Try to commit invalid value: QSettings: a");
                 p.controller.setValues({{"QSettings", {{"a", QVariant()}, {"b", 1}}}});
             },
             "b=1", "b=1", "", false},
        };
        QTest::addColumn<Script>("script");
        QTest::addColumn<QString>("reachesTheModel");
        QTest::addColumn<QString>("offered");
        QTest::addColumn<QString>("rejected");
        QTest::addColumn<bool>("waits");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.script << QString(row.reachesTheModel) << QString(row.offered)
                                    << QString(row.rejected) << row.waits;
    }

    void commit()
    {
        QFETCH(Script, script);
        const LogCapture log;
        Parts parts;
        QStringList rejected;
        connect(&parts.controller, &CMappingController::valueRejected, this,
                [&](const QString &, const QString &path) { rejected += path; });
        script(parts);
        QTEST(parts.model.takeEvents().remove("QSettings.").replace(" | ", " "), "reachesTheModel");
        if (parts.handler)
            QTEST(parts.handler->offered.join(' '), "offered");
        QTEST(rejected.join(' '), "rejected");
        QTEST(!parts.controller.valuesToCommit().isEmpty(), "waits");
    }

    void hookAndSubmission()
    {
        struct Controller : CMappingController
        {
            using CMappingController::CMappingController;
            void beforeCommitChanges() override { valuesToCommit()["QSettings"]["added"] = ++calls; }
            int calls = 0;
        };
        SampleModel model(CMappingModel::AutoSubmit);
        Controller controller(model);
        Mappings::Values many;
        for (int i = 0; i < 10; ++i)
            many["QSettings"].insert(QString::number(i), i);
        controller.setValues(many);
        const QString events = model.takeEvents();
        QCOMPARE(events.count("started"), 1);
        QVERIFY(events.contains("QSettings.added=1"));
        QCOMPARE(QSettings().allKeys().size(), 11);
    }

    void reading()
    {
        const auto model = std::make_unique<SampleModel>();
        model->defaults = {{"a", 1}};
        CMappingController controller(*model);
        controller.setValueHandler(new SampleHandler);
        controller.setValue("QSettings", "ask", 2);
        QCOMPARE(controller.getValue("QSettings", "ask", true), QVariant(2));
        QCOMPARE(controller.getValue("QSettings", "ask", false), QVariant());
        Mappings::Values values{{"QSettings", {{"a", {}}, {"ask", {}}, {"b", {}}}}};
        QTest::ignoreMessage(QtCriticalMsg, "Error(!): Value not initialized: QSettings: b");
        QVERIFY(controller.getValues(values));
        QCOMPARE(values, (Mappings::Values{{"QSettings", {{"a", 1}, {"ask", 2}, {"b", {}}}}}));
    }

    void withoutModel()
    {
        auto model = std::make_unique<SampleModel>();
        CMappingController controller(*model);
        model.reset();
        const LogCapture log;
        controller.setValue("QSettings", "a", 1);
        QCOMPARE(log.count("there is no mapping model"), 1);
        Mappings::Values none;
        QVERIFY(!controller.getValues(none) && !controller.isModified());
        controller.revert();
    }

    void deletedInsideAQuestion()
    {
        SampleModel model;
        QPointer<CMappingController> controller = new CMappingController(model);
        auto *handler = new SampleHandler;
        handler->setParent(this);
        handler->during = [controller] { delete controller; };
        controller->setValueHandler(handler);
        controller->setValue("QSettings", "ask", 1);
        QVERIFY(!controller && model.takeEvents().isEmpty());
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_MappingController)
#include "tst_mapping_controller.moc"
