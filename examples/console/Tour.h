#pragma once

#include "kov_sdk/KovTypes.h"

#include <QDir>
#include <QThread>

#include <functional>

class ConsoleWindow;
class QWidget;

/**
 * Walks through the console as a person would: presses its buttons, waits for what comes, and says what it saw, a line a
 * step, with a picture of the screen. A step whose expectation does not come true is a failure, and so is the tour.
 *
 * It runs on a thread of its own, as a person does: a question that runs a modal loop of its own on the GUI thread must
 * not hold up the one who answers it. Whatever touches the console goes through ask() or later().
 */
class Tour : public QThread
{
    Q_OBJECT

public:
    Tour(ConsoleWindow *window, const QString &folder);
    ~Tour() override;

    /// The number of steps that failed, once the thread has finished.
    int failedSteps() const { return m_failed; }

protected:
    void run() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void taskSteps();
    void messageSteps();
    void detailsStep(int code);
    void updateSteps();
    void backgroundSteps();
    void updateStep(const char *name, int message, KOV_RESULT result);
    void networkSteps();
    void logSteps();

    /// Calls the function on the GUI thread and returns what it returned.
    template <typename Function>
    auto ask(Function function) -> decltype(function());
    /// Calls the function on the GUI thread, some time later: for what may run a modal loop of its own.
    void later(const std::function<void()> &function);

    /// Asks again and again until the condition holds; false after `milliseconds`.
    bool waitFor(const std::function<bool()> &condition, int milliseconds = 15000);
    /// Prints the step's line and takes its picture.
    void step(const QString &name, bool ok, const QString &seen);
    void press(QWidget *scope, const QString &buttonName);
    /// The bold text of the message box that is open for a code; a null string after some seconds without one.
    QString messageText(int code);
    /// Presses an answer of the box that is open for the code.
    void answer(int code, int button);
    bool isMessageOpen(int code);

    ConsoleWindow *const m_window;
    QDir m_folder;
    int m_number = 0;
    int m_failed = 0;
    int m_progressWindowsShown = 0;
};
