#pragma once

#include "abstract_task/CTaskGenericId.h"
#include "gui/KovGuiGlobal.h"

#include <QNetworkAccessManager>
#include <QUrl>

/*
 * The identifiers of this library's own tasks. Each fixes its kind (GUI::TaskTypes) and adds its parameters;
 * two with equal parameters name the same task. Parameters are positional, in the order of the constructor,
 * unless said otherwise. Value types: copied and assigned like CTaskGenericId.
 *
 * An identifier is for looking tasks up. It is kept in memory as long as its task runs and is never written
 * to the log.
 */

/// The only one with named parameters: "url" and "needDetectCredentials".
class KOVGUI_EXPORT CTaskId_GetProxyInfo : public CTaskGenericId
{
public:
    /// @param url                    the address for which a proxy is wanted
    /// @param needDetectCredentials  find the proxy's user name and password as well
    CTaskId_GetProxyInfo(const QString &url, bool needDetectCredentials);
};

class KOVGUI_EXPORT CTaskId_HttpOperation : public CTaskGenericId
{
public:
    /// @param filePath  where the body goes
    CTaskId_HttpOperation(const QUrl &url, QNetworkAccessManager::Operation operation,
                          const QString &filePath);
};

class KOVGUI_EXPORT CTaskId_SendHttpRequest : public CTaskGenericId
{
public:
    /// @param url  with the query attached
    CTaskId_SendHttpRequest(const QUrl &url, QNetworkAccessManager::Operation operation);
};

class KOVGUI_EXPORT CTaskId_DownloadFile : public CTaskGenericId
{
public:
    CTaskId_DownloadFile(const QString &url, const QString &destination);
};

class KOVGUI_EXPORT CTaskId_InteractiveDownload : public CTaskGenericId
{
public:
    CTaskId_InteractiveDownload(const QString &url, const QString &destination);
};

class KOVGUI_EXPORT CTaskId_CreateProblemReport : public CTaskGenericId
{
public:
    CTaskId_CreateProblemReport(const QString &first, const QString &second, bool flag, const QString &third);
};

/// Without parameters: at most one check exists at a time.
class KOVGUI_EXPORT CTaskId_CheckForProductUpdate : public CTaskGenericId
{
public:
    CTaskId_CheckForProductUpdate();
};

/// Without parameters: at most one installation exists at a time.
class KOVGUI_EXPORT CTaskId_InstallProductUpdate : public CTaskGenericId
{
public:
    CTaskId_InstallProductUpdate();
};

class KOVGUI_EXPORT CTaskId_LaunchUpdater : public CTaskGenericId
{
public:
    /// @param proxyUrl  the address for which a proxy is wanted; empty for none
    CTaskId_LaunchUpdater(const QString &commandLine, const QString &proxyUrl);
};
