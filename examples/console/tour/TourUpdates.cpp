#include "examples/console/pages/UpdatesPage.h"
#include "examples/console/tour/Tour_p.h"
#include "gui/update/CAppUpdateLogic.h"
#include "gui/window/CProgressDialog.h"

#include <QCoreApplication>
#include <QLabel>
#include <QLineEdit>
#include <QTimer>

namespace {

QString hex(KOV_RESULT code)
{
    return code < 0 ? QStringLiteral("0x%1").arg(uint(code), 8, 16, QLatin1Char('0')) : QString::number(code);
}

CProgressDialog *progressWindow()
{
    return qobject_cast<CProgressDialog *>(Tour::visibleWindow("CProgressDialog"));
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
        {"altered catalogue", UpdatesPage::RealUpdater, Catalogue::Damaged, true, KOV_ERR_UPDATER_FAILED,
         KOV_ERR_UPDATER_FAILED},
        {"old catalogue", UpdatesPage::RealUpdater, Catalogue::Replayed, true, KOV_ERR_UPDATER_FAILED,
         KOV_ERR_UPDATER_FAILED},
        {"no connection", UpdatesPage::RealUpdater, Catalogue::UpdateAvailable, false,
         KOV_ERR_UPDATE_SERVER_NOT_REACHABLE, KOV_ERR_UPDATE_SERVER_NOT_REACHABLE},
        {"updater missing", UpdatesPage::MissingUpdater, Catalogue::UpdateAvailable, true,
         KOV_ERR_UPDATER_MISSING, KOV_ERR_UPDATER_MISSING},
        {"updater crashes", UpdatesPage::CrashingUpdater, Catalogue::UpdateAvailable, true,
         KOV_ERR_UPDATER_FAILED, KOV_ERR_UPDATER_FAILED},
    };
    // Seen once, so that the old one is older.
    ask([page] { page->setCatalogue(Catalogue::UpToDate); });
    updateStep("up to date", KOV_NO_UPDATE_AVAILABLE, KOV_NO_UPDATE_AVAILABLE);
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

    // Nothing listens at the discard port.
    ask([page] { page->setUpdater(UpdatesPage::RealUpdater); });
    useServer(QStringLiteral("http://127.0.0.1:9/updates.xml"));
    updateStep("another server, which is not there", KOV_ERR_UPDATE_SERVER_NOT_REACHABLE,
               KOV_ERR_UPDATE_SERVER_NOT_REACHABLE);
    useServer(QString());
    backgroundSteps();
}

void Tour::useServer(const QString &address)
{
    ask([this, address] {
        auto *edit = m_window->updates()->findChild<QLineEdit *>(QStringLiteral("customServer"));
        edit->setText(address);
        QMetaObject::invokeMethod(edit, "editingFinished");
    });
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
    const bool quiet = quietCheck(QStringLiteral("checkInBackground"));
    const KOV_RESULT last = ask([page] { return page->lastResult(); });
    step(QStringLiteral("background check"), quiet && last == KOV_NO_UPDATE_AVAILABLE,
         QStringLiteral("no window came, the check ended with %1").arg(hex(last)));
    ask([page] { page->setCatalogue(Catalogue::UpdateAvailable); });
}

bool Tour::quietCheck(const QString &button)
{
    UpdatesPage *page = m_window->updates();
    m_progressWindowsShown = 0;
    press(page, button);
    const bool began = waitFor([page] { return page->isChecking(); }, 2000);
    const bool ended = waitFor([page] { return !page->isChecking(); });
    msleep(200);
    return began && ended && m_progressWindowsShown == 0
           && !ask([] { return visibleWindow("CUpdateDialog"); });
}

void Tour::dialogStep(const char *name, const char *dialog)
{
    const bool shown = waitFor([dialog] { return visibleWindow(dialog) != nullptr; }, 60000);
    const QString text = ask([dialog] {
        const QWidget *window = visibleWindow(dialog);
        const auto *label = window ? window->findChild<QLabel *>(QStringLiteral("m_lbTitle")) : nullptr;
        return label ? label->text() : QString();
    });
    step(QString::fromLatin1(name), shown, QStringLiteral("the user reads: %1").arg(text));
}

void Tour::press(const char *dialog, const char *button)
{
    press(ask([dialog] { return visibleWindow(dialog); }), QLatin1String(button));
    waitFor([dialog] { return !visibleWindow(dialog); }, 5000);
}

void Tour::offerSteps()
{
    UpdatesPage *page = m_window->updates();
    ask([this, page] { m_window->showPage(page); });
    press(page, QStringLiteral("letADayPass"));
    dialogStep("the day's check found an update", "CUpdateDialog");
    press("CUpdateDialog", "m_pbSkipVersion");
    const bool quiet = quietCheck(QStringLiteral("letADayPass"));
    step(QStringLiteral("a skipped version"), quiet, ask([page] { return page->lastEvent(); }));

    press(page, QStringLiteral("offerSkipped"));
    press(page, QStringLiteral("majorUpgrade"));
    press(page, QStringLiteral("checkNow"));
    const QString question = messageText(KOV_QUESTION_INSTALL_MAJOR_UPGRADE);
    step(QStringLiteral("a major upgrade"), !question.isEmpty(),
         QStringLiteral("the user reads: %1").arg(question));
    answer(KOV_QUESTION_INSTALL_MAJOR_UPGRADE, 2);
    press(page, QStringLiteral("majorUpgrade"));

    press(page, QStringLiteral("checkNow"));
    dialogStep("it is offered again", "CUpdateDialog");
    press("CUpdateDialog", "m_pbPostpone");
    waitFor([page] { return !page->isInstalling(); });
    press(page, QStringLiteral("letTenMinutesPass"));
    dialogStep("the reminder", "CUpdateDialog");
    press("CUpdateDialog", "m_pbInstall");
}

void Tour::downloadSteps()
{
    UpdatesPage *page = m_window->updates();
    const char dialog[] = "CDownloadProgressDialog";
    waitFor([dialog] { return visibleWindow(dialog) != nullptr; });
    msleep(1200);
    step(QStringLiteral("the package is downloaded"),
         ask([dialog] { return visibleWindow(dialog) != nullptr; }),
         QStringLiteral("a window shows how far it is"));
    const auto toggle = [this, dialog] {
        press(ask([dialog] { return visibleWindow(dialog); }), QStringLiteral("m_pbPauseResume"));
    };
    toggle();
    const bool stopped = waitFor([dialog] {
        const QWidget *window = visibleWindow(dialog);
        const auto *label = window ? window->findChild<QLabel *>(QStringLiteral("m_lblProgress")) : nullptr;
        return label && label->text().endsWith(QStringLiteral(" - stopped"));
    });
    step(QStringLiteral("a pause"), stopped, QStringLiteral("the window says that the download is stopped"));
    toggle();
    msleep(600);
    ask([page] { page->site()->stop(); });
    msleep(1500);
    step(QStringLiteral("the line is lost"), ask([dialog] { return visibleWindow(dialog) != nullptr; }),
         QStringLiteral("the window waits for the connection"));
    ask([page] { page->site()->start(); });

    dialogStep("it went on and is complete", "CConfirmUpdateInstallationDialog");
    press("CConfirmUpdateInstallationDialog", "m_pbPostpone");
    waitFor([page] { return !page->isInstalling(); });
    handOver(AtNextStart);
    press(page, QStringLiteral("restartConsole"));
}

void Tour::installSteps()
{
    UpdatesPage *page = m_window->updates();
    dialogStep("the next start goes on", "CUpdateDialog");
    press("CUpdateDialog", "m_pbPostpone");
    waitFor([page] { return !page->isInstalling(); });
    press(page, QStringLiteral("installPending"));
    dialogStep("by hand", "CUpdateDialog");
    press(page, QStringLiteral("editorOpen"));
    handOver(AfterUpdate);
    press("CUpdateDialog", "m_pbInstall");
    const QString question = messageText(KOV_QUESTION_CLOSE_APPLICATIONS);
    step(QStringLiteral("an application is in the way"), !question.isEmpty(),
         QStringLiteral("the user reads: %1").arg(question));
    press(page, QStringLiteral("editorOpen"));
    answer(KOV_QUESTION_CLOSE_APPLICATIONS, 1);
    const bool shown = waitFor([] { return progressWindow() && progressWindow()->value() > 0; });
    step(QStringLiteral("the updater installs"), shown, QStringLiteral("a window shows how far it is"));
    handOver(AfterUpdate);
}

void Tour::newVersionSteps()
{
    dialogStep("the new version says so", "CUpdateDialog");
    const bool newer
        = ask([] { return QCoreApplication::applicationVersion() == QStringLiteral("3.1.5-31502"); });
    press("CUpdateDialog", "m_pbOk");
    step(QStringLiteral("it is the new version"), newer,
         ask([this] { return m_window->updates()->pendingText(); }));
    updateStep("nothing newer", KOV_NO_UPDATE_AVAILABLE, KOV_NO_UPDATE_AVAILABLE);
}
