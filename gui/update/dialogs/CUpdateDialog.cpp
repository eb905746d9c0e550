#include "gui/update/dialogs/CUpdateDialog.h"

#include "gui/frame/Application.h"
#include "gui/update/dialogs/UpdateDialogLook_p.h"
#include "gui/update/record/CProductUpdateInfo.h"
#include "ui_CUpdateDialog.h"

#include <QEvent>

class CUpdateDialog::Private
{
public:
    QString mainButtonText() const
    {
        if (mode == Download)
            return tr("Download Update");
        return mode == Install ? tr("Install Update") : tr("Download and Install Update");
    }

    void showVersion(const QString &newVersion)
    {
        // At once: a name may hold what looks like a placeholder.
        QString text;
        if (mode == Congratulations) {
            text = tr("%1 has been successfully updated to version %2.")
                       .arg(KovGui::getAppGuiName(), newVersion);
        } else {
            text = description;
            text.replace(QLatin1String("${NEW_VERSION}"), newVersion);
        }
        ui.m_lbDescription->setText(text.simplified());
    }

    Ui::CUpdateDialog ui;
    ConfirmationMode mode = Download;
    QString description;
};

CUpdateDialog::CUpdateDialog(ConfirmationMode mode, QWidget *parent)
    : CBaseDialog(parent)
    , d(new Private)
{
    d->mode = mode;
    d->ui.setupUi(this);
    connect(d->ui.m_pbInstall, &QPushButton::clicked, this, &CUpdateDialog::onInstallNowClicked);
    connect(d->ui.m_pbPostpone, &QPushButton::clicked, this, &CUpdateDialog::onInstallPostponeClicked);
    connect(d->ui.m_pbSkipVersion, &QPushButton::clicked, this, &CUpdateDialog::onInstallSkipped);
    connect(d->ui.m_pbOk, &QPushButton::clicked, this, &CUpdateDialog::accept);
    UpdateDialogLook::explainSkip(d->ui.m_pbSkipVersion);
    setupGui();
}

CUpdateDialog::~CUpdateDialog() = default;

void CUpdateDialog::setupGui()
{
    setWindowTitle(UpdateDialogLook::windowTitle());
    const bool done = d->mode == Congratulations;
    const bool secondary = d->mode == Download || d->mode == Install;
    d->ui.m_pbSkipVersion->setVisible(secondary);
    d->ui.m_pbPostpone->setVisible(secondary);
    d->ui.m_pbInstall->setVisible(!done);
    d->ui.m_pbOk->setVisible(done);
    d->ui.m_pbInstall->setText(d->mainButtonText());
    QPushButton *mainButton = done ? d->ui.m_pbOk : d->ui.m_pbInstall;
    mainButton->setDefault(true);
    mainButton->setFocus();

    const QString appName = KovGui::getAppGuiName();
    d->description = d->ui.m_lbDescription->text();
    d->description.replace(QLatin1String("${CURRENT_VERSION}"), UpdateDialogLook::currentVersion());
    d->description.replace(QLatin1String("${APP_NAME}"), appName);
    QString title = done ? tr("Congratulations!") : d->ui.m_lbTitle->text();
    d->ui.m_lbTitle->setText(title.replace(QLatin1String("${APP_NAME}"), appName));
    setNotificationFor(CProductUpdateInfo());
    if (done)
        d->showVersion(UpdateDialogLook::currentVersion());
}

void CUpdateDialog::setNotificationFor(const CProductUpdateInfo &info)
{
    d->showVersion(UpdateDialogLook::versionOf(info));
    d->ui.m_txtDescription->setNotes(info.updateDescription);
    const bool hasNotes = !d->ui.m_txtDescription->isEmpty();
    d->ui.m_txtDescription->setVisible(hasNotes);
    d->ui.m_lblReleaseNotes->setVisible(hasNotes);
    setAccessibleDescription(d->ui.m_lbTitle->text() + QLatin1Char('\n') + d->ui.m_lbDescription->text());
}

bool CUpdateDialog::event(QEvent *event)
{
    // Before the first size is chosen.
    if (event->type() == QEvent::Polish) {
        UpdateDialogLook::showIcon(d->ui.m_lblIcon);
        UpdateDialogLook::keepButtonsWhole(d->ui.m_buttonWidget);
    }
    return CBaseDialog::event(event);
}

void CUpdateDialog::onInstallNowClicked()
{
    done(InstallNow);
}

void CUpdateDialog::onInstallPostponeClicked()
{
    done(Postpone);
}

void CUpdateDialog::onInstallSkipped()
{
    done(Skip);
}
