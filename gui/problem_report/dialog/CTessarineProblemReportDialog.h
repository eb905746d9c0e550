#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/window/CBaseDialog.h"
#include "kov_sdk/KovTypes.h"

#include <QStringList>

#include <memory>

class CPackedProblemReport;
class CProblemReportDelegate;

/**
 * The window in which the user completes a problem report and sends it: what he was doing, his name and
 * address, a look at everything that is sent.
 *
 * Nothing leaves the computer before "Send Report", and then the parts that the user left in, and no others.
 * A sending that failed keeps the report (KeptReports.h), and the window stays for another try, its choice
 * and texts as they were. A sending that the user cancels keeps nothing. finished() tells that the window has
 * closed.
 *
 * The name and the address are kept in the settings under "Problem Report/ContactUserName" and
 * "Problem Report/ContactUserEmail" when a report is sent.
 */
class KOVGUI_EXPORT CTessarineProblemReportDialog : public CBaseDialog
{
    Q_OBJECT

public:
    /// About a crash of the application.
    /// @param delegate  may be null, and may go at any time
    CTessarineProblemReportDialog(const QString &crashText, CProblemReportDelegate *delegate,
                                  QWidget *parent = nullptr);
    /**
     * @param path  the archive with the report's sections; empty for none
     * @param text  the main document
     */
    CTessarineProblemReportDialog(const QString &path, const QByteArray &text,
                                  CProblemReportDelegate *delegate, QWidget *parent = nullptr,
                                  Qt::WindowFlags flags = Qt::WindowFlags());
    ~CTessarineProblemReportDialog() override;

    /// False when the report could not be built: there is nothing to show.
    bool isValid() const;
    /// The result code that led to the report. To be called before the window is shown, as the next one.
    void setProblemCode(KOV_RESULT code);
    /// A file with the dump of a crash, which becomes a part of the report.
    void addCrashDumpFile(const QString &path);
    /// The report as it stands.
    const CPackedProblemReport &report() const;

    void setVisible(bool visible) override;

public Q_SLOTS:
    void closeReportDialog();
    void done(int result) override;

private Q_SLOTS:
    void onSendReport();
    void onShowTechData();
    void onHelpRequested();
    void onSendSolutionStateChanged(int state);
    void updateEmailRelatedControls(const QString &email);
    void onPostReportProgressChanged(qint64 done, qint64 total);
    void onPostReportComplete(KOV_RESULT result, const QStringList &answer);
    void onPostReportCanceled();

private:
    void init();
    void setupControls();
    void fillCrashDump(const QString &text);
    void fillParametersBasedOnReportType();
    void fillPersonalDataFromAddressBook();
    void addKeyboardMouseProfiles();
    void screenshotLogicProcess();
    void onContentOpened();
    void postReport();
    void endSending();
    void updateControls();
    void readUserInput(CPackedProblemReport &report) const;
    void rewriteDocument();

    class Private;
    const std::unique_ptr<Private> d;
};
