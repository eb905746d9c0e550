#pragma once

#include <QDir>
#include <QObject>

#include <functional>

class ConsoleWindow;
class QWidget;

/**
 * Walks through the console as a person would: presses its buttons, waits for what comes, and says what it saw, a line a
 * step, with a picture of the screen. A step whose expectation does not come true is a failure, and so is the tour.
 */
class Tour : public QObject
{
    Q_OBJECT

public:
    Tour(ConsoleWindow *window, const QString &folder);

    /// @return the number of steps that failed
    int run();

private:
    void taskSteps();
    void messageSteps();
    void updateSteps();
    void logSteps();

    /// Runs the event loop until `condition` holds; false after `milliseconds`.
    bool waitFor(const std::function<bool()> &condition, int milliseconds = 15000);
    /// Prints the step's line and takes its picture.
    void step(const QString &name, bool ok, const QString &seen);
    void press(QWidget *scope, const char *buttonName);
    /// The message box that is open for a code, null after some seconds without one.
    QWidget *waitForMessage(int code);
    /// Presses an answer of the box that is open for the code.
    void answer(int code, int button);
    /// Calls a function that may run a modal loop of its own from the event loop.
    void later(const std::function<void()> &function);

    ConsoleWindow *const m_window;
    QDir m_folder;
    int m_number = 0;
    int m_failed = 0;
};
