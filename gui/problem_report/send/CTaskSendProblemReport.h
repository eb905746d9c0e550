#pragma once

#include "gui/tasks/http/CTaskSendHttpRequest.h"

#include <QStringList>

/**
 * Uploads the two files of a report to the service, streaming from the disk, through the proxy that is right
 * for the address. An empty request goes first, so that a proxy asks for its password, and a redirect comes,
 * before anything of the report is on its way.
 *
 * KOV_SUCCESS when the service has answered with a status of success; what it answered is in answer(). A
 * redirect to another host is refused: KOV_ERR_FAILURE. The limit of CTaskHttpOperation holds for silence,
 * not for the whole.
 */
class CTaskSendProblemReport : public CTaskSendHttpRequest
{
    Q_OBJECT

public:
    /// @param address  acceptable (ReportService::isAcceptable())
    CTaskSendProblemReport(const QUrl &address, const QString &documentPath, const QString &archivePath);
    ~CTaskSendProblemReport() override;

    /// The lines of the service's answer.
    QStringList answer() const;

Q_SIGNALS:
    /// Bytes of the whole upload.
    void uploadProgress(qint64 done, qint64 total);

protected:
    CAbstractTask *createHttpOperation() override;
    void finish(int result) override;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
