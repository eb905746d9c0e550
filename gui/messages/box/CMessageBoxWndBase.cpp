#include "gui/messages/box/CMessageBoxWndBase.h"

#include <QAccessible>
#include <QCloseEvent>
#include <QPointer>

namespace {

/// A dialog's result may be any number.
Messaging::ButtonID answerOf(int result)
{
    const bool known = result >= Messaging::ButtonNone && result <= Messaging::Button3;
    return known ? Messaging::ButtonID(result) : Messaging::ButtonNone;
}

} // namespace

class CMessageBoxWndBase::Private
{
public:
    QString uuid;
    bool alerted = false;
    bool delivered = false;
};

CMessageBoxWndBase::CMessageBoxWndBase(QWidget *parent, Qt::WindowFlags flags, CustomWindowFlags customFlags)
    : CBaseDialog(parent, flags, customFlags)
    , d(new Private)
{
    qRegisterMetaType<Messaging::ButtonID>("Messaging::ButtonID");
}

CMessageBoxWndBase::~CMessageBoxWndBase()
{
    if (!d->delivered)
        Q_EMIT beforeMessageDestroyed(d->uuid, answerOf(result()), false);
}

void CMessageBoxWndBase::setMessageUuid(const QString &uuid)
{
    d->uuid = uuid;
}

QString CMessageBoxWndBase::getMessageUuid() const
{
    return d->uuid;
}

bool CMessageBoxWndBase::canBeParent() const
{
    return isVisible() && !d->delivered && CBaseDialog::canBeParent();
}

void CMessageBoxWndBase::done(int answer)
{
    const QPointer<CMessageBoxWndBase> guard(this);
    CBaseDialog::done(answer);
    if (guard)
        deliverAnswer();
}

void CMessageBoxWndBase::deliverAnswer()
{
    if (d->delivered)
        return;
    d->delivered = true;
    hide();
    Q_EMIT beforeMessageDestroyed(d->uuid, answerOf(result()), isDoNotShowAgainChecked());
}

void CMessageBoxWndBase::showEvent(QShowEvent *event)
{
    CBaseDialog::showEvent(event);
    if (d->alerted)
        return;
    d->alerted = true;
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void CMessageBoxWndBase::closeEvent(QCloseEvent *event)
{
    // Not the base class's way, which goes through reject(): a subclass may forbid Escape, yet every box can
    // be closed.
    done(0);
    event->accept();
}
