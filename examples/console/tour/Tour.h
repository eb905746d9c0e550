#pragma once

#include "kov_sdk/KovTypes.h"

#include <QDir>
#include <QThread>

#include <functional>

class ConsoleWindow;
class QWidget;

/**
 * Walks through the console as a person would: presses its buttons, waits for what comes, and says what it
 * saw, a line a step, with a picture of the screen. A step whose expectation does not come true is a failure,
 * and so is the tour.
 *
 * It runs on a thread of its own, as a person does: a question that runs a modal loop of its own on the GUI
 * thread must not hold up the one who answers it. Whatever touches the console goes through ask() or later().
 *
 * The console restarts in its course, after an update as another version. What the next process has to know
 * lies in FOLDER/private: it goes on where the former one ended, and the first one waits for the last.
 */
class Tour : public QThread
{
    Q_OBJECT

public:
    Tour(ConsoleWindow *window, const QString &folder);
    ~Tour() override;

    /// True in a process that goes on with the tour of another one.
    static bool isContinued(const QString &folder);
    /// True when another process goes on.
    bool isHandedOver() const { return m_next != Beginning; }
    /// The number of steps that failed, once the thread has finished; a negative number when the tour broke
    /// off. Waits for the process that ends the tour.
    static int failedSteps(const QString &folder);

    /// The visible window of a class, null when there is none.
    static QWidget *visibleWindow(const char *className);

protected:
    void run() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    enum Phase { Beginning, AtNextStart, AfterUpdate };

    QString privateFile(const char *name) const;
    void takeOver();
    void handOver(Phase next);
    void end();
    void taskSteps();
    void messageSteps();
    void detailsStep(int code);
    void anyCodeSteps();
    void notificationSteps();
    void statisticsSteps();
    void updateSteps();
    void backgroundSteps();
    /// Enters the address of another catalogue; empty: the sample site's own.
    void useServer(const QString &address);
    void updateStep(const char *name, int message, KOV_RESULT result);
    void offerSteps();
    void downloadSteps();
    void installSteps();
    void newVersionSteps();
    /// A dialog comes that has a title.
    void dialogStep(const char *name, const char *dialog);
    /// A check that shows nothing: true when it began, ended, and no window came.
    bool quietCheck(const QString &button);
    void networkSteps();
    void preferencesSteps();
    void wizardSteps();
    void wizardSteps(const char *face, const char *button);
    void reportSteps();
    void sendingSteps();
    /// A report is sent that keeps the part with the text; true when the service's copy is what was shown.
    bool sendReport(const QString &description);
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
    /// For what this installation cannot show.
    void leaveOut(const QString &name, const QString &reason);
    void press(QWidget *scope, const QString &buttonName);
    /// A button of the dialog, which then closes.
    void press(const char *dialog, const char *button);
    /// The bold text of the message box that is open for a code; a null string after some seconds without
    /// one.
    QString messageText(int code);
    /// Presses an answer of the box that is open for the code.
    void answer(int code, int button);
    bool isMessageOpen(int code);

    ConsoleWindow *const m_window;
    QDir m_folder;
    Phase m_phase = Beginning;
    Phase m_next = Beginning;
    int m_number = 0;
    int m_failed = 0;
    int m_progressWindowsShown = 0;
};
