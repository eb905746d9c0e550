#include "gui/window/InputGuard_p.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QTimer>
#include <QWidget>

InputGuard::InputGuard(QWidget *window)
    : QObject(window)
    , m_window(window)
    , m_timer(new QTimer(this))
{
    m_timer->setObjectName(QStringLiteral("m_timerInputGuard"));
    m_timer->setSingleShot(true);
    m_timer->setInterval(Interval);
    connect(m_timer, &QTimer::timeout, this, [this] { m_state = KeysHeldDown; });
}

void InputGuard::arm()
{
    m_timer->stop();
    m_state = NotActiveYet;
    // Shortcuts go to the widget that has them, past the window: only the application sees all of its keys.
    QCoreApplication::instance()->installEventFilter(this);
}

void InputGuard::begin()
{
    if (m_state != NotActiveYet)
        return;
    m_state = ActiveJustNow;
    m_timer->start();
}

void InputGuard::disarm()
{
    m_timer->stop();
    m_state = Off;
    QCoreApplication::instance()->removeEventFilter(this);
}

bool InputGuard::swallows(QEvent *event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::TouchBegin:
        if (m_state == NotActiveYet) {
            m_window->activateWindow();
            begin();
        }
        return m_state == ActiveJustNow;
    case QEvent::ShortcutOverride:
    case QEvent::KeyPress:
        if (m_state == KeysHeldDown && !static_cast<const QKeyEvent *>(event)->isAutoRepeat()) {
            disarm();
            return false;
        }
        return true;
    case QEvent::Close:
        // A window manager's key for closing; what the program closes is closed.
        return event->spontaneous() && m_state != KeysHeldDown;
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
    case QEvent::InputMethod:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::ContextMenu:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TabletPress:
    case QEvent::TabletRelease:
        return m_state != KeysHeldDown;
    default:
        return false;
    }
}

bool InputGuard::eventFilter(QObject *watched, QEvent *event)
{
    if (!watched->isWidgetType() || static_cast<QWidget *>(watched)->window() != m_window)
        return false;
    if (watched == m_window && event->type() == QEvent::WindowActivate)
        begin();
    else if (watched == m_window && event->type() == QEvent::Hide && !event->spontaneous())
        disarm();
    if (m_state == Off || !swallows(event))
        return false;
    // An override that is taken keeps the key from being a shortcut; a close that is not taken closes
    // nothing.
    event->setAccepted(event->type() != QEvent::Close);
    return true;
}
