#pragma once

#include "gui/KovGuiGlobal.h"

#include <QString>

class CProblemReportDelegate;
class CTessarineProblemReportDialog;
class QWidget;

/**
 * Problem reports that a client application makes itself, without asking a service: about its own crash,
 * found at its next start.
 *
 * The functions give a dialog that is filled and not shown yet, which its caller owns, or null, logged, when
 * there is nothing to report. The report holds the crash dump, what is known of the application, and its log.
 */
namespace ClientProblemReportHelper {

/**
 * @param path      the file with the crash dump, which becomes part of the report; an archive of a report
 *                  (".tar.gz") is opened instead. Empty for none
 * @param text      the crash dump as text, or the main document of a report
 * @param parent    the dialog is placed in its middle
 * @param delegate  may be null
 * @param askedFor  false: the dialog leaves the keyboard where it is (CBaseDialog::setAskedFor())
 */
KOVGUI_EXPORT CTessarineProblemReportDialog *crashReport(const QString &path, const QString &text,
                                                         QWidget *parent, CProblemReportDelegate *delegate,
                                                         bool askedFor);
/// In the middle of the delegate's parent window.
KOVGUI_EXPORT CTessarineProblemReportDialog *crashReportWithDump(const QString &text,
                                                                 CProblemReportDelegate *delegate);

} // namespace ClientProblemReportHelper
