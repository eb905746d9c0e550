#include "gui/messages/box/CMessageBox.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/messages/box/CDetailsDialog.h"
#include "gui/messages/box/HelpNotice_p.h"
#include "gui/messages/box/MessageButtons_p.h"
#include "gui/messages/box/MessageCountdown_p.h"
#include "gui/messages/record/MessageText_p.h"
#include "ui_CMessageBox.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
#include <QTextDocumentFragment>

using Messaging::ButtonID;

namespace {

/// The texts' width, in average characters: short ones keep the box in shape, long ones stay readable.
constexpr int leastColumns = 38;
constexpr int mostColumns = 72;
constexpr qreal separatorOpacity = 0.18;
/// What is laid out of a text, in characters: the time for one word grows with the square of its length.
constexpr int longestText = 5000;

QString toPlainText(const QString &text)
{
    return QTextDocumentFragment::fromHtml(MessageText::asRichText(text)).toPlainText();
}

bool isCut(const QString &text)
{
    return text.size() > longestText;
}

QString laidOut(const QString &text)
{
    if (!isCut(text))
        return MessageText::asRichText(text);
    return MessageText::toRichText(toPlainText(text).left(longestText)) + QChar(0x2026);
}

Ui::CMessageBox makeForm(CMessageBox *box)
{
    Ui::CMessageBox form;
    form.setupUi(box);
    return form;
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
    QString everyText() const;
    QString wholeDetails() const;

    void processButtonClick(ButtonID answer);

    void updateDetails();
    void openDetails();
    void viewChanged();

    void answerByItself();

    CMessageBox *const q;
    const Ui::CMessageBox ui;
    QString message;
    QString description;
    QString details;
    CSlotInfo detailsAction;
    QPointer<CDetailsDialog> detailsDialog;
    QPixmap icon;
    Help::HelpTopic helpTopic = Help::NoTopic;
    CSlotInfo action;
    MessageButtons buttons;
    MessageCountdown *const countdown;
    QPointer<QWidget> view;

private:
    int m_textWidth = 0;
    bool m_answering = false;
};

CMessageBoxPrivate::CMessageBoxPrivate(CMessageBox *box)
    : q(box)
    , ui(makeForm(box))
    , buttons(ui.m_bbButtons, [this](ButtonID id) { processButtonClick(id); })
    , countdown(new MessageCountdown(box))
{
    for (SafeTextView *text : {ui.m_txtMessage, ui.m_txtInfo}) {
        QObject::connect(text, &QTextBrowser::anchorClicked, box,
                         [box](const QUrl &url) { Q_EMIT box->anchorClicked(box->getMessageUuid(), url); });
    }
    QObject::connect(ui.m_wProblem, &ProblemPanel::extentChanged, box, [this] { shrinkToTexts(); });
    QObject::connect(ui.m_pbDetails, &QPushButton::clicked, box, [this] { openDetails(); });
    QObject::connect(ui.m_pbHelp, &QPushButton::clicked, box,
                     [this] { HelpNotice::openTopic(helpTopic, q); });
    QObject::connect(countdown, &MessageCountdown::ticked, box, [this] { showTexts(); });
    QObject::connect(countdown, &MessageCountdown::ranOut, box, [this] { answerByItself(); });
}

void CMessageBoxPrivate::textsChanged()
{
    countdown->setTexts(message, description);
    showTexts();
    updateDetails();
    // Not at every tick of a countdown, which a screen reader would read out.
    if (q->isVisible())
        q->setAccessibleDescription(plainText());
}

void CMessageBoxPrivate::showTexts()
{
    ui.m_txtMessage->setMessageText(laidOut(countdown->filled(message)));
    ui.m_txtInfo->setMessageText(laidOut(countdown->filled(description)));
    ui.m_txtInfo->setVisible(!description.isEmpty());
    if (q->testAttribute(Qt::WA_WState_Polished))
        fitTexts();
}

void CMessageBoxPrivate::fitTexts()
{
    const int column = q->fontMetrics().averageCharWidth();
    const QSize screen = q->screen()->availableGeometry().size();
    const int limit = qMin(column * mostColumns, screen.width() / 2);
    const QSize first = ui.m_txtMessage->sizeWithin(limit);
    const QSize second = description.isEmpty() ? QSize() : ui.m_txtInfo->sizeWithin(limit);
    const int width = qMax(qMin(column * leastColumns, limit), qMax(first.width(), second.width()));
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
    const bool hasMore = isCut(message) || isCut(description);
    ui.m_pbDetails->setVisible(!details.isEmpty() || !detailsAction.isEmpty() || hasMore);
}

QString CMessageBoxPrivate::wholeDetails() const
{
    QStringList texts;
    for (const QString &text : {message, description}) {
        if (isCut(text))
            texts.append(toPlainText(text));
    }
    if (!details.isEmpty())
        texts.append(details);
    return texts.join(QLatin1String("\n\n"));
}

/// What a user sends to whoever can help.
QString CMessageBoxPrivate::everyText() const
{
    QStringList texts{q->windowTitle(), plainText()};
    texts << ui.m_wProblem->plainText() << wholeDetails();
    texts.removeAll(QString());
    return texts.join(QLatin1String("\n\n"));
}

void CMessageBoxPrivate::openDetails()
{
    if (!detailsAction.isEmpty()) {
        if (!detailsAction.invoke())
            KOV_LOG(0, "(!)Error: can't run the details action %s",
                    KovGui::logText(detailsAction.name()).constData());
        return;
    }
    if (detailsDialog) {
        detailsDialog->raise();
        detailsDialog->activateWindow();
        return;
    }
    detailsDialog = new CDetailsDialog(wholeDetails(), q);
    detailsDialog->setAttribute(Qt::WA_DeleteOnClose);
    detailsDialog->open();
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
    const ButtonID defaultButton = buttons.defaultAnswer();
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
    return d->ui.m_wProblem->problemId();
}

void CMessageBox::setProblemID(const QString &id)
{
    d->ui.m_wProblem->setProblemId(id);
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
