#pragma once

#include <QObject>

class QTimer;
class QWidget;

/**
 * Keeps keys and clicks from a window that appeared by itself, until it has been active for half a second:
 * what the user typed or clicked then was meant for another window.
 *
 * Once for every appearance. A click on the window that is not active yet activates it and begins the half
 * second. A key that was held down all the while stays without effect until it is released.
 */
class InputGuard : public QObject
{
    Q_OBJECT

public:
    /// Milliseconds. The timer is a child named "m_timerInputGuard".
    static constexpr int Interval = 500;

    explicit InputGuard(QWidget *window);

    /// Begins to guard; to be called before the window is shown.
    void arm();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    enum State { Off, NotActiveYet, ActiveJustNow, KeysHeldDown };

    void begin();
    void disarm();
    bool swallows(QEvent *event);

    QWidget *const m_window;
    QTimer *const m_timer;
    State m_state = Off;
};
