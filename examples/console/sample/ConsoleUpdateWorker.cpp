#include "examples/console/sample/ConsoleUpdateWorker.h"

#include "gui/frame/LibraryVersion.h"
#include "gui/update/CAppUpdateLogic.h"
#include "gui/update/dialogs/CUpdateDialog.h"
#include "gui/update/record/UpgradeUtils.h"

#include <QSettings>
#include <QTimer>

namespace {

const QLatin1String installedVersionKey("ProductUpdate/UpdateToVersion");

void congratulate()
{
    CProductUpdateInfo installed;
    installed.load();
    auto *dialog = new CUpdateDialog(CUpdateDialog::Congratulations, nullptr);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
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
            QTimer::singleShot(0, this, [this] { processRestart(QString(), true); });
    });
}

void ConsoleUpdateWorker::goOnAtStart()
{
    QSettings settings;
    if (settings.value(installedVersionKey).toString() == QLatin1String(LibraryVersion::text())) {
        settings.remove(installedVersionKey);
        congratulate();
        return;
    }
    if (!UpgradeUtils::isNeedToInstallUpdateOnAppStart())
        return;
    CAppUpdateLogic *logic = CAppUpdateLogic::instance();
    logic->setOnAppStart(true);
    if (logic->installPendingUpdate() != KOV_ERR_IN_PROGRESS)
        logic->setOnAppStart(false);
}
