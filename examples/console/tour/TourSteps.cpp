#include "examples/console/pages/LogPage.h"
#include "examples/console/pages/MessagesPage.h"
#include "examples/console/pages/TasksPage.h"
#include "examples/console/sample/ConsoleMessages.h"
#include "examples/console/tour/Tour_p.h"
#include "gui/messages/CMessageManager.h"
#include "gui/messages/record/MessageUtils.h"

#include <QApplication>
#include <QCheckBox>
#include <QFile>

using namespace ConsoleMessages;

void Tour::messageSteps()
{
    MessagesPage *page = m_window->messages();
    ask([this, page] { m_window->showPage(page); });
    const auto lastEvent = [this, page] { return ask([page] { return page->lastEvent(); }); };

    later([page] { page->show(DeleteMachine); });
    QString text = messageText(DeleteMachine);
    step(QStringLiteral("a question"), !text.isEmpty(), text);
    answer(DeleteMachine, 2);
    waitFor([page] { return page->lastEvent().contains(QString::number(DeleteMachine)); });
    step(QStringLiteral("its answer"), lastEvent().endsWith(QStringLiteral("answer 2.")), lastEvent());

    struct Case
    {
        const char *name;
        int code;
        int answer;
    };
    const Case cases[] = {
        {"an error with a solution", MachineNotStarted, 2},
        {"a warning with a link", DiskAlmostFull, 1},
        {"a countdown", RestartSoon, 2},
    };
    for (const Case &row : cases) {
        later([page, &row] { page->show(row.code); });
        text = messageText(row.code);
        step(QString::fromLatin1(row.name), !text.isEmpty(), text);
        if (row.code == MachineNotStarted)
            detailsStep(row.code);
        answer(row.code, row.answer);
    }

    press(page, QStringLiteral("threeErrors"));
    text = messageText(NetworkLost);
    step(QStringLiteral("three errors of one machine"),
         ask([] { return CMessageManager::instance()->getMessageWindowsForId(NetworkLost).size() == 1; }),
         text);
    press(ask([] { return CMessageManager::instance()->getMessageWindowsForId(NetworkLost).value(0); }),
          QStringLiteral("m_pbButton1"));
    const bool other = waitFor([] {
        const auto windows = CMessageManager::instance()->getMessageWindowsForId(NetworkLost);
        return windows.size() == 1 && windows.first()->isVisible();
    });
    const QString queued = messageText(NetworkLost);
    step(QStringLiteral("the queued one follows"), other && queued != text, queued);
    answer(NetworkLost, 1);

    later([page] { page->show(SuspendOnQuit); });
    text = messageText(SuspendOnQuit);
    ask([] {
        const auto windows = CMessageManager::instance()->getMessageWindowsForId(SuspendOnQuit);
        if (auto *check = windows.isEmpty()
                              ? nullptr
                              : windows.first()->findChild<QCheckBox *>(QStringLiteral("m_ckbDoNotShowFlag")))
            check->click();
    });
    step(QStringLiteral("not to be asked again"), !text.isEmpty(), text);
    answer(SuspendOnQuit, 2);
    later([page] { page->show(SuspendOnQuit); });
    const bool hidden = waitFor([] { return MessageUtils::getHiddenMessagesCount() == 1; }, 2000);
    step(QStringLiteral("it is not asked again"), hidden && !isMessageOpen(SuspendOnQuit), lastEvent());
    press(page, QStringLiteral("restoreHidden"));
}

void Tour::detailsStep(int code)
{
    press(ask([code] { return CMessageManager::instance()->getMessageWindowsForId(code).value(0); }),
          QStringLiteral("m_pbDetails"));
    const bool shown = waitFor([] { return visibleWindow("CDetailsDialog") != nullptr; });
    step(QStringLiteral("its details"), shown, QStringLiteral("the details are in a window of their own"));
    ask([] {
        if (QWidget *window = visibleWindow("CDetailsDialog"))
            window->close();
    });
}

void Tour::taskSteps()
{
    TasksPage *page = m_window->tasks();
    ask([this, page] { m_window->showPage(page); });
    const auto runTask = [this, page] {
        press(page, QStringLiteral("startTask"));
        waitFor([page] { return page->isTaskRunning(); }, 2000);
    };
    const auto inventory = [this, page] { return ask([page] { return page->inventoryPath(); }); };

    runTask();
    waitFor([page] { return !page->isTaskRunning(); });
    step(QStringLiteral("a task"), !inventory().isEmpty(), ask([page] { return page->lastEvent(); }));
    runTask();
    msleep(300);
    press(page, QStringLiteral("cancelTask"));
    waitFor([page] { return !page->isTaskRunning(); });
    step(QStringLiteral("a cancelled task"), inventory().isEmpty(),
         ask([page] { return page->lastEvent(); }));
}

void Tour::logSteps()
{
    LogPage *page = m_window->log();
    const QString path = ask([this, page] {
        m_window->showPage(page);
        page->refresh();
        return page->filePath();
    });
    step(QStringLiteral("the log"),
         ask([page] { return page->shownText().contains(QStringLiteral("is not found.")); }), path);
    const bool moved = ask([page] { return page->moveFileAway(); });
    // The file is looked for once a second.
    const bool back = waitFor(
        [page, path] {
            page->writeRecord();
            return QFile::exists(path);
        },
        2500);
    step(QStringLiteral("the log moved away"), moved && back, QStringLiteral("a new file came by itself"));
}
