#pragma once

#include "gui/KovGuiGlobal.h"

#include <QNetworkProxy>
#include <QtPlugin>

/**
 * What a task that looks for a proxy answers; for qobject_cast. The task is run by its identifier, so its
 * class is whatever the host registered under "CTaskGetProxyInfo".
 */
class ProxyResult
{
public:
    virtual ~ProxyResult() = default;
    /// The default proxy (QNetworkProxy::DefaultProxy) means that none was found.
    virtual QNetworkProxy proxy() const = 0;
};

Q_DECLARE_INTERFACE(ProxyResult, "com.tessarine.ProxyResult")
