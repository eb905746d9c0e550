#include "gui/messages/notification/CNotificationBox.h"

#include "gui/messages/notification/CNotificationBoxGroup.h"
#include "gui/messages/notification/LabelText_p.h"
#include "ui_CNotificationBox.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QCloseEvent>
#include <QCursor>
#include <QPainter>
#include <QPointer>
#include <QTimer>

#include <optional>

namespace {

constexpr int boxWidth = 324;
constexpr int largestIcon = 48;
constexpr int shownMilliseconds = 5000;
constexpr int afterUseMilliseconds = 1000;
/// In characters: a box of the longest texts still fits on a small screen.
constexpr int longestMessage = 200;
constexpr int longestDescription = 500;
constexpr int longestDetails = 200;
constexpr qreal borderOpacity = 0.3;

/// Screen readers speak a notification when it appears, and only a window of another kind when it is
/// activated.
QAccessibleInterface *makeInterface(const QString &, QObject *object)
{
    auto *box = qobject_cast<CNotificationBox *>(object);
    return box ? new QAccessibleWidget(box, QAccessible::Notification) : nullptr;
}

bool windowsPlaceThemselves()
{
    return !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

} // namespace

class CNotificationBox::Private
{
public:
    explicit Private(CNotificationBox *box);

    void showText(QLabel *label, const QString &text, int limit);
    void fitSize();
    void enterGroup();
    void leaveGroup();
    void closeWith(int answer);
    bool isMouseInside() const;
    bool isInUse() const;
    void keyboardLeft();
    void closeIfPending();

    CNotificationBox *const q;
    Ui::CNotificationBox ui;
    QTimer *const timer;
    QString message;
    QString description;
    QString details;
    QPixmap icon;
    bool useFixedSize = false;
    bool doNotShowAgain = false;
    bool sized = false;
    bool closePending = false;
    /// A key was pressed in the box since it was given the keyboard.
    bool keyboardInside = false;
    std::optional<int> answer;
    QString hoveredLink;
    QPointer<CNotificationBoxGroup> group;
};

CNotificationBox::Private::Private(CNotificationBox *box)
    : q(box)
    , timer(new QTimer(box))
{
    ui.setupUi(box);
    timer->setObjectName(QStringLiteral("m_timerAutoClose"));
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    connect(timer, &QTimer::timeout, box, &CNotificationBox::onTimeout);
    connect(ui.m_pbAlternate, &QPushButton::clicked, box, &CNotificationBox::onButtonAlternate);
    connect(ui.m_pbClose, &QPushButton::clicked, box, &CNotificationBox::onButtonClose);
    connect(ui.m_ckbDoNotShowFlag, &QCheckBox::toggled, box, &CNotificationBox::onDoNotShowFlagToggled);
    for (QLabel *label : {ui.m_lblShortText, ui.m_lblShortText2}) {
        connect(label, &QLabel::linkActivated, box,
                [box](const QString &link) { Q_EMIT box->anchorClicked(box->getMessageUuid(), QUrl(link)); });
        connect(label, &QLabel::linkHovered, box, [this](const QString &link) { hoveredLink = link; });
    }
}

void CNotificationBox::Private::showText(QLabel *label, const QString &text, int limit)
{
    const LabelText shown = LabelText::fromRichText(text, limit);
    label->setText(shown.html);
    label->setVisible(!shown.plain.isEmpty());
    label->setAccessibleName(shown.plain);
    label->setToolTip(shown.isCut ? LabelText::fromRichText(text, text.size()).html : QString());
    // A label without a link must not take part in the order of the Tab key.
    label->setTextInteractionFlags(shown.hasLinks ? Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard
                                                  : Qt::NoTextInteraction);
    label->setFocusPolicy(shown.hasLinks ? Qt::StrongFocus : Qt::NoFocus);
}

void CNotificationBox::Private::fitSize()
{
    if (sized)
        return;
    sized = true;
    if (useFixedSize) {
        q->setFixedSize(boxWidth, q->sizeHint().height());
        return;
    }
    q->setFixedWidth(boxWidth);
    q->layout()->activate();
    q->setFixedHeight(q->sizeHint().height());
}

void CNotificationBox::Private::enterGroup()
{
    if (group)
        return;
    closePending = false;
    keyboardInside = false;
    group = &CNotificationBoxGroup::instance();
    group->addMessage(*q);
    timer->start(shownMilliseconds);
    q->setMouseTracking(true);
}

void CNotificationBox::Private::leaveGroup()
{
    timer->stop();
    if (group)
        group->messageClosed(*q);
    group.clear();
}

void CNotificationBox::Private::closeWith(int newAnswer)
{
    if (!answer)
        answer = newAnswer;
    CNotificationBoxGroup::instance().closeMessage(*q);
}

bool CNotificationBox::Private::isMouseInside() const
{
    // Elsewhere the cursor's place is known only while it is over a window of ours.
    return windowsPlaceThemselves() ? q->geometry().contains(QCursor::pos()) : q->underMouse();
}

bool CNotificationBox::Private::isInUse() const
{
    return keyboardInside || isMouseInside();
}

void CNotificationBox::Private::keyboardLeft()
{
    keyboardInside = false;
    if (!isMouseInside())
        closeIfPending();
}

void CNotificationBox::Private::closeIfPending()
{
    if (!closePending)
        return;
    closePending = false;
    timer->start(afterUseMilliseconds);
}

CNotificationBox::CNotificationBox(QWidget *parent)
    : CMessageBoxWndBase(parent, Qt::Tool | Qt::WindowStaysOnTopHint, FramelessWindow | NotAParent)
    , d(new Private(this))
{
    static const bool installed = (QAccessible::installFactory(makeInterface), true);
    Q_UNUSED(installed)
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_X11NetWmWindowTypeNotification);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *old, QWidget *now) {
        if (old && isAncestorOf(old) && !isAncestorOf(now))
            d->keyboardLeft();
    });
}

CNotificationBox::~CNotificationBox()
{
    // A widget that goes gives up the focus when nothing of this class is left.
    disconnect(qApp, nullptr, this, nullptr);
    d->leaveGroup();
    if (d->answer)
        setResult(*d->answer);
    deliverAnswer();
}

QString CNotificationBox::message() const
{
    return d->message;
}

void CNotificationBox::setMessage(const QString &text)
{
    d->message = text;
    d->showText(d->ui.m_lblShortText, text, longestMessage);
}

QString CNotificationBox::description() const
{
    return d->description;
}

void CNotificationBox::setDescription(const QString &text)
{
    d->description = text;
    d->showText(d->ui.m_lblShortText2, text, longestDescription);
}

QString CNotificationBox::details() const
{
    return d->details;
}

void CNotificationBox::setDetails(const QString &text)
{
    d->details = text;
    d->showText(d->ui.m_lblLongText, text.toHtmlEscaped().replace(QLatin1Char('\n'), QLatin1String("<br>")),
                longestDetails);
}

QPixmap CNotificationBox::icon() const
{
    return d->icon;
}

void CNotificationBox::setIcon(const QPixmap &icon)
{
    d->icon = icon;
    const QSize largest = QSize(largestIcon, largestIcon) * icon.devicePixelRatio();
    const bool fits = icon.width() <= largest.width() && icon.height() <= largest.height();
    d->ui.m_lblIcon->setPixmap(fits ? icon
                                    : icon.scaled(largest, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    d->ui.m_lblIcon->setVisible(!icon.isNull());
}

QString CNotificationBox::button1() const
{
    return d->ui.m_pbAlternate->text();
}

void CNotificationBox::setButton1(const QString &text)
{
    d->ui.m_pbAlternate->setText(text);
    d->ui.m_pbAlternate->setVisible(!text.isEmpty());
}

void CNotificationBox::setCloseButton(const QString &text)
{
    d->ui.m_pbClose->setText(text);
    d->ui.m_pbClose->setVisible(!text.isEmpty());
}

bool CNotificationBox::allowHide() const
{
    return !d->ui.m_ckbDoNotShowFlag->isHidden();
}

void CNotificationBox::setAllowHide(bool allow)
{
    d->ui.m_ckbDoNotShowFlag->setVisible(allow);
}

bool CNotificationBox::isDoNotShowAgainChecked() const
{
    return allowHide() && d->doNotShowAgain;
}

bool CNotificationBox::isUseFixedSize() const
{
    return d->useFixedSize;
}

void CNotificationBox::setUseFixedSize(bool fixed)
{
    d->useFixedSize = fixed;
}

QSize CNotificationBox::sizeHint() const
{
    // The layout's own hint is for the width that wrapped labels would like best.
    return {boxWidth, layout()->totalHeightForWidth(boxWidth)};
}

void CNotificationBox::takeKeyboard()
{
    if (QApplication::activeWindow() != window())
        activateWindow();
    QPushButton *button = d->ui.m_pbAlternate->isHidden() ? d->ui.m_pbClose : d->ui.m_pbAlternate;
    button->setFocus(Qt::ShortcutFocusReason);
}

bool CNotificationBox::hasKeyboard() const
{
    // Not isActiveWindow(): tool windows share their parent's activation in some styles.
    return isWindow() ? QApplication::activeWindow() == this : isAncestorOf(QApplication::focusWidget());
}

void CNotificationBox::setVisible(bool visible)
{
    if (visible && isWindow() && parentWidget() && !windowsPlaceThemselves()) {
        // A window of its own would take the keyboard there, and lie anywhere.
        setParent(parentWidget()->window(), Qt::Widget);
        setAutoFillBackground(true);
    }
    CMessageBoxWndBase::setVisible(visible);
    if (visible)
        raise();
}

void CNotificationBox::done(int answer)
{
    if (!d->answer)
        d->answer = answer;
    d->leaveGroup();
    CMessageBoxWndBase::done(*d->answer);
}

void CNotificationBox::onButtonAlternate()
{
    d->closeWith(Messaging::Button1);
}

void CNotificationBox::onButtonClose()
{
    d->closeWith(Messaging::ButtonNone);
}

void CNotificationBox::onDoNotShowFlagToggled(bool checked)
{
    d->doNotShowAgain = checked;
}

void CNotificationBox::onTimeout()
{
    if (!isVisible())
        return;
    d->closePending = d->isInUse();
    if (!d->closePending)
        d->closeWith(Messaging::ButtonNone);
}

void CNotificationBox::mousePressEvent(QMouseEvent *)
{
    // Labels pass the press on, even on a link, which is followed when the button is let go.
    if (isVisible() && d->hoveredLink.isEmpty())
        d->closeWith(Messaging::Button1);
}

void CNotificationBox::closeEvent(QCloseEvent *event)
{
    // The base class's close means no answer; this one comes at the end of the way out, too.
    done(d->answer.value_or(Messaging::ButtonNone));
    event->accept();
}

void CNotificationBox::showEvent(QShowEvent *event)
{
    // Not when polished, as a size hint asked for would do.
    d->fitSize();
    d->enterGroup();
    // Before the alert, which makes screen readers read them.
    const QStringList texts{d->ui.m_lblShortText2->accessibleName(), d->ui.m_lblLongText->accessibleName()};
    setAccessibleName(d->ui.m_lblShortText->accessibleName());
    setAccessibleDescription(texts.join(QLatin1Char('\n')).trimmed());
    CMessageBoxWndBase::showEvent(event);
}

void CNotificationBox::hideEvent(QHideEvent *event)
{
    CMessageBoxWndBase::hideEvent(event);
    // Not when its parent's window is hidden with all that is in it.
    if (isHidden() && !event->spontaneous())
        d->leaveGroup();
}

void CNotificationBox::paintEvent(QPaintEvent *event)
{
    CMessageBoxWndBase::paintEvent(event);
    QColor border = palette().color(QPalette::WindowText);
    border.setAlphaF(borderOpacity);
    QPainter painter(this);
    painter.setPen(border);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

bool CNotificationBox::event(QEvent *event)
{
    const bool handled = CMessageBoxWndBase::event(event);
    switch (event->type()) {
    case QEvent::Polish:
        d->ui.m_wgtButtons->setVisible(allowHide() || !d->ui.m_pbAlternate->isHidden()
                                       || !d->ui.m_pbClose->isHidden());
        break;
    // Sent first for every key, to the box as well.
    case QEvent::ShortcutOverride:
        d->keyboardInside = true;
        break;
    case QEvent::WindowDeactivate:
        d->keyboardLeft();
        break;
    case QEvent::Leave:
        if (!d->keyboardInside)
            d->closeIfPending();
        break;
    default:
        break;
    }
    return handled;
}
