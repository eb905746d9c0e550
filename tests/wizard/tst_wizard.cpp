#include "gui/wizard/model/CAbstractWizardActionStateProvider.h"
#include "gui/wizard/model/CWizardActionsUpdater.h"
#include "gui/wizard/widgets/CWizardActionButtonSynchronizer.h"
#include "tests/support/KovTest.h"
#include "tests/support/LogCapture.h"
#include "tests/wizard/SampleWizard.h"

#include <QAbstractButton>
#include <QAction>
#include <QWizard>

#include <memory>

namespace {

/// A model with its controller, walked by words.
struct Walk
{
    /// The commands are separated by commas; "-" forgets the log so far.
    void run(const QString &script)
    {
        const auto commands = script.split(QStringLiteral(", "));
        for (const QString &command : commands)
            obey(command);
    }

    void obey(const QString &command)
    {
        const QString verb = command.section(QLatin1Char(' '), 0, 0);
        const QString rest = command.section(QLatin1Char(' '), 1);
        const int id = rest.section(QLatin1Char(' '), 0, 0).toInt();
        if (verb == QLatin1String("-"))
            wizard.log.take();
        else if (verb == QLatin1String("set"))
            wizard.traits.insert(rest);
        else if (verb == QLatin1String("unset"))
            wizard.traits.remove(rest);
        else if (verb == QLatin1String("turns"))
            for (int i = 0; i < 9; ++i)
                QCoreApplication::processEvents();
        else if (verb == QLatin1String("goto"))
            model->goToPage(id, GUI::Forward);
        else if (verb == QLatin1String("rollback"))
            model->rollbackTo(id);
        else if (verb == QLatin1String("restart"))
            model->restart();
        else if (verb == QLatin1String("done"))
            Q_EMIT model->page(id)->pageFinished();
        else if (verb == QLatin1String("answer"))
            Q_EMIT model->page(id)->pageRolledBack(rest.endsWith(QLatin1String("yes")));
        else if (verb == QLatin1String("change"))
            Q_EMIT model->page(id)->completeChanged();
        else if (verb == QLatin1String("busy"))
            model->setBusy(true);
        else if (verb == QLatin1String("delete"))
            delete model->page(id);
        else if (verb == QLatin1String("at"))
            // "at validate 2: next"
            wizard.hooks.insert(rest.section(QStringLiteral(": "), 0, 0),
                                [this, later = rest.section(QStringLiteral(": "), 1)] { obey(later); });
        else if (verb == QLatin1String("trigger"))
            controller
                ->wizardAction(
                    QMetaEnum::fromType<WizardActions::ActionType>().keyToValue(rest.toLatin1().constData()))
                ->trigger();
        else
            QVERIFY(QMetaObject::invokeMethod(controller.get(), verb.toLatin1().constData()));
    }

    QString history() const
    {
        QStringList ids;
        const auto history = model->pageFlow()->getPageHistory(1);
        for (const int id : history)
            ids << QString::number(id);
        return ids.join(QLatin1Char(' '));
    }
    bool isEnabled(WizardActions::ActionType type) const
    {
        return controller->wizardAction(type)->isEnabled();
    }

    SampleWizard wizard;
    std::unique_ptr<SampleModel> model = std::make_unique<SampleModel>(wizard);
    std::unique_ptr<CWizardController> controller = std::make_unique<CWizardController>(*model);
};

} // namespace

class tst_Wizard : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// What its user and its pages do on one side, what happens on the other.
    void walk_data()
    {
        Table<QString, QString, QString> row;

        row("starts", "goNext", "make 1, entering 1, init 1, enter 1 on, id 1 on, page 1 on", "1");
        row("goes on", "goNext, -, goNext",
            "leaving 1, leave 1 on, make 2, entering 2, init 2, enter 2 on, id 2 on, page 2 on", "1 2");
        row("goes back", "goNext, goNext, -, goBack, turns",
            "undo 2, leaving 2, leave 2 back, clean 2, entering 1, enter 1 back, id 1 back, page 1 back",
            "1");
        row("goes back two, newest first", "goNext, goNext, goNext, -, rollback 1, turns",
            "undo 3, undo 2, leaving 3, leave 3 back, clean 3, entering 1, enter 1 back, id 1 back, page 1 back",
            "1");
        row("the target is rolled back if it asks for it", "set 1 again, goNext, goNext, -, goBack, turns",
            "undo 2, undo 1, leaving 2, leave 2 back, clean 2, entering 1, enter 1 back, id 1 back, page 1 back",
            "1");
        row("a page that refuses", "set 2 refuses, goNext, goNext, goNext, -, rollback 1, turns",
            "undo 3, undo 2", "1 2 3");
        row("a page that answers late",
            "set 2 late, goNext, goNext, goNext, -, rollback 1, turns, answer 2 no, turns", "undo 3, undo 2",
            "1 2 3");
        row("an answer that nobody waits for",
            "set 2 late, goNext, goNext, -, goBack, turns, answer 2 no, answer 2 yes, turns", "undo 2",
            "1 2");
        row("what is awaited is deleted",
            "set 2 late, goNext, goNext, goNext, -, rollback 1, turns, delete 2, turns", "undo 3, undo 2",
            "1 2 3");
        row("what would be asked is deleted", "goNext, goNext, goNext, -, rollback 1, delete 2, turns",
            "undo 3, leaving 3, leave 3 back, clean 3, entering 1, enter 1 back, id 1 back, page 1 back",
            "1");
        row("no rollback to where it is, or never was", "goNext, goNext, -, rollback 2, rollback 4, turns",
            "", "1 2");
        row("nothing moves during a rollback",
            "set 2 late, goNext, goNext, -, goBack, turns, goNext, finish, goBack, rollback 1, turns",
            "undo 2", "1 2");
        row("going on by other means stops a rollback",
            "set 2 late, goNext, goNext, goBack, turns, -, goto 3, answer 2 yes, turns",
            "leaving 2, leave 2 on, make 3, entering 3, init 3, enter 3 on, id 3 on, page 3 on", "1 2 3");
        row("back follows the history", "goNext, goto 4, -, goBack, turns",
            "undo 4, leaving 4, leave 4 back, clean 4, entering 1, enter 1 back, id 1 back, page 1 back",
            "1");
        row("the page it is on", "goNext, -, goto 1", "", "1");
        row("no page", "goNext, -, goto -1", "", "1");

        row("a page ends by itself", "goNext, -, done 1",
            "leaving 1, leave 1 on, make 2, entering 2, init 2, enter 2 on, id 2 on, page 2 on", "1 2");
        row("a page ends that is not current", "goNext, goNext, -, done 1", "", "1 2");
        row("the last page ends", "goNext, goto 5, -, done 5", "", "1 5");
        row("a page ends while it is entered", "set 1 hasty, goNext",
            "make 1, entering 1, init 1, enter 1 on, id 1 on, page 1 on, "
            "leaving 1, leave 1 on, make 2, entering 2, init 2, enter 2 on, id 2 on, page 2 on",
            "1 2");
        row("and the wizard is elsewhere then", "set 1 hasty, at enter 1: goto 3, -, goNext",
            "make 1, entering 1, init 1, enter 1 on, id 1 on, page 1 on, "
            "leaving 1, leave 1 on, make 2, entering 2, init 2, enter 2 on, id 2 on, page 2 on, "
            "leaving 2, leave 2 on, make 3, entering 3, init 3, enter 3 on, id 3 on, page 3 on",
            "1 2 3");

        row("Next is pressed while a page is entered", "goNext, at enter 2: goNext, -, goNext",
            "leaving 1, leave 1 on, make 2, entering 2, init 2, enter 2 on, id 2 on, page 2 on, "
            "leaving 2, leave 2 on, make 3, entering 3, init 3, enter 3 on, id 3 on, page 3 on",
            "1 2 3");

        row("restart", "goNext, goNext, -, restart", "entering 1, init 1, enter 1 on, id 1 on, page 1 on",
            "1");
        row("restart where it starts", "goNext, -, restart", "", "1");
        row("restart, and the page left says that it is done", "goNext, goNext, restart, -, done 2", "", "1");
        row("restart, and then one page on", "goNext, restart, goNext, restart, -, done 1",
            "leaving 1, leave 1 on, entering 2, init 2, enter 2 on, id 2 on, page 2 on", "1 2");
        row("restart stops a rollback",
            "set 2 late, goNext, goNext, goBack, turns, restart, -, answer 2 yes, turns", "", "1");

        row("a page that is not valid", "goNext, set 1 invalid, -, goNext, finish", "", "1");
        row("Next again while a page validates", "goNext, at validate 1: goNext, -, goNext",
            "leaving 1, leave 1 on, make 2, entering 2, init 2, enter 2 on, id 2 on, page 2 on", "1 2");
        row("elsewhere once it is validated", "goNext, goNext, at validate 2: restart, -, goNext",
            "entering 1, init 1, enter 1 on, id 1 on, page 1 on", "1");
        row("deleted while it validates", "goNext, at validate 1: delete 1, -, goNext", "", "1");
        row("a rollback began while it was validated",
            "set 2 late, goNext, goNext, at validate 2: goBack, -, goNext, turns", "undo 2", "1 2");
        row("finish", "goNext, -, finish", "finished 0", "1");
        row("cancel", "goNext, -, cancel", "finished 2", "1");

        row("the factory makes no page", "set 2 missing, goNext, -, goNext",
            "leaving 1, leave 1 on, make 2, entering 1, enter 1 back", "1");
        row("and the wizard goes on when it does",
            "set 2 missing, goNext, goNext, unset 2 missing, -, done 1",
            "leaving 1, leave 1 on, make 2, entering 2, init 2, enter 2 on, id 2 on, page 2 on", "1 2");
        row("a page that ends by itself, and the next is missing", "set 2 missing, set 1 hasty, goNext",
            "make 1, entering 1, init 1, enter 1 on, id 1 on, page 1 on, leaving 1, leave 1 on, make 2, entering 1, "
            "enter 1 back",
            "1");
        row("there is no first page", "set 1 missing, goNext", "make 1", "");
        row("a page is deleted while it is entered", "goNext, at enter 2: delete 2, -, goNext",
            "leaving 1, leave 1 on, make 2, entering 2, init 2, enter 2 on, entering 1, enter 1 back", "1");
        row("a deleted page is made again", "goNext, goNext, delete 1, -, goBack, turns",
            "undo 2, leaving 2, leave 2 back, clean 2, make 1, entering 1, enter 1 back, id 1 back, page 1 back",
            "1");

        row("hidden and disabled actions",
            "goNext, -, trigger Finish, trigger Back, set 1 incomplete, trigger Next", "", "1");
        row("Next has no place on the last page", "goNext, goto 5, -, trigger Next, trigger Finish",
            "finished 0", "1 5");
    }

    void walk()
    {
        const auto [script, events, history] = cells<QString, QString, QString>();
        const LogCapture errors;
        Walk walk;
        walk.run(script);
        QCOMPARE(walk.wizard.log.take(), events);
        QCOMPARE(walk.history(), history);
        const bool fails
            = script.contains(QLatin1String("missing")) || script.contains(QLatin1String("enter 2: delete"));
        QCOMPARE(errors.count("the wizard stays where it was"), fails ? 1 : 0);
        QCOMPARE(errors.count("(!)Warning: no page follows"),
                 script.contains(QLatin1String("done 5")) || script.contains(QLatin1String("-1")) ? 1 : 0);
        // The actions show where the wizard is, without being asked.
        QCOMPARE(walk.isEnabled(WizardActions::Back),
                 walk.model->pageFlow()->canGoBack() && !walk.model->isRollingBack());
    }

    /// The history, after ids were made current in that order.
    void history_data()
    {
        Table<QVector<int>, QVector<int>, int, int, bool> row;

        row("nothing", QVector<int>{}, QVector<int>{}, -1, 1, false);
        row("the first page", QVector<int>{1}, QVector<int>{1}, -1, 2, false);
        row("in a row", QVector<int>{1, 2, 3}, QVector<int>{1, 2, 3}, 2, 4, false);
        row("the same again", QVector<int>{1, 2, 2}, QVector<int>{1, 2}, 1, 3, false);
        row("back forgets", QVector<int>{1, 2, 3, 1}, QVector<int>{1}, -1, 2, false);
        row("back and elsewhere", QVector<int>{1, 2, 3, 1, 3}, QVector<int>{1, 3}, 1, 4, false);
        row("the last page", QVector<int>{1, 5}, QVector<int>{1, 5}, 1, -1, true);
    }

    void history()
    {
        const auto [ids, history, previous, next, isFinal]
            = cells<QVector<int>, QVector<int>, int, int, bool>();
        SampleWizard wizard;
        SampleFlow sample(wizard);
        CAbstractWizardPageFlow &flow = sample;
        for (const int id : qAsConst(ids))
            flow.setCurrentPageId(id);
        QCOMPARE(flow.currentPageId(), history.isEmpty() ? -1 : history.last());
        QCOMPARE(static_cast<QVector<int>>(flow.getPageHistory(history.value(0))), history);
        QCOMPARE(static_cast<QVector<int>>(flow.getPageHistory(history.value(1))), history.mid(1));
        QVERIFY(flow.getPageHistory(4).isEmpty());
        QCOMPARE(flow.hasVisitedPage(3), history.contains(3));
        QCOMPARE(flow.canGoBack(), history.size() > 1);
        QCOMPARE(flow.getPrevPageId(), previous);
        QCOMPARE(flow.getNextPageId(), next);
        QCOMPARE(flow.isOnFinalPage(), isFinal);
    }

    /// The actions that are seen after a script, those that are disabled with a minus.
    void actions_data()
    {
        Table<QString, QString> row;

        row("before the first page", "updateWizardActions", "Back- Next- Cancel Help");
        row("the first page", "goNext", "Back- Next Cancel Help");
        row("the second page", "goNext, goNext", "Back Next Cancel Help");
        row("the last page", "goNext, goto 5", "Back Finish Cancel Help");
        row("a page that is not complete", "goNext, goto 5, set 5 incomplete, change 5",
            "Back Finish- Cancel Help");
        row("while the model is busy", "goNext, busy", "Back- Next- Cancel Help");
        row("while it is rolled back", "set 2 late, goNext, goNext, goBack, turns", "Back- Next Cancel Help");
        row("after a refusal", "set 2 refuses, goNext, goNext, goBack, turns", "Back Next Cancel Help");
        row("the page was deleted", "goNext, goNext, delete 2, updateWizardActions",
            "Back Next- Cancel Help");
    }

    void actions()
    {
        const auto [script, actions] = cells<QString, QString>();
        Walk walk;
        walk.run(script);
        QStringList seen;
        QStringList hidden;
        for (int type = WizardActions::Back; type <= WizardActions::Facebook; ++type) {
            const QAction *action = walk.controller->wizardAction(type);
            if (action->isVisible())
                seen << action->text() + QLatin1String(action->isEnabled() ? "" : "-");
            else
                hidden << action->text();
        }
        QCOMPARE(seen.join(QLatin1Char(' ')), actions);
        hidden.removeOne(QStringLiteral("Next"));
        hidden.removeOne(QStringLiteral("Finish"));
        QCOMPARE(hidden.join(QLatin1Char(' ')),
                 QStringLiteral("Commit Custom1 Custom2 Custom3 Tweet Facebook"));
        QVERIFY(walk.controller->wizardAction(WizardActions::Close)->text().isEmpty());
        QVERIFY(!walk.controller->wizardAction(12));
    }

    void customActions()
    {
        struct Handler : CAbstractWizardActionHandler
        {
            void handleCustomAction(int type) override { types << type; }
            QVector<int> types;
        };
        Walk walk;
        auto *handler = new Handler;
        walk.model->setActionHandler(*handler);
        walk.run(QStringLiteral("goNext, trigger Custom1, trigger Custom3, trigger Custom2"));
        QCOMPARE(handler->types, (QVector<int>{6, 8, 7}));
    }

    /// An action keeps what a state does not name; a provider that took another's place is asked.
    void actionStates()
    {
        struct Provider : CAbstractWizardActionStateProvider
        {
            QHash<QString, QVariant> getActionStateForPage(WizardActions::ActionType type,
                                                           int page) const override
            {
                return {{QStringLiteral("text"), QStringLiteral("%1 on %2").arg(type).arg(page)},
                        {QStringLiteral("mood"), 7}};
            }
        };
        Walk walk;
        walk.run(QStringLiteral("goNext"));
        walk.model->setActionStateProvider(*new Provider);
        walk.run(QStringLiteral("goNext"));
        const QAction *finish = walk.controller->wizardAction(WizardActions::Finish);
        QCOMPARE(finish->text(), QStringLiteral("3 on 2"));
        QCOMPARE(finish->property("mood").toInt(), 7);
        QVERIFY(!finish->isVisible());
        CWizardActionsUpdater::setActionState(nullptr, {{QStringLiteral("text"), 1}});
    }

    void withoutModel()
    {
        const LogCapture log;
        Walk walk;
        walk.run(QStringLiteral("goNext"));
        walk.model.reset();
        const char *const names[] = {"goBack",      "goNext",      "finish",       "cancel",
                                     "requestHelp", "postTwitter", "postFacebook", "updateWizardActions"};
        for (const char *slot : names) {
            QMetaObject::invokeMethod(walk.controller.get(), slot);
            QCOMPARE(
                log.count(qPrintable(
                    QStringLiteral("Null Wizard Model in CWizardController::%1\n").arg(QLatin1String(slot)))),
                1);
        }
        walk.controller->requestCustomAction(7);
        QCOMPARE(log.count("Null Wizard Model in CWizardController::requestCustomAction\n"), 1);
        walk.wizard.log.take();
    }

    /// The model dies in the middle of a call, by the hand of whoever hears of it. A fault is the
    /// sanitizer's.
    void deaths()
    {
        using Model = CAbstractWizardModel;
        const std::function<void(Walk &, const std::function<void()> &)> moments[] = {
            [](Walk &walk, auto die) { QObject::connect(walk.model.get(), &Model::aboutToLeavePage, die); },
            [](Walk &walk, auto die) { QObject::connect(walk.model.get(), &Model::aboutToEnterPage, die); },
            [](Walk &walk, auto die) {
                QObject::connect(walk.model.get(), &Model::currentPageIdChanged, die);
            },
            [](Walk &walk, auto die) { QObject::connect(walk.model.get(), &Model::currentPageChanged, die); },
            [](Walk &walk, auto die) { QObject::connect(walk.model.get(), &Model::finished, die); },
            [](Walk &walk, auto die) {
                QObject::connect(walk.controller.get(), &CWizardController::wizardActionsUpdated, die);
            },
        };
        for (const char *command : {"goNext", "goBack", "restart", "finish", "cancel", "goto 4"}) {
            for (const auto &dieAt : moments) {
                Walk walk;
                walk.run(QStringLiteral("goNext, goNext"));
                dieAt(walk, [&walk] { delete walk.model.release(); });
                walk.run(QString::fromLatin1(command));
                for (int i = 0; i < 9; ++i)
                    QCoreApplication::processEvents();
                QVERIFY(!walk.model || walk.model->currentPageId() > 0);
            }
        }
    }

    /// Objects tell of their lives, when somebody listens.
    void lives()
    {
        const LogCapture log(3);
        std::make_unique<Walk>().reset();
        for (const char *what :
             {"Model", "Page Flow", "Page Factory", "Controller", "Rollback Worker", "Actions Updater"}) {
            QCOMPARE(log.count(qPrintable(QStringLiteral("Created Wizard %1 <").arg(QLatin1String(what)))),
                     1);
            QCOMPARE(log.count(qPrintable(QStringLiteral("Destroyed Wizard %1 <").arg(QLatin1String(what)))),
                     1);
        }
        QCOMPARE(log.count("Destroyed Wizard Actions <"), 2);
    }

    void synchronizedButton()
    {
        Walk walk;
        QWizard window;
        for (const auto type : {WizardActions::Next, WizardActions::Help, WizardActions::Close})
            CWizardActionButtonSynchronizer::setupSyncronization(window, *walk.controller, type);
        const auto synchronizers
            = [&] { return window.findChildren<CWizardActionButtonSynchronizer *>().size(); };
        QCOMPARE(synchronizers(), 2);
        QAction *next = walk.controller->wizardAction(WizardActions::Next);
        next->setText(QStringLiteral("On"));
        next->setEnabled(false);
        QCOMPARE(window.button(QWizard::NextButton)->text(), QStringLiteral("On"));
        QVERIFY(!window.button(QWizard::NextButton)->isEnabled());
        delete next;
        QVERIFY(!walk.controller->wizardAction(WizardActions::Next));
        QTRY_COMPARE(synchronizers(), 1);
        delete window.button(QWizard::HelpButton);
        QCOMPARE(synchronizers(), 0);
    }
};

KOV_TEST_MAIN(QApplication, tst_Wizard)
#include "tst_wizard.moc"
