#pragma once

#include "gui/platform/ProxyList.h"
#include "gui/platform/Report.h"

#include <memory>
#include <string>

namespace KovGui::Platform {

/**
 * One question to the system: which proxy is for a URL?
 *
 * Unix: libproxy answers, in a small program of its own ("kovgui-find-proxy"), because a script's server that
 * does not answer or a script that does not end can only be stopped with its process. Where the answer is a
 * list, its first entry that can be connected to is taken; when none can, the first, so that a list without
 * "direct" never ends in a direct connection, also one of kinds that are not supported. A script that cannot
 * be had or is broken is reported as an error. Windows: WinHTTP, on a thread that is left to itself when it
 * does not answer in time; of several proxies the first that can be connected to, else the first.
 *
 * Credentials in the system's settings are never looked at.
 */
class SystemProxyQuery
{
public:
    /// @param report  receives the lines for the log, on the thread that asks
    explicit SystemProxyQuery(Report report);
    ~SystemProxyQuery();
    SystemProxyQuery(const SystemProxyQuery &) = delete;
    SystemProxyQuery &operator=(const SystemProxyQuery &) = delete;

    /// Whether the system can be asked at all. Found out once, which is reported. Any thread.
    static bool isAvailable(Report report);

    /**
     * Asks and waits for the answer: for a worker thread. At most once for each object.
     *
     * @param url        http or https, UTF-8, percent-encoded
     * @param scriptUrl  the auto-configuration script to ask; empty for the system's settings. On Unix http,
     * https or file.
     * @param limit      milliseconds to wait at most, but for trying to connect to several proxies
     * @return false when there is no proxy, or when none could be found out (reported)
     */
    bool find(const std::string &url, const std::string &scriptUrl, int limit, ProxyAddress &result);

    /// Makes find() return at once, unless it tries to connect. Any thread.
    void cancel() noexcept;

private:
    class Private;
    const std::unique_ptr<Private> d;
};

} // namespace KovGui::Platform
