#include "examples/console/ConsoleMessages.h"
#include "examples/console/ConsoleWindow.h"
#include "examples/console/LogPage.h"
#include "examples/console/MessagesPage.h"
#include "examples/console/TasksPage.h"
#include "examples/console/Tour.h"
#include "examples/console/UpdatesPage.h"
#include "gui/messages/CMessageBoxWndBase.h"
#include "gui/messages/CMessageManager.h"
#include "gui/messages/MessageUtils.h"
#include "gui/window/CProgressDialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QTextEdit>

using namespace ConsoleMessages;

namespace {

QString hex(KOV_RESULT code)
{
    return code < 0 ? QStringLiteral("0x%1").arg(uint(code), 8, 16, QLatin1Char('0')) : QString::number(code);
}

/// The bold text of a message box, as its reader sees it.
QString messageText(const QWidget *box)
{
    const auto *text = box ? box->findChild<QTextEdit *>(QStringLiteral("m_txtMessage")) : nullptr;
    return text ? text->toPlainText().simplified() : QStringLiteral("no message came");
}

bool isProgressShown()
{
    const auto windows = QApplication::topLevelWidgets();
    return std::any_of(windows.cbegin(), windows.cend(), [](const QWidget *window) {
        return window->isVisible() && qobject_cast<const CProgressDialog *>(window);
    });
}

} // namespace

void Tour::updateSteps()
{
    UpdatesPage *page = m_window->updates();
    m_window->showPage(page);
    step(QStringLiteral("console"), page->site()->isRunning(),
         QStringLiteral("the site runs at %1").arg(page->site()->baseUrl().toString()));

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
        {"update found", UpdatesPage::RealUpdater, Catalogue::UpdateAvailable, true, UpdateFound, KOV_SUCCESS},
        {"up to date", UpdatesPage::RealUpdater, Catalogue::UpToDate, true, KOV_NO_UPDATE_AVAILABLE,
         KOV_NO_UPDATE_AVAILABLE},
        {"damaged catalogue", UpdatesPage::RealUpdater, Catalogue::Damaged, true, KOV_ERR_UPDATER_FAILED,
         KOV_ERR_UPDATER_FAILED},
        {"no connection", UpdatesPage::RealUpdater, Catalogue::UpdateAvailable, false,
         KOV_ERR_UPDATE_SERVER_NOT_REACHABLE, KOV_ERR_UPDATE_SERVER_NOT_REACHABLE},
        {"updater missing", UpdatesPage::MissingUpdater, Catalogue::UpdateAvailable, true, KOV_ERR_UPDATER_MISSING,
         KOV_ERR_UPDATER_MISSING},
        {"updater crashes", UpdatesPage::CrashingUpdater, Catalogue::UpdateAvailable, true, KOV_ERR_UPDATER_FAILED,
         KOV_ERR_UPDATER_FAILED},
    };
    for (const Case &row : cases) {
        page->setUpdater(row.updater);
        page->setCatalogue(row.catalogue);
        if (row.siteRuns != page->site()->isRunning())
            press(page, "toggleSite");
        bool progressSeen = false;
        later([this, page] { press(page, "checkNow"); });
        waitFor([&] {
            progressSeen = progressSeen || isProgressShown();
            return progressSeen || !CMessageManager::instance()->getMessageWindowsForId(row.message).isEmpty();
        });
        const QString text = messageText(waitForMessage(row.message));
        step(QString::fromLatin1(row.name), progressSeen && !isProgressShown(),
             QStringLiteral("the user reads: %1").arg(text));
        answer(row.message, 1);
        const bool ended = waitFor([page] { return !page->isChecking(); });
        step(QStringLiteral("%1 ended").arg(QString::fromLatin1(row.name)), ended && page->lastResult() == row.result,
             QStringLiteral("the check ended with %1").arg(hex(page->lastResult())));
    }

    page->setUpdater(UpdatesPage::RealUpdater);
    page->setCatalogue(Catalogue::UpToDate);
    press(page, "checkInBackground");
    const bool silent = !isProgressShown();
    waitFor([page] { return !page->isChecking(); });
    step(QStringLiteral("background check"), silent && page->lastResult() == KOV_NO_UPDATE_AVAILABLE,
         QStringLiteral("no window came, the check ended with %1").arg(hex(page->lastResult())));
    page->setCatalogue(Catalogue::UpdateAvailable);
}

void Tour::messageSteps()
{
    MessagesPage *page = m_window->messages();
    m_window->showPage(page);

    later([page] { page->show(DeleteMachine); });
    QWidget *box = waitForMessage(DeleteMachine);
    step(QStringLiteral("a question"), box, messageText(box));
    answer(DeleteMachine, 2);
    waitFor([page] { return page->lastEvent().contains(QString::number(DeleteMachine)); });
    step(QStringLiteral("its answer"), page->lastEvent().contains(QLatin1Char('2')), page->lastEvent());

    page->show(MachineNotStarted);
    box = waitForMessage(MachineNotStarted);
    step(QStringLiteral("an error with a solution"), box, messageText(box));
    answer(MachineNotStarted, 2);

    page->show(DiskAlmostFull);
    box = waitForMessage(DiskAlmostFull);
    step(QStringLiteral("a warning with a link"), box, messageText(box));
    answer(DiskAlmostFull, 1);

    page->show(RestartSoon);
    box = waitForMessage(RestartSoon);
    step(QStringLiteral("a countdown"), box, messageText(box));
    answer(RestartSoon, 2);

    press(page, "threeErrors");
    box = waitForMessage(NetworkLost);
    step(QStringLiteral("three errors of one machine"),
         CMessageManager::instance()->getMessageWindowsForId(NetworkLost).size() == 1, messageText(box));
    answer(NetworkLost, 1);
    box = waitForMessage(NetworkLost);
    step(QStringLiteral("the queued one follows"), box, messageText(box));
    answer(NetworkLost, 1);

    page->show(SuspendOnQuit);
    box = waitForMessage(SuspendOnQuit);
    if (auto *check = box ? box->findChild<QCheckBox *>(QStringLiteral("m_ckbDoNotShowFlag")) : nullptr)
        check->click();
    step(QStringLiteral("not to be asked again"), box, messageText(box));
    answer(SuspendOnQuit, 2);
    page->show(SuspendOnQuit);
    step(QStringLiteral("it is not asked again"),
         CMessageManager::instance()->getMessageWindowsForId(SuspendOnQuit).isEmpty()
             && MessageUtils::getHiddenMessagesCount() == 1,
         page->lastEvent());
    press(page, "restoreHidden");
}

void Tour::taskSteps()
{
    TasksPage *page = m_window->tasks();
    m_window->showPage(page);
    press(page, "startTask");
    waitFor([page] { return !page->isTaskRunning(); });
    step(QStringLiteral("a task"), !page->inventoryPath().isEmpty(), page->lastEvent());
    press(page, "startTask");
    waitFor([] { return false; }, 300);
    press(page, "cancelTask");
    waitFor([page] { return !page->isTaskRunning(); });
    step(QStringLiteral("a cancelled task"), page->inventoryPath().isEmpty(), page->lastEvent());
}

void Tour::logSteps()
{
    LogPage *page = m_window->log();
    m_window->showPage(page);
    page->refresh();
    step(QStringLiteral("the log"), page->shownText().contains(QStringLiteral("TessarineDirs::Init")),
         page->filePath());
    const bool moved = page->moveFileAway();
    // The file is looked for once a second.
    const bool back = waitFor(
        [page] {
            page->writeRecord();
            return QFile::exists(page->filePath());
        },
        2500);
    step(QStringLiteral("the log moved away"), moved && back, QStringLiteral("a new file came by itself"));
}
