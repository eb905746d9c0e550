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
            std::exchange(during, {})();
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

/// A model, a controller and a handler, and a script of what happens to them.
struct Parts
{
    Parts() { controller.setValueHandler(handler); }

    /**
     * Runs the steps of @p script, one after the other: "a=1" or "a=1+b=2" sets a value or a tree at once,
     * "shows:a=1" compares, "yes" and "no" are the handler's answers, "as:7" changes the value that it holds,
     * "holds:a" which one, "drop" deletes it, "replace" and "none" set another or none, "revert" reverts;
     * "asking:STEPS" runs STEPS, separated by commas, while the question is open.
     */
    void run(const QString &script, QChar separator = ' ')
    {
        for (const QString &step : script.split(separator)) {
            const QString verb = step.section(':', 0, 0);
            const QString rest = step.section(':', 1);
            const QStringList pair = rest.split('=');
            if (verb == "shows")
                QCOMPARE(controller.getValue("QSettings", pair[0], true).toString(), pair[1]);
            else if (verb == "yes" || verb == "no")
                handler->answer(verb == "yes");
            else if (verb == "as")
                handler->heldValue = rest;
            else if (verb == "holds")
                handler->held = QStringList{"QSettings", rest};
            else if (verb == "drop")
                delete handler;
            else if (verb == "replace" || verb == "none")
                controller.setValueHandler(verb == "none" ? nullptr : new SampleHandler);
            else if (verb == "revert")
                controller.revert();
            else if (verb == "asking")
                handler->during = [this, rest] { run(rest, ','); };
            else
                set(step);
        }
    }
    void set(const QString &assignments)
    {
        QHash<QString, QVariant> values;
        for (const QString &one : assignments.split('+'))
            values[one.section('=', 0, 0)] = one.section('=', 1).isEmpty() ? QVariant() : one.section('=', 1);
        if (values.size() > 1)
            return controller.setValues({{"QSettings", values}});
        controller.setValue("QSettings", values.begin().key(), values.begin().value());
    }

    SampleModel model;
    CMappingController controller{model};
    QPointer<SampleHandler> handler = new SampleHandler;
};

/// The order of a commit, and handlers of every temper.
class tst_MappingController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { useNewSettings(); }

    /// What happens, what reaches the model, what was offered to the handler, what was rejected, what still
    /// waits.
    void commit_data()
    {
        Table<const char *, QString, QString, QString, bool> row;
        row("without a handler", "none b=2+askYes=1", "askYes=1 b=2", "", "", false);
        row("answered before the call returns", "a=1+askNo=2+askYes=3", "a=1 askYes=3",
            "a=1 askNo=2 askYes=3", "askNo", false);
        row("one that is held holds up those behind it", "a=1+ask=2+b=3 c=4 shows:b=3", "a=1", "a=1 ask=2",
            "", true);
        row("accepted late", "ask=2+ask2=3+b=4 yes no", "ask=2 b=4", "ask=2 ask2=3 b=4", "ask2", false);
        row("answered twice", "ask=2 no yes ask2=3 holds:ask yes", "", "ask=2 ask2=3", "ask", true);
        row("accepted as another value", "ask=2 as:7 yes", "ask=7", "ask=2", "", false);
        row("changed again while it is held", "ask=2 ask=3 no shows:ask=3 yes", "ask=3", "ask=2 ask=3", "",
            false);
        row("set while the question is open", "asking:askYes=5,z=6 askYes=4", "askYes=4 askYes=5 z=6",
            "askYes=4 askYes=5 z=6", "", false);
        row("deleted while it holds", "ask=2 b=3 drop shows:ask=2", "b=3", "", "ask", false);
        row("replaced while it holds", "ask=2 b=3 replace", "b=3", "", "ask", false);
        row("replaced while it asks", "asking:none ask=2+b=3", "b=3", "", "ask", false);
        row("reverted while it holds", "ask=2+b=3 revert z=4 yes", "z=4", "ask=2 z=4", "", false);
        row("reverted while it asks", "asking:revert askYes=2+b=3", "", "askYes=2", "", false);
        row("an invalid value", "a=+b=1", "b=1", "b=1", "", false);
    }

    void commit()
    {
        const auto [script, reachesTheModel, offered, rejectedPaths, waits]
            = cells<const char *, QString, QString, QString, bool>();
        const LogCapture log;
        if (qstrcmp(QTest::currentDataTag(), "an invalid value") == 0)
            QTest::ignoreMessage(QtCriticalMsg, "Error(!): Try to commit invalid value: QSettings: a");
        Parts parts;
        QStringList rejected;
        connect(&parts.controller, &CMappingController::valueRejected, this,
                [&](const QString &, const QString &path) { rejected += path; });
        parts.run(script);
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(parts.model.takeEvents().remove("QSettings.").replace(" | ", " "), reachesTheModel);
        QCOMPARE(parts.handler ? parts.handler->offered.join(' ') : QString(), offered);
        QCOMPARE(rejected.join(' '), rejectedPaths);
        QCOMPARE(!parts.controller.valuesToCommit().isEmpty(), waits);
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
