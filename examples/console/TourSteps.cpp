#include "examples/console/ConsoleMessages.h"
#include "examples/console/LogPage.h"
#include "examples/console/MessagesPage.h"
#include "examples/console/TasksPage.h"
#include "examples/console/Tour_p.h"
#include "examples/console/UpdatesPage.h"
#include "gui/messages/CDetailsDialog.h"
#include "gui/messages/CMessageManager.h"
#include "gui/messages/MessageUtils.h"
#include "gui/window/CProgressDialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QFile>

using namespace ConsoleMessages;

namespace {

QString hex(KOV_RESULT code)
{
    return code < 0 ? QStringLiteral("0x%1").arg(uint(code), 8, 16, QLatin1Char('0')) : QString::number(code);
}

/// The visible window of a type, null when there is none.
template <typename Window>
Window *visibleWindow()
{
    const auto windows = QApplication::topLevelWidgets();
    for (QWidget *widget : windows) {
        auto *window = qobject_cast<Window *>(widget);
        if (window && window->isVisible())
            return window;
    }
    return nullptr;
}

CProgressDialog *progressWindow()
{
    return visibleWindow<CProgressDialog>();
}

} // namespace

void Tour::updateStep(const char *name, int message, KOV_RESULT result)
{
    UpdatesPage *page = m_window->updates();
    m_progressWindowsShown = 0;
    press(page, QStringLiteral("checkNow"));
    const QString text = messageText(message);
    const bool progressCameAndWent = ask([this] { return m_progressWindowsShown == 1 && !progressWindow(); });
    step(QString::fromLatin1(name), progressCameAndWent && !text.isEmpty(),
         QStringLiteral("the user reads: %1").arg(text));
    answer(message, 1);
    const bool ended = waitFor([page] { return !page->isChecking(); });
    const KOV_RESULT last = ask([page] { return page->lastResult(); });
    step(QStringLiteral("%1 ended").arg(QString::fromLatin1(name)), ended && last == result,
         QStringLiteral("the check ended with %1").arg(hex(last)));
}

void Tour::updateSteps()
{
    UpdatesPage *page = m_window->updates();
    ask([this, page] { m_window->showPage(page); });
    step(QStringLiteral("console"), ask([page] { return page->site()->isRunning(); }), ask([page] {
             return QStringLiteral("the site runs at %1").arg(page->site()->baseUrl().toString());
         }));

    // Each row: what stands there, which message its user must see, and how the check must end.
    struct Case
    {
        const char *name;
        UpdatesPage::Updater updater;
        SampleSite::Catalogue catalogue;
        bool siteRuns;
        int message;
        KOV_RESULT result;
    };
    using Catalogue = SampleSite::Catalogue;
    const Case cases[] = {
        {"update found", UpdatesPage::RealUpdater, Catalogue::UpdateAvailable, true, UpdateFound,
         KOV_SUCCESS},
        {"up to date", UpdatesPage::RealUpdater, Catalogue::UpToDate, true, KOV_NO_UPDATE_AVAILABLE,
         KOV_NO_UPDATE_AVAILABLE},
        {"damaged catalogue", UpdatesPage::RealUpdater, Catalogue::Damaged, true, KOV_ERR_UPDATER_FAILED,
         KOV_ERR_UPDATER_FAILED},
        {"no connection", UpdatesPage::RealUpdater, Catalogue::UpdateAvailable, false,
         KOV_ERR_UPDATE_SERVER_NOT_REACHABLE, KOV_ERR_UPDATE_SERVER_NOT_REACHABLE},
        {"updater missing", UpdatesPage::MissingUpdater, Catalogue::UpdateAvailable, true,
         KOV_ERR_UPDATER_MISSING, KOV_ERR_UPDATER_MISSING},
        {"updater crashes", UpdatesPage::CrashingUpdater, Catalogue::UpdateAvailable, true,
         KOV_ERR_UPDATER_FAILED, KOV_ERR_UPDATER_FAILED},
    };
    for (const Case &row : cases) {
        ask([&] {
            page->setUpdater(row.updater);
            page->setCatalogue(row.catalogue);
            if (row.siteRuns)
                page->site()->start();
            else
                page->site()->stop();
        });
        updateStep(row.name, row.message, row.result);
    }

    backgroundSteps();
}

void Tour::backgroundSteps()
{
    using Catalogue = SampleSite::Catalogue;
    UpdatesPage *page = m_window->updates();
    ask([page] {
        page->setUpdater(UpdatesPage::RealUpdater);
        page->setCatalogue(Catalogue::Slow);
    });
    m_progressWindowsShown = 0;
    press(page, QStringLiteral("checkInBackground"));
    waitFor([page] { return page->isChecking(); }, 1000);
    msleep(500);
    const int before = ask([this] { return m_progressWindowsShown; });
    press(page, QStringLiteral("checkNow"));
    const bool shown = waitFor([] { return progressWindow() != nullptr; });
    step(QStringLiteral("to the foreground"), before == 0 && shown,
         QStringLiteral("the background check shows its progress once it is asked for"));
    ask([] {
        if (CProgressDialog *window = progressWindow())
            window->cancel();
    });
    waitFor([page] { return !page->isChecking(); });
    const KOV_RESULT cancelled = ask([page] { return page->lastResult(); });
    step(QStringLiteral("cancelled"), cancelled == KOV_ERR_CANCELLED,
         QStringLiteral("the check ended with %1").arg(hex(cancelled)));

    ask([page] { page->setCatalogue(Catalogue::UpToDate); });
    m_progressWindowsShown = 0;
    press(page, QStringLiteral("checkInBackground"));
    waitFor([page] { return page->isChecking(); }, 1000);
    waitFor([page] { return !page->isChecking(); });
    const KOV_RESULT last = ask([page] { return page->lastResult(); });
    step(QStringLiteral("background check"), m_progressWindowsShown == 0 && last == KOV_NO_UPDATE_AVAILABLE,
         QStringLiteral("no window came, the check ended with %1").arg(hex(last)));
    ask([page] { page->setCatalogue(Catalogue::UpdateAvailable); });
}

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
    const bool shown = waitFor([] { return visibleWindow<CDetailsDialog>() != nullptr; });
    step(QStringLiteral("its details"), shown, QStringLiteral("the details are in a window of their own"));
    ask([] {
        if (auto *window = visibleWindow<CDetailsDialog>())
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
