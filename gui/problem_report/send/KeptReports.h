#pragma once

#include "gui/KovGuiGlobal.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QVector>

/**
 * Reports that the user agreed to send, on the disk until the service has them: what a failed sending leaves,
 * also for the next start of the application. Exactly what the user agreed to is in them.
 *
 * They lie in "Problem Reports" in the application's local data, for the user alone, and go when they were
 * sent or removed.
 */
namespace KeptReports {

/// A report is sent at most this often.
constexpr int maximumAttempts = 5;

struct Report
{
    QString id;
    QDateTime createdOn; ///< local time
    int attempts = 0; ///< that were begun
    qint64 size = 0; ///< bytes of its archive
    bool canBeSent() const { return attempts < maximumAttempts; }
};

/// Oldest first.
KOVGUI_EXPORT QVector<Report> all();
/// A report without an id when there is none of that id.
KOVGUI_EXPORT Report find(const QString &id);
KOVGUI_EXPORT void remove(const QString &id);

/// The archive, and its main document once more, which is sent beside it.
KOVGUI_EXPORT QString archivePath(const QString &id);
KOVGUI_EXPORT QString documentPath(const QString &id);

/// An id for a new report; empty when there is no place for one. It counts once keep() was called.
KOVGUI_EXPORT QString newId();
/// The two files are written.
/// @param attempts  sendings of it before
KOVGUI_EXPORT bool keep(const QString &id, int attempts = 0);
/// One more sending begins. False when that cannot be noted: it must not begin then.
KOVGUI_EXPORT bool countAttempt(const QString &id);

} // namespace KeptReports
