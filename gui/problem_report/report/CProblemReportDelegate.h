#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/data_model/documents/CPackedProblemReport.h"
#include "gui/messages/record/Messaging.h"

#include <QObject>
#include <QPointer>

/**
 * What a client application says about its problem reports: titles, windows, messages. Every operation has a
 * default; an application overrides what it wants otherwise.
 *
 * It must live as long as the task or the dialog that it was given to needs it; both do without it when it is
 * gone. GUI thread only.
 */
class KOVGUI_EXPORT CProblemReportDelegate : public QObject
{
    Q_OBJECT

public:
    explicit CProblemReportDelegate(QObject *parent = nullptr);
    ~CProblemReportDelegate() override;

    /// Called before a report is sent, while the way into the network is looked for. By default nothing
    /// further.
    virtual void processProxyDetection();
    /// By default the message manager's message of that code.
    virtual void showMessage(int code, QWidget *parent);
    /**
     * The report was delivered. By default this is logged, and told the user by a message; when he answers
     * with a button, onPostSuccessMessageButtonClicked() is asked, and when it has closed, the dialog closes.
     *
     * @param id      the report's identifier at the service; foreign text, shown as it stands
     * @param parent  the report's dialog
     */
    virtual void postReportSuccess(const QString &id, QWidget *parent);
    /// By default the application's name.
    virtual QString getWindowTitle();
    /// Whether the dialog has a help button. By default it has.
    virtual bool hasHelp();
    /// By default nothing.
    virtual void helpRequested();
    /// A line above the description, plain text. By default empty: there is no such line.
    virtual QString getTitleText(const CPackedProblemReport &report);
    /// Where the windows of a report belong. By default the application's active window.
    /// @param context  what the report was asked of; may be null
    virtual QWidget *parentWindow(QObject *context);
    /// Called just before a report is requested. By default nothing.
    virtual void beforeCollection();
    /// Called before the dialog is shown. By default nothing.
    virtual void beforeReportShow(QWidget *dialog);
    /// Another text for a place of the dialog: "windowTitle", "prompt". By default empty: the dialog's own.
    virtual QString prepareResourceString(const char *place);
    /// Nobody asked for the report, so it holds no picture of the screen. By default when its type says so.
    virtual bool isAutomaticReport(const CPackedProblemReport &report);
    /// The user's address, where none was entered before. By default empty.
    virtual QString getContactMail();
    /// Adds the keyboard and mouse profiles. By default nothing.
    virtual void fillKeyboardMouseProfiles(CPackedProblemReport &report);

public Q_SLOTS:
    /// An answer to the message of success. False: nothing was done about it, which is the default.
    virtual bool onPostSuccessMessageButtonClicked(Messaging::ButtonID button, QPointer<QWidget> dialog);
    void onPostSuccessMessageClosed();

protected:
    /// Closes the dialog of the report that was delivered.
    void closeReportDialog();

private:
    QPointer<QWidget> m_dialog;
};
