#include "gui/messages/box/CMessageBox.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/messages/box/CDetailsDialog.h"
#include "gui/messages/box/MessageCountdown_p.h"
#include "ui_CMessageBox.h"

#include <QAccessible>
#include <QApplication>
#include <QPainter>
#include <QScreen>

#include <array>

using Messaging::ButtonID;

namespace {

constexpr int AnswerCount = 3;
/// The texts' width, in average characters: short ones keep the box in shape, long ones stay readable.
constexpr int LeastColumns = 38;
constexpr int MostColumns = 72;
constexpr qreal SeparatorOpacity = 0.18;

QString asRichText(QString text)
{
    if (!text.contains(QLatin1Char('<')))
        text.replace(QLatin1Char('\n'), QLatin1String("<br>"));
    return text;
}

QString &supportPageAddress()
{
    static QString address;
    return address;
}

QUrl solutionUrl(QString address, const QString &problemId)
{
    address.replace(QLatin1String("%1"), QString::fromLatin1(QUrl::toPercentEncoding(problemId)));
    return Help::localizedUrl(address);
}

} // namespace

class CMessageBoxPrivate
{
public:
    explicit CMessageBoxPrivate(CMessageBox *box);

    void textsChanged();
    void showTexts();
    void fitTexts();
    void shrinkToTexts();
    QString plainText() const;

    QString buttonText(ButtonID id) const;
    void setButton(ButtonID id, const Messaging::Button &button);
    ButtonID effectiveDefault() const;
    void updateDefaultButton();
    void processButtonClick(ButtonID answer);

    void updateDetails();
    void openDetails();
    void updateProblem();
    void viewChanged();

    void answerByItself();

    CMessageBox *const q;
    Ui::CMessageBox ui;
    QString message;
    QString description;
    QString details;
    CSlotInfo detailsAction;
    QPointer<CDetailsDialog> detailsDialog;
    QPixmap icon;
    Help::HelpTopic helpTopic = Help::NoTopic;
    QString problemId;
    const QString supportPage = supportPageAddress();
    ButtonID defaultButton = Messaging::ButtonNone;
    CSlotInfo action;
    MessageCountdown *const countdown;
    QPointer<QWidget> view;

private:
    QPushButton *makeButton(ButtonID id);

    std::array<QPushButton *, AnswerCount> m_buttons = {};
    int m_textWidth = 0;
    bool m_answering = false;
};

CMessageBoxPrivate::CMessageBoxPrivate(CMessageBox *box)
    : q(box)
    , countdown(new MessageCountdown(box))
{
    ui.setupUi(box);
    ui.m_lblHelpMeSolve->setOptionsArea(ui.m_wSupportInfo);
    for (SafeTextView *text : {ui.m_txtMessage, ui.m_txtInfo}) {
        QObject::connect(text, &QTextBrowser::anchorClicked, box,
                         [box](const QUrl &url) { Q_EMIT box->anchorClicked(box->getMessageUuid(), url); });
    }
    QObject::connect(ui.m_lblHelpMeSolve, &QToolButton::toggled, box, [this] { shrinkToTexts(); });
    QObject::connect(ui.m_lblProblemIDLink, &QLabel::linkActivated, box,
                     [](const QString &link) { Help::openWebPage(QUrl(link)); });
    QObject::connect(ui.m_pbDetails, &QPushButton::clicked, box, [this] { openDetails(); });
    QObject::connect(ui.m_pbHelp, &QPushButton::clicked, box, [this] { Help::openTopic(helpTopic); });
    QObject::connect(countdown, &MessageCountdown::ticked, box, [this] { showTexts(); });
    QObject::connect(countdown, &MessageCountdown::ranOut, box, [this] { answerByItself(); });
}

void CMessageBoxPrivate::textsChanged()
{
    countdown->setTexts(message, description);
    showTexts();
    // Not at every tick of a countdown, which a screen reader would read out.
    if (q->isVisible())
        q->setAccessibleDescription(plainText());
}

void CMessageBoxPrivate::showTexts()
{
    ui.m_txtMessage->setMessageText(asRichText(countdown->filled(message)));
    ui.m_txtInfo->setMessageText(asRichText(countdown->filled(description)));
    ui.m_txtInfo->setVisible(!description.isEmpty());
    if (q->testAttribute(Qt::WA_WState_Polished))
        fitTexts();
}

void CMessageBoxPrivate::fitTexts()
{
    const int column = q->fontMetrics().averageCharWidth();
    const QSize screen = q->screen()->availableGeometry().size();
    const int limit = qMin(column * MostColumns, screen.width() / 2);
    const QSize first = ui.m_txtMessage->sizeWithin(limit);
    const QSize second = description.isEmpty() ? QSize() : ui.m_txtInfo->sizeWithin(limit);
    const int width = qMax(qMin(column * LeastColumns, limit), qMax(first.width(), second.width()));
    // On screen it only grows: a countdown must not make the box dance.
    m_textWidth = q->isVisible() ? qMax(width, m_textWidth) : width;
    ui.m_txtMessage->setPreferredSize(m_textWidth, first.height(), screen.height() / 4);
    if (!description.isEmpty())
        ui.m_txtInfo->setPreferredSize(m_textWidth, second.height(), screen.height() * 4 / 10);
}

void CMessageBoxPrivate::shrinkToTexts()
{
    if (!q->isVisible())
        return;
    q->layout()->activate();
    q->resize(q->width(), q->sizeHint().height());
}

QString CMessageBoxPrivate::plainText() const
{
    QStringList texts{ui.m_txtMessage->toPlainText()};
    if (!description.isEmpty())
        texts.append(ui.m_txtInfo->toPlainText());
    return texts.join(QLatin1Char('\n'));
}

QString CMessageBoxPrivate::buttonText(ButtonID id) const
{
    const QPushButton *button = m_buttons[std::size_t(id - 1)];
    return button ? button->text() : QString();
}

QPushButton *CMessageBoxPrivate::makeButton(ButtonID id)
{
    auto *button = new QPushButton(q);
    button->setObjectName(QStringLiteral("m_pbButton%1").arg(int(id)));
    QObject::connect(button, &QPushButton::clicked, q, [this, id] { processButtonClick(id); });
    return button;
}

void CMessageBoxPrivate::setButton(ButtonID id, const Messaging::Button &description)
{
    QPushButton *&button = m_buttons[std::size_t(id - 1)];
    if (!button) {
        if (description.text.isEmpty())
            return;
        button = makeButton(id);
    }
    const bool known = description.role > QMessageBox::InvalidRole && description.role < QMessageBox::NRoles;
    const auto role = known ? QDialogButtonBox::ButtonRole(description.role) : QDialogButtonBox::AcceptRole;
    button->setText(description.text);
    if (ui.m_bbButtons->buttonRole(button) != role)
        ui.m_bbButtons->addButton(button, role);
    button->setVisible(!description.text.isEmpty());
    updateDefaultButton();
}

ButtonID CMessageBoxPrivate::effectiveDefault() const
{
    if (defaultButton >= Messaging::Button1 && defaultButton <= Messaging::Button3
        && !buttonText(defaultButton).isEmpty())
        return defaultButton;
    for (const ButtonID id : {Messaging::Button1, Messaging::Button2, Messaging::Button3}) {
        if (!buttonText(id).isEmpty())
            return id;
    }
    return Messaging::ButtonNone;
}

void CMessageBoxPrivate::updateDefaultButton()
{
    const ButtonID id = effectiveDefault();
    if (id == Messaging::ButtonNone)
        return;
    QPushButton *button = m_buttons[std::size_t(id - 1)];
    button->setDefault(true);
    // On screen the focus is the user's.
    if (!q->isVisible())
        button->setFocus();
}

void CMessageBoxPrivate::processButtonClick(ButtonID answer)
{
    // A slot that waits in an event loop of its own lets the user click again.
    if (m_answering)
        return;
    bool handled = false;
    if (!action.isEmpty()) {
        const QPointer<CMessageBox> guard(q);
        m_answering = true;
        const bool invoked = action.invokeForBool(&handled, answer, QPointer<QWidget>(q));
        if (!invoked)
            KOV_LOG(0, "ASSERT( %s ) occured in %s:%d [%s]", "invoked", "CMessageBox.cpp", __LINE__,
                    "CMessageBoxPrivate::processButtonClick");
        if (!guard)
            return;
        m_answering = false;
        handled = handled && invoked;
    }
    if (!handled)
        q->done(answer);
}

void CMessageBoxPrivate::updateDetails()
{
    ui.m_pbDetails->setVisible(!details.isEmpty() || !detailsAction.isEmpty());
}

void CMessageBoxPrivate::openDetails()
{
    if (!detailsAction.isEmpty()) {
        if (!detailsAction.invoke())
            KOV_LOG(0, "(!)Error: can't run the details action %s",
                    KovGui::logText(detailsAction.slot()).constData());
        return;
    }
    if (detailsDialog) {
        detailsDialog->raise();
        detailsDialog->activateWindow();
        return;
    }
    detailsDialog = new CDetailsDialog(details, q);
    detailsDialog->setAttribute(Qt::WA_DeleteOnClose);
    detailsDialog->open();
}

void CMessageBoxPrivate::updateProblem()
{
    const bool known = !problemId.isEmpty();
    ui.m_lblProblemIDNumber->setText(problemId);
    ui.m_wProblemID->setVisible(known);
    ui.m_lblHelpMeSolve->setVisible(known);
    ui.m_wSupportInfo->setVisible(known && ui.m_lblHelpMeSolve->isChecked());
    if (!known)
        return;

    const bool hasPage = !supportPage.isEmpty();
    ui.m_lblProblemIDLink->setVisible(hasPage);
    if (hasPage) {
        const QString link = solutionUrl(supportPage, problemId).toString(QUrl::FullyEncoded);
        ui.m_lblProblemIDLink->setText(
            CMessageBox::tr("Check this <a href=\"%1\">solution</a>").arg(link.toHtmlEscaped()));
    }
    ui.m_lblSupportInfo->setText(
        hasPage ? CMessageBox::tr("The solution page tells what causes this problem and what to do about "
                                  "it. If it does not help, give the problem ID to the support team.")
                : CMessageBox::tr("Give the problem ID to the support team."));
}

void CMessageBoxPrivate::viewChanged()
{
    if (view && view->parentWidget() == ui.m_wView)
        return;
    view.clear();
    ui.m_wView->hide();
}

void CMessageBoxPrivate::answerByItself()
{
    const bool secondOrThird = defaultButton == Messaging::Button2 || defaultButton == Messaging::Button3;
    processButtonClick(secondOrThird ? defaultButton : Messaging::Button1);
}

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

Help::HelpTopic CMessageBox::helpTopic() const
{
    return d->helpTopic;
}

void CMessageBox::setHelpTopic(Help::HelpTopic topic)
{
    d->helpTopic = topic;
    d->ui.m_pbHelp->setVisible(topic != Help::NoTopic);
}

QString CMessageBox::problemID() const
{
    return d->problemId;
}

void CMessageBox::setProblemID(const QString &id)
{
    d->problemId = id;
    d->updateProblem();
}

bool CMessageBox::setSupportPageAddress(const QString &address)
{
    const QUrl sample = solutionUrl(address, QStringLiteral("1"));
    if (!address.isEmpty() && !Help::isWebAddress(sample)) {
        KOV_LOG(0, "(!)Error: %s can't be the address of the support page",
                KovGui::logText(sample.toDisplayString(QUrl::RemoveUserInfo)).constData());
        return false;
    }
    supportPageAddress() = address;
    return true;
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
    return d->buttonText(Messaging::Button1);
}

QString CMessageBox::button2() const
{
    return d->buttonText(Messaging::Button2);
}

QString CMessageBox::button3() const
{
    return d->buttonText(Messaging::Button3);
}

void CMessageBox::setButton1(const QString &text)
{
    d->setButton(Messaging::Button1, {text, QMessageBox::AcceptRole});
}

void CMessageBox::setButton2(const QString &text)
{
    d->setButton(Messaging::Button2, {text, QMessageBox::RejectRole});
}

void CMessageBox::setButton3(const QString &text)
{
    d->setButton(Messaging::Button3, {text, QMessageBox::RejectRole});
}

void CMessageBox::setButtonsMap(const Messaging::ButtonsMap &buttons)
{
    for (const ButtonID id : {Messaging::Button1, Messaging::Button2, Messaging::Button3})
        d->setButton(id, buttons.value(id));
}

Messaging::ButtonID CMessageBox::defaultButton() const
{
    return d->defaultButton;
}

void CMessageBox::setDefaultButton(Messaging::ButtonID button)
{
    d->defaultButton = button;
    d->updateDefaultButton();
}

void CMessageBox::setButtonsAction(QObject *receiver, const QString &slot)
{
    d->action = CSlotInfo(receiver, slot);
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
    line.setAlphaF(SeparatorOpacity);
    QPainter(this).fillRect(0, d->ui.m_layoutButtons->geometry().top(), width(), 1, line);
}

void CMessageBox::showEvent(QShowEvent *event)
{
    // Before the alert, which makes screen readers read it.
    setAccessibleDescription(d->plainText());
    CMessageBoxWndBase::showEvent(event);
    d->countdown->beginWhenWanted();
}
