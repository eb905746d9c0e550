#pragma once

#include <QApplication>
#include <QTimer>
#include <QtTest>

#include <functional>

/**
 * For tests that open a dialog with exec(): acts on the first modal widget that appears, and ends a loop that
 * nobody else ends. A loop that it had to end fails the test.
 */
class ModalWatchdog : public QObject
{
public:
    /// @param act  called once, from the dialog's event loop
    explicit ModalWatchdog(const std::function<void(QWidget *)> &act, int limitMilliseconds = 5000)
        : m_act(act)
        , m_deadline(limitMilliseconds)
    {
        m_poll.setInterval(5);
        QObject::connect(&m_poll, &QTimer::timeout, this, &ModalWatchdog::look);
        m_poll.start();
    }
    /// Whether the modal widget appeared and was acted on.
    bool hasActed() const { return m_acted; }

private:
    void look()
    {
        QWidget *modal = QApplication::activeModalWidget();
        if (!modal)
            return;
        if (!m_acted) {
            m_acted = true;
            m_act(modal);
        } else if (m_deadline.hasExpired()) {
            QTest::qFail("A modal dialog was left open", __FILE__, __LINE__);
            delete modal;
        }
    }

    std::function<void(QWidget *)> m_act;
    QDeadlineTimer m_deadline;
    QTimer m_poll;
    bool m_acted = false;
};
