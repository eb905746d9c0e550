#pragma once

#include "gui/KovGuiGlobal.h"

#include <QString>
#include <QThread>

#include <memory>

namespace Tessarine {

/**
 * Asks the system, on its own thread, which proxy is for a URL.
 *
 *     auto *thread = new CInitAutoProxyThread(url, scriptUrl);
 *     connect(thread, &CInitAutoProxyThread::proxyDetected, this, ...);
 *     thread->start();
 *
 * Deletes itself after its end, from the event loop; do not keep a plain pointer. One that still runs when
 * the application object goes is stopped and waited for; one that cannot be stopped (Windows) is left alone,
 * for destroying it would crash the program.
 */
class KOVGUI_EXPORT CInitAutoProxyThread : public QThread
{
    Q_OBJECT

public:
    /**
     * The system, and a script's author, get to know the host only; for http URLs the path as well.
     *
     * @param url        http or https
     * @param scriptUrl  an auto-configuration script; empty: the system's settings
     */
    CInitAutoProxyThread(const QString &url, const QString &scriptUrl);
    /// Stops the query and waits for the thread.
    ~CInitAutoProxyThread() override;

    /// Whether the system can be asked on this computer. The first call looks and logs.
    static bool isAvailable();

    /// Makes the query end soon; its answer then says that there is no proxy. Any thread.
    void cancel();

    /// What proxyDetected() said; an empty host before that. After the thread's end.
    QString host() const;
    uint port() const;
    bool isSocks() const; ///< SOCKS 5 instead of HTTP

Q_SIGNALS:
    /// The answer, once. Without a proxy: false, an empty host and 0.
    void proxyDetected(bool succeded, QString host, uint port);

protected:
    void run() override;

private:
    class Private;
    const std::unique_ptr<Private> d;
};

} // namespace Tessarine
