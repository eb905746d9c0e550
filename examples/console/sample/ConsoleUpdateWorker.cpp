#include "examples/console/sample/ConsoleUpdateWorker.h"

#include "gui/update/CAppUpdateLogic.h"
#include "gui/update/dialogs/CUpdateDialog.h"
#include "gui/update/record/UpgradeUtils.h"

#include <QTimer>

namespace {

void congratulate(const CProductUpdateInfo &installed)
{
    auto *dialog = new CUpdateDialog(CUpdateDialog::Congratulations, nullptr);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAskedFor(false);
    dialog->setNotificationFor(installed);
    dialog->show();
}

} // namespace

ConsoleUpdateWorker::ConsoleUpdateWorker(CAppUpdateLogic *logic)
    : CAppUpdateWorker(logic)
{
    connect(logic, &CAppUpdateLogic::updateInstallFinished, this, [this](KOV_RESULT result) {
        setOnAppStart(false);
        // Whoever else listens is told before the console goes.
        if (KOV_SUCCEEDED(result))
            QTimer::singleShot(0, this, [this] { restartOnTrial(true); });
    });
}

void ConsoleUpdateWorker::installMajorUpdate()
{
    installPendingUpdate(true);
}

void ConsoleUpdateWorker::goOnAtStart()
{
    CProductUpdateInfo installed;
    if (UpgradeUtils::takeInstalledUpdate(&installed)) {
        congratulate(installed);
        return;
    }
    if (!UpgradeUtils::isNeedToInstallUpdateOnAppStart())
        return;
    CAppUpdateLogic *logic = CAppUpdateLogic::instance();
    logic->setOnAppStart(true);
    if (logic->installPendingUpdate() != KOV_ERR_IN_PROGRESS)
        logic->setOnAppStart(false);
}
