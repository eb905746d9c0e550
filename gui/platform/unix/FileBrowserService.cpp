#include "gui/platform/unix/FileBrowserService.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QUrl>

namespace KovGui::Platform {

namespace {

/// Milliseconds: a file browser may have to be started first.
constexpr int limit = 5000;

/// File Manager Interface of freedesktop.org.
bool showItem(const char *path)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    const QString address = QUrl::fromLocalFile(QString::fromUtf8(path)).toString(QUrl::FullyEncoded);
    call << QStringList{address} << QString();
    // One of its own: the application's is not for this thread.
    const QString name = QStringLiteral("kovgui-file-browser");
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
    const bool isShown
        = bus.isConnected() && bus.call(call, QDBus::Block, limit).type() == QDBusMessage::ReplyMessage;
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
