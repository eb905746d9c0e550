#include "gui/platform/unix/FileBrowserService.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QThread>
#include <QUrl>

#include <atomic>

namespace KovGui::Platform {

namespace {

/// Milliseconds: a file browser may have to be started first.
constexpr int limit = 5000;
/// Milliseconds between two looks for its answer.
constexpr int lookInterval = 10;

/// File Manager Interface of freedesktop.org.
bool showItem(const char *path, const std::function<bool()> &goOn)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    const QString address = QUrl::fromLocalFile(QString::fromUtf8(path)).toString(QUrl::FullyEncoded);
    call << QStringList{address} << QString();
    // One of its own: neither the application's nor that of another call is for this thread.
    static std::atomic<int> calls{0};
    const QString name = QStringLiteral("kovgui-file-browser-%1").arg(++calls);
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
    // Not a blocking call: a program that ends meanwhile would wait for it for ever.
    const QDBusPendingCall answer = bus.asyncCall(call, limit);
    while (!answer.isFinished() && goOn())
        QThread::msleep(lookInterval);
    const bool isShown = answer.isFinished() && !answer.isError();
    QDBusConnection::disconnectFromBus(name);
    return isShown;
}

} // namespace

} // namespace KovGui::Platform

extern "C" Q_DECL_EXPORT const void *kovguiFunctions()
{
    static const KovGui::Platform::FileBrowserFunctions functions{KovGui::Platform::showItem};
    return &functions;
}
