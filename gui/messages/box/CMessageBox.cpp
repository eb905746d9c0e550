#include "gui/messages/box/CMessageBox.h"

#include "gui/messages/box/CMessageBox_p.h"
#include "gui/messages/box/MessageCountdown_p.h"
#include "gui/messages/box/ProblemPanel_p.h"

#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QPainter>

using Messaging::ButtonID;

namespace {

constexpr qreal separatorOpacity = 0.18;

} // namespace

CMessageBox::CMessageBox(QWidget *parent, Qt::WindowFlags flags, CustomWindowFlags customFlags)
    : CMessageBoxWndBase(parent, flags, customFlags)
    , d(new CMessageBoxPrivate(this))
{
    d->ui.m_wView->installEventFilter(this);
}

CMessageBox::~CMessageBox()
{
    deliverAnswer();
}

QString CMessageBox::title() const
{
    return windowTitle();
}

void CMessageBox::setTitle(const QString &title)
{
    setWindowTitle(title);
}

QString CMessageBox::message() const
{
    return d->message;
}

void CMessageBox::setMessage(const QString &text)
{
    d->message = text;
    d->textsChanged();
}

QString CMessageBox::description() const
{
    return d->description;
}

void CMessageBox::setDescription(const QString &text)
{
    d->description = text;
    d->textsChanged();
}

QString CMessageBox::details() const
{
    return d->details;
}

void CMessageBox::setDetails(const QString &details)
{
    d->details = details;
    d->updateDetails();
}

void CMessageBox::setDetailsAction(const CSlotInfo &action)
{
    d->detailsAction = action;
    d->updateDetails();
}

QPixmap CMessageBox::icon() const
{
    return d->icon;
}

void CMessageBox::setIcon(const QPixmap &icon)
{
    d->icon = icon;
    d->ui.m_lblMsgBox->setPixmap(icon);
    d->ui.m_lblMsgBox->setVisible(!icon.isNull());
}

void CMessageBox::setIconName(const QString &name)
{
    d->ui.m_lblMsgBox->setAccessibleName(name);
}

Help::HelpTopic CMessageBox::helpTopic() const
{
    return d->helpTopic;
}

void CMessageBox::setHelpTopic(Help::HelpTopic topic)
{
    d->helpTopic = topic;
    d->ui.m_pbHelp->setVisible(!Help::topicUrl(topic).isEmpty());
}

QString CMessageBox::problemID() const
{
    return d->problem ? d->problem->problemId() : QString();
}

void CMessageBox::setProblemID(const QString &id)
{
    if (!d->problem && !id.isEmpty())
        d->makeProblemPanel();
    if (d->problem)
        d->problem->setProblemId(id);
}

bool CMessageBox::setSupportPageAddress(const QString &address)
{
    return ProblemPanel::setSupportPageAddress(address);
}

bool CMessageBox::allowHide() const
{
    return !d->ui.m_ckbDoNotShowFlag->isHidden();
}

void CMessageBox::setAllowHide(bool allow)
{
    d->ui.m_ckbDoNotShowFlag->setVisible(allow);
}

bool CMessageBox::isDoNotShowAgainChecked() const
{
    return allowHide() && d->ui.m_ckbDoNotShowFlag->isChecked();
}

QString CMessageBox::button1() const
{
    return d->buttons.text(Messaging::Button1);
}

QString CMessageBox::button2() const
{
    return d->buttons.text(Messaging::Button2);
}

QString CMessageBox::button3() const
{
    return d->buttons.text(Messaging::Button3);
}

void CMessageBox::setButton1(const QString &text)
{
    d->buttons.setText(Messaging::Button1, text);
}

void CMessageBox::setButton2(const QString &text)
{
    d->buttons.setText(Messaging::Button2, text);
}

void CMessageBox::setButton3(const QString &text)
{
    d->buttons.setText(Messaging::Button3, text);
}

void CMessageBox::setButtonsMap(const Messaging::ButtonsMap &buttons)
{
    for (const ButtonID id : {Messaging::Button1, Messaging::Button2, Messaging::Button3})
        d->buttons.set(id, buttons.value(id));
}

Messaging::ButtonID CMessageBox::defaultButton() const
{
    return d->buttons.defaultAnswer();
}

void CMessageBox::setDefaultButton(Messaging::ButtonID button)
{
    d->buttons.setDefaultAnswer(button);
}

void CMessageBox::setButtonsAction(QObject *receiver, const QString &slot)
{
    setButtonsAction(CSlotInfo(receiver, slot));
}

void CMessageBox::setButtonsAction(const CSlotInfo &action)
{
    d->action = action;
}

void CMessageBox::setCountdownStopsWhenTouched(bool stops)
{
    d->countdown->stopsWhenTouched = stops;
}

void CMessageBox::embedView(QWidget *view)
{
    if (view == d->view)
        return;
    if (QWidget *old = d->view) {
        d->view.clear();
        old->hide();
        // It may be the sender of the signal that asks for another view.
        old->deleteLater();
    }
    d->view = view;
    if (view) {
        d->ui.m_layoutView->addWidget(view);
        view->show();
    }
    d->ui.m_wView->setVisible(view);
}

QWidget *CMessageBox::view() const
{
    return d->view;
}

bool CMessageBox::event(QEvent *event)
{
    const bool handled = CMessageBoxWndBase::event(event);
    if (event->type() == QEvent::Polish || event->type() == QEvent::FontChange)
        d->fitTexts();
    return handled;
}

void CMessageBox::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Copy))
        QApplication::clipboard()->setText(d->everyText());
    else
        CMessageBoxWndBase::keyPressEvent(event);
}

bool CMessageBox::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == d->ui.m_wView && event->type() == QEvent::ChildRemoved)
        d->viewChanged();
    return CMessageBoxWndBase::eventFilter(watched, event);
}

void CMessageBox::paintEvent(QPaintEvent *event)
{
    CMessageBoxWndBase::paintEvent(event);
    // The style's own separators are glaring in dark palettes.
    QColor line = palette().color(QPalette::WindowText);
    line.setAlphaF(separatorOpacity);
    QPainter(this).fillRect(0, d->ui.m_layoutButtons->geometry().top(), width(), 1, line);
}

void CMessageBox::showEvent(QShowEvent *event)
{
    // Before the alert, which makes screen readers read it.
    setAccessibleDescription(d->plainText());
    CMessageBoxWndBase::showEvent(event);
    d->countdown->beginWhenWanted();
}
