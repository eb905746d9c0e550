#pragma once

#include "examples/console/preferences/PreferencesDialog.h"
#include "examples/console/preferences/PreferencesModel.h"
#include "examples/console/wizard/NewMachineModel.h"
#include "gui/messages/box/CDetailsDialog.h"
#include "gui/messages/box/CMessageBox.h"
#include "gui/messages/notification/CNotificationBox.h"
#include "gui/problem_report/browser/CProblemReportBrowserDialog.h"
#include "gui/problem_report/dialog/CTessarineProblemReportDialog.h"
#include "gui/tasks/download/CDownloadProgressDialog.h"
#include "gui/tasks/sign_in/CProxyAuthenticator.h"
#include "gui/tasks/sign_in/CUserAuthDialog.h"
#include "gui/update/dialogs/CConfirmUpdateInstallationDialog.h"
#include "gui/update/dialogs/CUpdateDialog.h"
#include "gui/update/record/CProductUpdateInfo.h"
#include "gui/window/CProgressDialog.h"
#include "gui/wizard/declarative/CDeclarativeWizardDialog.h"
#include "gui/wizard/widgets/CWizardDialog.h"
#include "tests/wizard/SampleWizard.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QLabel>
#include <QLineEdit>
#include <QVector>

#include <functional>

/// A window of the library, as full as it gets.
struct DialogRow
{
    const char *name;
    std::function<QWidget *()> make;
    const char *className; ///< and object name
    const char
        *tabOrder; ///< object names, from the widget with the focus on; empty: it never takes the keyboard
    bool escapeHides;
};

/// In the language of the day.
inline QString text(const char *source)
{
    return QCoreApplication::translate("DialogTable", source);
}

inline QWidget *makeMessageBox()
{
    auto *box = new CMessageBox;
    box->setTitle(text("Console"));
    box->setMessage(text("The machine cannot be started."));
    box->setDescription(text("There is not enough memory. ").repeated(40));
    box->setDetails(text("Details"));
    box->setHelpTopic(Help::MessagesTopic);
    box->setProblemID(QStringLiteral("15351"));
    box->setAllowHide(true);
    box->setButtonsMap({{Messaging::Button1, {text("&Try Again"), QMessageBox::AcceptRole}},
                        {Messaging::Button2, {text("&Ignore"), QMessageBox::RejectRole}}});
    box->findChild<QAbstractButton *>(QStringLiteral("m_lblHelpMeSolve"))->click();
    return box;
}

inline QWidget *makeNotification()
{
    auto *box = new CNotificationBox;
    box->setWindowTitle(text("Console"));
    box->setMessage(text("The machine was stopped."));
    box->setDescription(text("There was not enough memory."));
    box->setDetails(text("Details"));
    box->setButton1(text("&Start Again"));
    box->setAllowHide(true);
    return box;
}

inline QWidget *makeProgress()
{
    auto *dialog = new CProgressDialog;
    dialog->setWindowTitle(text("Update"));
    dialog->setLabelText(text("Checking for updates of everything there is. ").repeated(6));
    return dialog;
}

inline QWidget *makeDownload()
{
    auto *dialog = new CDownloadProgressDialog({37, 3725, 456789012, 1234567890, 1234567});
    dialog->setFileName(text("a-very-long-name-").repeated(20));
    dialog->setStatusText(QString());
    return dialog;
}

inline QWidget *makeLogin()
{
    auto *dialog = CProxyAuthenticator::createAuthDialog(QStringLiteral("proxy.example"), 8080, true);
    dialog->setUsername(QStringLiteral("user"));
    return dialog;
}

inline QWidget *makeOffer(CUpdateDialog::ConfirmationMode mode)
{
    auto *dialog = new CUpdateDialog(mode);
    CProductUpdateInfo info;
    info.transactionId = QStringLiteral("Tessarine Console-3.1.5-31502");
    info.updateDescription = text("Better.\nFaster.\n").repeated(40);
    dialog->setNotificationFor(info);
    return dialog;
}

inline QWidget *makeConfirmation()
{
    auto *dialog = new CConfirmUpdateInstallationDialog;
    dialog->setDescription(text("These applications will be closed. ").repeated(20));
    return dialog;
}

inline QWidget *makeWizard()
{
    static SampleWizard wizard;
    auto *model = new SampleModel(wizard);
    auto *dialog = new CWizardDialog(*model, [](CAbstractWizardPage &page) {
        page.setTitle(text("A page with a long title. ").repeated(6));
        auto *label = new QLabel(text("What there is to say about it. ").repeated(20));
        label->setObjectName(QStringLiteral("text"));
        label->setWordWrap(true);
        return label;
    });
    model->setParent(dialog);
    dialog->setWindowTitle(text("Wizard"));
    return dialog;
}

inline QWidget *makeWizardOfScenes()
{
    auto *model = new NewMachineModel;
    model->machine.name = text("Web server of the office");
    auto *dialog = new CDeclarativeWizardDialog(*model);
    model->setParent(dialog);
    dialog->setWindowTitle(text("New Virtual Machine"));
    return dialog;
}

inline QWidget *makeReport()
{
    auto *dialog = new CTessarineProblemReportDialog(QStringLiteral("It crashed."), nullptr);
    dialog->findChild<QLineEdit *>(QStringLiteral("m_leEmail"))->setText(QStringLiteral("joe@example.org"));
    dialog->findChild<QAbstractButton *>(QStringLiteral("m_ckbSendSolution"))->click();
    return dialog;
}

inline QWidget *makeReportBrowser()
{
    auto *browser = new CProblemReportBrowserDialog(CPackedProblemReport());
    browser->setReportFilePath(QStringLiteral("/home/user/a-very-long-folder").repeated(4));
    return browser;
}

inline QWidget *makePreferences()
{
    static PreferencesModel model;
    model.load();
    return new PreferencesDialog(model);
}

/// Every window class of the library has a row; tst_dialogs refuses one without.
inline const QVector<DialogRow> &dialogTable()
{
    static const QVector<DialogRow> table{
        {"message box", makeMessageBox, "CMessageBox",
         "m_pbButton1 m_pbButton2 m_txtMessage m_txtInfo m_lblProblemIDNumber m_lblProblemIDLink "
         "m_lblHelpMeSolve m_lblSupportInfo m_ckbDoNotShowFlag m_pbDetails",
         true},
        {"notification", makeNotification, "CNotificationBox", "", true},
        {"details", [] { return new CDetailsDialog(QStringLiteral("line\n").repeated(99)); },
         "CDetailsDialog", "m_pbClose m_txtDetails", true},
        {"download", makeDownload, "CDownloadProgressDialog", "m_pbPauseResume m_pbCancel", true},
        {"progress", makeProgress, "CProgressDialog", "m_pbCancel", false},
        {"login", makeLogin, "CUserAuthDialog", "m_lePassword m_ckbRemember m_pbOk m_pbCancel m_leName",
         true},
        {"offer", [] { return makeOffer(CUpdateDialog::Download); }, "CUpdateDialog",
         "m_pbInstall m_txtDescription m_pbSkipVersion m_pbPostpone", true},
        {"congratulations", [] { return makeOffer(CUpdateDialog::Congratulations); }, "CUpdateDialog",
         "m_pbOk m_txtDescription", true},
        {"confirmation", makeConfirmation, "CConfirmUpdateInstallationDialog",
         "m_pbInstall m_pbCancel m_pbPostpone", true},
        {"report", makeReport, "CTessarineProblemReportDialog",
         "textEditDetails m_leName m_leEmail m_ckbSendSolution m_lblImportant m_lblSeeDetails m_pbHelp m_pbSend "
         "m_pbCancel",
         true},
        {"report browser", makeReportBrowser, "CProblemReportBrowserDialog",
         "m_treeSectionsList m_textFileView m_pbRevealInFinder m_pbClose", true},
        {"wizard", makeWizard, "CWizardDialog", "Next Cancel Help", true},
        {"preferences", makePreferences, "PreferencesDialog",
         "qt_tabwidget_tabbar language displayName startWithSystem startHidden trayIcon onStartOverview "
         "textScale reconnect volume volumeNumber keepLog recordDays recordSize ok cancel",
         true},
        {"wizard of scenes", makeWizardOfScenes, "CDeclarativeWizardDialog", "scene", true},
    };
    return table;
}
