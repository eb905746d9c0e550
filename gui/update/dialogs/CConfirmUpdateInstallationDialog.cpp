#include "gui/update/dialogs/CConfirmUpdateInstallationDialog.h"

#include "gui/update/dialogs/UpdateDialogLook_p.h"
#include "ui_CConfirmUpdateInstallationDialog.h"

#include <QEvent>
#include <QLayout>

class CConfirmUpdateInstallationDialog::Private
{
public:
    Ui::CConfirmUpdateInstallationDialog ui;
};

CConfirmUpdateInstallationDialog::CConfirmUpdateInstallationDialog(QWidget *parent)
    : CBaseDialog(parent)
    , d(new Private)
{
    using Self = CConfirmUpdateInstallationDialog;
    d->ui.setupUi(this);
    setWindowTitle(UpdateDialogLook::windowTitle());
    connect(d->ui.m_pbInstall, &QPushButton::clicked, this, &Self::onInstallNowClicked);
    connect(d->ui.m_pbPostpone, &QPushButton::clicked, this, &Self::onInstallPostponeClicked);
    connect(d->ui.m_pbCancel, &QPushButton::clicked, this, &Self::onDontInstallClicked);
    UpdateDialogLook::explainSkip(d->ui.m_pbCancel);
    d->ui.m_pbInstall->setFocus();
    setDescription(QString());
}

CConfirmUpdateInstallationDialog::~CConfirmUpdateInstallationDialog() = default;

void CConfirmUpdateInstallationDialog::setDescription(const QString &text)
{
    d->ui.m_lblDescription->setText(text);
    d->ui.m_lblDescription->setVisible(!text.isEmpty());
    setAccessibleDescription((d->ui.m_lbTitle->text() + QLatin1Char('\n') + text).trimmed());
}

QString CConfirmUpdateInstallationDialog::description() const
{
    return d->ui.m_lblDescription->text();
}

bool CConfirmUpdateInstallationDialog::event(QEvent *event)
{
    // Before the first size is chosen.
    if (event->type() == QEvent::Polish) {
        UpdateDialogLook::showIcon(d->ui.m_lblIcon);
        UpdateDialogLook::keepButtonsWhole(d->ui.m_buttonWidget);
    }
    // A first size takes no more than two thirds of the screen, whatever a long text needs.
    if (event->type() == QEvent::Show && !event->spontaneous())
        resize(width(), qMax(height(), layout()->totalHeightForWidth(width())));
    return CBaseDialog::event(event);
}

void CConfirmUpdateInstallationDialog::onInstallNowClicked()
{
    done(InstallNow);
}

void CConfirmUpdateInstallationDialog::onInstallPostponeClicked()
{
    done(Postpone);
}

void CConfirmUpdateInstallationDialog::onDontInstallClicked()
{
    done(DontInstall);
}
