#include "gui/tasks/TaskIds.h"

#include "gui/frame/GUI.h"

CTaskId_GetProxyInfo::CTaskId_GetProxyInfo(const QString &url, bool needDetectCredentials)
    : CTaskGenericId(GUI::TaskGetProxyInfo)
{
    insertParam(QStringLiteral("url"), url);
    insertParam(QStringLiteral("needDetectCredentials"), needDetectCredentials);
}

CTaskId_HttpOperation::CTaskId_HttpOperation(const QUrl &url, QNetworkAccessManager::Operation operation,
                                             const QString &filePath)
    : CTaskGenericId(GUI::TaskHttpOperation)
{
    addParam(url);
    addParam(int(operation));
    addParam(filePath);
}

CTaskId_SendHttpRequest::CTaskId_SendHttpRequest(const QUrl &url, QNetworkAccessManager::Operation operation)
    : CTaskGenericId(GUI::TaskSendHttpRequest)
{
    addParam(url);
    addParam(int(operation));
}

CTaskId_DownloadFile::CTaskId_DownloadFile(const QString &url, const QString &destination)
    : CTaskGenericId(GUI::TaskDownloadFile)
{
    addParam(url);
    addParam(destination);
}

CTaskId_InteractiveDownload::CTaskId_InteractiveDownload(const QString &url, const QString &destination)
    : CTaskGenericId(GUI::TaskInteractiveDownload)
{
    addParam(url);
    addParam(destination);
}

CTaskId_CreateProblemReport::CTaskId_CreateProblemReport(const QString &first, const QString &second,
                                                         bool flag, const QString &third)
    : CTaskGenericId(GUI::TaskCreateProblemReport)
{
    addParam(first);
    addParam(second);
    addParam(flag);
    addParam(third);
}

CTaskId_CheckForProductUpdate::CTaskId_CheckForProductUpdate()
    : CTaskGenericId(GUI::TaskCheckForProductUpdate)
{ }

CTaskId_InstallProductUpdate::CTaskId_InstallProductUpdate()
    : CTaskGenericId(GUI::TaskInstallProductUpdate)
{ }

CTaskId_LaunchUpdater::CTaskId_LaunchUpdater(const QString &commandLine, const QString &proxyUrl)
    : CTaskGenericId(GUI::TaskLaunchUpdater)
{
    addParam(commandLine);
    addParam(proxyUrl);
}
