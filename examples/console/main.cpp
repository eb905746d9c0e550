#include "examples/console/ConsoleMessages.h"
#include "examples/console/ConsoleWindow.h"
#include "examples/console/Tour.h"
#include "gui/KovGui.h"
#include "gui/KovVersion.h"
#include "gui/help/Help.h"
#include "gui/log/LogText.h"
#include "gui/messages/CMessageBox.h"
#include "kov_sdk/KovSdk.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <csignal>
#include <cstdio>

namespace {

// A tour must not meet the answers that its user stored, nor leave its own behind.
class PrivateSettings
{
public:
    explicit PrivateSettings(bool wanted)
    {
        if (!wanted)
            return;
        qputenv("XDG_CONFIG_HOME", m_folder.filePath(QStringLiteral("config")).toLocal8Bit());
        qputenv("XDG_DATA_HOME", m_folder.filePath(QStringLiteral("data")).toLocal8Bit());
    }

private:
    QTemporaryDir m_folder;
};

bool hasTourArgument(int argc, char *argv[])
{
    for (int i = 1; i < argc; ++i) {
        if (qstrncmp(argv[i], "--tour", 6) == 0)
            return true;
    }
    return false;
}

bool loadMessages()
{
    // The catalogue is a file of the host's beside its program; a packaged host would install it.
    const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/console_messages.json");
    return KOV_SUCCEEDED(KovApi_LoadMessageCatalogue(path.toUtf8().constData()));
}

volatile std::sig_atomic_t endWanted = 0;

/// Ctrl+C and a session that ends close the console as its window does: the sample site's server and folder go
/// with it.
void quitWhenSignalled(QApplication *application)
{
    for (const int signal : {SIGINT, SIGTERM})
        std::signal(signal, [](int) { endWanted = 1; });
    auto *timer = new QTimer(application);
    timer->setObjectName(QStringLiteral("signalTimer"));
    QObject::connect(timer, &QTimer::timeout, application, [] {
        if (endWanted != 0)
            QCoreApplication::quit();
    });
    timer->start(200);
}

} // namespace

int main(int argc, char *argv[])
{
    const PrivateSettings settings(hasTourArgument(argc, argv));
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication application(argc, argv);
    application.setApplicationVersion(QStringLiteral(KOV_VERSION_TEXT));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QCoreApplication::translate("main", "Shows the KovGui library at work."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption tour(
        QStringLiteral("tour"),
        QCoreApplication::translate("main", "Walk through the guided tour and save its pictures."),
        QStringLiteral("folder"));
    parser.addOption(tour);
    parser.process(application);

    KovGui::init(KAM_CONSOLE);
    KovGui::setupLogging(true);
    KovGui::forwardQtMessages(true);
    KovGui::staticMetaObjectHash()[QStringLiteral("CMessageDataProvider")]
        = &ConsoleMessageProvider::staticMetaObject;
    Help::setBaseAddress(QStringLiteral("https://help.tessarine.example/@LOCALE@/console/@TOPIC@"));
    CMessageBox::setSupportPageAddress(
        QStringLiteral("https://support.tessarine.example/@LOCALE@/solutions/%1"));
    if (!loadMessages()) {
        std::fprintf(stderr,
                     "console: console_messages.json beside the program cannot be used; see the log.\n");
        return 1;
    }

    ConsoleWindow window;
    window.show();
    if (!parser.isSet(tour)) {
        quitWhenSignalled(&application);
        return application.exec();
    }

    Tour walk(&window, parser.value(tour));
    QObject::connect(&walk, &QThread::finished, &application, &QCoreApplication::quit);
    walk.start();
    application.exec();
    return walk.failedSteps() == 0 ? 0 : 1;
}
