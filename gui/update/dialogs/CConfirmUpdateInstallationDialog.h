#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/window/CBaseDialog.h"

#include <memory>

/// Asks, once a package has been downloaded, whether to install it now.
class KOVGUI_EXPORT CConfirmUpdateInstallationDialog : public CBaseDialog
{
    Q_OBJECT

public:
    /// What the dialog ends with. The numbers are those of CUpdateDialog.
    enum Answer {
        /// Closed by the title bar or Escape: install later.
        Closed = Rejected,
        InstallNow = 2,
        /// Install later.
        Postpone = 3,
        DontInstall = 4,
    };
    Q_ENUM(Answer)

    explicit CConfirmUpdateInstallationDialog(QWidget *parent = nullptr);
    ~CConfirmUpdateInstallationDialog() override;

    /// The second, explanatory text: plain text. Empty, the initial value: none is shown.
    void setDescription(const QString &text);
    QString description() const;

protected:
    bool event(QEvent *event) override;

private Q_SLOTS:
    void onInstallNowClicked();
    void onInstallPostponeClicked();
    void onDontInstallClicked();

private:
    class Private;
    const std::unique_ptr<Private> d;
};
