#include "gui/KovGui.h"
#include "gui/log/Log.h"
#include "gui/messages/box/CMessageBox.h"
#include "gui/messages/notification/CNotificationBox.h"

#include <QApplication>
#include <QFile>
#include <QPropertyAnimation>
#include <QTemporaryDir>

#include <cstdio>

namespace {

/// In KiB.
long residentMemory()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toLong() * 4;
}

void openAndClose(int number)
{
    auto *box = new CMessageBox;
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setMessage(QStringLiteral("Message %1").arg(number));
    box->setDescription(QStringLiteral("What there is to <b>say</b> about it. ").repeated(4));
    box->setDetails(QStringLiteral("Details"));
    box->setAllowHide(true);
    box->setButton1(QStringLiteral("&OK"));
    box->show();

    auto *notification = new CNotificationBox;
    notification->setAttribute(Qt::WA_DeleteOnClose);
    notification->setMessage(QStringLiteral("Notification %1").arg(number));
    notification->setButton1(QStringLiteral("&Open"));
    notification->show();
    QCoreApplication::processEvents();

    box->done(number % 3);
    if (number % 2 == 0)
        notification->onButtonAlternate();
    else
        notification->onTimeout();
    const auto animations = notification->findChildren<QPropertyAnimation *>();
    for (QPropertyAnimation *animation : animations)
        animation->setCurrentTime(animation->totalDuration());
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace

/// usage: open_and_close [COUNT] - opens and closes as many message boxes and notifications, by default
/// 10,000. With the address sanitizer it ends with an error when anything of them is left.
int main(int argc, char *argv[])
{
    const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toLocal8Bit());
    QApplication application(argc, argv);
    application.setQuitOnLastWindowClosed(false);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    KovGui::setLogOutputFunction([](const char *, std::size_t) {});
    KovGui::init(KAM_CONSOLE);
    const int count = argc > 1 ? QByteArray(argv[1]).toInt() : 10000;
    for (int i = 0; i < count; ++i) {
        openAndClose(i);
        if ((i + 1) % (count / 10) == 0) {
            std::printf("%d of each, %ld KiB, %d widgets left\n", i + 1, residentMemory(),
                        QApplication::allWidgets().size());
            std::fflush(stdout);
        }
    }
    return QApplication::allWidgets().isEmpty() ? 0 : 1;
}
