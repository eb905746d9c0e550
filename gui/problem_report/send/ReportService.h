#pragma once

#include "gui/KovGuiGlobal.h"

#include <QByteArray>
#include <QStringList>
#include <QUrl>

/// The service that takes problem reports, and its answer (docs/reference/problem-report.md).
namespace ReportService {

/// What the settings say under "Problem Report/ServiceAddress", else what the host set; empty when neither
/// did.
KOVGUI_EXPORT QUrl address();
/// The host's, to be set once at start. A report goes to https addresses only, and to http on this computer.
KOVGUI_EXPORT void setAddress(const QUrl &address);
/// Whether a report may be sent there: an https address, or an http one of this computer; without user
/// information.
KOVGUI_EXPORT bool isAcceptable(const QUrl &address);

/// A redirect is followed only to the same scheme, host and port.
KOVGUI_EXPORT bool isAcceptableRedirect(const QUrl &from, const QUrl &to);

/// The lines of an answer's body: at most 16 of at most 200 characters each, blanks around them and control
/// characters dropped. The first is the status.
KOVGUI_EXPORT QStringList answerLines(const QByteArray &body);
/// True for the status line "status=OK".
KOVGUI_EXPORT bool isAccepted(const QStringList &lines);
/// The identifier that the service gave, from its line "id=..."; empty when there is none of letters, digits,
/// points, hyphens and underscores.
KOVGUI_EXPORT QString identifierOf(const QStringList &lines);

} // namespace ReportService
