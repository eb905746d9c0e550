#pragma once

#include "gui/messages/CTaskQuestion.h"
#include "gui/tasks/download/CTaskInteractiveDownload.h"
#include "gui/update/install/CTaskInstallProductUpdate.h"
#include "gui/update/install/PackageCheck_p.h"
#include "gui/update/install/UpdaterRun_p.h"
#include "gui/update/record/UpgradeUtils.h"
#include "gui/window/CBaseDialog.h"

#include <QFileInfo>
#include <QPointer>

class CTaskInstallProductUpdate::Private
{
public:
    explicit Private(CTaskInstallProductUpdate *owner)
        : q(owner)
    { }

    QString path() const { return info.download.destinationFilePath(); }
    bool hasPackage() const { return QFileInfo(path()).isFile(); }

    void open(CBaseDialog *window, void (CTaskInstallProductUpdate::*answered)(int));
    /// The user wants to see it now.
    void present(CBaseDialog *window);
    void takeOffer(int answer);
    void ask(KOV_RESULT code, const QStringList &parameters,
             void (CTaskInstallProductUpdate::*answered)(KOV_RESULT, Messaging::ButtonID));
    void confirmCancelSmartInstall();
    /// Runs the step under way again, with others before it.
    void repeat(const QList<int> &before = QList<int>());
    void failInstallation(KOV_RESULT result, const QString &reason, bool mayRetry);
    void failUnverifiable();
    void launchUpdater(const QString &updaterPath);

    void closeDialog();
    void release();

    CTaskInstallProductUpdate *const q;
    CProductUpdateInfo info;
    TaskParams params;
    UserChoice choice = NotAsked;
    QPointer<CBaseDialog> dialog;
    QPointer<CTaskInteractiveDownload> download;
    PackageCheck packageCheck{nullptr};
    UpdaterRun updater;
    bool downloadsInBackground = false;
    bool downloaded = false;
    bool userSawDownload = false;
    bool terminating = false;
    bool confirmsInstall = true;
    bool installed = false;

    CTaskQuestion question{UpgradeUtils::messageIssuer()};
    /// What the task ends with after the message about a failure.
    KOV_RESULT resultAfterMessage = KOV_SUCCESS;
    bool mayRetry = false;
};
