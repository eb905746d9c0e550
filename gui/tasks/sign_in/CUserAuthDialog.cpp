#include "gui/tasks/sign_in/CUserAuthDialog.h"

#include "ui_CUserAuthDialog.h"

#include <QPixmap>
#include <QPushButton>

class CUserAuthDialog::Private
{
public:
    QPushButton *button(QDialogButtonBox::StandardButton which) const
    {
        return ui.m_bbButtons->button(which);
    }
    void updateOkButton()
    {
        button(QDialogButtonBox::Ok)->setEnabled(!ui.m_leName->text().trimmed().isEmpty());
    }

    Ui::CUserAuthDialog ui;
};

CUserAuthDialog::CUserAuthDialog(InputMode mode, QWidget *parent)
    : CBaseDialog(parent)
    , d(new Private)
{
    d->ui.setupUi(this);
    d->ui.m_lblPicture->hide();
    d->ui.m_leName->setReadOnly(mode == PasswordOnly);
    d->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("m_pbOk"));
    d->button(QDialogButtonBox::Ok)->setDefault(true);
    d->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("m_pbCancel"));
    connect(d->ui.m_leName, &QLineEdit::textChanged, this, [this] { d->updateOkButton(); });
    d->updateOkButton();
}

CUserAuthDialog::~CUserAuthDialog() = default;

void CUserAuthDialog::setUsername(const QString &username)
{
    d->ui.m_leName->setText(username);
    if (username.isEmpty())
        d->ui.m_leName->setFocus();
    else
        d->ui.m_lePassword->setFocus();
}

void CUserAuthDialog::setPassword(const QString &password)
{
    d->ui.m_lePassword->setText(password);
}

QString CUserAuthDialog::username() const
{
    return d->ui.m_leName->text().trimmed();
}

QString CUserAuthDialog::password() const
{
    const QString text = d->ui.m_lePassword->text();
    return text.isNull() ? QStringLiteral("") : text;
}

bool CUserAuthDialog::savePasswordRequired() const
{
    return !d->ui.m_ckbRemember->isHidden() && d->ui.m_ckbRemember->isChecked();
}

void CUserAuthDialog::removePasswordSaveOption()
{
    d->ui.m_ckbRemember->hide();
}

void CUserAuthDialog::removeWarningLabel()
{
    d->ui.m_lblWarning->hide();
}

void CUserAuthDialog::setPixmap(const QPixmap &pixmap)
{
    d->ui.m_lblPicture->setPixmap(pixmap);
    d->ui.m_lblPicture->setVisible(!pixmap.isNull());
}

void CUserAuthDialog::setTitleText(const QString &text)
{
    d->ui.m_lblTitle->setText(text);
    setAccessibleDescription(text);
}

void CUserAuthDialog::setWarningText(const QString &text)
{
    d->ui.m_lblWarning->setText(text);
}

void CUserAuthDialog::setButtonText(QDialogButtonBox::StandardButton button, const QString &text)
{
    if (QPushButton *known = d->button(button))
        known->setText(text);
}

void CUserAuthDialog::accept()
{
    Q_EMIT dataAccepted();
    CBaseDialog::accept();
}
