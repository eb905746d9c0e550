#include "examples/console/pages/NetworkPage.h"
#include "examples/console/pages/UpdatesPage.h"
#include "examples/console/sample/SampleProxy.h"
#include "examples/console/tour/Tour_p.h"
#include "gui/tasks/sign_in/CUserAuthDialog.h"

#include <QApplication>

namespace {

CUserAuthDialog *openAuthDialog()
{
    const auto windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        auto *dialog = qobject_cast<CUserAuthDialog *>(window);
        if (dialog && dialog->isVisible())
            return dialog;
    }
    return nullptr;
}

} // namespace

void Tour::networkSteps()
{
    NetworkPage *page = m_window->network();
    SampleSite *site = m_window->updates()->site();
    ask([this, page] { m_window->showPage(page); });
    const auto lastEvent = [this, page] { return ask([page] { return page->lastEvent(); }); };
    const auto idle = [this, page] { return waitFor([page] { return !page->isBusy(); }, 30000); };

    press(page, QStringLiteral("fetch"));
    waitFor([page] { return page->isBusy(); }, 1000);
    idle();
    step(QStringLiteral("a page"), lastEvent().startsWith(QStringLiteral("The page came")), lastEvent());

    ask([page] { page->setThroughProxy(true); });
    press(page, QStringLiteral("fetch"));
    const bool asked = waitFor([] { return openAuthDialog() != nullptr; });
    step(QStringLiteral("the proxy asks"), asked,
         QStringLiteral("a dialog asks for the name and the password"));
    later([] {
        if (CUserAuthDialog *dialog = openAuthDialog()) {
            dialog->setUsername(SampleProxy::user());
            dialog->setPassword(SampleProxy::password());
            dialog->accept();
        }
    });
    idle();
    step(QStringLiteral("a page through the proxy"), lastEvent().startsWith(QStringLiteral("The page came")),
         lastEvent());

    bool askedAgain = false;
    press(page, QStringLiteral("download"));
    waitFor([&] {
        askedAgain = askedAgain || openAuthDialog();
        return page->downloadState() == CTaskDownloadFile::Downloading;
    });
    msleep(1500);
    step(QStringLiteral("a download"), !askedAgain, QStringLiteral("the proxy asks no second time"));
    ask([site] { site->stop(); });
    const bool waiting
        = waitFor([page] { return page->downloadState() == CTaskDownloadFile::WaitingForReconnect; }, 20000);
    step(QStringLiteral("the server is killed"), waiting, lastEvent());
    ask([site] { site->start(); });
    const bool verified = waitFor([page] { return !page->verifiedFile().isEmpty(); }, 40000);
    step(QStringLiteral("it went on by itself"), verified, lastEvent());
    ask([page] { page->setThroughProxy(false); });

    press(page, QStringLiteral("findCountry"));
    const bool located
        = waitFor([page] { return page->lastEvent().startsWith(QStringLiteral("The service says")); });
    step(QStringLiteral("the country"), located, lastEvent());
}
