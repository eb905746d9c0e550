#include "gui/update/install/UpdaterRun_p.h"

#include "gui/frame/Application.h"
#include "gui/log/Log.h"
#include "gui/messages/CSearchParentHelper.h"
#include "gui/update/launch/UpdateCommand_p.h"
#include "gui/update/launch/UpdaterFault_p.h"
#include "gui/update/record/UpdateUrl_p.h"
#include "gui/update/record/UpgradeUtils.h"
#include "gui/window/CProgressDialog.h"

#include <QApplication>
#include <QFileInfo>
#include <QIcon>

namespace {

const char logTag[] = "[APP_UPDATE]";

} // namespace

CTaskLaunchUpdater *UpdaterRun::create(const QString &updaterPath, const QString &packagePath, QObject *owner)
{
    CTaskLaunchUpdater::TaskParams params;
    params.commandLine = UpdateCommand::install(updaterPath, QFileInfo(packagePath).absoluteFilePath());
    KOV_LOG_TAG(logTag, 2, "Update install command: %s", UpdateUrl::forLog(params.commandLine).constData());
    m_launcher = new CTaskLaunchUpdater(params);
    m_launcher->setParent(owner);
    return m_launcher;
}

void UpdaterRun::showProgress()
{
    const QString appName = KovGui::getAppGuiName();
    auto *window = new CProgressDialog;
    window->setObjectName(QStringLiteral("UpdateInstallProgress"));
    window->setWindowTitle(appName);
    window->setWindowIcon(QApplication::windowIcon());
    window->setLabelText(
        QCoreApplication::translate("UpdaterRun", "Installing the update of @@PRODUCT_NAME...")
            .replace(QLatin1String("@@PRODUCT_NAME"), appName));
    window->setRange(0, 100);
    window->setValue(0);
    window->setCancelButtonVisible(false);
    QObject::connect(m_launcher, &CTaskLaunchUpdater::progress, window, &CProgressDialog::setValue);
    m_window = window;
    CSearchParentHelper::makeTransient(window, UpgradeUtils::messageIssuer());
    window->show();
}

CBaseDialog *UpdaterRun::window() const
{
    return m_window;
}

UpdaterRun::Outcome UpdaterRun::take(KOV_RESULT result)
{
    const int exitCode = m_launcher->exitCode();
    const QProcess::ExitStatus exitStatus = m_launcher->exitStatus();
    KOV_LOG_TAG(logTag, 2,
                "Updater execution has finished with result [%d] exit code [%d] and exit status [%d]", result,
                exitCode, int(exitStatus));
    closeWindow();
    m_launcher->deleteLater();
    m_launcher.clear();
    // The exit code of a crash is the number of a signal.
    if (KOV_SUCCEEDED(result) && exitStatus == QProcess::NormalExit && exitCode == 0)
        return {true, QString()};
    return {false, UpdaterFault::explanation(result, exitCode, exitStatus)};
}

void UpdaterRun::letGo()
{
    closeWindow();
    if (m_launcher)
        m_launcher->disconnect(m_launcher->parent());
}

void UpdaterRun::closeWindow()
{
    if (!m_window)
        return;
    m_window->hide();
    m_window->deleteLater();
    m_window.clear();
}
