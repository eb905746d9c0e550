#pragma once

#include "gui/KovGuiGlobal.h"
#include "kov_sdk/KovTypes.h"

#include <QObject>
#include <QStringList>

#include <memory>

/**
 * Sends a kept report to the service, once.
 *
 * The report goes when the service has taken it (its answer begins with "status=OK"); after anything else it
 * stays and can be sent again, KeptReports::maximumAttempts times in all. GUI thread.
 */
class KOVGUI_EXPORT CProblemReportPost : public QObject
{
    Q_OBJECT

public:
    /// @param id  of KeptReports
    explicit CProblemReportPost(const QString &id, QObject *parent = nullptr);
    /// Ends a sending under way; nothing is emitted.
    ~CProblemReportPost() override;

    QString id() const;

public Q_SLOTS:
    /// Once; a second call does nothing.
    void start();
    /// complete() follows with KOV_ERR_CANCELLED, unless it was on its way.
    void cancel();

Q_SIGNALS:
    void uploadProgress(qint64 done, qint64 total);
    /**
     * Once, from the event loop.
     * @param result  negative: the report did not arrive, or nobody can tell
     * @param answer  the service's lines, the first its status; empty for a negative result
     */
    void complete(KOV_RESULT result, const QStringList &answer);

private:
    void end(KOV_RESULT result, const QStringList &answer);

    class Private;
    const std::unique_ptr<Private> d;
};
