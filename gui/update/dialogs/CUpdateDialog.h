#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/window/CBaseDialog.h"

#include <memory>

class CProductUpdateInfo;

/**
 * Announces an update and lets the user take it, put it off or skip it; or tells that one was installed.
 *
 *     CUpdateDialog dialog(CUpdateDialog::Download, parent);
 *     dialog.setNotificationFor(info);
 *     if (dialog.exec() == CUpdateDialog::InstallNow) ...
 *
 * Everything in the record is foreign: versions are shown as plain text, the release notes with simple
 * formatting that loads nothing; their links lead to web pages only and open on a click. Without notes there
 * is no box for them.
 */
class KOVGUI_EXPORT CUpdateDialog : public CBaseDialog
{
    Q_OBJECT

public:
    enum ConfirmationMode {
        /// An update is available and must be downloaded.
        Download = 0,
        /// The package is here already.
        Install = 1,
        /// One action for both; it cannot be put off or skipped, only closed.
        DownloadAndInstall = 2,
        /// After a successful update: an OK button only.
        Congratulations = 3,
    };
    Q_ENUM(ConfirmationMode)

    /// What the dialog ends with. The numbers are those of CConfirmUpdateInstallationDialog.
    enum Answer {
        /// Closed by the title bar, Escape or OK: put off.
        Closed = Rejected,
        InstallNow = 2,
        /// Remind me later.
        Postpone = 3,
        /// Do not offer this version again.
        Skip = 4,
    };
    Q_ENUM(Answer)

    explicit CUpdateDialog(CUpdateDialog::ConfirmationMode mode, QWidget *parent = nullptr);
    ~CUpdateDialog() override;

    /// Fills in the new version and the release notes. A record whose id tells no version is asked for that
    /// of its package. May be called again.
    void setNotificationFor(const CProductUpdateInfo &info);

protected:
    bool event(QEvent *event) override;

private Q_SLOTS:
    void onInstallNowClicked();
    void onInstallPostponeClicked();
    void onInstallSkipped();

private:
    void setupGui();

    class Private;
    const std::unique_ptr<Private> d;
};
